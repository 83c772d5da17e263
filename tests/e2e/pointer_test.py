"""The USB pointers on the real firmware, bound by the reference platform's
HID driver: a usb-tablet puts the cursor where it points and a tap on a tab
highlights it; a usb-mouse plugged in later moves it by relative steps and
is let go when pulled out."""
import os
import time
import unittest

import harness
import pngread
from screen_checks import TEAL, settle

CURSOR_PNG = os.path.join(harness.ROOT, "assets", "cursor.png")
# The utility hides the cursor a few seconds after the last pointer report,
# so the cursor is looked for right after each move.
CURSOR_WAIT = 2.5
# Waits for a state: generous, since a busy host can slow the guest a lot;
# a state that comes sooner ends the wait sooner.
STATE_TIMEOUT = 90


def cursor_pixels():
    """(dx, dy, colour) of the cursor picture's opaque pixels."""
    img = pngread.read(CURSOR_PNG)
    assert img.channels == 4
    found = []
    for y in range(img.height):
        row = img.row(y)
        for x in range(img.width):
            if row[4 * x + 3] == 255:
                found.append((x, y, img.pixel(x, y)))
    return found


def cursor_mismatches(img, x, y, pixels):
    """How many opaque pixels of the cursor drawn with its tip at (x, y)
    differ from the screen."""
    return sum(1 for dx, dy, c in pixels if img.pixel(x + dx, y + dy) != c)


class PointerTest(harness.QemuTestCase):
    @classmethod
    def setUpClass(cls):
        cls.cursor = cursor_pixels()

    def wait_cursor_at(self, x, y, nudge, what):
        """Polls until the cursor picture sits with its tip at (x, y); when
        the cursor was hidden meanwhile, nudge() makes the device report again.
        Returns the screen."""
        deadline = time.monotonic() + STATE_TIMEOUT
        last_nudge = time.monotonic()
        best = None
        while time.monotonic() < deadline:
            img = self.machine.screenshot()
            wrong = cursor_mismatches(img, x, y, self.cursor)
            if wrong == 0:
                return img
            best = wrong if best is None else min(best, wrong)
            if time.monotonic() - last_nudge > CURSOR_WAIT:
                nudge()
                last_nudge = time.monotonic()
            time.sleep(0.2)
        self.fail(f"{what}: no cursor at ({x}, {y}); at best {best} of "
                  f"{len(self.cursor)} cursor pixels differ")

    def tap_tab(self, x, y, what):
        """Taps a tab until it is highlighted. A tap on a tab only highlights
        it, so a tap that a busy firmware lost (while its USB bus driver
        was still busy with a device that came or went) is simply repeated."""
        def problems(img):
            return [] if img.pixel(8, y) == TEAL and img.pixel(240, y - 30) == TEAL else [
                f"{what} tab not highlighted (pixel (8, {y}) {img.pixel(8, y):06X})"]
        for attempt in range(3):
            self.machine.click(x, y)
            try:
                return settle(self.machine, problems, timeout=STATE_TIMEOUT / 3,
                              what=f"the {what} tab highlighted by tap {attempt + 1}")
            except AssertionError as e:
                failure = e
        raise failure

    def wait_serial(self, text, what):
        deadline = time.monotonic() + STATE_TIMEOUT
        while text not in self.machine.serial_text():
            if time.monotonic() > deadline:
                self.fail(f"{what} within {STATE_TIMEOUT} s; serial:\n"
                          + self.machine.serial_text()[-1500:])
            time.sleep(0.5)

    def test_tablet_and_a_mouse_plugged_in_and_out(self):
        m = self.boot()
        self.assertIn("USB pointer: absolute pointer on interface", m.serial_text())
        x, y = 600, 640  # over the page area, below the items

        def nudge_tablet():
            m.move(x + 1, y)
            time.sleep(0.3)
            m.move(x, y)

        m.move(x, y)
        shot = self.wait_cursor_at(x, y, nudge_tablet, "tablet move")
        m.screenshot(self.artefact("_cursor.png"))
        # Beside the cursor the screen is as it was.
        self.assertEqual(shot.pixel(x + 40, y), harness.PAGE_COLOUR)
        self.tap_tab(130, 380, "Security")

        m.qmp.command("device_add", driver="usb-mouse", bus="xhci.0", id="late-mouse")
        self.wait_serial("relative pointer on interface", "the plugged-in mouse was not bound")

        def nudge():
            m.move_by(1, 0)
            time.sleep(0.3)
            m.move_by(-1, 0)

        # The mouse moves the cursor on from where the tablet's tap left it.
        def nudge_tab_point():
            m.move(131, 380)
            time.sleep(0.3)
            m.move(130, 380)

        self.wait_cursor_at(130, 380, nudge_tab_point, "cursor where the tablet tapped")
        m.move_by(370, -180)
        self.wait_cursor_at(500, 200, nudge, "mouse move")
        m.move_by(-150, 120)
        self.wait_cursor_at(350, 320, nudge, "mouse step")

        # Into the top-left corner: the cursor stops there. Checked last:
        # QEMU hands a large move over in steps of at most 127 and adds any
        # move sent meanwhile to what is left of it.
        def nudge_into_corner():
            m.move_by(-1, -1)

        m.move_by(-3000, -3000)
        self.wait_cursor_at(0, 0, nudge_into_corner, "mouse move into the corner")

        # Pulled out: the driver lets go of it (when the firmware's USB bus
        # driver next looks at the port), and the tablet still taps.
        m.qmp.command("device_del", id="late-mouse")
        m.wait_event("DEVICE_DELETED", STATE_TIMEOUT)
        self.wait_serial("USB pointer: released interface", "the pulled-out mouse was not released")
        self.tap_tab(130, 460, "Power Management")


if __name__ == "__main__":
    unittest.main()
