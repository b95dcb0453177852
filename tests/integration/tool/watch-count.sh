#!/usr/bin/env bash
# watch --count N makes N requests, prints N results, and exits 0 when all succeeded, 1 if not.
source "$(dirname "$0")/lib.sh"

run watch --count 2 --interval 10
expect_status 0 "watch --count 2"
lines=$(grep -cE "$POSITION_LINE" <<<"$OUT")
[[ $lines -eq 2 ]] || fail "watch --count 2 printed $lines positions: $OUT"
[[ $(sim GetRequests | grep -o "'currentPosition'" | wc -l) -eq 2 ]] ||
    fail "watch --count 2: the service did not see two requests"

sim Reset >/dev/null
run watch --count 2 --interval 0 measurements
expect_status 0 "watch measurements"
[[ $(grep -c '^KopaMeasurements/1 ' <<<"$OUT") -eq 2 ]] || fail "watch measurements: $OUT"

# A failure does not stop the watch, but shows in its exit status.
push lastKnownPosition 'error 54' 'reply'
run watch --count 3 --interval 0 last
expect_status 1 "watch with a failure"
[[ $(grep -cE "$POSITION_LINE" <<<"$OUT") -eq 2 ]] || fail "watch with a failure: $OUT"
[[ $ERR == *KOPA_ERROR_NOT_POSITIONED* ]] || fail "watch with a failure: $ERR"

finish
