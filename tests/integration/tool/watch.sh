#!/usr/bin/env bash
# watch --count N prints N results and exits 1 if any failed; a watch or an asynchronous
# request stopped by a signal cancels its request at the service, with the request's serial.
source "$(dirname "$0")/lib.sh"

push lastKnownPosition 'error 54' 'reply'
run watch --count 3 --interval 0 last
expect_status 1 "watch with a failure"
[[ $(grep -cE "$POSITION_LINE" <<<"$OUT") -eq 2 ]] || fail "watch with a failure: $OUT"
[[ $ERR == *KOPA_ERROR_NOT_POSITIONED* ]] || fail "watch with a failure: $ERR"

for stopped in "INT 0 watch --interval 100" "TERM 130 --async position"; do
    read -r signal want args <<<"$stopped"
    sim Reset >/dev/null
    push currentPosition 'noreply'
    "$KOPA" $args >"$WORK/out" 2>"$WORK/err" &
    pid=$!
    [[ $(sim WaitForRequests 1 10000) == "(true,)" ]] || fail "$args: no request arrived"
    kill -"$signal" "$pid"
    wait "$pid"
    status=$?
    [[ $status -eq $want ]] || fail "$args: SIG$signal gave $status: $(cat "$WORK/err")"
    [[ $(sim WaitForCancels 1 10000) == "(true,)" ]] || fail "$args: no cancel arrived"
    serial=$(sim GetRequests | sed -nE "s/.*'currentPosition', (uint32 )?([0-9]+),.*/\2/p")
    [[ $(sim GetCancels) =~ \[(uint32 )?$serial\]\)\],\)$ ]] ||
        fail "$args: the cancel $(sim GetCancels) does not carry the serial $serial"
done
finish
