#!/usr/bin/env bash
# Each command prints its result readably or as JSON and exits 0; a failure names its code on
# standard error and exits 1; a command line that cannot run exits 2 and asks the service nothing.
source "$(dirname "$0")/lib.sh"

for args in "--frobnicate position" "position extra" "--param 4294967296 position" \
    "--packet-data sometimes position" "watch --count 0" "convert a b" "record --format kml" \
    "watch --output a.gpx" "--json record" "record --duration 0" "--timeout 0.5000 position" "--timeout 4294967295.5 position"; do
    run $args
    expect_status 2 "kopa $args"
    expect_match "$ERR" $'^kopa: .+\nTry \'kopa --help\'\\.$' "kopa $args"
done
[[ $(sim GetRequests) == "(@a(susv) [],)" ]] || fail "a usage error reached the service"
for output in / /dev/full; do
    run record --output $output
    expect_status 1 "record to $output"
    expect_match "$ERR" "^kopa: cannot write $output: " "record to $output"
done

run version
expect_match "$OUT" $'^kopa [0-9.]+\nlibkopapositioning interface 1\\.0\\.0$' "version"
run position
expect_match "$OUT" "$POSITION_LINE  ±20\\.0 m  alt 15\\.0 m  \\(gnss, [0-9-]+ [0-9:]+ UTC\\)$" \
    "position"
run --location-info --async position
expect_match "$OUT" $'\n  slot 1: [0-9.]+ N, [0-9.]+ E.*\n  slot 2: empty\n  slot 3: empty\n  slot 4: empty$' \
    "position --location-info --async lists the four slots"
run --json last
[[ $(json_field "$OUT" 'o["name"], o["position"]["method"]') == "('KOPA_OK', 'gnss')" ]] ||
    fail "last --json: $OUT"

# The options reach the service bit for bit.
run --param 4294967295 --packet-data -2147483648 position
[[ $(sim GetRequests) == *"uint32 4294967295, -2147483648, uint16 1, uint16 1"* ]] ||
    fail "position: the service saw $(sim GetRequests)"

# measurements | convert carries the measurements text unchanged, blocking and asynchronous.
"$KOPA" measurements 2>/dev/null | "$KOPA" convert >"$WORK/out" 2>"$WORK/err"
[[ ${PIPESTATUS[*]} == "0 0" ]] || fail "measurements | convert: $(cat "$WORK/err")"
expect_match "$(cat "$WORK/out")" "$POSITION_LINE  ±[0-9.]+ m  \\(hybrid, " "convert from a pipe"
text=$("$KOPA" measurements 2>/dev/null)
[[ $(sim GetRequests) == *"'convertToPosition'"*"'$text'"* ]] || fail "convert lost the text"
run --async convert - <<<"$text"
expect_match "$OUT" "$POSITION_LINE" "--async convert -"
# Input that is no measurements text is refused before any request, by the name of its code.
run convert - <<<"KopaMeasurements version=1 cells=x"
expect_status 1 "convert of a bad text"
expect_match "$ERR" "^kopa: the input is not a measurements text: KOPA_TEXT_[A-Z_]+ \\([0-9]+\\): .*text" \
    "convert of a bad text"

push currentPosition 'error 54' 'noreply'
run --json position
expect_status 1 "a failure with --json"
[[ $(json_field "$OUT" 'o["result"], o["name"]') == "(-2105, 'KOPA_ERROR_NOT_POSITIONED')" ]] ||
    fail "failure --json: $OUT"
run --timeout 1 --async position
expect_status 1 "a time-out"
[[ $ERR == "kopa: KOPA_ERROR_NO_REPLY (-2100): no answer within the time-out" ]] ||
    fail "a time-out: $ERR"
finish
