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
export ZOLP_TRACE_FILE=$PWD/trace.txt ZOLP_TRACE_LEVEL=5
run clone release_list.txt --host site.db --out out -u=alice -p=lantern-7 -g=engineering
unset ZOLP_TRACE_FILE ZOLP_TRACE_LEVEL

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

heading 'Done' "All of it is in $PWD."
