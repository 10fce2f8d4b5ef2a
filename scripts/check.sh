#!/usr/bin/env bash
# Static checks: formatting, the order of rooms, self-contained headers, clang-tidy.
# Usage: scripts/check.sh BUILD_FOLDER [format|rooms|headers|tidy|tidy-all ...]      (the first four without a choice)
# clang-tidy takes longer than the build. "tidy" looks only at what differs from TIDY_BASE, which is a commit; without it, from
# where this branch left origin/main, or from the commit before this one.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?a configured and built folder, such as build/dev}
shift
checks=("$@")
[ "${#checks[@]}" -gt 0 ] || checks=(format rooms headers tidy)
jobs=$(nproc)

sources() { git ls-files --cached --others --exclude-standard -- "${@}" | sort; }

check_format() {
    sources '*.h' '*.cpp' | xargs clang-format-14 --dry-run -Werror
    echo "format: $(sources '*.h' '*.cpp' | wc -l) files as .clang-format has them"
}

check_rooms() { /usr/bin/python3 scripts/check-rooms.py; }

# Every header compiles on its own, so that the order of includes never matters, and with no other rooms than its own ones.
check_headers() {
    cmake --build "$build" --parallel "$jobs" --target headers > "$build/headers.log" 2>&1 || { grep -A12 rror "$build/headers.log"; return 1; }
    echo "headers: $(find "$build/headers" -name '*.cpp' | wc -l) stand on their own"
}

tidy_sources() { sources 'src/*.cpp' 'vnode/*.cpp' 'tools/*.cpp' | grep -v '^src/platform/board/'; }

# The sources that differ from the base, and for each header that differs one source that includes it: its own, if it has one.
changed_sources() {
    local base=${TIDY_BASE:-} changed header own
    if [ -z "$base" ]; then
        base=$(git merge-base HEAD origin/main 2> /dev/null) || base=HEAD
        [ "$(git rev-parse "$base")" != "$(git rev-parse HEAD)" ] || base=HEAD~
    fi
    if ! changed=$(git diff --name-only --diff-filter=d "$base" -- 2> /dev/null) || grep -qx '.clang-tidy' <<< "$changed"; then
        tidy_sources # nothing to compare with, or other rules
        return
    fi
    changed+=$'\n'$(git ls-files --others --exclude-standard)
    {
        tidy_sources | grep -xF "$changed" || true
        for header in $(grep '\.h$' <<< "$changed" || true); do
            own=${header%.h}.cpp
            [ -f "$own" ] || own=$(tidy_sources | xargs grep -lE "#include \"(${header#src/}|$header)\"" | head -n 1 || true)
            [ -z "$own" ] || tidy_sources | grep -xF "$own" || true
        done
    } | sort -u
}

run_tidy() {
    local files=$1
    [ -n "$files" ] || { echo "tidy: no file differs"; return; }
    # shellcheck disable=SC2086  # one word a file
    printf '%s\n' $files | xargs -P "$jobs" -n 4 clang-tidy-14 -p "$build" --quiet 2>&1 |
        { grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed|^Use -header-filter' || true; } | tee "$build/tidy.log"
    if grep -qE '(warning|error):' "$build/tidy.log"; then
        return 1
    fi
    echo "tidy: $(wc -w <<< "$files") files without a finding"
}

check_tidy() { run_tidy "$(changed_sources)"; }

check_tidy_all() { run_tidy "$(tidy_sources)"; }

for check in "${checks[@]}"; do
    "check_${check//-/_}"
done
