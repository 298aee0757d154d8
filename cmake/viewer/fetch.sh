#!/usr/bin/env bash
# usage: fetch.sh FOLDER
# Fetches the viewer of profiles from its npm package, of one version and checked against its digest,
# and makes of it FOLDER/page.html, the page that `zolp trace view` fills. What is there stays.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
folder=$(cd "$1" && pwd)

package=speedscope@1.25.0
sum=2831f1e0d26df914b477e522d78b8485511495a6af81a0b88158f8b48f9e0d03

if ! [ -f "$folder/$sum.done" ]; then
  rm -rf "$folder"/*
  (
    cd "$folder"
    npm pack --silent "$package" >/dev/null
    echo "$sum  $(echo ./*.tgz)" | sha256sum --check --quiet
    tar -xzf ./*.tgz
    rm ./*.tgz
  )
  mkdir "$folder/licences"
  cp "$folder/package/LICENSE" "$folder/licences/speedscope.txt"
  cp "$folder/package/dist/release/source-code-pro.LICENSE.md" "$folder/licences/Source-Code-Pro.txt"
  touch "$folder/$sum.done"
fi
node "$here/page.mjs" "$folder/package" "$here/load.js" >"$folder/page.new"
# A page that is as it was is not compiled in anew.
cmp --quiet "$folder/page.new" "$folder/page.html" || mv "$folder/page.new" "$folder/page.html"
rm -f "$folder/page.new"
