#!/usr/bin/env bash
# Installs what is missing, builds, and passes all tests. Root is needed: the system tests make network namespaces.
# Usage: ./test.sh [STAGE...]
# Stages without a choice: deps unit system checks sanitizers fuzz. Others: tidy-all (clang-tidy over the whole tree instead of
# what has changed), system-sanitized (all system tests under both sanitizer builds instead of a selection), bench.
set -euo pipefail
cd "$(dirname "$0")"

stages=("$@")
[ "${#stages[@]}" -gt 0 ] || stages=(deps unit system checks sanitizers fuzz)
jobs=$(nproc)
# A checkout in another folder finds the objects as well.
export CCACHE_MAXSIZE=${CCACHE_MAXSIZE:-2G} CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD} CCACHE_NOHASHDIR=1

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

stage_tidy_all() {
    say "clang-tidy over the whole tree"
    build dev
    scripts/check.sh build/dev tidy-all
}

system_tests() { # PRESET [MODULE...]   (all modules without a choice)
    local words=(discover -s tests/system)
    [ "$#" -eq 1 ] || words=("${@:2}")
    DHCPRA_BUILD=$PWD/build/$1 PYTHONPATH=tests/system /usr/bin/python3 -m unittest "${words[@]}" -v
}

# One build for unit and system tests. The system tests are those that most of the code runs in.
stage_sanitizers() {
    local selection=(test_relay test_relay6 test_framework)
    say "Unit and system tests under the address and undefined-behaviour sanitizers"
    build asan-ubsan
    ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1 \
        ctest --preset asan-ubsan -L unit --parallel "$jobs"
    system_tests asan-ubsan "${selection[@]}"
    say "Unit and system tests under the thread sanitizer"
    build tsan
    TSAN_OPTIONS=halt_on_error=1 ctest --preset tsan -L unit --parallel "$jobs"
    system_tests tsan "${selection[@]}"
}

stage_system_sanitized() {
    for preset in asan-ubsan tsan; do
        say "All system tests, build $preset"
        build "$preset"
        system_tests "$preset"
    done
}

stage_fuzz() {
    say "Fuzzers, ${FUZZ_SECONDS:=30} seconds each"
    build fuzz fuzzers
    tests/fuzz/run.sh build/fuzz "$FUZZ_SECONDS"
}

stage_system() {
    say "System tests: real clients, servers and the daemon in network namespaces"
    build dev
    system_tests dev
}

stage_bench() {
    say "Benchmarks (release build)"
    build release
    bench/run.sh build/release
}

began=$SECONDS
for stage in "${stages[@]}"; do
    stage_began=$SECONDS
    "stage_${stage//-/_}"
    echo "-- $stage: $((SECONDS - stage_began)) s"
done
echo
echo "All stages passed (${stages[*]}) in $((SECONDS - began)) s."
