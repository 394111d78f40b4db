#!/usr/bin/env bash
# Mutation testing of the library: how many small faults in ZelObjectModel/
# and Include/Zel/ the test suite catches.
#   scripts/mutate.sh [N] [SEED] [FILES...]
# copies the tracked tree to build/mutate/tree (unchanged files keep their
# times, so a second run rebuilds only what changed), builds it once (-O1,
# no debug information), then samples N mutants (default 20) with SEED
# (default 1) from FILES (default: the library's sources and headers). Each
# mutant changes one site:
#   relational  < <= > >=        equality  == !=        logical  && ||
#   arithmetic  + - * / % += -=  literal   true false, integers up to 255
#   negation    a removed !      statement a deleted one-line expression
# Never inside string or character literals, comments, preprocessor lines
# or the log statements (ZEL_LOG_*), whose texts the log tests pin. The
# mutant is rebuilt (ninja rebuilds what it touches), then the library's
# test programs run fastest first, each through
# `ctest --stop-on-failure --timeout T` (ZEL_MUTATE_TIMEOUT, default 30 s).
# Left out: the platform stand-ins' tests, the zelknx tool's tests (the
# monitor's starts knxd), the installed-package test and the ABI check,
# which do not test the library's own code. The working tree may change
# meanwhile: each mutated file is restored from the copy. Prints killed, survived (each as `file:line old ==> new`)
# and did-not-compile, and the score: killed / compiled mutants.
set -euo pipefail
if [[ ${1:-} == -h || ${1:-} == --help ]]; then
  sed -n '2,/^set -e/p' "$0" | sed '$d; s/^# \{0,1\}//'
  exit 0
