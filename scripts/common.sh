# common.sh - what play, test and .ci/run share. Sourced by bash, not run.
#
# Missing tools are installed with apt-get: as root directly, otherwise through sudo. A machine
# without apt-get is told what it lacks.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc 2>/dev/null || echo 2)

say() { printf '== %s\n' "$*"; }
fail() { printf '%s\n' "$*" >&2; exit 1; }

# as_root COMMAND...
as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"
    elif command -v sudo >/dev/null; then sudo "$@"
    else return 1
    fi
}

# have THING: a command on the PATH, a file by its full name, or "header:PATH" for a header the
# compiler finds.
have() {
    case $1 in
        header:*) echo "#include <${1#header:}>" | "${CXX:-g++}" -std=c++20 -x c++ -E - >/dev/null 2>&1 ;;
        /*) [ -e "$1" ] ;;
        *) command -v "$1" >/dev/null ;;
    esac
}

# need THING PACKAGE [THING PACKAGE]...: installs the packages of the things that are missing.
# False when something is still missing afterwards; says what.
need() {
    local things=() packages=() i thing
    while [ $# -ge 2 ]; do
        if ! have "$1"; then things+=("$1"); packages+=("$2"); fi
        shift 2
    done
    [ ${#packages[@]} -eq 0 ] && return 0
    say "installing: ${packages[*]}"
    if command -v apt-get >/dev/null; then
        # </dev/null: a package that asks questions must not eat the caller's input.
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
            "${packages[@]}" </dev/null >/dev/null 2>&1 \
        || { as_root apt-get update </dev/null >/dev/null \
             && as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
                    "${packages[@]}" </dev/null >/dev/null; }
    fi
    local missing=0
    for i in "${!things[@]}"; do
        thing=${things[$i]}
        if ! have "$thing"; then
            echo "missing: $thing (package ${packages[$i]})" >&2
            missing=1
        fi
    done
    if [ $missing -ne 0 ] && command -v apt-get >/dev/null; then
        echo "to install them by hand, as root: apt-get update && apt-get install ${packages[*]}" >&2
    fi
    return $missing
}

need_build_tools() {
    # libc6-dev comes with g++ only as a recommendation of some releases; asked for by header.
    need "${CXX:-g++}" g++ cmake cmake make make || return 1
    need header:cstdio g++ header:stdio.h libc6-dev
}

# configure FOLDER OPTION...: quiet unless it fails. A folder that another source tree or
# another generator left behind is made anew.
configure() {
    local folder=$1 log
    shift
    log=$(mktemp)
    if ! cmake -S "$root" -B "$folder" "$@" >"$log" 2>&1; then
        rm -rf "$folder/CMakeCache.txt" "$folder/CMakeFiles"
        if ! cmake -S "$root" -B "$folder" "$@" >"$log" 2>&1; then
            cat "$log" >&2
            rm -f "$log"
            return 1
        fi
    fi
    rm -f "$log"
}

# build FOLDER [TARGET...]: quiet unless it fails.
build() {
    local folder=$1 log
    shift
    log=$(mktemp)
    if ! cmake --build "$folder" --parallel "$jobs" ${1:+--target "$@"} >"$log" 2>&1; then
        grep -v '^\[' "$log" | head -n 200 >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# run_tests FOLDER CTEST-OPTION...: sets passed, failed and skipped. True when nothing failed
# and something ran.
run_tests() {
    local folder=$1 report total status=0
    shift
    passed=0 failed=0 skipped=0
    report=$(mktemp)
    ctest --test-dir "$folder" --parallel "$jobs" --output-on-failure --output-junit "$report" "$@" </dev/null \
        || status=$?
    count() { grep -o "$1=\"[0-9]*\"" "$report" | head -n 1 | tr -dc 0-9; }
    total=$(count tests) failed=$(count failures) skipped=$(count skipped)
    total=${total:-0} failed=${failed:-0} skipped=${skipped:-0}
    # Programs that are missing count as skipped there.
    if [ "$status" -ne 0 ] && [ "$failed" -eq 0 ]; then failed=1 skipped=$((skipped > 0 ? skipped - 1 : 0)); fi
    passed=$((total - failed - skipped))
    rm -f "$report"
    [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
}
