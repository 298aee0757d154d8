#!/usr/bin/env bash
# usage: other_compiler_test.sh SOURCE_FOLDER BUILD_FOLDER
# Builds a program as the platform vendor's usual compiler does, with its decoration and an import
# library for its linker, and runs it on the library.
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

clang++ --target=x86_64-pc-windows-msvc -std=c++20 -O1 -ffreestanding -nostdlibinc \
  -fno-stack-protector -isystem "$source/cmake/windows/stand-ins" -I "$source/include" \
  -I "$source/platform" -I "$source/host" \
  -I "$source/build/windows-dependencies/installed/include/gnu_regex" \
  -c "$source/tests/interfaces/other_compiler.cpp" -o "$scratch/program.obj"
lld-link /nologo /nodefaultlib /entry:start /subsystem:console "$scratch/program.obj" \
  "$build/lib/zolp_orktool.lib" "$build/lib/ork_host.lib" \
  "$source/build/windows-dependencies/installed/lib/libgnu_regex.dll.a" /out:"$scratch/program.exe"
cp "$build"/bin/*.dll "$scratch/"
"$source/cmake/windows/run.sh" "$scratch/program.exe"
echo "a program of the other compiler calls the library"
