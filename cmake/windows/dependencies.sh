#!/usr/bin/env bash
# usage: dependencies.sh FOLDER
# Builds the libraries that the project uses for 64-bit Windows, into FOLDER/installed. What is there
# stays. Sources come from packages: GoogleTest and GNU regex from Debian's, SQLite from the npm
# package that carries its amalgamation. The header-only libraries are copied, so that no header of
# the build machine's C library comes along.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
work=$(cd "$1" && pwd)
installed=$work/installed
triple=x86_64-w64-mingw32
cc=$triple-gcc-posix
mkdir -p "$installed"/{bin,include,lib,share/cmake,licences}

sqlite_package=better-sqlite3@12.11.1
sqlite_sum=ebf0ed75a7a59dbcb3b24bbd014ef49d9f15bc328e4adcbf516f2a8fadfa2835

# once NAME COMMAND: runs the command in a fresh folder of that name unless it was done.
once() {
  [ -f "$work/$1.done" ] && return
  printf 'Building %s for Windows\n' "$1"
  rm -rf "${work:?}/$1"
  mkdir -p "$work/$1"
  # In the background, since a condition would make the shell go on after a failure inside.
  (
    cd "$work/$1"
    "$2"
  ) >"$work/$1.log" 2>&1 &
  wait $! || {
    tail -n 20 "$work/$1.log" >&2
    printf '%s cannot be built; %s says more\n' "$1" "$work/$1.log" >&2
    exit 1
  }
  touch "$work/$1.done"
}

header_only() {
  cp -r /usr/include/nlohmann /usr/include/CLI "$installed/include/"
  cp -r /usr/share/cmake/nlohmann_json /usr/share/cmake/CLI11 "$installed/share/cmake/"
  cp /usr/share/doc/nlohmann-json3-dev/copyright "$installed/licences/nlohmann-json.txt"
  cp /usr/share/doc/libcli11-dev/copyright "$installed/licences/CLI11.txt"
}

sqlite() {
  npm pack --silent "$sqlite_package"
  echo "$sqlite_sum  $(echo ./*.tgz)" | sha256sum --check
  tar -xzf ./*.tgz --strip-components=3 package/deps/sqlite3
  "$cc" -O2 -DSQLITE_THREADSAFE=1 -DSQLITE_DQS=0 -DSQLITE_OMIT_LOAD_EXTENSION \
    -DSQLITE_ENABLE_COLUMN_METADATA -c sqlite3.c
  "$triple-ar" rcs "$installed/lib/libsqlite3.a" sqlite3.o
  cp sqlite3.h "$installed/include/"
}

# With GNU regex, for the expressions of its own cannot do what those of other systems can.
googletest() {
  cmake -G Ninja -S /usr/src/googletest -B . -DCMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" \
    -DCMAKE_CXX_FLAGS="-DGTEST_HAS_POSIX_RE=1 -I$installed/include/gnu_regex" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$installed" "${launcher[@]}"
  cmake --build .
  cmake --install .
}

# A library of its own that users can replace by another build of it, as its licence asks.
gnu_regex() {
  cat >configure.ac <<'TEXT'
AC_INIT([regex], [0])
AC_CONFIG_AUX_DIR([.])
AC_CONFIG_MACRO_DIR([m4])
AC_CONFIG_HEADERS([config.h])
AM_INIT_AUTOMAKE([foreign subdir-objects])
AC_PROG_CC
gl_EARLY
gl_INIT
AC_CONFIG_FILES([Makefile lib/Makefile])
AC_OUTPUT
TEXT
  printf 'SUBDIRS = lib\nACLOCAL_AMFLAGS = -I m4\n' >Makefile.am
  gnulib-tool --import --dir=. --lgpl=2 --aux-dir=. --source-base=lib --m4-base=m4 --no-vc-files \
    --no-changelog regex
  aclocal -I m4
  autoheader
  automake --add-missing --copy
  autoconf
  ./configure --host="$triple" CC="$cc" CFLAGS=-O2 --with-included-regex
  # No other library defines these names here, so they keep them; and the header stands alone.
  sed -i -E '/^#define (re_|reg[a-z]+ rpl_|_REGEX_LARGE_OFFSETS)/d' config.h
  make
  {
    echo EXPORTS
    sed -nE 's/^extern .*\b(re_[a-z_0-9]+|reg[a-z]+) \(.*/  \1/p' lib/regex.h | grep -vE 're_(comp|exec)$'
    echo '  re_syntax_options DATA'
  } >regex.def
  "$cc" -shared -static -s -o "$installed/bin/libgnu_regex.dll" regex.def \
    -Wl,--whole-archive lib/libgnu.a -Wl,--no-whole-archive \
    -Wl,--out-implib,"$installed/lib/libgnu_regex.dll.a"
  mkdir -p "$installed/include/gnu_regex"
  cp lib/regex.h "$installed/include/gnu_regex/"
  cp /usr/share/doc/gnulib/copyright "$installed/licences/GNU-regex.txt"
}

# The compiler's runtime is part of each program and library; libgcrypt is a package as it is.
packaged() {
  local name
  for name in libgcrypt-20 libgpg-error-0; do
    cp "/usr/$triple/bin/$name.dll" "$installed/bin/"
  done
  cp /usr/share/doc/libgcrypt-mingw-w64-dev/copyright "$installed/licences/libgcrypt.txt"
  cp /usr/share/doc/libgpg-error-mingw-w64-dev/copyright "$installed/licences/libgpg-error.txt"
  cp /usr/share/doc/mingw-w64-x86-64-dev/copyright "$installed/licences/MinGW-w64.txt"
  cp /usr/share/doc/gcc-mingw-w64-base/copyright "$installed/licences/GCC-runtime.txt"
}

launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
once header-only header_only
once packaged packaged
once sqlite sqlite
once gnu-regex gnu_regex
once googletest googletest
