# shellcheck shell=bash
# Finds out which packages are missing and installs them. Sourced by common.sh.

# The versions of clang that build Orvanel, the preferred ones first. GCC 13 builds it too, but Debian 12 has an older GCC that
# miscompiles coroutines. With clang everywhere, all machines run what the tests ran.
clang_versions=(18 16 19 17 20 21)

os_field() { (. /etc/os-release 2>/dev/null && printf '%s' "${!1:-}") || true; }

# Debian, Ubuntu and their derivatives.
has_apt() {
    [[ " $(os_field ID) $(os_field ID_LIKE) " =~ \ (debian|ubuntu)\  ]] && command -v apt-get >/dev/null
}

is_installed() { [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]; }
is_offered() { [[ $(LC_ALL=C apt-cache policy "$1" 2>/dev/null) =~ Candidate:\ [^\(] ]]; }

# The version of clang to build with: an installed one, or else the first that apt offers.
clang_version() {
    local test version
    for test in is_installed is_offered; do
        for version in "${clang_versions[@]}"; do
            if "$test" "clang-$version"; then
                echo "$version"
                return
            fi
        done
    done
    # apt has no lists yet, so this names the versions in the supported distributions.
    if [[ $(os_field ID)$(os_field VERSION_ID) == debian12 ]]; then echo 16; else echo 18; fi
}

compiler() {
    if has_apt; then
        echo "clang++-$(clang_version)"
    else
        echo clang++
    fi
}

# The folder where the tools of LLVM have their plain names.
llvm_folder() {
    if has_apt; then
        echo "/usr/lib/llvm-$(clang_version)/bin"
    else
        dirname "$(command -v clang++)"
    fi
}

# rows PURPOSE…: the rows of packages.txt for these purposes, each package once.
rows() {
    awk -v wanted=" $* " '
        NF == 3 && $1 !~ /^#/ && index(wanted, " " $1 " ") && !seen[$2]++ { print $2, $3 }' scripts/packages.txt
}

# chosen PACKAGE|PACKAGE…: the first one that is installed or offered, or else the last.
chosen() {
    local package
    for package in ${1//|/ }; do
        if is_installed "$package" || is_offered "$package"; then break; fi
    done
    echo "$package"
}

missing_from_apt() {
    local package clang
    clang=$(clang_version)
    rows "$@" | while read -r package _; do
        package=${package//@/$clang}
        [[ $package != *"|"* ]] || package=$(chosen "$package")
        is_installed "$package" || echo "$package"
    done
}

is_found() {
    local folder
    case $1 in
    -) return 0 ;;
    *.cmake)
        for folder in /usr/lib*/cmake /usr/lib/*/cmake /usr/share/cmake /usr/local/lib*/cmake; do
            [[ ! -e $folder/$1 ]] || return 0
        done
        return 1
        ;;
    *.h) [[ -e /usr/include/$1 || -e /usr/local/include/$1 ]] ;;
    *) command -v "$1" >/dev/null ;;
    esac
}

missing_elsewhere() {
    local package probe
    rows "$@" | while read -r package probe; do
        package=${package//-@/}
        is_found "$probe" || echo "${package//|/ or } ($probe)"
    done
}

as_root() {
    if ((EUID == 0)); then
        "$@"
    elif { : </dev/tty; } 2>/dev/null; then
        sudo "$@" # asks for the password on the terminal, even with another input
    else
        sudo -n "$@"
    fi
}

# apt_get ARGUMENT…: asks nothing, waits until another apt ends, restarts no service, and logs its whole output.
apt_get() {
    as_root env DEBIAN_FRONTEND=noninteractive NEEDRESTART_MODE=l LC_ALL=C.UTF-8 \
        apt-get -q -y -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 "$@" </dev/null 2>&1 |
        tee -a "$apt_log" | sed -unE '/newly installed|^Need to get|^Fetched/s/^/    /p'
}

# Fails if some lists could not be fetched. The others may still be enough.
update_lists() {
    local before deadline=$((SECONDS + 300)) waits=
    say "Updating the lists of packages"
    while before=$(wc -c <"$apt_log") && ! apt_get update -o APT::Update::Error-Mode=any; do
        # apt waits for another apt when it installs, but not when it updates its lists.
        tail -c +$((before + 1)) "$apt_log" | grep -q "Could not get lock" || return 1
        ((SECONDS < deadline)) || return 1
        [[ $waits ]] || note "Waiting for another apt to end"
        waits=yes
        sleep 2
    done
}

all_offered() {
    local package
    for package in "$@"; do is_offered "$package" || return 1; done
}

# Debian starts a server when its package is installed, unless this file forbids it. The tests start their own servers, so the
# file is there while apt works.
install_starting_nothing() (
    policy=/usr/sbin/policy-rc.d mark="Written by Orvanel's scripts/packages.sh"
    if [[ ! -e $policy ]] || grep -q "$mark" "$policy"; then
        trap 'as_root rm -f "$policy"' EXIT
        { printf '#!/bin/sh\n# %s\nexit 101\n' "$mark" | as_root tee "$policy" >/dev/null && as_root chmod 755 "$policy"; } ||
            fail "$policy, which keeps servers from starting, could not be written; the reason is above."
    fi
    install_removing_nothing "$@" && exit
    update_lists || true # the lists may be older than the packages that they name
    install_removing_nothing "$@" || fail "apt-get could not install the packages; its output is in $apt_log."
)

# When apt may not ask, it removes conflicting packages, such as Docker's own ones if those of the distribution are wanted.
install_removing_nothing() {
    local in_the_way
    in_the_way=$(LC_ALL=C apt-get -s install --no-install-recommends "$@" 2>/dev/null | awk '/^Remv/ { print "    " $2 }') || true
    [[ -z $in_the_way ]] || fail "To install $*, apt would have to remove the packages below. Remove them first if you agree."$'\n'"$in_the_way"
    apt_get install --no-remove --no-install-recommends "$@"
}

install_with_apt() {
    local not_updated=
    local -a missing
    mapfile -t missing < <(missing_from_apt "$@")
    ((${#missing[@]})) || return 0
    ((EUID == 0)) || command -v sudo >/dev/null ||
        fail "Packages are missing, and there is no sudo to install them. Run as root: apt-get install --no-install-recommends ${missing[*]}"

    check_build_folder
    apt_log=build/apt.log
    : >"$apt_log"
    if ! all_offered "${missing[@]}"; then
        update_lists || not_updated=yes
        mapfile -t missing < <(missing_from_apt "$@") # fresh lists may offer another clang
        all_offered "${missing[@]}" || [[ -z $not_updated ]] ||
            fail "apt-get could not update its lists of packages; its output is in $apt_log. You need: ${missing[*]}."
        all_offered "${missing[@]}" ||
            fail "You need these packages, and $(os_field PRETTY_NAME) does not offer all of them: ${missing[*]}. Debian 12 and 13 do."
    fi
    say "Installing ${missing[*]} and what they need (apt's output: $apt_log)"
    install_starting_nothing "${missing[@]}" || exit
}

check_elsewhere() {
    local -a missing
    mapfile -t missing < <(missing_elsewhere "$@")
    ((${#missing[@]})) || return 0
    say "You need these packages, here under their Debian names:"
    printf '    %s\n' "${missing[@]}"
    fail "This command installs packages on Debian and Ubuntu only. Install the packages above with the tools of $(os_field PRETTY_NAME), then try again."
}

# need PURPOSE…: installs what packages.txt lists for these purposes.
need() {
    if has_apt; then
        install_with_apt "$@"
    else
        check_elsewhere "$@"
    fi
}
