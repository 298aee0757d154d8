#!/usr/bin/env bash
# usage: install_test.sh BUILD_FOLDER EXAMPLES_FOLDER
# Installs the build, moves the installation, builds the batch example against it with CMake and
# with pkg-config and the handler example with CMake, and runs them on sites made by the installed
# program.
set -euo pipefail
build=$1
example=$2/batch
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/first" >/dev/null
mv "$scratch/first" "$scratch/prefix"
prefix=$scratch/prefix
zolp=$prefix/bin/zolp

cmake -S "$example" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/build"

"$zolp" --version
"$zolp" host init "$scratch/site.db" --seed "$2/clone-run/site.json"
"$zolp" host pref "$scratch/site.db" ZOLP_clonelogfile expected.log
export ORK_HOST_DB=$scratch/site.db

check() { # PROGRAM
  local output
  output=$("$1" ZOLP_clonelogfile)
  echo "$output"
  grep -q 'expected\.log' <<<"$output"
  if "$1" -u=nobody -p=nothing -g=nowhere ZOLP_clonelogfile; then
    echo "a wrong login must fail" >&2
    exit 1
  fi
}

check "$scratch/build/batch"

cmake -S "$2/handler" -B "$scratch/handler" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/handler"
export ORK_HOST_DB=$scratch/handler.db
"$zolp" host init "$ORK_HOST_DB" --seed "$2/handler/site.json"
"$zolp" job start 'Release of parts' --name R-17 --target GB-1210/C
"$zolp" handler run "$scratch/handler/libexamine_targets.so" --job R-17 \
  --argument 'condition=Tested before?'
"$zolp" job show R-17 | grep -q 'Tested before?  Pending  (condition)  result true'
"$zolp" show GB-1210/C | grep -q 'Examination report'
export ORK_HOST_DB=$scratch/site.db

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zolp_orktool.pc)")
export PKG_CONFIG_PATH
cp "$example"/*.c "$scratch/"
# shellcheck disable=SC2046
cc -o "$scratch/batch" "$scratch"/*.c $(pkg-config --cflags --libs zolp_orktool ork_host)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir zolp_orktool) check "$scratch/batch"
echo "the example runs on the installation"
