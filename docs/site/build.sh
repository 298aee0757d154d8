#!/usr/bin/env bash
# usage: build.sh ZOLP
# Builds the documentation into build/site/html; ZOLP is the program, which prints its own manual.
set -euo pipefail
zolp=$1
cd "$(dirname "$0")/../.."
input=build/site/input
format=basetool/recording_format.h
rm -rf build/site/html "$input"
mkdir -p "$input"
export PYTHONDONTWRITEBYTECODE=1

"$zolp" manual --markdown >"$input/manual.md"

# The format of recordings is the comment and the declarations of the header that says it.
{
  echo '# The format of a recording'
  sed -n '/^ \* @file/,/^ \*\//p' "$format" | sed -e '1d;$d' -e 's/^ \* \{0,1\}//'
  printf '\n## Declarations\n\n```cpp\n'
  sed -n '/^namespace/,/^}  *\/\/ namespace/p' "$format"
  printf '```\n'
} >"$input/recording-format.md"

# The generator's own header of pages, with the theme's switch between light and dark.
doxygen -w html "$input/header.html" "$input/footer.html" "$input/style.css"
sed -i 's#</head>#<script src="$relpath^doxygen-awesome-darkmode-toggle.js"></script>\
<script>DoxygenAwesomeDarkModeToggle.init()</script>\
</head>#' "$input/header.html"

version() { sed -n "s/^#define ZOLP_VERSION_$1 //p" include/zolp_orktool/version.h; }
ZOLP_VERSION=$(version MAJOR).$(version MINOR).$(version PATCH) doxygen docs/site/Doxyfile ||
  { cat build/site/warnings.txt >&2; exit 1; }
