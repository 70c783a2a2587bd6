#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Sends kelvane-bot a frame that never closes and reports how its resident memory grew.

    python3 bench/flood_memory.py build/release/bot/kelvane-bot [megabytes]

The bot serves; this script connects as the client, reads the deal, notes the bot's resident
memory, then sends "(" and the given number of megabytes (200 by default) without ")". It
prints the growth of the bot's peak resident memory, how many bytes the bot took before it
closed the connection, and what the bot said.
"""
import re
import socket
import subprocess
import sys
import time


def peak_kb(pid):
    with open(f"/proc/{pid}/status") as status:
        return int(re.search(r"VmHWM:\s+(\d+)", status.read()).group(1))


def main():
    bot_path = sys.argv[1]
    megabytes = int(sys.argv[2]) if len(sys.argv) > 2 else 200
    bot = subprocess.Popen([bot_path, "--serve", "--port", "0", "--delay", "0"],
                           stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    line = bot.stderr.readline()
    port = int(re.search(r"port (\d+)", line).group(1))
    peer = socket.create_connection(("127.0.0.1", port))
    deal = b""
    while b")" not in deal:
        deal += peer.recv(4096)
    time.sleep(0.2)
    before = peak_kb(bot.pid)
    chunk = b"x" * (1 << 20)
    sent = 0
    try:
        peer.sendall(b"(")
        for _ in range(megabytes):
            peer.sendall(chunk)
            sent += len(chunk)
    except OSError as error:
        closed = f"connection closed by the bot after {sent} bytes ({error.strerror})"
    else:
        closed = f"all {sent} bytes were taken"
    try:
        after = peak_kb(bot.pid)
    except FileNotFoundError:
        after = None
    out, err = bot.communicate(timeout=10)
    print(f"bot peak resident memory before: {before / 1024:.1f} MB")
    if after is not None:
        print(f"bot peak resident memory after:  {after / 1024:.1f} MB "
              f"(grew {(after - before) / 1024:.1f} MB)")
    else:
        print("bot had already left when the flood ended")
    print(closed)
    said = err.strip().splitlines()[-1] if err.strip() else ""
    print(f"bot exit status {bot.returncode}; said: {said}")
    # The bot must refuse the endless frame and leave with the failure status.
    if bot.returncode != 1 or "longer than" not in said:
        sys.exit("the bot did not refuse the endless frame")


main()
