#!/usr/bin/env python3
"""A small QMP client for driving QEMU: keys, pointer, screendumps, events.

As a library:
    q = Qmp("/path/qmp.sock"); q.connect(timeout=30)
    q.send_keys(["esc"]); q.click(512, 384, 1024, 768); q.screendump("/tmp/s.png")
    q.wait_event({"RESET"}, timeout=60); q.quit()

As a command (one action per call, several may follow each other):
    qmp.py --socket S key esc [ret ...]       one key press each (qcode names;
                                              "ctrl-alt-delete" presses together)
    qmp.py --socket S type "text"             letters, digits, space, some punctuation
    qmp.py --socket S move X Y [--size WxH]   pointer to screen pixel X, Y
    qmp.py --socket S click X Y [--size WxH]  move there and click the left button
    qmp.py --socket S screendump FILE         write a PNG
    qmp.py --socket S wait EVENT... [--timeout S]
    qmp.py --socket S quit
"""
import argparse
import json
import os
import socket
import sys
import time

ABS_MAX = 0x7FFF

# Characters for type_text: qcode and whether shift is held.
_SHIFTED = {
    "!": "1", "@": "2", "#": "3", "$": "4", "%": "5", "^": "6", "&": "7", "*": "8",
    "(": "9", ")": "0", "_": "minus", "+": "equal", "{": "bracket_left",
    "}": "bracket_right", ":": "semicolon", '"': "apostrophe", "<": "comma", ">": "dot",
    "?": "slash", "|": "backslash", "~": "grave_accent",
}
_PLAIN = {
    " ": "spc", "-": "minus", "=": "equal", "[": "bracket_left", "]": "bracket_right",
    ";": "semicolon", "'": "apostrophe", ",": "comma", ".": "dot", "/": "slash",
    "\\": "backslash", "`": "grave_accent", "\n": "ret", "\t": "tab",
}


def char_to_keys(ch):
    """The qcodes that type one character (US layout)."""
    if "a" <= ch <= "z" or "0" <= ch <= "9":
        return [ch]
    if "A" <= ch <= "Z":
        return ["shift", ch.lower()]
    if ch in _PLAIN:
        return [_PLAIN[ch]]
    if ch in _SHIFTED:
        return ["shift", _SHIFTED[ch]]
    raise ValueError(f"cannot type {ch!r}")


