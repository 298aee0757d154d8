#!/usr/bin/env bash
# usage: exports_test.sh LIBRARY HEADER: compares the library's exports with the header's functions.
set -euo pipefail

exported=$(nm -D --defined-only "$1" | awk '{ print $3 }' | c++filt |
  grep -v '^__\|^_init$\|^_fini$' | sed 's/@.*//' | sort)
declared=$({
  grep -oE '^ZOLP_API [a-z]+[ *]+[A-Za-z_]+\(' "$2" | sed -E 's/.*[ *]([A-Za-z_]+)\($/\1/'
  printf '%s\n' 'CZOLP_ParamLine::operator=(CZOLP_ParamLine const&)' \
    'CZOLP_String::operator=(CZOLP_String const&)'
} | sort)
[ -n "$declared" ] && diff <(echo "$declared") <(echo "$exported") &&
  echo "$(wc -l <<<"$exported") exports, all declared"
