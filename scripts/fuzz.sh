#!/usr/bin/env bash
# Builds every libFuzzer target with clang, ASan and UBSan in build/fuzz and
# runs each for N seconds (default 30) on a scratch copy of its seed corpus
# fuzz/corpus/<target without "Fuzz">/, so the tree is not modified.
#   scripts/fuzz.sh          30 s per target
#   scripts/fuzz.sh 600      600 s per target
# Environment: ZEL_FUZZ_BUILD_DIR (default build/fuzz), ZEL_FUZZ_JOBS
# (build jobs, default: ninja's choice).
# Fails on the first finding; the crashing input stays in the scratch dir.
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
  echo "=== $fuzzer: ${seconds} s"
  if ! (cd "$work" && "$build/fuzz/$fuzzer" -max_total_time="$seconds" \
          -artifact_prefix="$work/" corpus); then
    echo "=== $fuzzer: FINDING, input and log in $work" >&2
    exit 1
  fi
done
rm -rf "$scratch"
echo "=== all fuzz targets ran ${seconds} s without finding"
