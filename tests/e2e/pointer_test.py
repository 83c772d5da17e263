"""The USB pointers on the real firmware: OVMF binds no driver to them, the
reference platform's HID driver does. A usb-tablet moved over QMP puts the
cursor where it points and a tap on a tab highlights it; a usb-mouse moves
the cursor by relative steps."""
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
        deadline = time.monotonic() + 40
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

    def test_tablet_points_and_taps(self):
        m = self.boot()
        serial = m.serial_text()
        self.assertIn("USB pointer: absolute pointer on interface", serial)

        # Over the page area, below the items.
        x, y = 600, 640

        def nudge():
            m.move(x + 1, y)
            time.sleep(0.3)
            m.move(x, y)

        m.move(x, y)
        shot = self.wait_cursor_at(x, y, nudge, "tablet move")
        m.screenshot(self.artefact("_cursor.png"))
        # The cursor left the screen as it was everywhere else: a point
        # beside it shows the page colour.
        self.assertEqual(shot.pixel(x + 40, y), harness.PAGE_COLOUR)

        # A tap on the Security tab (y 340..420) highlights it.
        m.click(130, 380)

        def problems(img):
            found = []
            for px, py in ((8, 380), (240, 350), (240, 410)):
                if img.pixel(px, py) != TEAL:
                    found.append(f"Security tab at ({px}, {py}) is {img.pixel(px, py):06X}")
            if img.pixel(8, 300) == TEAL:
                found.append("the Main tab is still highlighted")
            return found

        settle(m, problems, what="the Security tab highlighted by a tap")
        m.screenshot(self.artefact("_security.png"))

    def test_mouse_moves_by_relative_steps(self):
        self.machine = None
        m = harness.Machine(harness.ESP, harness.WORK, display="none",
                            serial_log=self.artefact(".serial.log"), pointers=("mouse",))
        self.machine = m
        m.start()
        self.addCleanup(self._stop_machine)
        m.wait_until_drawn(self.boot_timeout)
        self.assertIn("USB pointer: relative pointer on interface", m.serial_text())

        # Into the top-left corner (the cursor stops there), then by steps.
        m.move_by(-3000, -3000)
        time.sleep(0.5)
        m.move_by(400, 300)
        x, y = 400, 300

        def nudge():
            m.move_by(1, 0)
            time.sleep(0.3)
            m.move_by(-1, 0)

        self.wait_cursor_at(x, y, nudge, "mouse move from the corner")
        m.move_by(-150, 120)
        self.wait_cursor_at(x - 150, y + 120, nudge, "mouse step")
        m.screenshot(self.artefact("_mouse.png"))

    def test_mouse_plugged_in_and_out_while_running(self):
        m = self.boot()
        m.qmp.command("device_add", driver="usb-mouse", bus="xhci.0", id="late-mouse")
        deadline = time.monotonic() + 30
        while "relative pointer on interface" not in m.serial_text():
            self.assertLess(time.monotonic(), deadline, "the plugged-in mouse was not bound")
            time.sleep(0.5)

        m.move_by(-3000, -3000)
        time.sleep(0.5)
        m.move_by(500, 200)

        def nudge():
            m.move_by(1, 0)
            time.sleep(0.3)
            m.move_by(-1, 0)

        self.wait_cursor_at(500, 200, nudge, "plugged-in mouse")

        # Pulled out: the driver lets go of it, and the tablet still taps.
        m.qmp.command("device_del", id="late-mouse")
        m.wait_event("DEVICE_DELETED", 30)
        # The driver's line comes when the firmware's USB bus driver next
        # looks at the port, which can be a little after QEMU's event.
        deadline = time.monotonic() + 30
        while "USB pointer: released interface" not in m.serial_text():
            self.assertLess(time.monotonic(), deadline, "the pulled-out mouse was not released")
            time.sleep(0.5)
        m.click(130, 460)

        def problems(img):
            return [] if img.pixel(8, 460) == TEAL else ["Power Management tab not highlighted"]

        settle(m, problems, what="a tap after the mouse was pulled out")
        m.screenshot(self.artefact("_after_unplug.png"))


if __name__ == "__main__":
    unittest.main()
