"""End-to-end test framework: boots the real build/esp in QEMU with OVMF and
drives it over QMP.

    class MyTest(harness.QemuTestCase):
        def test_something(self):
            m = self.boot()                    # waits until the utility has drawn
            m.key("down"); m.key("ret")
            img = self.screen()
            self.assertPixel(img, 512, 384, 0xEBF1FA)

Each test gets its own QEMU with a fresh copy of the OVMF variables (kept
across guest resets within the test). The last screen and the serial log of
every machine are kept in build/e2e/ under the test's name.

Environment: QUORVEX_ESP (the ESP directory, default build/esp),
QUORVEX_FIRMWARE (the firmware image directory of make firmware, default
build/firmware), QUORVEX_E2E_DIR (default build/e2e), QUORVEX_QEMU_ACCEL
(default tcg).
"""
import os
import re
import sys
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "scripts"))

import pngread  # noqa: E402
from qemu_machine import (OVMF_VARS_4M, PAGE_COLOUR, RIGHT_COLUMN_COLOUR,  # noqa: E402,F401
                          TAB_HIGHLIGHT_COLOUR, Machine, MachineError, utility_drawn)

SECURITY_TAB = (240, 350)  # inside the Security tab, clear of its caption
ESP = os.environ.get("QUORVEX_ESP", os.path.join(ROOT, "build", "esp"))
FIRMWARE = os.environ.get("QUORVEX_FIRMWARE", os.path.join(ROOT, "build", "firmware"))
WORK = os.environ.get("QUORVEX_E2E_DIR", os.path.join(ROOT, "build", "e2e"))


def colour(c):
    return f"0x{c:06X}"


class QemuTestCase(unittest.TestCase):
    boot_timeout = 180.0

    def artefact(self, suffix):
        name = re.sub(r"[^A-Za-z0-9_.-]", "_", self.id().split(".", 1)[-1])
        os.makedirs(WORK, exist_ok=True)
        return os.path.join(WORK, name + suffix)

    def boot(self, wait=True, shutdown_exits=False):
        """Starts QEMU on the ESP; by default waits until the utility is drawn.
        With shutdown_exits, a power-off by the guest ends QEMU."""
        if not os.path.isfile(os.path.join(ESP, "EFI", "BOOT", "BOOTX64.EFI")):
            self.fail(f"no ESP at {ESP}: run make esp")
        self.machine = Machine(ESP, WORK, display="none", serial_log=self.artefact(".serial.log"),
                               shutdown_exits=shutdown_exits)
        self.machine.start()
        self.addCleanup(self._stop_machine)
        if wait:
            self.machine.wait_until_drawn(self.boot_timeout)
        return self.machine

    def boot_firmware(self):
        """Starts QEMU on the firmware image of make firmware, with no disk
        and a fresh copy of the stock variable store; returns at once."""
        code = os.path.join(FIRMWARE, "QUORVEX_CODE.fd")
        if not os.path.isfile(code):
            self.fail(f"no firmware image at {code}: run make firmware")
        self.machine = Machine(None, WORK, display="none", serial_log=self.artefact(".serial.log"),
                               firmware_code=code, vars_template=OVMF_VARS_4M)
        self.machine.start()
        self.addCleanup(self._stop_machine)
        return self.machine

    def _stop_machine(self):
        m = self.machine
        try:
            if m.running() and m.qmp:
                m.screenshot(self.artefact(".png"))
        except Exception:  # the screen is only a diagnostic
            pass
        m.stop()

    def screen(self):
        """The current screen (decoded)."""
        return self.machine.screenshot()

    def reset_and_wait(self):
        """A reset from outside (like the reset button); waits for the redraw."""
        self.machine.reset()
        self.machine.wait_event("RESET", 30)
        return self.machine.wait_until_redrawn(self.boot_timeout)

    def to_security_page(self):
        """From the tab level into the Security page. A key sent while the
        utility is still starting may be flushed: Down is sent again until
        the Security tab takes the highlight."""
        from screen_checks import TAB_PAGE_FOCUS, TEAL, settle
        m = self.machine
        settle(m, what="the utility to settle")
        for _ in range(3):
            m.key("down")
            if settle(m).pixel(*SECURITY_TAB) == TEAL:
                break
        else:
            self.fail("the Security tab did not take the highlight")
        m.key("right")
        page = settle(m)
        self.assertEqual(page.pixel(*SECURITY_TAB), TAB_PAGE_FOCUS, "the Security page has no focus")
        return page

    def assertPixel(self, img, x, y, expected, what=""):
        found = img.pixel(x, y)
        if found != expected:
            self.fail(f"pixel ({x}, {y}) {what}: expected {colour(expected)}, found {colour(found)}")

    def assertNotPixel(self, img, x, y, unexpected, what=""):
        found = img.pixel(x, y)
        if found == unexpected:
            self.fail(f"pixel ({x}, {y}) {what}: should not be {colour(unexpected)}")
