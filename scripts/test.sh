#!/usr/bin/env bash
# The test command: installs what is missing, then configures, builds and
# runs the whole suite in every build of the project (CMake presets).
#   scripts/test.sh              all presets
#   scripts/test.sh default asan only these
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

presets=("$@")
if ((${#presets[@]} == 0)); then
  presets=(default asan tsan)
fi

for preset in "${presets[@]}"; do
  echo "=== ${preset}"
  start=$(date +%s)
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset"
  echo "=== ${preset}: passed in $(($(date +%s) - start)) s"
done
