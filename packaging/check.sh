# shellcheck shell=bash
# Checks the package: validates it, installs it, starts the program from the application menu, upgrades the package while
# the program runs, and removes it. Sourced by ./package after make_it, as root.
# shellcheck source=scripts/stage.sh
source "${root:?}/scripts/stage.sh"

id=io.github.orvanel.Orvanel

# shellcheck disable=SC2317 # called by the trap
end_check() {
    trap - EXIT
    trap '' INT TERM HUP # a second Ctrl+C would leave the package on this machine
    end_children
    if [[ -n ${installed_here:-} ]]; then
        apt_get purge orvanel || true
    fi
    [[ -z $home ]] || rm -rf "$home"
}

# in_home COMMAND…: runs the command in a session of its own, which has nothing of the user's.
in_home() { env -i "${session[@]}" DBUS_SESSION_BUS_ADDRESS="$bus" "$@"; }

# Starts a session whose bus can start our program and nothing else.
start_session() {
    home=$(mktemp -d "${TMPDIR:-/tmp}/orvanel-package.XXXXXX")
    mkdir -p "$home"/{config/Orvanel,data,cache,temp,tools/usr/local/bin,services}
    mkdir -m 700 "$home/run"
    printf '%s\n' "[General]" "port=$((20000 + RANDOM % 10000))" "hasSeenGuide=true" >"$home/config/Orvanel/Orvanel.conf"
    start_display
    session=(HOME="$home" XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" XDG_CACHE_HOME="$home/cache"
        XDG_RUNTIME_DIR="$home/run" TMPDIR="$home/temp" PATH=/usr/bin:/bin USER="$(id -un)" LC_ALL=C.UTF-8
        DISPLAY="$display" QT_QPA_PLATFORM=xcb ORVANEL_TOOL_ROOT="$home/tools")
    start_bus "$home/services" -i "${session[@]}"
}

# ask METHOD ARGUMENT: calls a method of the bus itself.
ask() {
    in_home gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
        --method "org.freedesktop.DBus.$1" "$2" 2>/dev/null
}

# wait_for WHAT COMMAND…: waits up to 20 seconds until the command succeeds.
wait_for() {
    local tries what=$1
    shift
    for ((tries = 0; tries < 200; tries++)); do
        ! "$@" || return 0
        sleep 0.1
    done
    fail "$what; the program's output: $(cat "$home/bus.log")"
}

is_running() { [[ $(ask NameHasOwner "$id") == *true* ]]; }
shows_window() { in_home xwininfo -root -tree | grep -q '"Orvanel": ("orvanel" "Orvanel")'; }
# A process that has ended but was not reaped counts too: it is not our child, and the first process of a container may
# never reap it.
has_ended() { [[ $(sed 's/.*) //' "/proc/$pid/stat" 2>/dev/null) =~ ^(Z|$) ]]; }

# Sets $pid.
find_program() {
    wait_for "The program did not appear on the bus" is_running
    pid=$(ask GetConnectionUnixProcessID "$id" | grep -oE '[0-9]+,' | tr -d ,)
    [[ $(readlink "/proc/$pid/exe") == /usr/bin/orvanel ]] || fail "Another program has started."
}

# Runs the command in the menu entry. The window opens by itself because nothing here shows the icon.
start_from_menu() {
    say "Starting it from its entry in the application menu"
    in_home gio launch "/usr/share/applications/$id.desktop"
    find_program
    wait_for "The program showed no window" shows_window
}

# Application menus of large desktops let the bus start the program. The window must come before the 5 seconds after which
# it would open by itself.
start_by_bus() {
    local began
    say "Letting the bus start it"
    ! is_running || fail "The program is already running."
    in_home gdbus call --session --timeout 25 --dest "$id" --object-path "/${id//.//}" \
        --method org.freedesktop.Application.Activate "{}" >/dev/null || fail "The bus could not start the program: $(cat "$home/bus.log")"
    began=$(date +%s%N)
    find_program
    wait_for "The program showed no window" shows_window
    (($(date +%s%N) - began < 3500000000)) || fail "The window opened only after the 5 seconds without a panel."
}

end_program() {
    kill -TERM "$pid"
    wait_for "The program did not end" has_ended
}

# carries FIELD NAME: whether that field of the package names the other package.
carries() { [[ ", $(dpkg-deb -f "${package:?}" "$1")," =~ ,\ $2[\ ,] ]]; }

