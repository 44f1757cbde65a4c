# shellcheck shell=bash
# Lives through what a package lives through: validated, installed, started from the application menu, upgraded while the
# program runs, removed. Sourced by ./package after make_it, as root.
# shellcheck source=scripts/stage.sh
source "${root:?}/scripts/stage.sh"

id=io.github.orvanel.Orvanel

# shellcheck disable=SC2317 # called by the trap
end_check() {
    trap - EXIT
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
has_ended() { ! kill -0 "$pid" 2>/dev/null; }

# Sets $pid.
start_from_menu() {
    say "Starting it from its entry in the application menu"
    in_home gio launch "/usr/share/applications/$id.desktop"
    wait_for "The program did not come onto the bus" is_running
    wait_for "The program showed no window" shows_window
    pid=$(ask GetConnectionUnixProcessID "$id" | grep -oE '[0-9]+,' | tr -d ,)
    [[ $(readlink "/proc/$pid/exe") == /usr/bin/orvanel ]] || fail "It was another program that started."
}

end_program() {
    kill -TERM "$pid"
    wait_for "The program did not end" has_ended
}

validate() {
    local content=$root/build/package/content
    say "Validating it"
    rm -rf "$content"
    dpkg-deb -x "$package" "$content"
    desktop-file-validate "$content/usr/share/applications/$id.desktop" || fail "The desktop file is not well."
    appstreamcli validate --no-net "$content/usr/share/metainfo/$id.metainfo.xml" || fail "The metainfo is not well."
    man --warnings --local-file "$content/usr/share/man/man1/orvanel.1.gz" 2>"$root/build/package/man.log" >/dev/null
    [[ ! -s $root/build/package/man.log ]] || fail "The man page is not well: $(cat "$root/build/package/man.log")"
    lintian --allow-root --fail-on error "$package" || fail "lintian found an error."
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
    left=$(find /usr /etc /opt /var -xdev -iname '*orvanel*' -not -path "$root/*")
    [[ -z $left ]] || fail "This was left behind: $left"
    [[ -f $home/config/Orvanel/Orvanel.conf ]] || fail "The user's settings are gone."
}

check_package() {
    local newer older_version=0.0.1
    ! is_installed orvanel || fail "Orvanel is installed on this machine; the check would remove it."
    apt_log=$root/build/apt.log
    trap end_check EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    validate
    start_session

    # The same program under a lower number is what an upgrade finds.
    newer=$home/newer.deb
    mv "$package" "$newer"
    make_package "$older_version"
    install_package "$package"
    start_from_menu
    rm -f "$package"
    mv "$newer" "${package/_${older_version}_/_$(dpkg-deb -f "$newer" Version)_}"
    package=$(echo "$root"/build/package/*.deb)
    install_package "$package"
    kill -0 "$pid" || fail "The upgrade ended the running program."
    end_program
    start_from_menu
    end_program
    remove_package
}