def pixel_to_abs(pos, extent):
    """The absolute axis value (0..0x7FFF) of the centre of pixel pos."""
    if extent <= 0:
        raise ValueError("screen extent must be positive")
    pos = max(0, min(extent - 1, pos))
    return min(ABS_MAX, ((2 * pos + 1) * (ABS_MAX + 1)) // (2 * extent))


class QmpError(Exception):
    pass


class Qmp:
    def __init__(self, path):
        self.path = path
        self.sock = None
        self.buffer = b""
        self.events = []

    # -- connection ---------------------------------------------------------
    def connect(self, timeout=30.0):
        deadline = time.monotonic() + timeout
        while True:
            try:
                s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
                s.connect(self.path)
                break
            except OSError:
                s.close()
                if time.monotonic() > deadline:
                    raise QmpError(f"no QMP socket at {self.path}")
                time.sleep(0.1)
        self.sock = s
        greeting = self._read_message(timeout)
        if "QMP" not in greeting:
            raise QmpError(f"unexpected greeting {greeting}")
        self.command("qmp_capabilities")
        return self

    def close(self):
        if self.sock:
            self.sock.close()
            self.sock = None

    def _read_message(self, timeout):
        deadline = None if timeout is None else time.monotonic() + timeout
        while b"\n" not in self.buffer:
            if deadline is not None:
                left = deadline - time.monotonic()
                if left <= 0:
                    raise TimeoutError("QMP read timed out")
                self.sock.settimeout(left)
            else:
                self.sock.settimeout(None)
            try:
                chunk = self.sock.recv(65536)
            except socket.timeout:
                raise TimeoutError("QMP read timed out")
            if not chunk:
                raise QmpError("QMP connection closed")
            self.buffer += chunk
        line, self.buffer = self.buffer.split(b"\n", 1)
        return json.loads(line)

    def command(self, name, timeout=60.0, **arguments):
        msg = {"execute": name}
        if arguments:
            msg["arguments"] = arguments
        self.sock.sendall(json.dumps(msg).encode() + b"\n")
        while True:
            reply = self._read_message(timeout)
            if "event" in reply:
                self.events.append(reply)
                continue
            if "error" in reply:
                raise QmpError(f"{name}: {reply['error'].get('desc', reply['error'])}")
            return reply.get("return")

    # -- events -------------------------------------------------------------
    def wait_event(self, names, timeout=60.0):
        """Returns the first event (dict) whose name is in names, taking it out
        of the queue; earlier events of other names stay queued."""
        names = {names} if isinstance(names, str) else set(names)
        deadline = time.monotonic() + timeout
        while True:
            for i, ev in enumerate(self.events):
                if ev["event"] in names:
                    return self.events.pop(i)
            left = deadline - time.monotonic()
            if left <= 0:
                raise TimeoutError(f"no {sorted(names)} event within {timeout} s")
            msg = self._read_message(left)
            if "event" in msg:
                self.events.append(msg)

    def drain_events(self):
        """Reads whatever events are pending without blocking."""
        try:
            while True:
                msg = self._read_message(0.05)
                if "event" in msg:
                    self.events.append(msg)
        except TimeoutError:
            pass
        return list(self.events)

    # -- keyboard -----------------------------------------------------------
    def send_keys(self, keys, hold_ms=80):
        """Presses the qcodes in keys together (one chord) and releases them."""
        self.command("send-key", keys=[{"type": "qcode", "data": k} for k in keys],
                     **{"hold-time": hold_ms})

    def key(self, name, count=1, gap=0.15):
        """One key per press: name is a qcode or a chord "ctrl-alt-delete"."""
        for _ in range(count):
            self.send_keys(name.split("-") if "-" in name and len(name) > 1 else [name])
            time.sleep(gap)

    def type_text(self, text, gap=0.12):
        for ch in text:
            self.send_keys(char_to_keys(ch))
            time.sleep(gap)

    # -- pointer ------------------------------------------------------------
    def move(self, x, y, width, height):
        self.command("input-send-event", events=[
            {"type": "abs", "data": {"axis": "x", "value": pixel_to_abs(x, width)}},
            {"type": "abs", "data": {"axis": "y", "value": pixel_to_abs(y, height)}},
        ])

    def move_by(self, dx, dy):
        """A relative move, as a mouse sends it."""
        self.command("input-send-event", events=[
            {"type": "rel", "data": {"axis": "x", "value": int(dx)}},
            {"type": "rel", "data": {"axis": "y", "value": int(dy)}},
        ])

    def button(self, down, button="left"):
        self.command("input-send-event", events=[
            {"type": "btn", "data": {"down": down, "button": button}}])

    def click(self, x, y, width, height, button="left", hold=0.1):
        self.move(x, y, width, height)
        time.sleep(0.05)
        self.button(True, button)
        time.sleep(hold)
        self.button(False, button)

    # -- screen and machine -------------------------------------------------
    def screendump(self, path):
        path = os.path.abspath(path)
        tmp = path + ".part"
        self.command("screendump", filename=tmp, format="png")
        os.replace(tmp, path)
        return path

    def system_reset(self):
        self.command("system_reset")

    def quit(self):
        try:
            self.command("quit", timeout=10)
        except (QmpError, TimeoutError, OSError):
            pass
        self.close()


def _size(text):
    w, h = text.lower().split("x")
    return int(w), int(h)


def main(argv):
    ap = argparse.ArgumentParser(description="Drive a QEMU over QMP.")
    ap.add_argument("--socket", required=True)
    ap.add_argument("--size", type=_size, default=(1024, 768),
                    help="screen size for pointer scaling (default 1024x768)")
    ap.add_argument("--timeout", type=float, default=60.0)
    ap.add_argument("action", choices=["key", "type", "move", "click", "screendump", "wait",
                                       "quit"])
    ap.add_argument("args", nargs="*")
    a = ap.parse_args(argv)
    q = Qmp(a.socket).connect(timeout=a.timeout)
    try:
        if a.action == "key":
            for k in a.args:
                q.key(k)
        elif a.action == "type":
            q.type_text(" ".join(a.args))
        elif a.action in ("move", "click"):
            if len(a.args) != 2:
                ap.error(f"{a.action} needs X Y")
            x, y = int(a.args[0]), int(a.args[1])
            if a.action == "move":
                q.move(x, y, *a.size)
            else:
                q.click(x, y, *a.size)
        elif a.action == "screendump":
            if len(a.args) != 1:
                ap.error("screendump needs FILE")
            print(q.screendump(a.args[0]))
        elif a.action == "wait":
            ev = q.wait_event(set(a.args), timeout=a.timeout)
            print(ev["event"])
        elif a.action == "quit":
            q.quit()
            return 0
    finally:
        q.close()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
