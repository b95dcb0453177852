#!/usr/bin/env bash
# A command line that cannot be run exits 2 with a hint, and asks the service nothing.
source "$(dirname "$0")/lib.sh"

expect_usage_error() {
    run "$@"
    expect_status 2 "kopa $*"
    expect_match "$ERR" $'^kopa: .+\nTry \'kopa --help\'\\.$' "kopa $*"
}

expect_usage_error
expect_usage_error where
expect_usage_error --frobnicate position
expect_usage_error position extra
expect_usage_error --timeout
expect_usage_error --timeout soon position
expect_usage_error --param -1 position
expect_usage_error --param 4294967296 position
expect_usage_error --packet-data 2147483648 position
expect_usage_error --packet-data sometimes position
expect_usage_error --json=yes position
expect_usage_error --count 2 position
expect_usage_error watch --count 0
expect_usage_error watch convert
expect_usage_error convert a b

[[ $(sim GetRequests) == "(@a(susv) [],)" ]] || fail "a usage error reached the service"

run --help position
expect_status 0 "--help wins over a command"

finish
