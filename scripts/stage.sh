# shellcheck shell=bash
# A private display and session bus, for the demo and the benchmarks. Sourced after common.sh. Both need $home, a temporary
# folder with a private folder "run". The processes that they start are in $children, the newest last.

home=
children=()

# end_child PID [SECONDS]: asks a process that we started to end, and kills it after that time (10).
end_child() {
    local tries
    kill -TERM "$1" 2>/dev/null || return 0
    for ((tries = 0; tries < 10 * ${2:-10}; tries++)); do
        kill -0 "$1" 2>/dev/null || return 0
        sleep 0.1
    done
    kill -KILL "$1" 2>/dev/null || true
}

end_children() {
    local i
    for ((i = ${#children[@]} - 1; i >= 0; i--)); do end_child "${children[i]}"; done
    children=()
}

# first_line FILE PID: waits for the line that the process writes there when it is ready.
first_line() {
    local tries
    for ((tries = 0; tries < 300; tries++)); do
        if [[ $(wc -l <"$1") -gt 0 ]]; then
            head -n 1 "$1"
            return
        fi
        kill -0 "$2" 2>/dev/null || return 1
        sleep 0.1
    done
    return 1
}

# Sets $display.
start_display() {
    : >"$home/display"
    Xvfb -displayfd 3 -screen 0 1100x760x24 -nolisten tcp 3>"$home/display" >"$home/xvfb.log" 2>&1 &
    children+=($!)
    # shellcheck disable=SC2034 # for those who sourced this
    display=:$(first_line "$home/display" $!) || fail "Xvfb did not start: $(<"$home/xvfb.log")"
}

# start_bus [FOLDER NAME=VALUE…]: starts a session bus that knows none of the user's services. It knows no services at all,
# or only those in FOLDER, which are started with these variables. Sets $bus.
start_bus() {
    local services=${1:+<servicedir>$1</servicedir>} folder
    folder=$(printf '%s' "$home/run" | od -An -v -tx1 | tr -d '\n' | tr ' ' '%') # an address may not contain blanks
    cat >"$home/bus.conf" <<BUS
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=$folder</listen>
  <auth>EXTERNAL</auth>
  $services
  <policy context="default">
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
</busconfig>
BUS
    : >"$home/bus"
    env "${@:2}" dbus-daemon --config-file="$home/bus.conf" --nofork --print-address >"$home/bus" 2>"$home/bus.log" &
    children+=($!)
    # shellcheck disable=SC2034 # for those who sourced this
    bus=$(first_line "$home/bus" $!) || fail "The session bus did not start: $(<"$home/bus.log")"
}