validate() {
    local content=$root/build/package/content file
    say "Validating the package"
    rm -rf "$content"
    dpkg-deb -x "$package" "$content"
    desktop-file-validate "$content/usr/share/applications/$id.desktop" || fail "The desktop file is not valid."
    validate_metainfo "$content/usr/share/metainfo/$id.metainfo.xml"
    man --warnings --local-file "$content/usr/share/man/man1/orvanel.1.gz" 2>"$root/build/package/man.log" >/dev/null ||
        fail "man could not show the manual page: $(cat "$root/build/package/man.log")"
    [[ ! -s $root/build/package/man.log ]] || fail "The manual page has errors: $(cat "$root/build/package/man.log")"
    check_publisher "$content"
    file=$content/usr/share/icons/hicolor/48x48/apps/$id.png
    [[ $(file --brief --mime-type "$file") == image/png ]] || fail "The package has no rendered icon."
    grep -qi "mit license\|permission is hereby granted" "$content/usr/share/licenses/orvanel/LICENSE" || fail "The package does not contain the licence."
    carries Depends libarchive-tools || fail "The package does not depend on the archiver."
    carries Depends qt6-svg-plugins || fail "The package does not depend on the plug-in that draws its icons."
    carries Recommends docker.io || fail "The package does not recommend Docker."
    carries Recommends polkitd || fail "The package does not recommend polkit."
    carries Recommends pkexec || fail "The package does not recommend what starts the root helper."
    check_launchers "$content" /usr/bin/orvanel
    check_helper "$content" "$content/usr" /usr/libexec
    dpkg-deb -c "$package" | grep ' root/root .* \./usr/libexec/orvanel-docker-setup$' >/dev/null ||
        fail "The root helper belongs to somebody else than root."
    check_module "$content/usr"
}

# check_module PREFIX: the program finds its module there, and the package depends on the libraries that only the module needs.
check_module() {
    local module=$1/lib/orvanel/modules/orvanel-formats.so library
    [[ -f $module ]] || fail "The module that reads archives and databases is not installed."
    # shellcheck disable=SC2016 # the dynamic linker's own word
    readelf --dynamic "$1/bin/orvanel" | grep -F '[$ORIGIN/../lib/orvanel/modules]' >/dev/null ||
        fail "The program does not look for its module where it is: $(readelf --dynamic "$1/bin/orvanel" | grep -i path)"
    readelf --dyn-syms --wide "$module" | grep ' orvanelFileFormats1$' >/dev/null || fail "The module is not one that the program can use."
    ! ldd "$module" | grep "not found" || fail "The module needs libraries that are not there."
    for library in libarchive13 libsqlite3-0; do
        grep -qF "$library" <<<"$(dpkg-deb -f "$package" Depends)" || fail "The package does not depend on $library."
    done
}

# From version 1 on, appstreamcli demands the home page, which only a publisher has; older versions do not know the demand.
validate_metainfo() {
    local -a lowered=()
    if [[ -z $(set_by_publisher HOMEPAGE) && $(appstreamcli --version) != *" 0."* ]]; then
        lowered=(--override url-homepage-missing=info)
        note "The package names no home page; the demand for one is left out."
    fi
    appstreamcli validate --no-net "${lowered[@]}" "$1" || fail "The metainfo file is not valid."
}

# check_helper LIBEXEC-ROOT PREFIX FOLDER: the root helper is there, only its owner may change it, and polkit's actions name it.
# It is never started here.
check_helper() {
    local helper=$1$3/orvanel-docker-setup policy=$2/share/polkit-1/actions/$id.policy
    [[ -x $helper ]] || fail "The root helper is not installed."
    [[ $(stat -c %a "$helper") == 755 ]] || fail "The root helper has wrong permissions: $(stat -c %A "$helper")"
    [[ $(grep -cF "exec.path\">$3/orvanel-docker-setup<" "$policy") == 3 ]] || fail "$policy names another helper."
    [[ $(grep -c "<allow_.*>auth_admin<" "$policy") == 9 && $(grep -c "<allow_" "$policy") == 9 ]] ||
        fail "$policy lets somebody in without a password."
}

# set_by_publisher NAME: the value that the package was configured with.
set_by_publisher() { sed -n "s/^ORVANEL_$1:STRING=//p" build/release/CMakeCache.txt; }

# says FILE WORDS VALUE: fails unless the file contains the words with the value; without a value, the words must be missing.
says() {
    if [[ -n $3 ]]; then
        grep -qF "$2$3" "$1" || fail "$1 does not name $3."
    elif grep -F "$2" "$1"; then
        fail "$1 names an address that nobody has set."
    fi
}

# check_publisher CONTENT: checks the publisher's values. lintian demands the maintainer's address, which only a publisher has.
check_publisher() {
    local metainfo=$1/usr/share/metainfo/$id.metainfo.xml maintainer control=$root/build/package/control
    local -a suppressed=()
    dpkg-deb -f "$package" >"$control"
    says "$control" "Homepage: " "$(set_by_publisher HOMEPAGE)"
    says "$metainfo" '<url type="homepage">' "$(set_by_publisher HOMEPAGE)"
    says "$metainfo" '<url type="bugtracker">' "$(set_by_publisher BUG_TRACKER)"
    says "$metainfo" '<image type="source">' "$(set_by_publisher PICTURES)"
    maintainer=$(set_by_publisher MAINTAINER)
    if [[ -n $maintainer ]]; then
        says "$control" "Maintainer: " "$maintainer"
    else
        ! grep -q "^Maintainer:.*@" "$control" || fail "The package names a maintainer that nobody has set."
        suppressed=(--suppress-tags "malformed-contact,bogus-mail-host-in-debian-changelog")
        note "The package names no maintainer; lintian's demand for one is left out."
    fi
    lintian --allow-root --fail-on error "${suppressed[@]}" "$package" || fail "lintian found an error."
}

