#!/usr/bin/env bash
# What the bridge refuses, per class: an ERROR and the connection kept for a malformed or unknown
# request, an ERROR and the connection closed for binary or oversized input or one client too
# many; a stalled client delays nobody; no position is mode 1; the subscription ends with the
# last watcher; bad options and a port in use are exit statuses 2 and 1.
source "$(dirname "$0")/lib.sh"
ERROR='{"class":"ERROR","message":'

start_bridge --max-clients 2 --backlog-bytes 1024 --max-request-bytes 64
for bad in '?WATCH={"enable":tru};' '?WATCH={"json":1};' '?WATCH={"a":[1]};' 'hello' '?FOO;' \
    '?WATCH={"device":"\\u00e9\\x"};'; do
    out=$(talk "$bad\\n?VERSION;\\n" 3)
    [[ $(sed -n 2p <<<"$out") == "$ERROR"* && $(sed -n 3p <<<"$out") == *VERSION* ]] ||
        fail "$bad: $out"
done
for bad in '?VERSION;\x01\xff\n' "?WATCH={\"device\":\"$(printf 'x%.0s' {1..80})"; do
    [[ $(talk "$bad" | tail -2) == "$ERROR"*$'\nCLOSED' ]] || fail "not closed after $bad"
done

# A client that never reads, watching everything, and one more that gets its positions while the
# stalled one's backlog is cut; past those two, one is too many.
exec 5<>"/dev/tcp/127.0.0.1/$PORT"
printf '?WATCH={"enable":true,"json":true,"nmea":true};\n' >&5
out=$(talk '?WATCH={"enable":true};' 12)
(($(grep -c '"class":"TPV","device":"kopad","mode":3' <<<"$out") >= 8)) ||
    fail "a client beside a stalled one: $out"
exec 6<>"/dev/tcp/127.0.0.1/$PORT" 7<>"/dev/tcp/127.0.0.1/$PORT"
read -r -t 30 line <&7
[[ $line == "$ERROR"*"too many clients"* ]] || fail "the client too many: $line"
exec 5>&- 6>&- 7>&-

# Without a position, TPVs are mode 1 and carry no place; POLL says so too.
sim PushOutcomes currentPosition "['error 54', 'error 54', 'error 54', 'error 54']" >/dev/null
out=$(talk '?WATCH={"enable":true};' 6)
[[ $out == *'{"class":"TPV","device":"kopad","mode":1}'* ]] || fail "no position: $out"

# Nobody watches (the bridge has seen the watcher go by the time it answers a later POLL): the
# service is asked nothing more.
[[ $(talk '?POLL;' 2) == *'"active":0,"tpv":[{"class":"TPV","device":"kopad","mode":'* ]] ||
    fail "POLL without watchers"
sim Reset >/dev/null
[[ $(sim WaitForRequests 1 1000) == "(false,)" ]] || fail "the subscription outlived its clients"

"${UNDER[@]}" "$BRIDGE" --listen "127.0.0.1:$PORT" 2>"$WORK/err"
status=$?
[[ $status -eq 1 && $(cat "$WORK/err") == *"Address already in use"* ]] ||
    fail "a port in use: $status $(cat "$WORK/err")"
stop_bridge
for bad in "--listen 127.0.0.1" "--listen [::1:2947" "--interval 0" "--max-clients x" "--bogus" \
    "extra"; do
    "${UNDER[@]}" "$BRIDGE" $bad 2>"$WORK/err"
    status=$?
    [[ $status -eq 2 && $(cat "$WORK/err") == kopa-bridge:* ]] || fail "$bad: $status"
done
finish
