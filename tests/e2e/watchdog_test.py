"""The firmware watchdog: booted from a disk, the firmware arms a watchdog
before it starts the boot file, and a setup that left it armed would reset
the machine under a user who is still reading. The boot file here arms it to
20 s (instead of the firmware's five minutes) and starts the launcher; the
setup must stay on the screen well past that and still take keys."""
import os
import time

import harness
from harness import SECURITY_TAB, Machine
from screen_checks import TEAL, settle

BUILD = os.environ.get("QUORVEX_BUILD", os.path.join(harness.ROOT, "build", "uefi"))
WATCHDOG_ESP = os.path.join(BUILD, "watchdog_esp")
ARMED_SECONDS = 20
# Left alone this long after its screen appeared (more than the armed time
# however long the boot took).
LEFT_ALONE_SECONDS = ARMED_SECONDS + 25


class WatchdogTest(harness.QemuTestCase):
    def test_setup_outlives_a_short_watchdog(self):
        if not os.path.isfile(os.path.join(WATCHDOG_ESP, "EFI", "BOOT", "BOOTX64.EFI")):
            self.fail(f"no watchdog ESP at {WATCHDOG_ESP}: run make esp")
        self.machine = Machine(WATCHDOG_ESP, harness.WORK, display="none",
                               serial_log=self.artefact(".serial.log"))
        m = self.machine
        m.start()
        self.addCleanup(self._stop_machine)
        m.wait_until_drawn(self.boot_timeout)
        drawn = time.monotonic()
        try:
            m.wait_event("RESET", LEFT_ALONE_SECONDS)
        except TimeoutError:
            pass
        else:
            self.fail(f"the machine reset {time.monotonic() - drawn:.0f} s after the setup "
                      "appeared: the watchdog was left armed")
        self.assertTrue(harness.utility_drawn(m.screenshot()), "the setup is no longer shown")
        # Still taking keys: Down highlights the Security tab.
        for _ in range(3):
            m.key("down")
            if settle(m).pixel(*SECURITY_TAB) == TEAL:
                break
        else:
            self.fail("the Security tab did not take the highlight after Down")


if __name__ == "__main__":
    import unittest
    unittest.main()
