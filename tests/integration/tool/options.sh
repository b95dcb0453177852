#!/usr/bin/env bash
# --param, --packet-data and --location-info reach the service bit for bit.
source "$(dirname "$0")/lib.sh"

# last_request: the argument tuple of the newest logged request.
last_request() { sim GetRequests | sed -E 's/.*<\(([^>]*)\)>\)\],\)$/\1/'; }

run --param 4294967295 --packet-data -2147483648 position
expect_status 0 "position with extreme values"
[[ $(last_request) == "uint32 4294967295, -2147483648, uint16 1, uint16 1" ]] ||
    fail "position: the service saw $(last_request)"

run --packet-data=not-allowed --param=7 --location-info position
expect_status 0 "position --location-info"
[[ $(last_request) == "uint32 7, 0, uint16 2, uint16 1" ]] ||
    fail "position --location-info: the service saw $(last_request)"

run --param 12 measurements
[[ $(last_request) == "uint32 12," ]] || fail "measurements: the service saw $(last_request)"

run last --param 3
[[ $(last_request) == "uint32 3, uint16 1, uint16 1" ]] ||
    fail "last: the service saw $(last_request)"

run watch --count 1 --packet-data 5 --param 9
expect_status 0 "watch with options"
[[ $(last_request) == "uint32 9, 5, uint16 1, uint16 1" ]] ||
    fail "watch: the service saw $(last_request)"

finish
