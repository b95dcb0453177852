#!/usr/bin/env bash
# --async gives the same answers and failures as the blocking requests.
source "$(dirname "$0")/lib.sh"

for command in position measurements last; do
    run --json "$command"
    blocking=$(json_field "$OUT" '{k: v for k, v in o.get("position", o.get("measurements", {})).items() if k not in ("time", "utc")}')
    run --json --async "$command"
    expect_status 0 "--async $command"
    asynchronous=$(json_field "$OUT" '{k: v for k, v in o.get("position", o.get("measurements", {})).items() if k not in ("time", "utc")}')
    [[ $blocking == "$asynchronous" ]] ||
        fail "--async $command: $asynchronous, blocking gave $blocking"
done

run --async --location-info position
expect_status 0 "--async --location-info"
expect_match "$OUT" $'\n  slot 1: ' "--async --location-info"

push currentPosition 'error 46'
run --async position
expect_status 1 "--async failure"
[[ $ERR == "kopa: KOPA_ERROR_NOT_POSITIONED (-2105): no position could be found" ]] ||
    fail "--async failure: $ERR"

# An interrupted asynchronous request is cancelled and ends with 130.
sim Reset >/dev/null
push currentPosition 'noreply'
"$KOPA" --async position >"$WORK/out" 2>"$WORK/err" &
pid=$!
[[ $(sim WaitForRequests 1 10000) == "(true,)" ]] || fail "the request never reached the service"
kill -TERM "$pid"
wait "$pid"
status=$?
[[ $status -eq 130 ]] || fail "--async interrupted: exit status $status, wanted 130"
[[ $(sim WaitForCancels 1 10000) == "(true,)" ]] || fail "--async interrupted: no cancel arrived"

finish
