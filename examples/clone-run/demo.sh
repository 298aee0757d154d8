#!/usr/bin/env bash
# Prepares a clone run on a fresh embedded host and shows what comes out.
#
# usage: demo.sh FOLDER-OF-PROGRAMS SCRATCH-FOLDER
set -euo pipefail
. "$(dirname "$0")/../demo_functions.sh"

# The library opens lists and templates for update, so the demo works on copies of its own.
begin_demo clone-run
mkdir out

heading 'A site' 'An embedded host platform: users, preferences and items, in one file.'
run host init site.db --seed site.json
run host show site.db users

heading 'An object' 'What the platform knows of one revision: owner, site, lock, check-out, statuses, relations.'
run show GB-1000/B --host site.db

heading 'The release list' 'What is to be cloned: one line per part, as a tree. RETAIN keeps a released part.'
run list tree release_list.txt --depth 3

heading 'The clone run' 'Logs in, reads the list, writes the files for the clone program.'
export ZOLP_TRACE_FILE=$PWD/trace.txt ZOLP_TRACE_LEVEL=5 ZOLP_TRACE_RECORD=$PWD/good.rec
run clone release_list.txt --host site.db --out out -u=alice -p=lantern-7 -g=engineering
unset ZOLP_TRACE_FILE ZOLP_TRACE_LEVEL ZOLP_TRACE_RECORD

heading 'out/clone.bat' 'The batch file: actions before the run, the call of the clone program, actions after it.'
shown <out/clone.bat

heading 'out/clone_log.txt' 'The head of the clone log, filled in from its template. Values end at the first semicolon.'
head -n 12 out/clone_log.txt | shown | cut -c 1-100

heading 'out/clone_entries.txt' 'One entry per part; here the first of them.'
head -n 18 out/clone_entries.txt | shown | cut -c 1-100

heading 'The call trace' "Each call into the platform, with source and line: some of $(wc -l <trace.txt) lines."
head -n 15 trace.txt | cut -c 1-120
printf '...\n'
sed -n '/->ZOLP_create_clonelogheader/,$p' trace.txt | sed -n '1,25p' | cut -c 1-120

heading 'Where the time went' 'The recording of that run: what each function took.'
run trace summary good.rec --by own --top 6

heading 'A run that fails' 'The same once more, with a platform call that is made to fail.'
export ORK_HOST_FAULTS=PREF_get_char_value:15=27002 ZOLP_TRACE_RECORD=$PWD/bad.rec
if run clone release_list.txt --host site.db --out out -u=alice -p=lantern-7 -g=engineering 2>&1; then
  exit 1
fi
unset ORK_HOST_FAULTS ZOLP_TRACE_RECORD
run trace summary bad.rec --by failed --top 3

heading 'What failed' 'Each failed call with its callers.'
run trace failures bad.rec

heading 'Where it left the good run' 'The first step that is not alike, then what differs by chain of callers.'
run trace diff good.rec bad.rec || [ $? -eq 1 ]

case $(zolp trace view good.rec bad.rec --out runs.html 2>&1) in
  *'built without its viewer'*)
    heading 'In a browser' '"zolp trace view" makes a page of both runs. This zolp was built without the viewer from npm.'
    ;;
  *)
    heading 'In a browser' 'A page that holds the calls of both runs and their viewer, and needs no network.'
    run trace view good.rec bad.rec --out runs.html
    ;;
esac

heading 'Done' "All of it is in $PWD."
