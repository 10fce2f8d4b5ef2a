#!/usr/bin/env bash
# Runs every benchmark of a release build, one after the other. Figures are for comparison within one run.
# Usage: bench/run.sh BUILD_FOLDER [NAME...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?a build of the preset release}
shift
names=("$@")
if [ "${#names[@]}" -eq 0 ]; then
    mapfile -t names < <(find "$build/bench" -maxdepth 1 -type f -executable -name '*_bench' -printf '%f\n' | sort)
fi
for name in "${names[@]}"; do
    printf '\n-- %s\n' "$name"
    "$build/bench/$name" --benchmark_min_time=0.2
done
