#!/usr/bin/env python3
"""Key latency in QEMU: the setup utility against a trivial application.

Boots two machines the way the end-to-end tests do (QEMU, OVMF, TCG unless
QUORVEX_QEMU_ACCEL says otherwise): the utility's ESP (build/esp) and the
latency application's own ESP (build/uefi/latency_esp), an application that
only flips the colour of a square on every key. Then, taking turns, for
--reps keys each:

  - only the machine being measured runs; the other one is paused, since
    both poll for keys without pause and would take host cores from each
    other;
  - its screen is left to settle (two equal screendumps in a row);
  - one key goes out over QMP `send-key`, and screendumps are taken back to
    back until the screen has stood still for 0.3 s. The key's latency is
    the time from sending it to the first dump that differs from the
    settled screen (more exactly: to halfway between that dump and the one
    before it); the time to the last change is kept as well, since the
    utility may show a redraw in several steps;
  - the final screen must show what the key should have done, else the
    run stops (a lost key is not a fast key).

The utility's keys are tab moves: Down from the Main tab to Security, Up
back. The utility's clock row redraws itself every second and is left out
of every comparison, for both machines alike. The first Down and Up on each
machine are not counted (QEMU translates the guest code they run for the
first time).

Prints both subjects' times, their medians and the ratios utility /
application, to the first change (the usual figure) and to the last.
"""
import argparse
import os
import shutil
import statistics
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(ROOT, "scripts"))
sys.path.insert(0, os.path.join(ROOT, "tests", "e2e"))

from qemu_machine import (OVMF_CODE, TAB_HIGHLIGHT_COLOUR, Machine,  # noqa: E402
                          MachineError, utility_drawn)
from screen_checks import CLOCK_ROWS, same_screen, settle  # noqa: E402

UTILITY_ESP = os.environ.get("QUORVEX_ESP", os.path.join(ROOT, "build", "esp"))
APP_ESP = os.path.join(ROOT, "build", "uefi", "latency_esp")
WORK = os.path.join(ROOT, "build", "bench-qemu")

# The latency application's square: the first colour once it is ready, then
# the other one after every key.
SQUARE_COLOURS = (0x20C020, 0xC020C0)

# The utility's tab column: tab k is highlighted when (10, 300 + 80 k) shows
# the highlight colour (the point utility_drawn checks for the Main tab).
TAB_PROBE_X, TAB_PROBE_Y, TAB_STEP = 10, 300, 80


class LatencyError(RuntimeError):
    pass