fi
cd "$(dirname "$0")/.."
root=$PWD
count=${1:-20}
seed=${2:-1}
shift $(($# < 2 ? $# : 2))
files=("$@")
if ((${#files[@]} == 0)); then
  mapfile -t files < <(git ls-files 'ZelObjectModel/*.cpp' 'ZelObjectModel/*.h' 'Include/Zel/*.h')
fi
timeout=${ZEL_MUTATE_TIMEOUT:-30}
programs=(TimeOfDayTest TavValueHelperTest DptCatalogueTest KnxOmbMappingTest
  GroupValueTavValueTest KnxConverterTest KnxValueConverterTest FuzzFindingsTest LoggingTest
  AppHostConfigTest AppHostConfigFileFaultTest DscAsyncRequestMessengerTest
  DscAsyncRequestMessengerStressTest)

tree=$root/build/mutate/tree
build=$root/build/mutate/build
mkdir -p "$tree"
echo "mutate: copying the tracked tree to $tree"
while IFS= read -r -d '' file; do
  if [[ -f $file ]] && ! cmp -s "$file" "$tree/$file"; then
    mkdir -p "$tree/$(dirname "$file")"
    cp "$file" "$tree/$file"
  fi
done < <(git ls-files -z)

echo "mutate: building once"
cmake -S "$tree" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS=-O1 \
  -DZEL_BUILD_BENCHMARKS=OFF -DZEL_BUILD_EXAMPLES=OFF -DZEL_WARNINGS_AS_ERRORS=OFF \
  -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST -DZEL_TEST_TIMEOUT="$timeout" >/dev/null
build_mutant() { nice ninja -C "$build" -j2 "${programs[@]}" >/dev/null 2>&1; }
build_mutant

# One ctest run per program, fastest first (timed on the unchanged tree).
run_program() {
  nice ctest --test-dir "$build" -L "^$1\$" --no-tests=error --stop-on-failure --timeout "$timeout" -j2 \
    >/dev/null 2>&1
}
timed=()
for program in "${programs[@]}"; do
  start=$(date +%s%N)
  run_program "$program" || { echo "mutate: $program fails without a mutant" >&2; exit 1; }
  timed+=("$(($(date +%s%N) - start)) $program")
done
mapfile -t programs < <(printf '%s\n' "${timed[@]}" | sort -n | cut -d' ' -f2)
run_suite() {
  local program
  for program in "${programs[@]}"; do
    run_program "$program" || return 1
  done
}

# The mutator: `sites FILES...` lists every site as `file line column old
# new`; `apply TREE SITE` writes that one change into TREE's copy.
mutator() {
  python3 - "$@" <<'EOF'
import re, sys
BINARY = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||",
          "||": "&&", "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+="}
# Binary operators stand between spaces (clang-format), which tells them
# from template brackets, pointers and unary signs.
MUTATIONS = [
    (r"(?<= )(?:<=|>=|==|!=|&&|\|\||\+=|-=|[<>+\-*/%])(?= )", BINARY),
    (r"\b(?:true|false)\b", {"true": "false", "false": "true"}),
    (r"(?<![\w.'])\d{1,3}\b(?![.'])", None),
    (r"!(?!=)", {"!": ""}),
]
STATEMENT = re.compile(r"^\s*(?!(?:return|break|continue|throw|delete|case|for|if|while|switch|do"
                       r"|else|using|typedef|static_assert)\b)"
                       r"[\w:.\->\[\]*]+\s*(?:\(|[+\-*/|&]?=[^=]|\+\+|--).*;\s*$")

def masked(lines):
    """The lines with literals and comments blanked; None for lines to skip."""
    out, in_comment, continued, log_depth = [], False, False, 0
    for line in lines:
        code, i = "", 0
        while i < len(line):
            if in_comment:
                end = line.find("*/", i)
                j, in_comment = (len(line), True) if end < 0 else (end + 2, False)
                code, i = code + " " * (j - i), j
            elif line.startswith("//", i):
                break
            elif line.startswith("/*", i):
                code, i, in_comment = code + "  ", i + 2, True
            elif line[i] in "\"'":
                m = re.match(r"%s(?:\\.|[^\\%s])*%s" % ((line[i],) * 3), line[i:])
                n = len(m.group(0)) if m else 1
                code, i = code + " " * n, i + n
            else:
                code, i = code + line[i], i + 1
        logged = log_depth > 0 or "ZEL_LOG" in code
        if logged:
            log_depth = max(0, log_depth + code.count("(") - code.count(")"))
        out.append(None if continued or logged or code.lstrip().startswith("#") else code)
        continued = line.rstrip().endswith("\\")
    return out

def sites(path):
    lines = open(path).read().split("\n")
    for number, code in enumerate(masked(lines), 1):
        if code is None:
            continue
        for pattern, table in MUTATIONS:
            for m in re.finditer(pattern, code):
                old = m.group(0)
                if table is None:
                    value = int(old)
                    if value > 255 or old != str(value):
                        continue
                    new = "0" if value == 1 else str(value + 1)
                else:
                    new = table[old]
                yield (path, number, m.start(), old, new)
        if (STATEMENT.match(code) and code.count("(") == code.count(")")
                and not re.search(r"=\s*(?:delete|default)\s*;", code)):
            yield (path, number, 0, lines[number - 1], "")

if sys.argv[1] == "sites":
    for path in sys.argv[2:]:
        for path_, line, column, old, new in sites(path):
            print("\t".join([path_, str(line), str(column), old, new]))
else:
    tree, (path, line, column, old, new) = sys.argv[2], sys.argv[3].split("\t")
    lines = open(tree + "/" + path).read().split("\n")
    text, line, column = lines[int(line) - 1], int(line), int(column)
    assert text[column:column + len(old)] == old, (path, line, old)
    lines[line - 1] = text[:column] + new + text[column + len(old):]
    open(tree + "/" + path, "w").write("\n".join(lines))
EOF
}

mapfile -t all < <(mutator sites "${files[@]}")
mapfile -t sample < <(printf '%s\n' "${all[@]}" | python3 -c "
import random, sys
sites = sys.stdin.read().splitlines()
for site in random.Random($seed).sample(sites, min($count, len(sites))): print(site)")
echo "mutate: ${#sample[@]} of ${#all[@]} sites, seed $seed, ${#programs[@]} test programs"
killed=0 survived=0 broken=0 survivors=()
start=$(date +%s)
mutated=""
trap '[[ -z $mutated ]] || cp "$build/unmutated" "$tree/$mutated"' EXIT
for site in "${sample[@]}"; do
  IFS=$'\t' read -r file line _ old new <<<"$site"
  label="$file:$line ${old#"${old%%[! ]*}"} ==> ${new:-(removed)}"
  cp "$tree/$file" "$build/unmutated"
  mutated=$file
  mutator apply "$tree" "$site"
  if ! build_mutant; then
    broken=$((broken + 1)) verdict="did not compile"
  elif run_suite; then
    survived=$((survived + 1)) verdict=SURVIVED
    survivors+=("$label")
  else
    killed=$((killed + 1)) verdict=killed
  fi
  cp "$build/unmutated" "$tree/$file"
  mutated=""
  echo "  $verdict: $label"
done
build_mutant || true
compiled=$((killed + survived))
echo "mutate: survivors:"
printf '  %s\n' "${survivors[@]}"
echo "mutate: $killed killed, $survived survived, $broken did not compile" \
  "($(($(date +%s) - start)) s, seed $seed, ${#sample[@]} mutants)"
echo "mutate: score $((compiled ? 100 * killed / compiled : 100)) % of the compiled mutants"
