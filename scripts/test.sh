#!/usr/bin/env bash
# The test command: installs what is missing (scripts/setup.sh), then
# configures, builds and runs the whole suite in every build of the project
# (CMake presets), then runs every fuzz target briefly on its seed corpus
# (scripts/fuzz.sh, ZEL_FUZZ_SECONDS per target, default 30) as a smoke
# test, and prints each step's result and times. The `package` step makes
# the Debian packages of amd64 and armhf (scripts/package.sh, lintian
# included) and checks them unpacked (tests/package/check-packages.sh). The
# `format` step checks that the C++ sources are formatted with
# .clang-format (scripts/format.sh --check). The `tidy` step runs clang-tidy
# with .clang-tidy over the library's sources (their headers included) and
# fails on any finding. The `mutate` step, not in the default list (it
# takes minutes), runs scripts/mutate.sh with a small sample
# (ZEL_MUTATE_COUNT mutants, default 20; see scripts/mutate.sh --help).
#   scripts/test.sh              the format check, clang-tidy, every
#                                build, the packages, then the fuzz smoke
#                                test: format tidy default asan tsan armhf
#                                package fuzz
#   scripts/test.sh default fuzz only these
# A failing step does not stop the others; the exit status is 1 if any
# build failed to build or has a failing test, or a fuzz target found
# something.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

presets=("$@")
if ((${#presets[@]} == 0)); then
  presets=(format tidy default asan tsan armhf package fuzz)
fi

# A step that is one command: its banner, then its result and time.
step() {
  local name=$1 title=$2 start result=passed
  shift 2
  echo "=== ${name}: ${title}"
  start=$(date +%s)
  if ! "$@"; then
    result=FAILED
    status=1
  fi
  summary+=("${name}: ${result}, $(($(date +%s) - start)) s")
  echo "=== ${summary[-1]}"
}
# clang-tidy with .clang-tidy over the library's sources (the compile
# commands of a configured, unbuilt tree), without its count of the
# suppressed warnings of other headers.
tidy() {
  local sources
  mapfile -t sources < <(git ls-files 'ZelObjectModel/*.cpp')
  cmake --preset default -B build/tidy -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null &&
    clang-tidy-14 --quiet -p build/tidy "${sources[@]}" 2> >(grep -v ' warnings generated\.$' >&2)
}

log_dir=$(mktemp -d)
trap 'rm -rf "$log_dir"' EXIT
summary=()
status=0
run_start=$(date +%s)
for preset in "${presets[@]}"; do
  case $preset in
    format) step format "clang-format check" scripts/format.sh --check; continue ;;
    tidy) step tidy "clang-tidy on the library" tidy; continue ;;
    mutate) step mutate "scripts/mutate.sh ${ZEL_MUTATE_COUNT:-20}" scripts/mutate.sh "${ZEL_MUTATE_COUNT:-20}"; continue ;;
  esac
  if [[ $preset == fuzz ]]; then
    seconds=${ZEL_FUZZ_SECONDS:-30}
    echo "=== fuzz: build, ${seconds} s per target"
    start=$(date +%s)
    result=passed
    if ! scripts/fuzz.sh "$seconds"; then
      result=FAILED
      status=1
    fi
    line="fuzz: ${result} (${seconds} s per target), $(($(date +%s) - start)) s in all"
    echo "=== ${line}"
    summary+=("$line")
    continue
  fi
  if [[ $preset == package ]]; then
    echo "=== package: Debian packages, amd64 and armhf"
    start=$(date +%s)
    result=passed
    if ! scripts/package.sh; then
      result="FAILED to build"
      status=1
    elif ! tests/package/check-packages.sh; then
      result=FAILED
      status=1
    fi
    line="package: ${result}, $(($(date +%s) - start)) s"
    echo "=== ${line}"
    summary+=("$line")
    continue
  fi
  echo "=== ${preset}: build"
  start=$(date +%s)
  result=passed
  suite=""
  if cmake --preset "$preset" >/dev/null && cmake --build --preset "$preset"; then
    built=$(date +%s)
    echo "=== ${preset}: tests"
    if ! ctest --preset "$preset" | tee "$log_dir/$preset"; then
      result=FAILED
    fi
    suite=$(grep -Eo '[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+' "$log_dir/$preset" || true)
  else
    built=$(date +%s)
    result="FAILED to build"
  fi
  end=$(date +%s)
  [[ $result == passed ]] || status=1
  line="${preset}: ${result}${suite:+ (${suite})}, build $((built - start)) s, tests $((end - built)) s"
  echo "=== ${line}"
  summary+=("$line")
done

echo "=== summary ($(($(date +%s) - run_start)) s in all)"
printf '  %s\n' "${summary[@]}"
exit "$status"
