# shellcheck shell=bash
# Lives through what a package lives through: validated, installed, started from the application menu, upgraded while the
# program runs, removed. Sourced by ./package after make_it, as root.
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

# in_home COMMAND…: as a program of a session of its own, with nothing of the user's.
in_home() { env -i "${session[@]}" DBUS_SESSION_BUS_ADDRESS="$bus" "$@"; }

# A session whose bus can start our program, and nothing else.
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

# ask METHOD ARGUMENT: of the bus itself.
ask() {
    in_home gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
        --method "org.freedesktop.DBus.$1" "$2" 2>/dev/null
}

# wait_for WHAT COMMAND…: up to 20 seconds.
wait_for() {
    local tries what=$1
    shift
    for ((tries = 0; tries < 200; tries++)); do
        ! "$@" || return 0
        sleep 0.1
    done
    fail "$what; what the program said: $(cat "$home/bus.log")"
}

is_running() { [[ $(ask NameHasOwner "$id") == *true* ]]; }
shows_window() { in_home xwininfo -root -tree | grep -q '"Orvanel": ("orvanel" "Orvanel")'; }
# Also while nobody has asked how it ended: it is not our child, and the first process of a container may never ask.
has_ended() { [[ $(sed 's/.*) //' "/proc/$pid/stat" 2>/dev/null) =~ ^(Z|$) ]]; }

# Sets $pid.
find_program() {
    wait_for "The program did not come onto the bus" is_running
    pid=$(ask GetConnectionUnixProcessID "$id" | grep -oE '[0-9]+,' | tr -d ,)
    [[ $(readlink "/proc/$pid/exe") == /usr/bin/orvanel ]] || fail "It was another program that started."
}

# By the command in the entry; its window then opens because nothing here shows its icon.
start_from_menu() {
    say "Starting it from its entry in the application menu"
    in_home gio launch "/usr/share/applications/$id.desktop"
    find_program
    wait_for "The program showed no window" shows_window
}

# As the application menus of large desktops do: the bus starts it. Its window must not take the 5 seconds after which it
# would open by itself.
start_by_bus() {
    local began
    say "Letting the bus start it"
    ! is_running || fail "It runs already."
    in_home gdbus call --session --timeout 25 --dest "$id" --object-path "/${id//.//}" \
        --method org.freedesktop.Application.Activate "{}" >/dev/null || fail "The bus could not start it: $(cat "$home/bus.log")"
    began=$(date +%s%N)
    find_program
    wait_for "The program showed no window" shows_window
    (($(date +%s%N) - began < 3500000000)) || fail "The window opened late, as if nobody had asked for it."
}

end_program() {
    kill -TERM "$pid"
    wait_for "The program did not end" has_ended
}

# carries FIELD NAME: whether the package names that other one there.
carries() { [[ ", $(dpkg-deb -f "${package:?}" "$1")," =~ ,\ $2[\ ,] ]]; }

validate() {
    local content=$root/build/package/content file
    say "Validating it"
    rm -rf "$content"
    dpkg-deb -x "$package" "$content"
    desktop-file-validate "$content/usr/share/applications/$id.desktop" || fail "The desktop file is not well."
    appstreamcli validate --no-net "$content/usr/share/metainfo/$id.metainfo.xml" || fail "The metainfo is not well."
    man --warnings --local-file "$content/usr/share/man/man1/orvanel.1.gz" 2>"$root/build/package/man.log" >/dev/null ||
        fail "man could not show the page: $(cat "$root/build/package/man.log")"
    [[ ! -s $root/build/package/man.log ]] || fail "The man page is not well: $(cat "$root/build/package/man.log")"
    lintian --allow-root --fail-on error "$package" || fail "lintian found an error."
    file=$content/usr/share/icons/hicolor/48x48/apps/$id.png
    [[ $(file --brief --mime-type "$file") == image/png ]] || fail "The package has no rendered icon."
    grep -qi "mit license\|permission is hereby granted" "$content/usr/share/licenses/orvanel/LICENSE" || fail "The package has no licence."
    carries Depends libarchive-tools || fail "The package does not depend on the archiver."
    carries Depends qt6-svg-plugins || fail "The package does not depend on what draws its icons."
    carries Recommends docker.io || fail "The package does not recommend Docker."
    check_launchers "$content" /usr/bin/orvanel
}

# check_launchers ROOT PROGRAM: ROOT is the folder of the package, or the prefix of the installation.
check_launchers() {
    local share=$1/share
    [[ ! -d $1/usr ]] || share=$1/usr/share
    grep -qxF "Exec=$2" "$share/dbus-1/services/$id.service" || fail "The bus would start another program than $2."
    grep -qxF "Exec=$2" "$share/applications/$id.desktop" || fail "The application menu would start another program than $2."
    grep -qxF "TryExec=$2" "$share/applications/$id.desktop" || fail "The application menu would look for another program than $2."
}

# As on a system without packages of Debian's kind.
install_by_cmake() {
    local folder=$home/prefix file
    say "Installing it by CMake into a folder"
    cmake --install build/release --prefix "$folder" >"$home/install.log" 2>&1 || fail "It could not be installed: $(cat "$home/install.log")"
    [[ -x $folder/bin/orvanel ]] || fail "The program is not there."
    check_launchers "$folder" "$folder/bin/orvanel"
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
    apt_get install --no-install-recommends "$home/temp/orvanel.deb" || fail "It could not be installed; apt's reason stands in $apt_log."
    cp "/usr/share/dbus-1/services/$id.service" "$home/services" # all that this session's bus may start
    [[ $(dpkg-query -W -f '${Version}' orvanel) == "$(dpkg-deb -f "$1" Version)" ]] || fail "Another version is installed."
}

# What there is by our name where packages lie, sorted; clones of the sources too. Temporary files may come and go.
traces() {
    find /usr /etc /opt /var -xdev -iname '*orvanel*' -not -path '/var/tmp/*' -not -path "${TMPDIR:-/tmp}/*" \
        -print -prune 2>/dev/null | LC_ALL=C sort
}

remove_package() {
    local -a files
    local left file
    say "Removing it"
    mapfile -t files < <(dpkg -L orvanel)
    ((${#files[@]} > 5)) || fail "The package holds next to nothing."
    apt_get purge orvanel || fail "It could not be removed; apt's reason stands in $apt_log."
    installed_here=
    for file in "${files[@]}"; do
        [[ -d $file || ! -e $file ]] || fail "$file was left behind."
    done
    left=$(LC_ALL=C comm -13 <(echo "$traces_before") <(traces))
    [[ -z $left ]] || fail "This was left behind: $left"
    [[ -f $home/config/Orvanel/Orvanel.conf ]] || fail "The user's settings are gone."
}

# make_older VERSION FILE: an older package, with a file that the newer one has not any more and another that has changed.
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
    ! is_installed orvanel || fail "Orvanel is installed on this machine; the check would remove it."
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
    [[ -e /usr/share/doc/orvanel/gone ]] || fail "The older package is not what was installed."
    start_from_menu
    install_package "$package"
    [[ ! -e /usr/share/doc/orvanel/gone ]] || fail "The upgrade left a file behind that the package has not any more."
    [[ -z $(dpkg --verify orvanel) ]] || fail "The upgrade did not bring all files: $(dpkg --verify orvanel)"
    ! has_ended || fail "The upgrade ended the running program."
    end_program
    start_by_bus
    end_program
    start_from_menu
    end_program
    remove_package
}
