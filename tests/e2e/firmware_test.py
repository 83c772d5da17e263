"""The firmware image of make firmware, with no disk: left alone it goes on
to its boot options (OVMF's shell); F2 at power-on opens the setup, whose
saved settings live in the firmware's variable store across the reset that
leaving the setup makes. With a user password saved, the power-on gate
(the firmware's own driver) asks before the shell starts, once; F2 shows only
the setup's own gate; three wrong answers power off. One QEMU serves every
check."""
import time
import unittest

import harness
import password_gate_test
from exit_flow_test import Layout
from qemu_machine import utility_drawn
from screen_checks import TAB_PAGE_FOCUS, TEAL, Region, gate_shown, settle

NO_VOLUME_NOTICE = "screenshot not saved: no FAT volume to write to"
USER = "B00tme"
POWER_ON_ASKED = "Quorvex gate: power-on password asked"
SETUP_ASKED = "Quorvex gate: password asked before the setup"
TOUCH_ENTER = (711, 634)  # the gate's on-screen Enter key at 1024 x 768


class FirmwareTest(harness.QemuTestCase):
    def wait_serial(self, text, timeout, what, since=0):
        """Waits for Text on the serial port, after its first Since characters."""
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            if text in self.machine.serial_text()[since:]:
                return
            time.sleep(0.5)
        self.fail(f"timed out after {timeout:.0f} s waiting for {what}; serial ends:\n"
                  + self.machine.serial_text()[-1500:])

    def open_setup_with_f2(self, what):
        """F2 again and again from power-on until the setup has drawn."""
        m = self.machine
        deadline = time.monotonic() + self.boot_timeout
        while time.monotonic() < deadline:
            m.key("f2", gap=0)
            img = m.screenshot()
            if utility_drawn(img):
                return settle(m, lambda i: [] if utility_drawn(i) else ["not drawn"],
                              what=what)
            time.sleep(0.3)
        self.fail(f"F2 did not open the setup ({what}); serial ends:\n"
                  + m.serial_text()[-1500:])

    def press(self, key, what, point, colour, equal=True):
        self.machine.key(key)
        return settle(self.machine, lambda img: [] if (img.pixel(*point) == colour) == equal
                      else [f"{what}: {img.pixel(*point):06X} at {point}"], what=what)

    def test_no_key_boots_on_f2_opens_the_setup_and_keeps_what_it_saved(self):
        m = self.boot_firmware(shutdown_exits=True)
        # No key: the stock boot goes on to the shell (on the serial console too).
        self.wait_serial("Shell>", self.boot_timeout, "the UEFI shell without a key")
        self.assertNotIn("QuorvexPlatform", m.serial_text(), "the setup ran without F2")

        m.reset()
        m.wait_event("RESET", 30)
        english = self.open_setup_with_f2("the setup after F2")
        m.screenshot(self.artefact("_main_page.png"))
        L = Layout(english.width, english.height)
        en_logo = Region(english, *L.lower_logo)

        # No disk: F12 says so on the serial port and the setup goes on.
        m.key("f12")
        self.wait_serial(NO_VOLUME_NOTICE, 30, "the screenshot key's notice")

        # French (Language: English, Japanese, French), F10, Yes.
        self.press("right", "the Main page focused", L.main_tab, TAB_PAGE_FOCUS)
        self.press("down", "System Date selected", L.date_face, TEAL)
        m.key("down")
        settle(m, what="Language selected")
        m.key("ret")
        settle(m, what="the Language list")
        m.key("down", 2)
        settle(m, what="French highlighted")
        m.key("ret")
        french = settle(m, lambda img: [] if Region(img, *L.lower_logo) != en_logo
                        else ["lower logo still English"], what="the screen in French")
        fr_logo = Region(french, *L.lower_logo)
        m.key("f10")
        settle(m, lambda img: [] if img.pixel(*L.yes_button) == TEAL else ["no Yes button"],
               what="the Exit Saving Changes window")
        m.key("y")
        m.wait_event("RESET", 90)

        # The reset leaves the old screen for a while: wait for the logo first.
        m.wait_until(lambda img: not utility_drawn(img), 60, interval=0.2,
                     what="the screen to clear after the reset")
        again = self.open_setup_with_f2("the setup after the save and reset")
        m.screenshot(self.artefact("_after_reset.png"))
        self.assertEqual(Region(again, *L.lower_logo), fr_logo,
                         "the setup is not in French after the save and reset")

        # A user password (the first row of the Security page), F10, Yes.
        self.to_security_page()
        password_gate_test.PasswordGateTest.set_password(self, USER)
        m.key("f10")
        m.key("y")
        m.wait_event("RESET", 90)

        # No key: the power-on gate asks before the shell starts, once; the
        # right answer lets the boot go on.
        start = len(m.serial_text())
        self.wait_serial(POWER_ON_ASKED, self.boot_timeout, "the power-on gate", since=start)
        m.wait_until(gate_shown, 60, what="the power-on gate drawn")
        m.screenshot(self.artefact("_power_on_gate.png"))
        self.assertNotIn("Shell>", m.serial_text()[start:], "the shell started before the gate")
        password_gate_test.PasswordGateTest.answer(self, USER)
        self.wait_serial("Shell>", self.boot_timeout, "the shell after the right answer",
                         since=start)
        booted = m.serial_text()[start:]
        self.assertIn("Quorvex gate: user password given", booted)
        self.assertEqual(booted.count(POWER_ON_ASKED), 1, booted)

        # F2: only the setup's own gate asks. OVMF starts its front page (our
        # setup) as the boot manager menu, without ready-to-boot; elsewhere
        # the power-on driver stands aside for it (unit tests).
        m.reset()
        m.wait_event("RESET", 30)
        start = len(m.serial_text())
        deadline = time.monotonic() + self.boot_timeout
        while SETUP_ASKED not in m.serial_text()[start:] and time.monotonic() < deadline:
            m.key("f2", gap=0)
            time.sleep(0.3)
        m.wait_until(gate_shown, 60, what="the setup's gate drawn")
        password_gate_test.PasswordGateTest.answer(self, USER)
        m.wait_until(utility_drawn, self.boot_timeout, what="the setup after its gate")
        entered = m.serial_text()[start:]
        self.assertNotIn(POWER_ON_ASKED, entered)
        self.assertEqual(entered.count(SETUP_ASKED), 1, entered)

        # Three wrong answers at the power-on gate power off. The empty one
        # is given by touch alone (Enter on the on-screen keyboard, a tap to
        # close the notice): the driver starts the platform's USB pointer
        # driver for its gate.
        m.reset()
        m.wait_event("RESET", 30)
        start = len(m.serial_text())
        self.wait_serial(POWER_ON_ASKED, self.boot_timeout, "the power-on gate again", since=start)
        m.wait_until(gate_shown, 60, what="the power-on gate drawn again")
        for text in ("nope", "", "B00tm"):
            if text:
                password_gate_test.PasswordGateTest.answer(self, text)
            else:
                m.click(*TOUCH_ENTER)
            if text == "B00tm":
                break
            m.wait_until(lambda i: i.pixel(*password_gate_test.NOTICE) ==
                         password_gate_test.NOTICE_RED, 120, what="Verify error!!")
            if text:
                m.screenshot(self.artefact("_power_on_wrong.png"))
                m.key("ret")
            else:
                m.click(*TOUCH_ENTER)
            m.wait_until(lambda i: i.pixel(*password_gate_test.NOTICE) !=
                         password_gate_test.NOTICE_RED, 60, what="the notice to close")
        deadline = time.monotonic() + 90
        while m.running() and time.monotonic() < deadline:
            time.sleep(0.5)
        self.assertFalse(m.running(), "QEMU still runs 90 s after the third wrong answer")
        serial = m.serial_text()
        self.assertIn("Quorvex gate: too many wrong passwords, powering off", serial[start:])
        self.assertNotIn("Shell>", serial[start:])
        for secret in (USER, "nope", "B00tm"):
            self.assertNotIn(secret, serial)


if __name__ == "__main__":
    unittest.main()
