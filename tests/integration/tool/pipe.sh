#!/usr/bin/env bash
# kopa measurements | kopa convert sends the service exactly the measurements it gave.
source "$(dirname "$0")/lib.sh"

"$KOPA" measurements 2>/dev/null | "$KOPA" convert >"$WORK/out" 2>"$WORK/err"
statuses=("${PIPESTATUS[@]}")
[[ ${statuses[*]} == "0 0" ]] || fail "the pipe's exit statuses are ${statuses[*]}: $(cat "$WORK/err")"
expect_match "$(cat "$WORK/out")" "$POSITION_LINE  ±[0-9.]+ m  \\(hybrid, " "convert from a pipe"

requests=$(sim GetRequests)
text=$("$KOPA" measurements 2>/dev/null)
[[ $requests == *"'convertToPosition'"*"'$text'"* ]] ||
    fail "the conversion did not carry the measurements text: $requests"

# "-" reads standard input as well, and --async converts too.
run convert - <<<"$text"
expect_status 0 "convert -"
"$KOPA" --async convert <<<"$text" >"$WORK/out" 2>"$WORK/err"
[[ $? -eq 0 ]] || fail "--async convert: $(cat "$WORK/err")"
expect_match "$(cat "$WORK/out")" "$POSITION_LINE" "--async convert"

finish
