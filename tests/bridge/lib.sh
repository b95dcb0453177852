# Sourced by the bridge's tests: $1 is kopa-bridge, $2 kopad-sim. The test runs again inside a
# private bus with kopad-sim replaying a walk fast; a checker in KOPA_TEST_UNDER (valgrind) goes
# before the bridge, not before this script or the clients.
set -uo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if [[ -z ${KOPA_BRIDGE_TEST_INSIDE:-} ]]; then
    export KOPA_BRIDGE_TEST_INSIDE=1 KOPA_BRIDGE_UNDER=${KOPA_TEST_UNDER:-}
    export KOPAD_SIM_ARGS="--track $here/../../service/tracks/esplanadi-walk.gpx --track-rate 20
        --track-loop"
    exec env -u KOPA_TEST_UNDER "$here/../../scripts/with-sim-bus" --sim "$2" "$0" "$@"
fi
BRIDGE=$1
WORK=$(mktemp -d "${TMPDIR:-/tmp}/kopa-bridge-test.XXXXXX")
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$WORK"' EXIT
FAILURES=0
read -r -a UNDER <<<"${KOPA_BRIDGE_UNDER:-} ${KOPA_EMULATOR:-}"

fail() { echo "FAIL: $*" >&2; FAILURES=$((FAILURES + 1)); }
finish() { ((FAILURES == 0)) || { echo "$FAILURES check(s) failed" >&2; exit 1; }; exit 0; }

sim() {
    gdbus call --address "$DBUS_SYSTEM_BUS_ADDRESS" --dest com.ruvex.location.kopad \
        --object-path /com/ruvex/location/kopad --method "com.ruvex.location.kopad.Simulator.$1" \
        "${@:2}"
}

# start_bridge ARGS...: the bridge on free ports, asking every 100 ms; sets BPID, PORT, NMEA_PORT.
start_bridge() {
    rm -f "$WORK/ready" && mkfifo "$WORK/ready"
    "${UNDER[@]}" "$BRIDGE" --listen 127.0.0.1:0 --interval 100 --ready-fd 3 "$@" \
        3>"$WORK/ready" 2>>"$WORK/bridge.err" &
    BPID=$!
    read -r -t 120 _ PORT NMEA_PORT <"$WORK/ready" || fail "the bridge did not start"
}

# stop_bridge: SIGTERM ends it cleanly, with status 0 (a checker's findings make it fail).
stop_bridge() {
    kill -TERM "$BPID"
    wait "$BPID"
    local status=$?
    ((status == 0)) || fail "the bridge ended with $status: $(cat "$WORK/bridge.err")"
}

# talk DATA [LINES]: sends DATA (Python escapes) to the gpsd port and prints what comes back,
# LINES lines (default: all until the bridge closes, then "CLOSED").
talk() { python3 "$here/talk.py" "$PORT" "$1" "${2:-0}"; }
