#!/usr/bin/env bash
# usage: run.sh [--test] PROGRAM [ARGUMENT ...]
# Runs a Windows program under Wine, in a Wine installation of the build's own. As long as a server
# for it is running (`run.sh --serve`), a start takes some hundredths of a second.
set -euo pipefail
export WINEPREFIX=${WINEPREFIX:-$(cd "$(dirname "$0")/../.." && pwd)/build/windows-wine}
export WINEDEBUG=${WINEDEBUG:--all}
# Names of files are in the encoding of the locale; without one there are none but in ASCII.
export LC_ALL=C.UTF-8
# No browser engine, no .NET, no desktop entries: only programs for the console are run.
export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d'

case ${1:-} in
  --serve)
    mkdir -p "$WINEPREFIX"
    # There may be one already.
    wineserver --persistent || true
    # The first program sets the installation up and starts the services; the others find them there.
    wine cmd /c exit 2>/dev/null
    ;;
  --stop)
    # There may be none.
    wineserver --kill || true
    ;;
  --test)
    shift
    # Once in some thousand times Wine loses a program that it starts. Test programs say something
    # before they fail; one that has failed and said nothing never began.
    said=$(mktemp)
    trap 'rm -f "$said"' EXIT
    for _ in 1 2 3; do
      status=0
      wine "$@" | tee "$said" || status=${PIPESTATUS[0]}
      [ "$status" -ne 0 ] && [ ! -s "$said" ] || break
    done
    exit "$status"
    ;;
  *)
    exec wine "$@"
    ;;
esac
