#!/usr/bin/env bash
# usage: run.sh PROGRAM [ARGUMENT ...]
# Runs a Windows program under Wine, in a Wine installation of the build's own. As long as a server
# for it is running (`run.sh --serve`), a start takes some hundredths of a second.
set -euo pipefail
export WINEPREFIX=${WINEPREFIX:-$(cd "$(dirname "$0")/../.." && pwd)/build/windows-wine}
export WINEDEBUG=${WINEDEBUG:--all}
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
  *)
    exec wine "$@"
    ;;
esac
