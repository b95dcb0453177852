"""talk.py PORT DATA LINES: sends DATA to the bridge, prints LINES lines of the answer (0: until
it closes the connection, then CLOSED). NMEA:PORT instead of PORT reads sentences only and
checks them; a path reads them from that (pseudo-terminal) file."""
import socket
import sys

where, data, wanted = sys.argv[1], sys.argv[2].encode("latin-1").decode("unicode_escape"), int(sys.argv[3])


def checked(line):
    body, _, sum_ = line.strip()[1:].partition("*")
    value = 0
    for c in body:
        value ^= ord(c)
    assert sum_ == "%02X" % value, "bad checksum: " + line
    return line


if where.startswith("/"):
    stream = open(where, "rb")
else:
    peer = socket.create_connection(("127.0.0.1", int(where.rpartition(":")[2])), timeout=60)
    peer.sendall(data.encode("latin-1"))
    stream = peer.makefile("rb")
count = 0
while wanted == 0 or count < wanted:
    line = stream.readline().decode("ascii")
    if not line:
        print("CLOSED")
        break
    if line.startswith("$"):
        checked(line)
    elif where.startswith(("/", "NMEA")):
        continue
    print(line.strip(), flush=True)
    count += 1
