"""The boot order dialog driven by tablet taps alone on the real firmware:
opened from the Advanced page, the second row (USB: the test machine boots
only from its disk, so the dialog shows HDD/SSD and USB) moved up and kept
with OK; F10 and Yes (both tapped) save and reset, and after the reset USB is
still the first row although the machine has no USB option to reorder."""
import unittest

import harness
from screen_checks import SETTLE_TIMEOUT, TEAL, Region, settle

GREYED_PAGE = 0x75787D      # the page colour under the grey-out


class Layout:
    """Click targets and probes on the 1024 x 768 screen (line height 20)."""
    save_button = (900, 625)          # help bar, third button (F10)
    advanced_tab = (130, 540)
    lower_list_half = (758, 650)      # scroll rectangle: the list's second page
    change_boot_order = (400, 370)    # its row on the second page
    page_probe = (300, 700)           # greyed while a dialog is open
    up_button = (620, 405)
    ok_button = (450, 530)
    first_row = (400, 256)            # device rows: y 246..266, 266..286
    first_row_probe = (510, 256)
    second_row = (400, 276)
    second_row_probe = (510, 276)
    # The first row's label and the selected device's picture.
    first_label = (332, 246, 60, 20)
    picture = (604, 291, 36, 48)
    yes_button = (457, 455)


class ClickDialogsTest(harness.QemuTestCase):
    def tap_until(self, point, what, problems, attempts=1):
        """Taps point and waits until problems(img) is empty. A tap whose
        repetition changes nothing more (a tab) may be given attempts: the
        utility discards pointer states that wait when its main loop starts,
        so a tap sent while a slow machine is still starting can be lost."""
        for attempt in range(attempts):
            self.machine.click(*point)
            try:
                return settle(self.machine, problems, what=what,
                              timeout=SETTLE_TIMEOUT / attempts)
            except AssertionError:
                if attempt == attempts - 1:
                    raise

    def colour_is(self, point, colour, what):
        def check(img):
            found = img.pixel(*point)
            return [] if found == colour else [f"{what}: {found:06X} at {point}"]
        return check

    def open_boot_order(self, L):
        self.tap_until(L.advanced_tab, "the Advanced tab",
                       self.colour_is((200, 505), TEAL, "Advanced tab highlighted"), attempts=3)
        self.tap_until(L.lower_list_half, "the list's second page",
                       self.colour_is((310, 385), 0xF1F4FA, "Change Boot Order shown"))
        self.tap_until(L.change_boot_order, "Change Boot Order selected",
                       self.colour_is((310, 385), TEAL, "Change Boot Order selected"))
        return self.tap_until(L.change_boot_order, "the boot order dialog",
                              self.colour_is(L.page_probe, GREYED_PAGE, "screen greyed"))

    def test_boot_order_by_taps_survives_a_reset(self):
        m = self.boot()
        L = Layout

        # Boot order: the second row one up, OK.
        self.open_boot_order(L)
        self.tap_until(L.second_row, "the second row selected",
                       self.colour_is(L.second_row_probe, TEAL, "second row selected"))
        moved = self.tap_until(L.up_button, "the row moved up",
                               self.colour_is(L.first_row_probe, TEAL, "first row selected"))
        m.screenshot(self.artefact("_boot_order.png"))
        moved_label = Region(moved, *L.first_label)
        moved_picture = Region(moved, *L.picture)
        self.tap_until(L.ok_button, "the dialog to close",
                       self.colour_is(L.page_probe, harness.PAGE_COLOUR, "page colour"))

        # F10 and Yes by taps: the settings are saved and the machine resets.
        self.tap_until(L.save_button, "the Exit Saving Changes window",
                       self.colour_is((310, 300), 0xF1F4FA, "choice window face"))
        m.click(*L.yes_button)
        try:
            m.wait_event("RESET", 90)
        except TimeoutError:
            self.fail("no reset within 90 s after Yes")
        m.wait_until_redrawn(self.boot_timeout)

        # The dialog again: the first row is the one moved.
        self.open_boot_order(L)
        after = self.tap_until(L.first_row, "the first row selected",
                               self.colour_is(L.first_row_probe, TEAL, "first row selected"))
        m.screenshot(self.artefact("_boot_order_after_reset.png"))
        self.assertEqual(Region(after, *L.first_label), moved_label,
                         "the first row's label is not the moved row's after the reset")
        self.assertEqual(Region(after, *L.picture), moved_picture,
                         "the selected device's picture is not the moved row's after the reset")

if __name__ == "__main__":
    unittest.main()
