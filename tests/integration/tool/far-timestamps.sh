#!/usr/bin/env bash
# Timestamps past January 2038 print in their own year, also where time_t used to be 32 bits.
source "$(dirname "$0")/lib.sh"

# Milliseconds since the epoch, then the UTC text kopa prints for them.
cases=(
    "2147483647000 2038-01-19 03:14:07 UTC"
    "2147483648000 2038-01-19 03:14:08 UTC"
    "4102444800000 2100-01-01 00:00:00 UTC"
)
for case in "${cases[@]}"; do
    read -r ms expected <<<"$case"
    sim LoadScenario "timestamp $ms" >/dev/null || fail "LoadScenario timestamp $ms"
    run position
    expect_status 0 "position at $ms"
    [[ $OUT == *"$expected)" ]] || fail "position at $ms: '$OUT' does not end in '$expected)'"
    run --json position
    utc=$(json_field "$OUT" 'o["position"]["utc"]')
    [[ $utc == "$expected" ]] || fail "json position at $ms: utc '$utc', wanted '$expected'"
done
finish
