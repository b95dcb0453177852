#!/usr/bin/env bash
# Debian's own clients read the simulator's walk through the bridge: gpspipe in JSON and NMEA, a
# program on python3-gps (with Debian's python3, which has it), a C program on libgps ($3) and
# Qt's NMEA plugin ($4); NMEA also on its own port and on the pseudo-terminal.
source "$(dirname "$0")/lib.sh"
LIBGPS_CLIENT=${3:-} QT_NMEA_CLIENT=${4:-}
ON_WALK='"lat":60\.16[0-9]*,"lon":24\.9'
FIX_SENTENCES='^\$GPGGA,[0-9.]+,6010\.[0-9]+,N,0245[0-9.]+,E,1,.*
\$GPRMC,[0-9.]+,A,6010\.[0-9]+,N,0245[0-9.]+,E,'

start_bridge --nmea-listen 127.0.0.1:0 --pty "$WORK/gps0"

out=$(timeout 60 gpspipe -w -n 8 "127.0.0.1:$PORT")
[[ $out == '{"class":"VERSION",'*'"proto_major":3,'* ]] || fail "gpspipe -w: no banner: $out"
(($(grep -cE "^\{\"class\":\"TPV\",\"device\":\"kopad\",\"mode\":3,\"time\":\"[0-9T:.-]+Z\",$ON_WALK" \
    <<<"$out") >= 4)) || fail "gpspipe -w: $out"

out=$(timeout 60 gpspipe -r -n 9 "127.0.0.1:$PORT")
[[ $(grep '^\$' <<<"$out") =~ $FIX_SENTENCES ]] || fail "gpspipe -r: $out"
for source in "NMEA:$NMEA_PORT" "$WORK/gps0"; do
    out=$(timeout 60 python3 "$here/talk.py" "$source" "" 4) || fail "$source: invalid NMEA"
    [[ $(grep -A1 GGA <<<"$out") =~ $FIX_SENTENCES ]] || fail "NMEA from $source: $out"
done

timeout 60 /usr/bin/python3 - "$PORT" <<'PY' || fail "python3-gps"
import sys, gps
session = gps.gps(host="127.0.0.1", port=sys.argv[1], mode=gps.WATCH_ENABLE | gps.WATCH_JSON)
fixes = 0
while fixes < 3:
    report = session.next()
    if report["class"] == "TPV" and report["mode"] == 3:
        assert abs(report.lat - 60.167) < 0.01 and report.altHAE > 0, report
        fixes += 1
session.close()
PY

if [[ -n $LIBGPS_CLIENT ]]; then
    timeout 60 ${KOPA_EMULATOR:-} "$LIBGPS_CLIENT" 127.0.0.1 "$PORT" || fail "the libgps client"
fi
if [[ -n $QT_NMEA_CLIENT ]]; then
    QT_QPA_PLATFORM=offscreen timeout 60 ${KOPA_EMULATOR:-} "$QT_NMEA_CLIENT" \
        "socket://127.0.0.1:$NMEA_PORT" ||
        fail "Qt's NMEA plugin"
fi
# South and west, and minutes that round up to the next degree (70.99999999 W is 71 degrees).
sim LoadTrack '<gpx version="1.1"><trk><trkseg><trkpt lat="-33.45" lon="-70.99999999">
    <ele>500</ele></trkpt></trkseg></trk></gpx>' >/dev/null || fail "LoadTrack"
out=$(timeout 60 python3 "$here/talk.py" "NMEA:$NMEA_PORT" "" 40 | grep -m1 'GGA.*,S,')
[[ $out == '$GPGGA,'*',3327.00000,S,07100.00000,W,1,,,500.0,M,0.0,M,,*'* ]] || fail "S, W: $out"
stop_bridge
finish
