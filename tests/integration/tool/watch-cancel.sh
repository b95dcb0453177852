#!/usr/bin/env bash
# Ctrl-C (SIGINT) during a watch cancels the outstanding request, so the service receives its
# serial in a cancel signal, and the watch exits 0. SIGTERM does the same.
source "$(dirname "$0")/lib.sh"

for signal in INT TERM; do
    sim Reset >/dev/null
    push currentPosition 'delay 30000 reply'
    "$KOPA" watch --interval 100 >"$WORK/out" 2>"$WORK/err" &
    pid=$!
    [[ $(sim WaitForRequests 1 10000) == "(true,)" ]] || fail "SIG$signal: no request arrived"
    kill -"$signal" "$pid"
    wait "$pid"
    status=$?
    [[ $status -eq 0 ]] || fail "SIG$signal: exit status $status: $(cat "$WORK/err")"
    [[ $(sim WaitForCancels 1 10000) == "(true,)" ]] || fail "SIG$signal: no cancel arrived"
    serial=$(sim GetRequests | sed -nE "s/.*'currentPosition', (uint32 )?([0-9]+),.*/\2/p")
    cancels=$(sim GetCancels)
    [[ $cancels =~ \[(uint32 )?$serial\]\)\],\)$ ]] ||
        fail "SIG$signal: the cancel $cancels does not carry the request's serial $serial"
    [[ ! -s $WORK/out ]] || fail "SIG$signal: a result was printed: $(cat "$WORK/out")"
done

finish
