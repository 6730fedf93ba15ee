#!/bin/sh
# Runs a Windows program under Wine, quietly and without a display: wine.sh <program> [<argument>...].
#
# wine.sh --start makes the prefix ready and a server that stays until wine.sh --stop; tests run between the two. A server
# that nobody asked to stay goes with the last program, Debian's at once, and resets the connection of a program that
# comes just then: that one ends within milliseconds, without its output ("recvmsg: Connection reset by peer"). Tests are
# programs one after another, so this happens now and then, the sooner the longer a busy machine lets the server wait
# between its last look for programs and closing its socket. Starting a server for every program takes a second as well.
set -eu
WINEDEBUG=${WINEDEBUG:--all}
WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
export WINEDEBUG WINEDLLOVERRIDES

# Ends the server with all its programs, such as those of tests that were broken off.
stop() {
    mkdir -p "${WINEPREFIX:-$HOME/.wine}" # the server wants to stand in it
    wineserver -k || true # it says so when there is none
    wineserver -w
}

case ${1-} in
--start)
    stop
    # What stays behind must not hold the caller's output open.
    log=$(mktemp)
    trap 'rm -f "$log"' EXIT
    if ! { wineserver -p && wine wineboot -u; } >"$log" 2>&1; then
        cat "$log" >&2
        exit 1
    fi
    ;;
--stop)
    stop
    ;;
*)
    exec wine "$@"
    ;;
esac
