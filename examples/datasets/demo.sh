#!/usr/bin/env bash
# Moves files into and out of a fresh embedded host, and fills a form.
#
# usage: demo.sh FOLDER-OF-PROGRAMS SCRATCH-FOLDER
set -euo pipefail
. "$(dirname "$0")/../demo_functions.sh"

begin_demo datasets

heading 'Datasets' 'A site with a shaft: its images are files in the vault beside site.db.'
run host init site.db --seed site.json
export ORK_HOST_DB=$PWD/site.db

heading 'A report comes in' 'A text file becomes a dataset that is related to the revision.'
run dataset import check_report.txt --item SH-200 --rev A --name 'Check report' \
  --description 'Measured on 2026-10-14'
run dataset show 'Check report'

heading 'A copy with files of its own' 'Its file is named after the copy; the original stays as it is.'
run dataset copy 'Check report' 'Check report, second shaft' --item SH-200 --rev A
run dataset show 'Check report, second shaft'
run dataset export 'Check report, second shaft' --out exported.txt
cmp check_report.txt exported.txt && printf 'exported.txt is what was imported, line ends and all\n'

heading 'Images come out' 'Named by item, revision and dataset.'
mkdir images
run dataset export-images --item SH-200 --rev A --out images

heading 'A release-information form' 'Who signed which step, and when; a date that is none is refused.'
run form set SH-200/A UrRevision=A UGezPerson=dora UGezDate=14-Oct-2026 \
  UGepPerson=carl UGepDate=16-Oct-2026
run form set SH-200/A UFreiDate=31-Feb-2026 2>&1 || true

heading 'A snapshot, an accident, and the site as it was' 'A file of the vault is lost; the check names it.'
run host snapshot site.db before.db
for file in site.db.vault/*; do rm -f "$file"; break; done
run host check site.db 2>&1 || true
run host restore site.db before.db
run host check site.db
run host export site.db --out seed.json --files files
printf 'seed.json makes an equal site of a new one\n'

heading 'Done' "All of it is in $PWD."
