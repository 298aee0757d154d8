#!/usr/bin/env bash
# usage: exports_test.sh LIBRARY INCLUDE_FOLDER COMPILER PLATFORM_FOLDER: compares the library's exports
# with the functions of its headers. A source that names each of them shows how its declaration is
# linked.
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# "RESULT NAME(PARAMETERS)" of each function, on one line: overloads differ by their parameters.
functions=$(awk '/^ZOLP_API .*\(/ { text = "" } { text = text " " $0 }
    /;/ { if (text ~ /^ ZOLP_API /) print text; text = "" }' "$2"/zolp_orktool/*.h |
  sed -E 's/^ ZOLP_API //; s/;.*//; s/ +/ /g')
{
  echo '#include "zolp_orktool.h"'
  sed -E 's/^(.*[ *])([A-Za-z_]+)\((.*)\)$/\1(*use_NUMBER)(\3) = \&\2;/' <<<"$functions" |
    awk '{ sub(/NUMBER/, NR); print }'
  for class in CZOLP_ParamLine CZOLP_String; do
    printf 'extern const auto use_%s = &%s::operator=;\n' "$class" "$class"
  done
} >"$work/uses.cpp"
"$3" -std=c++20 -fPIC -I"$2" -I"$4" -c "$work/uses.cpp" -o "$work/uses.o"

declared=$(nm -u "$work/uses.o" | awk '{ print $2 }' | grep -v '^_GLOBAL_' | c++filt | sort)
exported=$(nm -D --defined-only "$1" | awk '{ print $3 }' | sed 's/@.*//' |
  grep -v '^__\|^_init$\|^_fini$' | c++filt | sort)
[ -n "$functions" ] && diff <(echo "$declared") <(echo "$exported") &&
  echo "$(wc -l <<<"$exported") exports, all declared"
