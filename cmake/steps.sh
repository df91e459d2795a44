# shellcheck shell=bash
# What ./run, ./test and ./check have in common; sourced from the project's folder.

# Says on standard error every twenty seconds how far the command behind a log is: its own latest
# "[n/m]" of compiling or "n/m Test" of testing, or how long it has been at it.
tell_progress() {
    trap '' INT  # ends with the command, not before it
    local what=$1 log=$2 seconds=0 latest
    while sleep 20 >/dev/null 2>&1; do  # outlives this a moment and must hold no pipe open
        seconds=$((seconds + 20))
        latest=$(tail -n 50 "$log" 2>/dev/null | tr '\r' '\n' |
            grep -oE '^\[[0-9]+/[0-9]+\]|^ *[0-9]+/[0-9]+ Test +#|^(Get|Unpacking|Setting up).*' |
            tail -n 1 | sed 's/ *Test *#/ tests/; s/^ *//' || true)
        echo "   $what: ${latest:+$latest, }$seconds s" >&2
    done
}

# quietly WHAT LOG COMMAND...: runs the command into the log; shows the log on standard error only
# when the command fails, and answers its status.
quietly() {
    local what=$1 log=$2 status=0
    shift 2
    mkdir -p "$(dirname "$log")"
    tell_progress "$what" "$log" &
    local teller=$!
    "$@" >"$log" 2>&1 || status=$?
    kill "$teller" 2>/dev/null || true
    wait "$teller" 2>/dev/null || true
    [ "$status" -eq 0 ] || cat "$log" >&2
    return "$status"
}

# A compiler cache that cannot be written (a user without a home, say) would fail every compilation.
usable_cache() {
    local cache=${CCACHE_DIR:-${XDG_CACHE_HOME:-${HOME:-/nonexistent}/.cache}/ccache}
    mkdir -p "$cache" 2>/dev/null || true
    [ -w "$cache" ] || export CCACHE_DIR=$PWD/build/ccache
}

# The build folder of a run through sudo belongs to root, and then everybody else fails late.
usable_build_folder() {
    mkdir -p build 2>/dev/null || true
    local unwritable
    unwritable=$(find build -maxdepth 2 ! -writable -print -quit 2>/dev/null)
    if [ ! -d build ] || [ -n "$unwritable" ]; then
        echo "${unwritable:-$PWD/build} cannot be written: remove it, or run this as its owner (through sudo)" >&2
        exit 1
    fi
}

step() { printf '\n== %s\n' "$*"; }

# The files of the project with such names, wherever the project came from (a tarball has no git).
project_files() {
    local names=(-false) name
    for name in "$@"; do
        names+=(-o -name "$name")
    done
    find . \( -path ./build -o -path ./.git -o -path ./.cache \) -prune -o -type f \( "${names[@]}" \) -print |
        sort
}

# Those of its files that a shell runs.
project_scripts() {
    project_files '*' | xargs -d '\n' grep -lE '^#!.*\b(ba)?sh$|^# shellcheck shell=' --
}

log=build/last-step.log

# configure PRESET [OPTION...], build PRESET TARGET, run_tests PRESET [CTEST-OPTION...]
configure() {
    local preset=$1
    shift
    quietly "configuring $preset" "$log" cmake --preset "$preset" "$@"
}
build() { quietly "compiling $1" "$log" cmake --build --preset "$1" --target "$2"; }
run_tests() {
    local preset=$1 results=$PWD/build/$1/results.xml
    shift
    quietly "testing $preset" "$log" ctest --test-dir "build/$preset" --output-on-failure \
        --no-tests=error -j "$(nproc)" --output-junit "$results" \
        --test-output-size-passed 1000000 "$@"
    /usr/bin/python3 -B Tests/Project/skipped_tests.py "$results"
    grep -E '^(Total Test time|[0-9]+% tests passed)' "$log"
}
