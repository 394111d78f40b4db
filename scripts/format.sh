#!/usr/bin/env bash
# Formats the project's C++ sources with .clang-format (Debian's
# clang-format), or, with --check, lists the files that are not formatted
# and fails.
#   scripts/format.sh           format every tracked .cpp and .h in place
#   scripts/format.sh --check   change nothing; exit 1 if a file would change
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t files < <(git ls-files '*.cpp' '*.h')
if [[ ${1:-} == --check ]]; then
  unformatted=()
  for file in "${files[@]}"; do
    if ! clang-format --dry-run --Werror "$file" >/dev/null 2>&1; then
      unformatted+=("$file")
    fi
  done
  if ((${#unformatted[@]})); then
    echo "format: not formatted with .clang-format (run scripts/format.sh):"
    printf '  %s\n' "${unformatted[@]}"
    exit 1
  fi
  echo "format: ${#files[@]} files formatted"
  exit 0
fi
clang-format -i "${files[@]}"
