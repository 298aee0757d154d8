#!/usr/bin/env bash
# Who may include whom, folder by folder (the README's layout table), where the include directories of
# the build do not see to it. Each included file in quotes must be in a folder that is allowed.
# usage: arrows_test.sh SOURCE_FOLDER
set -euo pipefail
cd "$1"
failed=0

complain() {
  echo "$*"
  failed=1
}

# may FOLDER WHERE...: files below FOLDER include what is below it, and files in WHERE: a folder that
# include paths start in ("platform/"), or one file.
may() {
  local folder=$1 line file header where found
  shift
  while IFS= read -r line; do
    file=${line%%:*} header=${line#*\"} header=${header%\"*} found=
    for where in "$(dirname "$file")/" "$folder/" "$folder"/*/ "$@"; do
      case $where in
        */) [ ! -e "$where$header" ] || found=yes ;;
        *) [ "$where" != "$header" ] && [ "${where##*/}" != "$header" ] || found=yes ;;
      esac
    done
    [ "$found" ] || complain "$file includes $header, which is not for $folder/"
  done < <(grep -rE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' --include='*.h' --include='*.cpp' \
    --include='*.c' --include='*.in' "$folder")
}

may platform
may basetool platform/zolp_basetool.h
may include platform/
may src include/ platform/
may host platform/
# The host and the program write paths and long JSON in one way, in headers that need nothing else.
# A reader of recordings shares their format with the writer, and how calls are selected by name.
may tools include/ platform/ host/ork_host.h host/system/utf8_path.h host/system/json_stream.h \
  basetool/recording_format.h basetool/selection.h

# The rooms of host/ share one list of include directories: a name that two of them have would be
# whichever comes first.
doubles=$(find host -name '*.h' -printf '%f\n' | sort | uniq -d)
[ -z "$doubles" ] || complain "in more than one room of host/:" $doubles

exit $failed
