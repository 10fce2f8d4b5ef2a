#!/usr/bin/env bash
# Installs what is missing, builds, and passes all tests. Root is needed: the system tests make network namespaces.
# Usage: ./test.sh [STAGE...]   stages: deps unit system checks sanitizers fuzz (all of these without a choice), bench
set -euo pipefail
cd "$(dirname "$0")"

stages=("$@")
[ "${#stages[@]}" -gt 0 ] || stages=(deps unit system checks sanitizers fuzz)
jobs=$(nproc)
export CCACHE_MAXSIZE=${CCACHE_MAXSIZE:-2G}

say() { printf '\n== %s (%s)\n' "$*" "$(date -u +%H:%M:%S)"; }
build() { # PRESET [TARGET...]
    local log=build/$1.log
    mkdir -p build
    if ! { cmake --preset "$1" && cmake --build --preset "$1" --parallel "$jobs" -- "${@:2}"; } > "$log" 2>&1; then
        grep -E -A12 'FAILED|rror' "$log" | head -n 80
        echo "The build of $1 failed; all of it is in $log." >&2
        return 1
    fi
    tail -n 1 "$log"
}

stage_deps() {
    say "Dependencies"
    scripts/install-deps.sh
}

stage_unit() {
    say "Build (dev) and unit tests"
    build dev
    ctest --preset dev -L unit --parallel "$jobs"
}

stage_checks() {
    say "Formatting, rooms, headers, clang-tidy"
    build dev
    scripts/check.sh build/dev
}

stage_sanitizers() {
    say "Unit tests under the address and undefined-behaviour sanitizers"
    build asan-ubsan
    ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1 \
        ctest --preset asan-ubsan -L unit --parallel "$jobs"
    say "Unit tests under the thread sanitizer"
    build tsan
    TSAN_OPTIONS=halt_on_error=1 ctest --preset tsan -L unit --parallel "$jobs"
}

stage_fuzz() {
    say "Fuzzers, ${FUZZ_SECONDS:=30} seconds each"
    build fuzz fuzzers
    tests/fuzz/run.sh build/fuzz "$FUZZ_SECONDS"
}

stage_system() {
    say "System tests: real clients, servers and the daemon in network namespaces"
    build dev
    /usr/bin/python3 -m unittest discover -s tests/system -v
}

stage_bench() {
    say "Benchmarks (release build)"
    build release
    bench/run.sh build/release
}

began=$SECONDS
for stage in "${stages[@]}"; do
    stage_began=$SECONDS
    "stage_$stage"
    echo "-- $stage: $((SECONDS - stage_began)) s"
done
echo
echo "All stages passed (${stages[*]}) in $((SECONDS - began)) s."