# check_launchers ROOT PROGRAM: ROOT is the unpacked package, or the prefix of the installation.
check_launchers() {
    local share=$1/share
    [[ ! -d $1/usr ]] || share=$1/usr/share
    grep -qxF "Exec=$2" "$share/dbus-1/services/$id.service" || fail "The bus would start another program than $2."
    grep -qxF "Exec=$2" "$share/applications/$id.desktop" || fail "The application menu would start another program than $2."
    grep -qxF "TryExec=$2" "$share/applications/$id.desktop" || fail "The application menu would look for another program than $2."
}

# Installs as on a system without Debian packages.
install_by_cmake() {
    local folder=$home/prefix file
    say "Installing it by CMake into a folder"
    cmake --install build/release --prefix "$folder" >"$home/install.log" 2>&1 || fail "CMake could not install it: $(cat "$home/install.log")"
    [[ -x $folder/bin/orvanel ]] || fail "CMake did not install the program."
    check_launchers "$folder" "$folder/bin/orvanel"
    check_helper "" "$folder" "$folder/libexec"
    check_module "$folder"
    for file in applications/$id.desktop metainfo/$id.metainfo.xml man/man1/orvanel.1.gz licenses/orvanel/LICENSE \
        icons/hicolor/scalable/apps/$id.svg icons/hicolor/48x48/apps/$id.png; do
        [[ -s $folder/share/$file ]] || fail "CMake did not install $file."
    done
}

install_package() {
    say "Installing version $(dpkg-deb -f "$1" Version)"
    cp "$1" "$home/temp/orvanel.deb" # apt's own user must be able to read it
    chmod a+rx "$home" "$home/temp"
    installed_here=yes
    apt_get install --no-install-recommends "$home/temp/orvanel.deb" || fail "Could not install the package; apt's reason is in $apt_log."
    cp "/usr/share/dbus-1/services/$id.service" "$home/services" # all that this session's bus may start
    [[ $(dpkg-query -W -f '${Version}' orvanel) == "$(dpkg-deb -f "$1" Version)" ]] || fail "Another version is installed."
}

# Prints, sorted, all files with our name where packages install files (clones of the sources too), except temporary files.
traces() {
    find /usr /etc /opt /var -xdev -iname '*orvanel*' -not -path '/var/tmp/*' -not -path "${TMPDIR:-/tmp}/*" \
        -print -prune 2>/dev/null | LC_ALL=C sort
}

remove_package() {
    local -a files
    local left file
    say "Removing the package"
    mapfile -t files < <(dpkg -L orvanel)
    ((${#files[@]} > 5)) || fail "The package contains hardly any files."
    apt_get purge orvanel || fail "Could not remove the package; apt's reason is in $apt_log."
    installed_here=
    for file in "${files[@]}"; do
        [[ -d $file || ! -e $file ]] || fail "$file was left behind."
    done
    left=$(LC_ALL=C comm -13 <(echo "$traces_before") <(traces))
    [[ -z $left ]] || fail "This was left behind: $left"
    [[ -f $home/config/Orvanel/Orvanel.conf ]] || fail "The user's settings are gone."
}

# make_older VERSION FILE: makes an older package, with a file that the newer one no longer has and another that differs.
make_older() {
    local tree=$home/older
    dpkg-deb -R "$package" "$tree"
    sed -i "s/^Version: .*/Version: $1/" "$tree/DEBIAN/control"
    echo "# changed since" >>"$tree/usr/share/dbus-1/services/$id.service"
    echo "gone since" >"$tree/usr/share/doc/orvanel/gone"
    (cd "$tree" && find usr -type f -exec md5sum {} + >DEBIAN/md5sums)
    dpkg-deb --root-owner-group -b "$tree" "$2" >/dev/null
}

check_package() {
    ! is_installed orvanel || fail "Orvanel is installed on this computer; the check would remove it."
    apt_log=$root/build/apt.log
    trap end_check EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    validate
    start_session
    install_by_cmake

    traces_before=$(traces) || true
    make_older 0.0.1 "$home/older.deb"
    install_package "$home/older.deb"
    [[ -e /usr/share/doc/orvanel/gone ]] || fail "The installed package is not the older one."
    start_from_menu
    install_package "$package"
    [[ ! -e /usr/share/doc/orvanel/gone ]] || fail "The upgrade left a file behind that the new package no longer has."
    [[ -z $(dpkg --verify orvanel) ]] || fail "Files differ from the package after the upgrade: $(dpkg --verify orvanel)"
    ! has_ended || fail "The upgrade ended the running program."
    end_program
    start_by_bus
    end_program
    start_from_menu
    end_program
    remove_package
}
