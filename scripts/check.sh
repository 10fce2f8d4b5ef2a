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

# Every header compiles on its own, so that the order of includes never matters. Compiled through ccache.
check_headers() {
    local flags out=$build/headers
    flags="-std=c++20 -O0 -Wall -Wextra -Werror -Isrc -I. -Itests $(pkg-config --cflags libtirpc libxml-2.0)
        $(find "$build" -type d -name rpcgen -printf '-isystem %p ')
        -DBOOST_BIND_GLOBAL_PLACEHOLDERS -DBOOST_ALLOW_DEPRECATED_HEADERS"
    mkdir -p "$out"
    headers | while read -r header; do
        printf '#include "%s"\n' "$header" | cmp -s - "$out/${header//\//_}.cpp" 2> /dev/null ||
            printf '#include "%s"\n' "$header" > "$out/${header//\//_}.cpp"
    done
    headers | tr / _ | xargs -P "$jobs" -I{} sh -c "ccache g++ $(echo $flags) -c $out/{}.cpp -o $out/{}.o || exit 255"
    echo "headers: $(headers | wc -l) stand on their own"
}

headers() { sources 'src/*.h' 'vnode/*.h' 'tools/*.h' 'tests/*.h'; }

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
