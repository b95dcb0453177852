#!/usr/bin/env bash
# kopa last keeps to --timeout although the library waits up to 24 hours for the last known
# position: it gives up with KOPA_ERROR_NO_REPLY and the service hears of the cancel.
source "$(dirname "$0")/lib.sh"

push lastKnownPosition 'delay 20000 reply'
started=$SECONDS
run --timeout 0.5 last
expect_status 1 "last --timeout 0.5"
[[ $ERR == "kopa: KOPA_ERROR_NO_REPLY (-2100): no answer within the time-out" ]] ||
    fail "last --timeout 0.5: stderr '$ERR'"
((SECONDS - started < 10)) || fail "last --timeout 0.5 waited $((SECONDS - started)) s"
expect_match "$(sim WaitForCancels 1 5000)" true "the service received the cancel"

finish
