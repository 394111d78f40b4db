#!/usr/bin/env bash
# Builds every libFuzzer target with clang, ASan and UBSan in build/fuzz and
# runs each for N seconds (default 30) on a scratch copy of its seed corpus
# fuzz/corpus/<target without "Fuzz">/, so the tree is not modified. A
# target's extra libFuzzer flags, one a line, are in fuzz/<target>.options
# (a -dict= path there is relative to fuzz/).
#   scripts/fuzz.sh          30 s per target
#   scripts/fuzz.sh 600      600 s per target
# Environment: ZEL_FUZZ_BUILD_DIR (default build/fuzz), ZEL_FUZZ_JOBS
# (build jobs, default: ninja's choice).
# Prints each target's last status line and rate; fails on the first
# finding, printing the end of its log (the crashing input and the whole
# log stay in the scratch dir).
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-30}
build=$(realpath -m "${ZEL_FUZZ_BUILD_DIR:-build/fuzz}")
jobs=()
if [[ -n "${ZEL_FUZZ_JOBS:-}" ]]; then
  jobs=(-j "$ZEL_FUZZ_JOBS")
fi

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DZEL_BUILD_FUZZERS=ON -DZEL_BUILD_TESTS=OFF >/dev/null
mapfile -t fuzzers <"$build/fuzz/fuzzers.txt"
cmake --build "$build" "${jobs[@]}" --target "${fuzzers[@]}"

scratch=$(mktemp -d)
for fuzzer in "${fuzzers[@]}"; do
  work="$scratch/$fuzzer"
  mkdir -p "$work/corpus"
  cp -R "fuzz/corpus/${fuzzer%Fuzz}/." "$work/corpus/"
  options=()
  if [[ -f "fuzz/$fuzzer.options" ]]; then
    mapfile -t options < <(sed "s|^-dict=|-dict=$PWD/fuzz/|" "fuzz/$fuzzer.options")
  fi
  echo "=== $fuzzer: ${seconds} s"
  if ! (cd "$work" && "$build/fuzz/$fuzzer" -max_total_time="$seconds" \
          -print_final_stats=1 -artifact_prefix="$work/" "${options[@]}" corpus >"$work/log" 2>&1); then
    tail -n 60 "$work/log" >&2
    echo "=== $fuzzer: FINDING, input and log in $work" >&2
    exit 1
  fi
  # The last status line (executions, coverage, features) and the rate.
  grep -E '^#[0-9]+' "$work/log" | tail -n 1
  grep -E '^stat::(number_of_executed_units|average_exec_per_sec)' "$work/log" || true
done
rm -rf "$scratch"
echo "=== all fuzz targets ran ${seconds} s without finding"
