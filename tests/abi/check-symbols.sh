#!/usr/bin/env bash
# Compares the dynamic symbols of the library with the lists in LIST_DIR:
#   exported.txt                the interface that the public headers declare
#   exported-helpers.txt        exported helpers beyond it
#   imported-from-platform.txt  what it takes from the platform libraries
# Names are demangled, one per line as `nm -D -C` prints them (a constructor
# or destructor once per variant the compiler emits); lines starting with
# '#' are comments. The platform libraries given (the stand-ins) tell which
# undefined symbols of the library are the platform's.
#   check-symbols.sh NM LIBRARY LIST_DIR PLATFORM_LIBRARY...
set -euo pipefail
export LC_ALL=C
nm=$1 library=$2 list_dir=$3
shift 3

names() { "$nm" -D -C "$@" | sed -E 's/^ *[0-9a-f]* [A-Za-z] //' | sort; }
listed() { grep -h -v -e '^#' -e '^$' "$@" | sort; }

exported=$(names --defined-only "$library")
undefined=$(names --undefined-only "$library" | sort -u)
platform=$(for lib in "$@"; do names --defined-only "$lib" | sed "s|^|$(basename "$lib")\t|"; done)
imported=$(awk -F'\t' 'NR == FNR { wanted[$0] = 1; next } ($2 in wanted) { print $1 ": " $2 }' \
  <(printf '%s\n' "$undefined") <(printf '%s\n' "$platform") | sort -u)

status=0
compare() {
  local what=$1 actual=$2
  shift 2
  local missing unexpected
  missing=$(comm -23 <(listed "$@") <(printf '%s\n' "$actual"))
  unexpected=$(comm -13 <(listed "$@") <(printf '%s\n' "$actual"))
  if [[ -n $missing || -n $unexpected ]]; then
    status=1
    echo "$what differ from the lists:"
    [[ -z $missing ]] || printf '  listed, not found: %s\n' "$missing"
    [[ -z $unexpected ]] || printf '  found, not listed: %s\n' "$unexpected"
  else
    echo "$what: $(printf '%s\n' "$actual" | wc -l), as listed"
  fi
}
compare "exported symbols" "$exported" "$list_dir/exported.txt" "$list_dir/exported-helpers.txt"
compare "symbols imported from the platform" "$imported" "$list_dir/imported-from-platform.txt"
exit "$status"
