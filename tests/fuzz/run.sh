#!/usr/bin/env bash
# Runs every fuzzer of a build for a while, each from its seeds; a finding ends the run and is kept in the build folder.
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

for name in "${names[@]}"; do
    corpus=$build/corpus/$name findings=$build/findings/$name.
    mkdir -p "$corpus" "$(dirname "$findings")"
    seeds=()
    [ -d "tests/fuzz/seeds/$name" ] && seeds=("tests/fuzz/seeds/$name")
    words=()
    [ -f "tests/fuzz/$name.dict" ] && words=("-dict=tests/fuzz/$name.dict")
    printf '%-24s ' "$name"
    if ! "$build/tests/fuzz/$name" -max_total_time="$seconds" -max_len=2048 -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
        -artifact_prefix="$findings" "${words[@]}" "$corpus" "${seeds[@]}" > "$build/$name.log" 2>&1; then
        echo "FOUND SOMETHING:"
        tail -n 60 "$build/$name.log"
        exit 1
    fi
    awk '/ cov: /{cov=$0} /number_of_executed_units/{runs=$2} END {
        match(cov, /cov: [0-9]+/); printf "%s executions, %s\n", runs, substr(cov, RSTART, RLENGTH)}' "$build/$name.log"
done
