#!/usr/bin/env bash
# usage: exports_windows_test.sh LIBRARY EXPORT_LIST
# Compares the names that the library exports with those of the list: the C functions as they are,
# and each C++ function under two decorations, its own compiler's and that of the platform vendor's
# usual one.
set -euo pipefail

exported=$(x86_64-w64-mingw32-objdump -p "$1" | sed -n '/Ordinal\/Name Pointer/,/^$/p' |
  awk '/\[ *[0-9]+\]/ { print $NF }')

# same WHAT LISTED EXPORTED
same() {
  [ -n "$2" ] && diff <(sort <<<"$2") <(sort <<<"$3") >&2 || {
    echo "$1: the list (<) and the library (>) differ" >&2
    exit 1
  }
  echo "$(wc -l <<<"$2") $1"
}

# Texts of declarations, as either tool writes them: no result, no access, no "class", no blanks.
plainly() { sed -E 's/^.*__cdecl //; s/\b(class|struct|enum) //g; s/ +//g'; }

same "C functions" "$(sed -nE 's/^ +([A-Za-z_0-9]+);$/\1/p' "$2")" \
  "$(grep -E '^[A-Za-z][A-Za-z_0-9]*$' <<<"$exported")"
listed=$(sed -nE 's/^ +"(.*)";$/\1/p' "$2" | plainly)
same "C++ functions under the compiler's own names" "$listed" \
  "$(grep '^_Z' <<<"$exported" | c++filt | plainly)"
same "C++ functions under the vendor's compiler's names" "$listed" \
  "$(grep '^?' <<<"$exported" | llvm-undname | grep -E '^[^?].*\(' | plainly)"
