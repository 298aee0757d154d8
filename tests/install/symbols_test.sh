#!/usr/bin/env bash
# usage: symbols_test.sh FUNCTION=SOURCE PACKAGE
# Looks in a package of symbols (.ddeb, or .zip for Windows) for a function, whose address must lead to
# its source and to no path of the machine that built it.
set -euo pipefail
function=${1%%=*}
expected=${1#*=}
package=$(realpath "$2")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
tools=
case $package in
  *.ddeb) dpkg-deb --extract "$package" "$scratch" ;;
  *)
    tools=x86_64-w64-mingw32-
    (cd "$scratch" && cmake -E tar xf "$package")
    ;;
esac

while IFS= read -r symbols; do
  address=$("${tools}nm" "$symbols" 2>/dev/null | sed -n "s/ [Tt] $function\$//p")
  if [ -n "$address" ]; then
    place=$("${tools}addr2line" -e "$symbols" "0x$address")
    echo "$function stands in $place"
    [[ $place == zolp_orktool/*"$expected":* ]] && exit
  fi
done < <(find "$scratch" -name '*.debug')
echo "$package does not lead from $function to $expected" >&2
exit 1
