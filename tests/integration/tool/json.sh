#!/usr/bin/env bash
# --json writes one parsable JSON object per result, successes and failures alike.
source "$(dirname "$0")/lib.sh"

check_json() {
    local what=$1 lines
    lines=$(grep -c '' <<<"$OUT")
    [[ $lines -eq ${2:-1} ]] || fail "$what: $lines lines on standard output, wanted ${2:-1}"
    while IFS= read -r line; do
        python3 -c 'import json, sys; json.loads(sys.argv[1])' "$line" ||
            fail "$what: not JSON: $line"
    done <<<"$OUT"
}

run --json version
expect_status 0 "version --json"
check_json "version"
[[ $(json_field "$OUT" 'o["major"], o["minor"], o["patch"]') == "(1, 0, 0)" ]] ||
    fail "version --json: wrong version"

run --json position
expect_status 0 "position --json"
check_json "position"
[[ $(json_field "$OUT" 'o["name"], o["position"]["lat"], o["position"]["method"]') == \
    "('KOPA_OK', 60.1699, 'gnss')" ]] || fail "position --json: wrong fields: $OUT"

run --json --location-info position
check_json "position --location-info"
[[ $(json_field "$OUT" 'o["slots"][0]["lat"], o["slots"][1:]') == "(60.1699, [None, None, None])" ]] ||
    fail "position --location-info --json: wrong slots: $OUT"

run --json measurements
expect_status 0 "measurements --json"
check_json "measurements"
[[ $(json_field "$OUT" 'len(o["measurements"]["cells"]), len(o["measurements"]["wlans"])') == \
    "(2, 2)" ]] || fail "measurements --json: wrong lists: $OUT"
[[ -z $ERR ]] || fail "measurements --json: unexpected standard error: $ERR"

run --json last
check_json "last"

push currentPosition 'error 54'
run --json position
expect_status 1 "a failure with --json"
check_json "failure"
[[ $(json_field "$OUT" 'o["result"], o["name"]') == "(-2105, 'KOPA_ERROR_NOT_POSITIONED')" ]] ||
    fail "failure --json: wrong fields: $OUT"
sim Reset >/dev/null

run --json watch --count 2 --interval 0
expect_status 0 "watch --json"
check_json "watch" 2
[[ $(json_field "$(tail -n 1 <<<"$OUT")" 'o["seq"]') == 2 ]] || fail "watch --json: no seq 2"

finish
