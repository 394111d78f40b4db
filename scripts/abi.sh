#!/usr/bin/env bash
# The ABI baseline of libzelobjectmodel.so, kept with Debian's abigail-tools
# (abidw writes a library's ABI as XML, abidiff compares two of them).
#   scripts/abi.sh check LIBRARY BASELINE    exit 1, with abidiff's report,
#                                            when LIBRARY's ABI differs from BASELINE
#   scripts/abi.sh update LIBRARY BASELINE   rewrite BASELINE from LIBRARY
# The builds call it through ctest (test AbiBaseline) and through the
# target abi-update; see the README.
set -euo pipefail
mode=$1 library=$2 baseline=$3

# No paths of this machine in the dump, so that any checkout compares alike.
dump() {
  abidw --no-corpus-path --no-comp-dir-path --no-show-locs "$library" --out-file "$1"
}

case $mode in
  update)
    dump "$baseline"
    echo "abi: wrote $baseline"
    ;;
  check)
    current=$(mktemp)
    trap 'rm -f "$current"' EXIT
    dump "$current"
    if ! report=$(abidiff "$baseline" "$current"); then
      echo "abi: $library differs from $baseline:"
      echo "$report"
      echo "abi: if the change is intended, update the baseline in the same commit (README, 'Binary interface')."
      exit 1
    fi
    echo "abi: $library has the ABI of $baseline"
    ;;
  *)
    echo "usage: $0 check|update LIBRARY BASELINE" >&2
    exit 2
    ;;
esac
