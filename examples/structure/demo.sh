#!/usr/bin/env bash
# Shows a product structure, numbers its lines anew, packs it and lists its objects.
#
# usage: demo.sh FOLDER-OF-PROGRAMS SCRATCH-FOLDER
set -euo pipefail
. "$(dirname "$0")/../demo_functions.sh"

begin_demo structure
export ORK_HOST_DB=$PWD/site.db

heading 'A product structure' 'A mixer: sequence numbers, ids, quantities and statuses; the latest revisions.'
run host init site.db --seed site.json
run bom tree MX-100/B

heading 'By a revision rule' 'The released revisions; a revision that a line names outright stays.'
run bom tree MX-100/B --rule Released

heading 'Numbering' 'Lines of one revision share a number. Assemblies below begin with the number that follows.'
run bom resequence MX-100/B --start 10 --increment 10 --recursive --save
run bom tree MX-100/B

heading 'Numbers' 'What is in use now, and where a new line would go.'
run bom numbers MX-100/B

heading 'Packing' 'Equal lines as one, with the sum of their quantities.'
run bom pack MX-100/B --recursive

heading 'Objects' 'The drawings of all assemblies, and the assemblies themselves.'
run bom export MX-100/B --class Dataset
run bom export MX-100/B --class ItemRevision

heading 'Done' "All of it is in $PWD."
