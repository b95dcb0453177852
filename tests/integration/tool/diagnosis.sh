#!/usr/bin/env bash
# A request that fails with KOPA_ERROR_GENERAL says in its one line which part was at fault:
# the bus, the service, the bus policy, what the service said, or the answer. $2 is kopad-sim,
# for the refusing bus.
source "$(dirname "$0")/lib.sh"
SIM=${2:?usage: $0 KOPA_BINARY KOPAD_SIM}
scripts=$(cd "$(dirname "$0")/../../../scripts" && pwd)

# expect_cause CAUSE_REGEX COMMAND...: the command runs kopa and fails with that cause.
expect_cause() {
    local cause=$1
    shift
    "$@" >"$WORK/out" 2>"$WORK/err"
    STATUS=$?
    ERR=$(cat "$WORK/err")
    expect_status 1 "$*"
    expect_match "$ERR" "^kopa: KOPA_ERROR_GENERAL \(-1000\): $cause[^"$'\n'"]*$" "$*"
}

expect_cause "no system bus at unix:path=$WORK/none" "$KOPA" --address "unix:path=$WORK/none" position
expect_cause "no service owns com.ruvex.location.kopad" "$scripts/with-private-bus" "$KOPA" last
KOPA_BUS_CONFIG=$(dirname "$0")/refusing-bus.conf expect_cause "the bus policy refuses the call" \
    "$scripts/with-sim-bus" --sim "$SIM" "$KOPA" measurements

push currentPosition 'int32 5'
expect_cause "the service answered, but not in a form the library could read \\(org.freedesktop.DBus.Error.InvalidArgs: " "$KOPA" position
# The diagnosis asks nothing of the service: only the failed request reached it.
requests=$(sim GetRequests)
[[ $(grep -o "'currentPosition'" <<<"$requests" | wc -l) -eq 1 ]] || fail "probe reached the service: $requests"

# An error of the service that the library folds into KOPA_ERROR_GENERAL is named as the
# service said it: its code and the code's name, the error name and the message. Blocking and
# asynchronous requests alike.
service='com.ruvex.location.kopad.Error'
while IFS='|' read -r outcome cause; do
    sim Reset >/dev/null
    push currentMeasurements "$outcome"
    for form in "" --async; do
        expect_cause "the service answered with $cause" "$KOPA" $form measurements
    done
done <<EOF
error 41|error code 41, KOPA_FW_BAD_REQUEST \\($service: Bad request \\(41\\)\\)
error 47|error code 47, KOPA_FW_INTERNAL_ERROR \\($service: Internal error \\(47\\)\\)
error 51 Failed (51)|error code 51, KOPA_FW_PROTOCOL_ERROR \\($service: Failed \\(51\\)\\)
error 57|error code 57, KOPA_FW_UNSPECIFIED_ERROR \\($service: Unspecified error \\(57\\)\\)
error 99|error code "99", which is none of the service's codes \\($service: Service error \\(99\\)\\)
error 41 no code here|an error without a code \\($service: no code here\\)
dbus-error org.example.Broken it broke|an error of another name \\(org.example.Broken: it broke\\)
EOF

finish
