#!/usr/bin/env bash
# A failed request names its result code and meaning on standard error and exits 1.
source "$(dirname "$0")/lib.sh"

# expect_failure MESSAGE KOPA_ARGS...
expect_failure() {
    local message=$1
    shift
    run "$@"
    expect_status 1 "$* ($message)"
    [[ $ERR == "kopa: $message" ]] || fail "$*: stderr '$ERR', wanted 'kopa: $message'"
    [[ -z $OUT ]] || fail "$*: unexpected standard output '$OUT'"
}

push currentPosition 'error 54' 'error 43' 'error 42' 'int32 5' \
    'reply KopaPosition/1 lat=1' 'noreply'
expect_failure "KOPA_ERROR_NOT_POSITIONED (-2105): no position could be found" position
expect_failure "KOPA_ERROR_NETWORK (-2103): network unavailable or failing" position
expect_failure "KOPA_ERROR_NOT_AUTHORIZED (-2050): the service refuses the caller" position
expect_failure \
    "KOPA_ERROR_GENERAL (-1000): the service answered, but not in a form the library could read" \
    position
# The record's own code for a text without longitude comes through as a number.
expect_failure "7: the record could not read the service's answer" position
expect_failure "KOPA_ERROR_NO_REPLY (-2100): no reply from the service within the time-out" \
    --timeout 1 position

push currentMeasurements 'error 45'
expect_failure \
    "KOPA_ERROR_INFORMATION_SHORTAGE (-2102): not enough information to compute a result" \
    measurements

push lastKnownPosition 'error 55'
expect_failure "KOPA_ERROR_SERVER (-2104): the positioning server failed" --async last

# Measurements the radio map does not know: the service cannot compute a position.
echo "KopaMeasurements/1 wlan=0e:00:00:00:00:99,-50" >"$WORK/unknown.txt"
expect_failure \
    "KOPA_ERROR_INFORMATION_SHORTAGE (-2102): not enough information to compute a result" \
    convert "$WORK/unknown.txt"

# Input that is not a measurements text never reaches the service.
requests_before=$(sim GetRequests)
echo "KopaPosition/1 lat=1 lon=2" >"$WORK/position.txt"
run convert "$WORK/position.txt"
expect_status 1 "convert of a position text"
expect_match "$ERR" 'not a measurements text' "convert of a position text"
run convert "$WORK/missing.txt"
expect_status 1 "convert of a missing file"
[[ $(sim GetRequests) == "$requests_before" ]] || fail "convert of bad input sent a request"

finish
