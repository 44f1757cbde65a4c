# shellcheck shell=bash
# Shared by the commands in this folder: messages, building, testing. Sourced after `set -euo pipefail`.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
cd "$root" || exit

say() { printf '==> %s\n' "$*"; }
note() { printf '    %s\n' "$*"; }
fail() {
    printf '\n%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# shellcheck source=scripts/packages.sh
source "$root/scripts/packages.sh"

# Every command writes into build/, where a command that another user ran, usually root, may have left files.
check_build_folder() {
    local foreign
    mkdir -p build 2>/dev/null || fail "You need permission to make the folder build/ in $root."
    # A cmake --install by root leaves its list and launchers there; they do not matter, because the next one replaces them.
    foreign=$(find build -maxdepth 3 ! -writable ! -user "$EUID" ! -type l ! -name install_manifest.txt \
        ! -path 'build/*/packaging/*' -print -quit 2>/dev/null) || true
    [[ -z $foreign ]] ||
        fail "$foreign belongs to another user ($(stat -c %U "$foreign")). Remove the folder build/, or run this command as that user."
}

# is_configured PRESET COMPILER: whether the folder of the preset is up to date. Ninja follows changes of the CMakeLists.
is_configured() {
    local folder=build/$1 compiler=$2
    [[ -f $folder/build.ninja && ! CMakePresets.json -nt $folder/CMakeCache.txt ]] || return 1
    grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$folder/CMakeCache.txt" || return 1 # else the clone was moved
    grep -qE "^CMAKE_CXX_COMPILER:[A-Z]+=(.*/)?${compiler//+/\\+}\$" "$folder/CMakeCache.txt"
}

# configure PRESET
configure() {
    local preset=$1 compiler log
    compiler=$(compiler)
    is_configured "$preset" "$compiler" && return
    check_build_folder
    say "Configuring build/$preset with $compiler"
    log=build/configure-$preset.log
    rm -f "build/$preset"/{CMakeCache.txt,build.ninja}
    if ! cmake --preset "$preset" -DCMAKE_CXX_COMPILER="$compiler" >"$log" 2>&1; then
        cat "$log" >&2
        fail "CMake could not configure build/$preset; its output is above and in $log."
    fi
}

# Prints a line for each tenth of the steps, and all output of the compiler. The shell itself reads, because Debian 13's awk
# reads a pipe in blocks that take minutes to fill.
build_progress() {
    local line tenth shown=0
    while IFS= read -r line; do
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]]; then
            tenth=$((10 * BASH_REMATCH[1] / BASH_REMATCH[2]))
            ((tenth > shown)) || continue
            shown=$tenth
            note "${BASH_REMATCH[1]} of ${BASH_REMATCH[2]} steps"
        elif [[ $line == "ninja: no work to do"* ]]; then
            note "is up to date"
        else
            printf '%s\n' "$line"
        fi
    done
}

# build PRESET [TARGET…]
build() {
    local preset=$1
    local -a targets=()
    shift
    (($# == 0)) || targets=(--target "$@")
    configure "$preset"
    check_build_folder
    say "Building build/$preset"
    cmake --build --preset "$preset" "${targets[@]}" 2>&1 | build_progress ||
        fail "The build in build/$preset failed; the compiler's output is above."
}

# sanitized COMMAND…: runs a program that was built with a sanitizer.
sanitized() {
    local -a fixed_addresses=()
    # Older sanitizers fail on kernels that spread addresses widely (Ubuntu 24.04 and later).
    setarch -R true 2>/dev/null && fixed_addresses=(setarch -R)
    # The sanitizers find the tool that turns addresses into names on the PATH.
    PATH="$(llvm_folder):$PATH" "${fixed_addresses[@]}" "$@"
}

# run_tests FOLDER [CTEST ARGUMENT…]
run_tests() {
    local folder=$1
    shift
    say "Running the tests of $folder"
    sanitized ctest --test-dir "$folder" --parallel 2 --output-on-failure --no-tests=error --no-label-summary "$@" </dev/null ||
        fail "Tests failed; their output is above."
}
