#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A blind player's round: the window and the real screen reader (Orca) on a private X server,
session bus and accessibility bus; a whole round against the computer played by keys alone.

After every key that moves the keyboard's frame, Orca's debug log must say the place the frame
is on; after every draw, the card drawn; every turn that comes to the player or leaves him; every
move of the opponent that the move history lists; the round's result. Any wait is a few seconds
at most: a game that stops, a window that dies or a reader that stays silent fails at once, saying
what it waited for.

    screen_reader_round.py KELVANE_PROGRAM
Exits 77 (skipped) when a tool it needs is not installed, saying which.
"""

import ctypes
import os
import re
import shutil
import signal
import subprocess
import sys
import select
import tempfile
import threading
import time
import tty

SKIP = 77
PR_SET_CHILD_SUBREAPER = 36
TOOLS = ["Xvfb", "dbus-daemon", "dbus-send", "openbox", "orca", "xdotool"]
KEY_PAUSE = 0.05  # after each key, as a quick player types
SAY_WAIT = 6.0  # for Orca to say what the window shows
TURN_WAIT = 12.0  # for the computer's turn, its one-second holds included
# 'Two of Spades.'{...} ; 'space ' {...} ; 'A' voice=uppercase{...}
SPEECH = re.compile(r"SPEECH OUTPUT: '(.*)' ?(?:voice=\w+)?\{")


class Failed(Exception):
    pass


def skip_if_missing():
    missing = [t for t in TOOLS if not shutil.which(t)]
    if not os.path.exists("/usr/libexec/at-spi-bus-launcher"):
        missing.append("at-spi2-core")
    try:
        import pyatspi  # noqa: F401
    except ImportError:
        missing.append("python3-pyatspi")
    if missing:
        print("skipped: not installed: " + ", ".join(missing) + " (tools/dev.sh installs them)")
        sys.exit(SKIP)


class Desktop:
    """The X server, the session bus, a window manager and Orca, ended in reverse order."""

    def __init__(self, work):
        self.work = work
        self.procs = []
        self.reading = False

    def open(self):
        display = next(n for n in range(20, 100)
                       if not os.path.exists("/tmp/.X%d-lock" % n)
                       and not os.path.exists("/tmp/.X11-unix/X%d" % n))
        self.start(["Xvfb", ":%d" % display, "-screen", "0", "1600x1000x24", "-nolisten", "tcp"])
        deadline = time.monotonic() + 10
        while not os.path.exists("/tmp/.X11-unix/X%d" % display):
            if time.monotonic() > deadline:
                raise Failed("Xvfb did not start on :%d" % display)
            time.sleep(0.05)
        os.environ["DISPLAY"] = ":%d" % display
        bus = self.start(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                         stdout=subprocess.PIPE)
        address = bus.stdout.readline().decode().strip()
        if not address:
            raise Failed("the session bus did not start")
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = address
        os.environ.pop("XDG_RUNTIME_DIR", None)
        self.start(["openbox"])
        # The accessibility bus, started and answering before Orca asks for it.
        subprocess.run(["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus",
                        "/org/a11y/bus", "org.a11y.Bus.GetAddress"], check=True, timeout=20,
                       stdout=subprocess.DEVNULL)
        # Orca writes its log through a buffer that a file would hold back for kilobytes; a
        # terminal it writes line by line. Each line is read as it comes and kept in orca.log.
        self.log = os.path.join(self.work, "orca.log")
        self.said_from, self.lines = 0, []
        self.pty, terminal = os.openpty()
        tty.setraw(terminal)
        self.terminal = terminal
        self.lock = threading.Lock()
        self.reading = True
        self.reader = threading.Thread(target=self.read_log, daemon=True)
        self.reader.start()
        self.orca = self.start(["orca", "-u", os.path.join(self.work, "orca-prefs"),
                                "--debug-file=" + os.ttyname(terminal)], stdout=None)
        self.wait_for_speech("Screen reader on", "Orca to start", 20.0, self.orca_alive)

    def orca_alive(self):
        if self.orca.poll() is not None:
            # Orca runs once per user: it leaves at once when another Orca of this user runs.
            with open(os.path.join(self.work, "orca.err")) as f:
                said = f.read().strip()
            raise Failed("Orca ended (exit %s) on display %s: %s" % (
                self.orca.returncode, os.environ["DISPLAY"],
                said or "another Orca running for this user?"))

    def start(self, argv, **kw):
        err = open(os.path.join(self.work, os.path.basename(argv[0]) + ".err"), "w")
        kw.setdefault("stdout", subprocess.DEVNULL)
        if kw["stdout"] is None:
            kw["stdout"] = err
        p = subprocess.Popen(argv, stderr=err, start_new_session=True, **kw)
        self.procs.append(p)
        return p

    def descendants(self):
        """Our processes and everything they started (the buses' helpers), by id."""
        children = {}
        for entry in os.listdir("/proc"):
            try:
                with open("/proc/%s/stat" % entry) as f:
                    ppid = int(f.read().rsplit(")", 1)[1].split()[1])
                children.setdefault(ppid, []).append(int(entry))
            except (OSError, ValueError, IndexError):
                continue
        # The buses start their helpers detached; as the subreaper this process adopts them.
        found, todo = [], list(children.get(os.getpid(), []))
        while todo:
            pid = todo.pop()
            found.append(pid)
            todo.extend(children.get(pid, []))
        return found

    def close(self):
        self.reading = False
        # The helpers first, while the buses that started them are there to reap them.
        ours = {p.pid for p in self.procs}
        helpers = [pid for pid in self.descendants() if pid not in ours]
        # Children before parents, each reaped by its parent before that parent goes.
        for pid in reversed(helpers):
            try:
                os.kill(pid, signal.SIGTERM)
            except ProcessLookupError:
                continue
            deadline = time.monotonic() + 1
            while os.path.exists("/proc/%d" % pid) and time.monotonic() < deadline:
                reap()
                time.sleep(0.02)
        # Then ours, the X server last: a window manager that loses its display starts again.
        for p in reversed(self.procs):
            p.terminate()
            try:
                p.wait(timeout=5)
            except subprocess.TimeoutExpired:
                p.kill()
                p.wait()
        for pid in self.descendants():
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        reap()

    def read_log(self):
        partial = b""
        with open(self.log, "wb") as log:
            while self.reading:
                if not select.select([self.pty], [], [], 0.1)[0]:
                    continue
                try:
                    chunk = os.read(self.pty, 65536)
                except OSError:
                    return
                log.write(chunk)
                partial += chunk
                *whole, partial = partial.split(b"\n")
                said = [m.group(1) for m in
                        (SPEECH.search(line.decode("utf-8", "replace")) for line in whole) if m]
                if said:
                    with self.lock:
                        self.lines.extend(said)

    def speech(self):
        """Orca's SPEECH OUTPUT lines so far."""
        with self.lock:
            return list(self.lines)

    def mark(self):
        """From now on: what Orca says after this point."""
        self.said_from = len(self.speech())

    def said_since(self):
        return self.speech()[self.said_from:]

    def wait_for_speech(self, pattern, what, wait=SAY_WAIT, alive=None):
        rx = re.compile(pattern)
        deadline = time.monotonic() + wait
        while True:
            for line in self.said_since():
                m = rx.search(line)
                if m:
                    return m
            if alive:
                alive()
            if time.monotonic() > deadline:
                raise Failed("Orca did not say %s (%r) within %.0f s; it said since: %r"
                             % (what, pattern, wait, self.said_since()[-8:]))
            time.sleep(0.05)


def reap():
    """Collects every ended process this one adopted."""
    while True:
        try:
            if os.waitpid(-1, os.WNOHANG)[0] == 0:
                return
        except ChildProcessError:
            return


def opponent_moves(history):
    return [line for line in history
            if re.match(r"Your opponent (drew|took|laid|discarded)\b", line)]


def key(name):
    subprocess.run(["xdotool", "key", "--clearmodifiers", name], check=True)
    time.sleep(KEY_PAUSE)


class Window:
    """The Kelvane window, read through the accessibility bus as a screen reader reads it."""

    def __init__(self, program, desktop):
        import pyatspi
        self.pyatspi = pyatspi
        self.desktop = desktop
        env = dict(os.environ, QT_ACCESSIBILITY="1", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        env.pop("QT_QPA_PLATFORM", None)
        self.proc = desktop.start([program], env=env)
        self.app = self.poll(self.find_app, "the window to appear on the accessibility bus", 20.0)
        # The window manager may still be starting: it takes the request once it is up.
        self.poll(lambda: subprocess.run(
            ["xdotool", "search", "--sync", "--onlyvisible", "--name", "Kelvane \\(Version",
             "windowactivate", "--sync"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            timeout=20).returncode == 0, "the window to be activated", 10.0)

    def alive(self):
        if self.proc.poll() is not None:
            raise Failed("the window ended (exit %s)" % self.proc.returncode)

    def poll(self, find, what, wait):
        deadline = time.monotonic() + wait
        while True:
            self.alive()
            found = find()
            if found:
                return found
            if time.monotonic() > deadline:
                raise Failed("gave up waiting for " + what)
            time.sleep(0.1)

    def find_app(self):
        desktop = self.pyatspi.Registry.getDesktop(0)
        for i in range(desktop.childCount):
            app = desktop.getChildAtIndex(i)
            if app is not None and app.name == "Kelvane":
                return app
        return None

    def take_table(self):
        """The status line, the keyboard's frame and the move history, found in one walk."""
        tests = {
            # The status line itself, not a notice that told its text.
            "status": lambda o: (o.getRole() == self.pyatspi.ROLE_LABEL
                                 and o.name.startswith("Status: ")),
            "keys": lambda o: o.description.startswith("Up and Down move"),
            "history": lambda o: o.name == "move history",
        }

        def walk():
            found, queue = {}, [self.app]
            while queue and len(found) < len(tests):
                obj = queue.pop(0)
                try:
                    for name, test in tests.items():
                        if name not in found and test(obj):
                            found[name] = obj
                    queue.extend(c for c in obj if c is not None)
                except Exception:
                    continue
            return found if len(found) == len(tests) else None

        found = self.poll(walk, "the status line, the keyboard's frame and the move history",
                          10.0)
        self.status, self.keys, self.history = found["status"], found["keys"], found["history"]

    def status_text(self):
        self.alive()
        return self.status.name[len("Status: "):]

    def place(self):
        return self.keys.name

    def history_lines(self):
        text = self.history.queryText()
        return [line for line in text.getText(0, text.characterCount).split("\n") if line]


class Round:
    def __init__(self, desktop, window):
        self.d, self.w = desktop, window
        self.places = []  # every place the frame moved to, as Orca said it
        self.draws = []
        self.turns = []

    def move(self, name):
        """A key that moves the frame: Orca says the new place."""
        before = self.w.place()
        self.d.mark()
        key(name)
        # The window may take the key a moment after it is sent; a key at the row's end moves
        # nothing and is not waited for long.
        deadline = time.monotonic() + 0.5
        after = self.w.place()
        while after == before and time.monotonic() < deadline:
            time.sleep(0.02)
            after = self.w.place()
        if after != before:
            self.d.wait_for_speech("^" + re.escape(after) + r"\.?$",
                                   "the place after " + name, alive=self.w.alive)
            self.places.append(after)

    def wait_status(self, wanted, what):
        deadline = time.monotonic() + TURN_WAIT
        while True:
            # Before the status: the next round is dealt at once and has its own turns.
            if self.round_over():
                return None
            status = self.w.status_text()
            if status in wanted:
                return status
            if status == "Not Connected":
                raise Failed("the game stopped: the window lost its opponent while waiting for "
                             + what)
            if time.monotonic() > deadline:
                raise Failed("the game stopped: waited %.0f s for %s, the status stays %r"
                             % (TURN_WAIT, what, status))
            time.sleep(0.1)

    def round_over(self):
        return any(line.startswith("Round over.") for line in self.w.history_lines())

    def turn_said(self, status):
        said = self.d.wait_for_speech(r"\bStatus: (" + status + r")\b", "the turn %r" % status,
                                      alive=self.w.alive)
        self.turns.append(said.group(1))

    def play(self):
        # Each turn is looked for in what Orca said since the key that led to it.
        self.d.mark()
        key("space")  # the welcome's "Play Against the Computer"
        self.d.wait_for_speech(r"\bStatus: (Draw|Waiting for your opponent to draw)\b",
                               "the first turn", TURN_WAIT, self.w.alive)
        self.w.take_table()
        heard_moves = 0
        while True:
            if self.wait_status({"Draw"}, "the player's turn") is None:
                break
            self.turn_said("Draw")
            heard_moves = self.check_opponent_moves(heard_moves)
            for k in ("Up", "Up", "Home"):
                self.move(k)
            self.d.mark()
            key("Return")
            drawn = self.d.wait_for_speech(r"You drew the (\w+ of \w+)", "the card drawn",
                                           alive=self.w.alive)
            self.draws.append(drawn.group(1))
            self.wait_status({"Discard"}, "the draw to be over")
            self.turn_said("Discard")
            for k in ("Down", "Down", "End"):
                self.move(k)
            card = self.w.place()
            self.d.mark()
            key("d")
            self.d.wait_for_speech(re.escape("Discard the %s?" % card), "the discard question",
                                   alive=self.w.alive)
            self.d.mark()
            key("Return")
            if self.wait_status({"Waiting for your opponent to draw", "Draw"},
                                "the discard to be made") is None:
                break
            # The turn handed over; when the opponent's moves came at once, the turn as they
            # left it is told with them.
            self.turn_said("Waiting for your opponent to (?:draw|discard)|Draw")
        summary = [line for line in self.w.history_lines() if line.startswith("Round over.")][0]
        self.check_opponent_moves(heard_moves)
        # The result is told with the move that ended the round, which Orca may still be saying.
        deadline = time.monotonic() + SAY_WAIT
        while not any(summary in line for line in self.d.speech()):
            if time.monotonic() > deadline:
                raise Failed("Orca never said the round's result %r" % summary)
            time.sleep(0.05)
        return summary

    def check_opponent_moves(self, checked):
        """Every opponent's move the history lists was said (the reader may say several at once)."""
        moves = opponent_moves(self.w.history_lines())
        said = self.d.speech()
        for move in moves[checked:]:
            deadline = time.monotonic() + SAY_WAIT
            while not any(move in line for line in said):
                if time.monotonic() > deadline:
                    raise Failed("Orca never said the opponent's move %r" % move)
                time.sleep(0.05)
                said = self.d.speech()
        return len(moves)


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    skip_if_missing()
    # The accessibility bus and its registry are started detached by the session bus; adopted
    # here, they are ended and collected with the rest.
    ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    program = os.path.abspath(sys.argv[1])
    started = time.monotonic()
    work = tempfile.mkdtemp(prefix="kelvane-reader-")
    desktop = window = None
    try:
        desktop = Desktop(work)
        desktop.open()
        window = Window(program, desktop)
        desktop.wait_for_speech("Play Against the Computer", "the welcome's first button",
                                20.0, window.alive)
        game = Round(desktop, window)
        summary = game.play()
        moves = opponent_moves(window.history_lines())
        print("Orca said %d places of the keyboard's frame, %d cards drawn, %d turns, %d opponent's "
              "moves and the result, in %.0f s:" % (len(game.places), len(game.draws),
                                                    len(game.turns), len(moves),
                                                    time.monotonic() - started))
        for line in desktop.speech()[-12:]:
            print("  SPEECH OUTPUT: " + line)
        print("  " + summary)
        return 0
    except (Failed, subprocess.SubprocessError, OSError) as e:
        print("FAILED: %s" % e)
        if desktop:
            print("Orca's last words: %r" % desktop.speech()[-10:])
        print("logs kept in " + work)
        work = None
        return 1
    finally:
        if desktop:
            desktop.close()
        if work:
            shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
