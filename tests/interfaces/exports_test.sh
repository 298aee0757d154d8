#!/usr/bin/env bash
# usage: exports_test.sh LIBRARY HEADER COMPILER INCLUDE_FOLDER: compares the library's exports with
# the header's functions. A source that names each of them shows how its declaration is linked.
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One declaration a line. A pointer of its type names the function, also where it is overloaded.
functions=$(tr '\n' ' ' <"$2" | grep -oE 'ZOLP_API [a-z_]+[ *]+[A-Za-z_]+\([^;]*\);' |
  sed -E 's/^ZOLP_API ([a-z_]+[ *]+)([A-Za-z_]+)\((.*)\);$/\1 \2 \3/')
{
  printf '#include "%s"\n' "$2"
  number=0
  while read -r result function parameters; do
    # The stars of a pointer stand by the type.
    number=$((number + 1))
    printf 'extern %s (*const use_%d)(%s);\n' "$result" "$number" "$parameters"
    printf '%s (*const use_%d)(%s) = &%s;\n' "$result" "$number" "$parameters" "$function"
  done <<<"$functions"
  for class in CZOLP_ParamLine CZOLP_String; do
    printf 'extern const auto use_%s = &%s::operator=;\n' "$class" "$class"
  done
} >"$work/uses.cpp"
"$3" -std=c++20 -fPIC -I"$4" -c "$work/uses.cpp" -o "$work/uses.o"

declared=$(nm -u "$work/uses.o" | awk '{ print $2 }' | grep -v '^_GLOBAL_' | c++filt | sort)
exported=$(nm -D --defined-only "$1" | awk '{ print $3 }' | sed 's/@.*//' |
  grep -v '^__\|^_init$\|^_fini$' | c++filt | sort)
[ -n "$functions" ] && diff <(echo "$declared") <(echo "$exported") &&
  echo "$(wc -l <<<"$exported") exports, all declared"
