#!/usr/bin/env bash
# Takes two parts through a workflow on a fresh embedded host, with the handler of this folder.
#
# usage: demo.sh FOLDER-OF-PROGRAMS SCRATCH-FOLDER
set -euo pipefail
. "$(dirname "$0")/../demo_functions.sh"

begin_demo handler
handlers=$(find "$programs/../lib" -name 'libexamine_targets.*' -print -quit)

heading 'A process' 'Two of three must approve; a condition decides whether somebody else checks, too.'
run host init site.db --seed site.json
export ORK_HOST_DB=$PWD/site.db
run job start 'Release of parts' --name R-17 --target GB-1210/C --target GB-1310/B

heading 'A workflow handler' 'examine_targets.c attaches a report to each part and decides the condition.'
export ZOLP_TRACE_FILE=$PWD/trace.txt ZOLP_TRACE_LEVEL=4
run handler run "$handlers" --job R-17 --argument 'condition=Tested before?' --strict
unset ZOLP_TRACE_FILE ZOLP_TRACE_LEVEL
run show GB-1310/B

heading 'Sign-offs' 'Only members decide, and only on their own part of it.'
run job signoff R-17 --decision approve --comment 'as discussed' >/dev/null
run job signoff R-17 --decision reject --comment 'bearing seat?' -u=boris -p=quarry-12 -g=engineering >/dev/null
run job signoff R-17 --decision approve -u=chiara -p=meadow-3 -g=release

heading 'Released' 'One part was never tested, so there was a second review. The process sets the status.'
run job signoff R-17 --decision approve --comment 'measured' -u=chiara -p=meadow-3 -g=release
run show GB-1310/B

heading 'The call trace of the handler' "Its calls into the platform, and the platform's answers."
sed -n '/->ZOLP_getRHTargetObjects/,$p' trace.txt | sed '/ File:/d' | sed -n '1,40p' | cut -c 1-120

heading 'Done' "All of it is in $PWD."
