#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
# A NAT-PMP router with odd answers, for the router lab: it names OUTSIDE as its outside address
# and answers every mapping request with PORT and LIFETIME (a give-back, lifetime 0, with 0 and
# 0), writing each request it receives to LOG as "map INSIDE SUGGESTED LIFETIME".
#   odd_router.py LISTEN OUTSIDE PORT LIFETIME LOG
import socket
import struct
import sys

listen, outside, port, lifetime, log = sys.argv[1:6]
server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
server.bind((listen, 5351))
print("listening", flush=True)
while True:
    request, peer = server.recvfrom(64)
    if len(request) < 2 or request[0] != 0:
        continue
    op = request[1]
    if op == 0:
        server.sendto(struct.pack("!BBHI4s", 0, 128, 0, 1, socket.inet_aton(outside)), peer)
    elif op in (1, 2) and len(request) >= 12:
        inside, suggested, asked = struct.unpack("!HHI", request[4:12])
        with open(log, "a") as f:
            f.write(f"map {inside} {suggested} {asked}\n")
        granted = (int(port), int(lifetime)) if asked else (0, 0)
        server.sendto(struct.pack("!BBHIHHI", 0, 128 + op, 0, 1, inside, *granted), peer)
