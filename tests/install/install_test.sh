#!/usr/bin/env bash
# usage: install_test.sh SOURCE_FOLDER WHAT...
# Installs what was built into a clean folder, moves the installation, builds the batch example
# against it with CMake and with pkg-config and the handler example with CMake, and runs them on
# sites made by the installed program.
# WHAT is a build folder, a .zip for 64-bit Windows, or the .deb packages for this system.
set -euo pipefail
source=$1
what=$2
example=$source/examples/batch
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

case $what in
  *.deb)
    for package in "${@:2}"; do
      dpkg-deb --extract "$package" "$scratch/first"
    done
    mv "$scratch/first/usr" "$scratch/prefix"
    # Debian's programs look for libraries where the system has them, which this folder is not.
    export LD_LIBRARY_PATH=$scratch/prefix/lib
    ;;
  *.zip)
    mkdir "$scratch/first"
    (cd "$scratch/first" && cmake -E tar xf "$what")
    mv "$scratch/first"/* "$scratch/prefix"
    ;;
  *)
    cmake --install "$what" --prefix "$scratch/first" >/dev/null
    mv "$scratch/first" "$scratch/prefix"
    ;;
esac
prefix=$scratch/prefix

configure=()
compiler=cc
run=()
ending=
library_ending=.so
if [ -f "$prefix/bin/zolp.exe" ]; then
  configure=(-DCMAKE_TOOLCHAIN_FILE="$source/cmake/windows/toolchain.cmake"
    -DCMAKE_FIND_ROOT_PATH="$prefix")
  compiler=x86_64-w64-mingw32-gcc
  run=("$source/cmake/windows/run.sh")
  ending=.exe
  library_ending=.dll
fi
zolp=("${run[@]}" "$prefix/bin/zolp$ending")

cmake -S "$example" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" "${configure[@]}" >/dev/null
cmake --build "$scratch/build"

"${zolp[@]}" --version
"${zolp[@]}" host init "$scratch/site.db" --seed "$source/examples/clone-run/site.json"
"${zolp[@]}" host pref "$scratch/site.db" ZOLP_clonelogfile expected.log
export ORK_HOST_DB=$scratch/site.db

check() { # PROGRAM
  # Programs for Windows find the libraries that stand beside them.
  [ -z "$ending" ] || cp "$prefix"/bin/*.dll "$(dirname "$1")"
  local output
  output=$("${run[@]}" "$1" ZOLP_clonelogfile)
  echo "$output"
  grep -q 'expected\.log' <<<"$output"
  if "${run[@]}" "$1" -u=nobody -p=nothing -g=nowhere ZOLP_clonelogfile; then
    echo "a wrong login must fail" >&2
    exit 1
  fi
}

check "$scratch/build/batch$ending"

cmake -S "$source/examples/handler" -B "$scratch/handler" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" "${configure[@]}" >/dev/null
cmake --build "$scratch/handler"
export ORK_HOST_DB=$scratch/handler.db
"${zolp[@]}" host init "$ORK_HOST_DB" --seed "$source/examples/handler/site.json"
"${zolp[@]}" job start 'Release of parts' --name R-17 --target GB-1210/C
"${zolp[@]}" handler run "$scratch/handler/libexamine_targets$library_ending" --job R-17 \
  --argument 'condition=Tested before?'
# Not through a pipe: grep ends at the first match, and a program that cannot write all fails.
"${zolp[@]}" job show R-17 >"$scratch/job"
grep -q 'Tested before?  Pending  (condition)  result true' "$scratch/job"
"${zolp[@]}" show GB-1210/C >"$scratch/card"
grep -q 'Examination report' "$scratch/card"
export ORK_HOST_DB=$scratch/site.db

# What it prints has a schema that is whole by itself.
schema=$(find "$prefix" -path '*share/zolp/schemas/show.json')
"${zolp[@]}" schema show >"$scratch/schema.json"
diff --strip-trailing-cr "$schema" "$scratch/schema.json"

# A program with the viewer inside says whose it is.
if [ -n "$(find "$prefix" -name speedscope.txt)" ]; then
  printf ' ->work work.cpp:1\n <-work work.cpp:9\n' >"$scratch/run.trace"
  "${zolp[@]}" trace view "$scratch/run.trace" --out "$scratch/run.html"
  grep -q '"name":"work"' "$scratch/run.html"
fi

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zolp_orktool.pc)")
export PKG_CONFIG_PATH
mkdir "$scratch/plain"
# shellcheck disable=SC2046
"$compiler" -o "$scratch/plain/batch$ending" "$example"/*.c \
  $(pkg-config --cflags --libs zolp_orktool ork_host)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir zolp_orktool)${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} \
  check "$scratch/plain/batch$ending"
echo "the example runs on the installation"
