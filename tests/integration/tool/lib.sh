# Sourced by the tool tests: $1 is the kopa binary; kopad-sim runs on $DBUS_SYSTEM_BUS_ADDRESS.
set -uo pipefail

KOPA=${1:?usage: $0 KOPA_BINARY}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/kopa-tool-test.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
FAILURES=0

# A kopa built for another architecture runs under KOPA_EMULATOR, through a stand-in that keeps
# the process (and so signals and exit status) the emulator's own.
if [[ -n ${KOPA_EMULATOR:-} ]]; then
    printf '#!/bin/sh\nexec %s "%s" "$@"\n' "$KOPA_EMULATOR" "$KOPA" >"$WORK/kopa"
    chmod +x "$WORK/kopa"
    KOPA=$WORK/kopa
fi

fail() { echo "FAIL: $*" >&2; FAILURES=$((FAILURES + 1)); }

# run ARGS...: runs kopa; sets OUT, ERR and STATUS.
run() {
    "$KOPA" "$@" >"$WORK/out" 2>"$WORK/err"
    STATUS=$?
    OUT=$(cat "$WORK/out")
    ERR=$(cat "$WORK/err")
}

expect_status() {
    local want=$1 what=$2
    [[ $STATUS -eq $want ]] || fail "$what: exit status $STATUS, wanted $want (stderr: $ERR)"
}

# expect_match TEXT REGEX WHAT
expect_match() { [[ $1 =~ $2 ]] || fail "$3: '$1' does not match /$2/"; }

sim() {
    gdbus call --address "$DBUS_SYSTEM_BUS_ADDRESS" --dest com.ruvex.location.kopad \
        --object-path /com/ruvex/location/kopad --method "com.ruvex.location.kopad.Simulator.$1" \
        "${@:2}"
}

# push MEMBER OUTCOME...: scripts the simulator's next answers for MEMBER.
push() {
    local member=$1 list=
    shift
    for outcome in "$@"; do list+="${list:+, }'$outcome'"; done
    sim PushOutcomes "$member" "[$list]" >/dev/null || fail "PushOutcomes $member [$list]"
}

# json_field JSON PYTHON_EXPRESSION: evaluates the expression on the parsed object `o`.
json_field() {
    python3 -c 'import json, sys; o = json.loads(sys.argv[1]); print(eval(sys.argv[2]))' "$1" "$2"
}

finish() {
    ((FAILURES == 0)) || { echo "$FAILURES check(s) failed" >&2; exit 1; }
    exit 0
}

POSITION_LINE='^[0-9]+\.[0-9]{6} [NS], [0-9]+\.[0-9]{6} [EW]'
