#!/usr/bin/env bash
# Runs every fuzzer of a build for a while, each from its seeds, as many at a time as there are processors. A finding is kept in the
# build folder and fails the run.
# Usage: tests/fuzz/run.sh BUILD_FOLDER SECONDS [NAME...]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:?a build of the preset fuzz} seconds=${2:?seconds for each}
shift 2
names=("$@")
if [ "${#names[@]}" -eq 0 ]; then
    mapfile -t names < <(find "$build/tests/fuzz" -maxdepth 1 -type f -executable -name 'fuzz_*' -printf '%f\n' | sort)
fi
[ "${#names[@]}" -gt 0 ] || { echo "no fuzzer in $build/tests/fuzz" >&2; exit 1; }

run() { # NAME
    local name=$1 corpus=$build/corpus/$1 findings=$build/findings/$1. seeds=() words=()
    mkdir -p "$corpus" "$(dirname "$findings")"
    [ ! -d "tests/fuzz/seeds/$name" ] || seeds=("tests/fuzz/seeds/$name")
    [ ! -f "tests/fuzz/$name.dict" ] || words=("-dict=tests/fuzz/$name.dict")
    if ! "$build/tests/fuzz/$name" -max_total_time="$seconds" -max_len=2048 -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
        -artifact_prefix="$findings" "${words[@]}" "$corpus" "${seeds[@]}" > "$build/$name.log" 2>&1; then
        printf '%-24s FOUND SOMETHING:\n%s\n' "$name" "$(tail -n 60 "$build/$name.log")"
        return 1
    fi
    awk -v name="$name" '/ cov: /{cov=$0} /number_of_executed_units/{runs=$2} END {
        match(cov, /cov: [0-9]+/); printf "%-24s %s executions, %s\n", name, runs, substr(cov, RSTART, RLENGTH)}' "$build/$name.log"
}
export -f run
export build seconds
printf '%s\n' "${names[@]}" | xargs -P "$(nproc)" -I{} bash -euo pipefail -c 'run "$1"' _ {}
