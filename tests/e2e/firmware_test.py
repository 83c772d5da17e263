"""The firmware image of make firmware, with no disk: left alone it goes on
to its boot options (OVMF's shell); F2 at power-on opens the setup, whose
saved settings live in the firmware's variable store across the reset that
leaving the setup makes. One QEMU serves every check."""
import time
import unittest

import harness
from exit_flow_test import Layout
from qemu_machine import utility_drawn
from screen_checks import TAB_PAGE_FOCUS, TEAL, Region, settle

NO_VOLUME_NOTICE = "screenshot not saved: no FAT volume to write to"


class FirmwareTest(harness.QemuTestCase):
    def wait_serial(self, text, timeout, what):
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            if text in self.machine.serial_text():
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
        m = self.boot_firmware()
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


if __name__ == "__main__":
    unittest.main()
