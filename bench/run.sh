#!/usr/bin/env bash
# Runs every benchmark of a release build, one after the other. Figures are for comparison within one run.
# relay_macro needs root, for a network namespace of its own.
# Usage: bench/run.sh BUILD_FOLDER [NAME...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?a build of the preset release}
shift
names=("$@")
if [ "${#names[@]}" -eq 0 ]; then
    mapfile -t names < <(find "$build/bench" -maxdepth 1 -type f -executable -name '*_bench' -printf '%f\n' | sort)
    if [ "$(id -u)" -eq 0 ]; then
        names+=(relay_macro)
    fi
fi
for name in "${names[@]}"; do
    printf '\n-- %s\n' "$name"
    case $name in
        *_bench) "$build/bench/$name" --benchmark_min_time=0.2 ;;
        *) "$build/bench/$name" ;;
    esac
done