def app_state(img):
    """0 or 1: the square's colour index; None while the application has not
    drawn its screen (the firmware's screen or a half-drawn one)."""
    if img.width < 400 or img.height < 400 or img.pixel(5, img.height - 5) != 0:
        return None
    centre = img.pixel(img.width // 2, img.height // 2)
    return SQUARE_COLOURS.index(centre) if centre in SQUARE_COLOURS else None


def highlighted_tab(img):
    """The index of the highlighted tab, or None (no tab or several)."""
    found = [k for k in range(5)
             if TAB_PROBE_Y + TAB_STEP * k < img.height
             and img.pixel(TAB_PROBE_X, TAB_PROBE_Y + TAB_STEP * k) == TAB_HIGHLIGHT_COLOUR]
    return found[0] if len(found) == 1 else None


class Subject:
    """One machine and the keys measured on it: each key with a check of the
    settled screen after it (a list of problems, empty when right)."""

    def __init__(self, name, esp, ready, steps):
        self.name = name
        self.esp = esp
        self.ready = ready
        self.steps = steps
        self.machine = None
        self.first = []  # seconds from each key to its first change
        self.last = []  # ... and to its last
        self.dumps = []  # seconds each screendump took


def app_subject():
    def expect(colour):
        return lambda img: [] if app_state(img) == colour else [
            f"square not in colour {colour} ({app_state(img)})"]
    return Subject("trivial application", APP_ESP, lambda img: app_state(img) == 0,
                   [("down", expect(1)), ("up", expect(0))])


def utility_subject():
    def expect(tab):
        return lambda img: [] if highlighted_tab(img) == tab else [
            f"tab {tab} not highlighted ({highlighted_tab(img)})"]
    return Subject("utility tab move", UTILITY_ESP, utility_drawn,
                   [("down", expect(1)), ("up", expect(0))])


def follow_key(machine, before, sent, timeout, quiet=0.3, ignore_rows=CLOCK_ROWS,
               clock=time.monotonic, durations=None):
    """Takes screendumps back to back after a key sent at `sent` until the
    screen has not changed for `quiet` seconds. Returns the seconds from the
    key to its first and to its last change, and the last screen.

    A dump shows the screen as it was in the middle of its request; a change
    is placed halfway between the last dump without it and the first with
    it (the first dump's predecessor being the key itself). Changes inside
    ignore_rows do not count. LatencyError when nothing changes, or the
    screen keeps changing, for timeout seconds. Each dump's duration is
    appended to `durations` when given (the measurement's resolution)."""
    reference, previous = before, sent
    first = last = None
    changed_at = None
    while True:
        asked = clock()
        img = machine.screenshot()
        answered = clock()
        taken = (asked + answered) / 2
        if durations is not None:
            durations.append(answered - asked)
        if not same_screen(reference, img, ignore_rows):
            last = (previous + taken) / 2 - sent
            if first is None:
                first = last
            reference, changed_at = img, taken
        elif changed_at is not None and taken - changed_at >= quiet:
            return first, last, reference
        previous = taken
        if answered - sent > timeout:
            what = "did not change" if first is None else "kept changing"
            raise LatencyError(f"the screen {what} for {timeout:.0f} s after the key")


def measure_key(subject, key, check, timeout=20.0):
    """Settles the screen, sends one key and follows it to the end; checks
    the final screen. Returns the first and last change (seconds)."""
    m = subject.machine
    before = settle(m, what=f"the {subject.name}'s screen before {key}")
    sent = time.monotonic()
    m.qmp.send_keys([key])
    first, last, final = follow_key(m, before, sent, timeout, durations=subject.dumps)
    problems = check(final)
    if problems:
        raise LatencyError(f"{subject.name} after {key}: " + "; ".join(problems))
    return first, last


def dump_dir(work):
    """Where QEMU writes its screendumps: memory when there is a tmpfs, as
    every dump is a 2.3 MB file."""
    shm = "/dev/shm"
    return shm if os.path.isdir(shm) and os.access(shm, os.W_OK) else work


def boot(subject, work, timeout):
    m = Machine(subject.esp, dump_dir(work), display="none",
                serial_log=os.path.join(work, subject.name.replace(" ", "_") + ".serial.log"))
    subject.machine = m
    m.start()
    m.wait_until(subject.ready, timeout, interval=0.2, what=f"the {subject.name}'s screen")


def run(reps, work=WORK, boot_timeout=120.0, log=lambda text: None):
    """Boots both machines, measures reps keys on each, taking turns; returns
    the subjects with their latencies (seconds). Stops the machines."""
    reason = unavailable()
    if reason:
        raise LatencyError(reason)
    os.makedirs(work, exist_ok=True)
    subjects = [app_subject(), utility_subject()]  # summary() takes them in this order
    try:
        for s in subjects:
            boot(s, work, boot_timeout)
            s.machine.qmp.command("stop")
            log(f"{s.name}: booted")
        # One round of keys first, not counted: QEMU translates the guest's
        # code when it first runs, which a real machine never does.
        warm_up = len(subjects[0].steps)
        for i in range(warm_up + reps):
            # Each round starts with the other machine, so that a slow spell
            # of the host does not always fall on the same one.
            for s in subjects if i % 2 == 0 else subjects[::-1]:
                key, check = s.steps[i % len(s.steps)]
                s.machine.qmp.command("cont")
                first, last = measure_key(s, key, check)
                s.machine.qmp.command("stop")
                if i < warm_up:
                    continue
                s.first.append(first)
                s.last.append(last)
                log(f"{s.name}: {key} first change {first * 1000:.0f} ms, "
                    f"last {last * 1000:.0f} ms")
    finally:
        for s in subjects:
            if s.machine is not None:
                s.machine.stop()
    return subjects


def summary(app, utility):
    """Medians (seconds) of both subjects to the first and to the last change,
    and the ratios utility / application."""
    figures = {"keys": min(len(app.first), len(utility.first)),
               "dump": statistics.median(app.dumps + utility.dumps)}
    for what in ("first", "last"):
        a = statistics.median(getattr(app, what))
        u = statistics.median(getattr(utility, what))
        figures[what] = {"trivial": a, "utility": u, "ratio": u / a if a > 0 else None}
    return figures


def ratio_lines(figures):
    """The ratio to the first change (the figure the goal is about), then the
    one to the last change."""
    def describe(f):
        ratio = f"{f['ratio']:.2f}" if f["ratio"] is not None else "-"
        return (f"{ratio} (tab move median {f['utility'] * 1000:.0f} ms, trivial application "
                f"{f['trivial'] * 1000:.0f} ms")
    keys = figures["keys"]
    return [f"QEMU latency ratio: {describe(figures['first'])}; key to first change, "
            f"{keys} keys each)",
            f"QEMU latency ratio to the last change: {describe(figures['last'])}; "
            f"a screendump every {figures['dump'] * 1000:.0f} ms)"]


def unavailable(esps=(UTILITY_ESP, APP_ESP)):
    """Why a QEMU measurement booting these ESPs cannot run here, or None."""
    if shutil.which("qemu-system-x86_64") is None:
        return "qemu-system-x86_64 is not installed"
    if not os.path.isfile(OVMF_CODE):
        return f"no OVMF firmware at {OVMF_CODE}"
    for esp in esps:
        if not os.path.isfile(os.path.join(esp, "EFI", "BOOT", "BOOTX64.EFI")):
            return f"no ESP at {esp} (run make esp)"
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--reps", type=int, default=20, help="keys per machine (default 20)")
    parser.add_argument("--work", default=WORK, help="QEMU's work files and serial logs")
    parser.add_argument("-v", "--verbose", action="store_true", help="print every key")
    args = parser.parse_args()
    if args.reps < 1:
        parser.error("--reps must be at least 1")
    try:
        subjects = run(args.reps, args.work, log=print if args.verbose else lambda text: None)
    except (LatencyError, MachineError, AssertionError) as e:
        sys.exit(f"qemu_latency: {e}")
    for s in subjects:
        for what in ("first", "last"):
            print(f"{s.name}, {what} change: " +
                  " ".join(f"{v * 1000:.0f}" for v in getattr(s, what)) + " ms")
    for line in ratio_lines(summary(*subjects)):
        print(line)


if __name__ == "__main__":
    main()
