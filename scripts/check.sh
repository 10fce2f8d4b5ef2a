#!/usr/bin/env bash
# Static checks: formatting, the order of rooms, self-contained headers, clang-tidy.
# Usage: scripts/check.sh BUILD_FOLDER [format|rooms|headers|tidy ...]      (all without a choice)
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

check_tidy() {
    local files
    files=$(sources 'src/*.cpp' 'vnode/*.cpp' 'tools/*.cpp' | grep -v '^src/platform/board/')
    # shellcheck disable=SC2086  # one word a file
    printf '%s\n' $files | xargs -P "$jobs" -n 4 clang-tidy-14 -p "$build" --quiet 2>&1 |
        { grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed|^Use -header-filter' || true; } | tee "$build/tidy.log"
    if grep -qE '(warning|error):' "$build/tidy.log"; then
        return 1
    fi
    echo "tidy: $(wc -w <<< "$files") files without a finding"
}

for check in "${checks[@]}"; do
    "check_$check"
done
