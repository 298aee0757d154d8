#!/bin/sh
# Writes the release list to standard output: parts.txt in the columns that the library reads.
set -eu
cd "$(dirname "$0")"
exec awk -F ' *[|] *' '
  function line(level, item, dataset, type, new_item, new_name, mode, status, info, pf_info) {
    printf "%-6.6s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s\n",
      level, item, dataset, type, new_item, new_name, mode, status, info, pf_info
  }
  BEGIN {
    line("Level", "Item Revision", "Datasets", "Type", "New Item ID", "New Name", "BOM Mode",
         "Rel-Status", "Tarn Info", "PF Info")
  }
  /^#/ { next }
  {
    status = $5
    line($1, $2, "", "ItemRev", $4, $3, "precise", status, "", $6)
    count = split($7, datasets, / *, */)
    for (i = 1; i <= count; ++i) {
      split(datasets[i], dataset, " ")
      line("", "", dataset[2], dataset[1], "", dataset[2], "", status, "", "")
    }
    if ($8 == "") next
    print "Where used:"
    count = $8 == "-" ? 0 : split($8, parents, / *, */)
    for (i = 1; i <= count; ++i) print "      " parents[i]
    print "-----------"
  }' parts.txt
