"""The key-latency measurement of make bench, run against a scripted screen
and clock instead of QEMU: where it places the first and the last change of
a key, that the clock row does not count, and that it gives up on a screen
that never changes or never stops changing."""

import os
import sys
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "tools", "bench"))

import qemu_latency  # noqa: E402
from pngread import Image  # noqa: E402

WIDTH, HEIGHT = 4, 120
CLOCK_ROW = qemu_latency.CLOCK_ROWS[0]
DUMP_SECONDS = 0.010


def screen(**rows):
    """A grey screen; rows r<N>=v fill row N with the value v."""
    img = Image(WIDTH, HEIGHT, 3, b"")
    img._rows = [bytes([0x80] * WIDTH * 3)] * HEIGHT
    for name, value in rows.items():
        img._rows[int(name[1:])] = bytes([value] * WIDTH * 3)
    return img


class ScriptedMachine:
    """Shows each screen of `timeline` ((from_seconds, screen), in order) from
    its time on; every screendump takes DUMP_SECONDS of the fake clock and
    sees the screen of its middle."""

    def __init__(self, timeline):
        self.timeline = timeline
        self.now = 0.0

    def clock(self):
        return self.now

    def screenshot(self):
        middle = self.now + DUMP_SECONDS / 2
        self.now += DUMP_SECONDS
        shown = self.timeline[0][1]
        for start, img in self.timeline:
            if start <= middle:
                shown = img
        return shown


def follow(machine, timeout=5.0):
    return qemu_latency.follow_key(machine, machine.timeline[0][1], 0.0, timeout,
                                   clock=machine.clock)


class FollowKeyTest(unittest.TestCase):
    def test_first_and_last_change_of_a_redraw_in_two_steps(self):
        before, half, done = screen(), screen(r10=1), screen(r10=1, r100=2)
        m = ScriptedMachine([(0.0, before), (0.012, screen(**{f"r{CLOCK_ROW}": 9})),
                             (0.033, half), (0.071, done),
                             (0.2, screen(r10=1, r100=2, **{f"r{CLOCK_ROW}": 7}))])
        first, last, final = follow(m)
        # Dumps are taken at 0.005, 0.015, ...: the first to see a change is
        # at 0.035 (the one at 0.025 did not), the last change shows at 0.075.
        self.assertAlmostEqual(first, 0.030)
        self.assertAlmostEqual(last, 0.070)
        self.assertIs(final.row(100), done.row(100))
        # It stops once the screen has stood still for 0.3 s, not much later.
        self.assertLess(m.now, 0.075 + 0.3 + 2 * DUMP_SECONDS)

    def test_a_change_on_the_first_dump_counts_from_the_key(self):
        m = ScriptedMachine([(0.0, screen()), (0.001, screen(r5=3))])
        first, last, _ = follow(m)
        self.assertAlmostEqual(first, 0.0025)
        self.assertAlmostEqual(last, 0.0025)

    def test_gives_up_on_a_screen_that_never_or_always_changes(self):
        clock_only = ScriptedMachine([(0.0, screen())] + [
            (t / 10, screen(**{f"r{CLOCK_ROW}": t})) for t in range(1, 30)])
        with self.assertRaisesRegex(qemu_latency.LatencyError, "did not change"):
            follow(clock_only, timeout=2.0)
        restless = ScriptedMachine([(0.0, screen())] + [
            (t / 10, screen(r3=t)) for t in range(1, 30)])
        with self.assertRaisesRegex(qemu_latency.LatencyError, "kept changing"):
            follow(restless, timeout=2.0)


if __name__ == "__main__":
    unittest.main()
