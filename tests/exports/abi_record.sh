#!/usr/bin/env bash
# abi_record.sh compare|record LIBRARY
#
# compare: fails when the exported functions of LIBRARY, or a public type that they use, are no
#    longer those of zerovaapi.abi, additions included. record: writes zerovaapi.abi anew.
set -euo pipefail
action=$1
library=$2
here=$(cd "$(dirname "$0")" && pwd)
public=$here/../../include
record=$here/zerovaapi.abi

command -v abidiff >/dev/null || { echo "abidiff is missing: install abigail-tools" >&2; exit 1; }

case "$action" in
compare)
   abidiff --headers-dir2 "$public" --drop-private-types --no-unreferenced-symbols \
      "$record" "$library" || {
      echo "The interface is not the one on record. If that is wanted: ./dev abi-record" >&2
      exit 1
   }
   ;;
record)
   # Without what differs from one build or machine to the next.
   abidw --headers-dir "$public" --drop-private-types --exported-interfaces-only --type-id-style hash \
      --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --out-file "$record" "$library"
   sed -i -E "s| path='[^']*/([^/']+/[^/']+)'| path='\1'|" "$record"
   ;;
*)
   echo "usage: $0 compare|record LIBRARY" >&2
   exit 2
   ;;
esac
