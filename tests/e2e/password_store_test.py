"""The password store on the real firmware: a user password set and verified
through the password dialog with the shipped PBKDF2 iteration count, the
salts taken from the RNG protocol that OVMF offers over virtio-rng, and the
time one hash takes under TCG printed (set: from the confirming Enter until
the dialog is gone; verify: from Enter until the next prompt is drawn)."""
import sys
import time
import unittest

import harness
from screen_checks import TAB_PAGE_FOCUS, TEAL, Region, settle

# The password window's title line at 1024x768. The machine has a USB tablet,
# so the on-screen keyboard runs and the window sits above it (y = H x 25/200).
TITLE = (281, 113, 420, 40)
SECURITY_TAB = (240, 350)  # inside the Security tab, clear of its caption


class PasswordStoreTest(harness.QemuTestCase):
    def wait_for(self, condition, timeout=120.0):
        start = time.monotonic()
        while time.monotonic() - start < timeout:
            img = self.machine.screenshot()
            if condition(img):
                return time.monotonic() - start
            time.sleep(0.05)
        self.fail("timed out; serial:\n" + self.machine.serial_text()[-2000:])

    def test_set_and_verify_with_the_shipped_iterations(self):
        m = self.boot()
        settle(m, what="the utility to settle")
        # A key sent while the utility is still starting may be flushed:
        # Down is sent again until the Security tab takes the highlight.
        for _ in range(3):
            m.key("down")
            if settle(m).pixel(*SECURITY_TAB) == TEAL:
                break
        else:
            self.fail("the Security tab did not take the highlight")
        m.key("right")
        page = settle(m)
        self.assertEqual(page.pixel(*SECURITY_TAB), TAB_PAGE_FOCUS, "the Security page has no focus")
        centre = page.pixel(512, 384)

        m.key("ret")  # User: "Enter New Password"
        new_title = Region(settle(m), *TITLE)
        m.type_text("ab")
        settle(m)
        m.key("ret")  # "Confirm New Password"
        settle(m)
        m.type_text("ab")
        settle(m)
        m.key("ret")
        set_seconds = self.wait_for(lambda img: img.pixel(512, 384) == centre)
        settle(m)

        m.key("ret")  # installed now: "Enter Current Password"
        current = settle(m)
        title = Region(current, *TITLE)
        m.type_text("ab")
        settle(m)
        m.key("ret")
        verify_seconds = self.wait_for(lambda img: Region(img, *TITLE) != title)
        # Accepted: the dialog goes on to "Enter New Password" (a wrong
        # password would show the verify error instead).
        self.assertEqual(Region(settle(m), *TITLE), new_title)
        m.key("esc")
        settle(m)

        serial = m.serial_text()
        self.assertIn("salts from the firmware's RNG protocol", serial)
        print(f"\nPBKDF2 in QEMU (TCG): set {set_seconds:.2f} s, verify {verify_seconds:.2f} s "
              "(screen polling included)", file=sys.stderr)


if __name__ == "__main__":
    unittest.main()
