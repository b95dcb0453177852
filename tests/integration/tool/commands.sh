#!/usr/bin/env bash
# Every command prints its result in the readable form and exits 0.
source "$(dirname "$0")/lib.sh"

run version
expect_status 0 "version"
expect_match "$OUT" $'^kopa [0-9.]+\nlibkopapositioning interface 1\\.0\\.0$' "version"

run position
expect_status 0 "position"
expect_match "$OUT" "$POSITION_LINE  ±20\\.0 m  alt 15\\.0 m  \\(gnss, [0-9-]+ [0-9:]+ UTC\\)$" \
    "position"

run --location-info position
expect_status 0 "position --location-info"
expect_match "$OUT" $'\n  slot 1: [0-9.]+ N, [0-9.]+ E.*\n  slot 2: empty\n  slot 3: empty\n  slot 4: empty$' \
    "position --location-info lists the four slots"

run last
expect_status 0 "last"
expect_match "$OUT" "$POSITION_LINE" "last"

run measurements
expect_status 0 "measurements"
expect_match "$OUT" '^KopaMeasurements/1 cell=lte,244,91,40961,12345601,-71 ' "measurements text"
[[ $OUT != *$'\n'* ]] || fail "measurements: standard output holds more than the text line"
expect_match "$ERR" '^2 cell\(s\), 2 WLAN access point\(s\)' "measurements summary"

echo "$OUT" >"$WORK/measurements.txt"
run convert "$WORK/measurements.txt"
expect_status 0 "convert FILE"
expect_match "$OUT" "$POSITION_LINE  ±[0-9.]+ m  \\(hybrid, " "convert FILE"

run --trace "$WORK/trace.log" position
expect_status 0 "position --trace"
[[ -s $WORK/trace.log ]] || fail "--trace: the trace file is empty or missing"
grep -q ' L[0-9] T[0-9]* ' "$WORK/trace.log" || fail "--trace: no trace lines in the file"

run help
expect_status 0 "help"
expect_match "$OUT" '^usage: kopa ' "help"

finish
