"""Leaving the utility on the real firmware, across the guest's own resets in
one QEMU (its OVMF variable store survives them): a language chosen before
F10 is in force after the reset, one chosen before Esc is not, and the date
set in the date editor stays set."""
import datetime
import unittest

import harness
from screen_checks import (BUTTON_FACE, SETTLE_TIMEOUT, TAB_PAGE_FOCUS, TEAL, Region,
                           same_screen, settle)

RIGHT_COLUMN = 0xD8E1F2
RIGHT_COLUMN_GREYED = 0x6C7079   # the grey-out halves every channel


def host_dates():
    """QEMU's RTC follows the host clock (UTC unless told otherwise)."""
    return (datetime.datetime.now(datetime.timezone.utc).date(), datetime.date.today())


class Layout:
    """Positions on the screen of size w x h."""

    def __init__(self, w, h):
        self.w, self.h = w, h
        x = self.list_x = w // 4 + 50
        # Inside the value buttons of System Time (y 50) and System Date (y 110).
        self.time_face = (x + 204, 54)
        self.date_face = (x + 204, 114)
        self.date_value = (x + 202, 112, w // 2 - 304, 31)  # inside the border
        self.main_tab = (240, 270)
        self.lower_logo = (20, 168, w // 4 - 20, 63)
        self.help_bar = (3 * w // 4 + 10, 3 * h // 5 + 20, w // 4 - 20, 230)
        self.right_column = (7 * w // 8, 10)
        # The date editor's three value fields (40 % x 50 % of the screen, centred).
        ew, eh = w * 40 // 100, h * 50 // 100
        ex, ey = w // 2 - ew // 2, h // 2 - eh // 2
        fw = (ew - 60) // 3
        self.field = [(ex + 20 + (fw + 10) * i, ey + 150, fw, 100) for i in range(3)]
        # Yes in the Yes / No window (50 % x 25 %, centred).
        cw, ch = w * 50 // 100, h * 25 // 100
        cx, cy = w // 2 - cw // 2, h // 2 - ch // 2
        self.yes_button = (cx + (cw - 210) // 2 + 5, cy + ch - 40 + 5)

    def language_margins(self):
        # Below seven information rows, or six without an optical drive row.
        return [(self.list_x - 3, y + 31) for y in (520, 470)]


class ExitFlowTest(harness.QemuTestCase):
    def px(self, img, point):
        return img.pixel(*point)

    def region(self, img, rect):
        return Region(img, *rect)

    def wait(self, what, *checks, timeout=SETTLE_TIMEOUT):
        """Waits until every check (img -> problem text or None) passes."""
        def problems(img):
            return [p for p in (c(img) for c in checks) if p]
        return settle(self.machine, problems, timeout=timeout, what=what)

    def press(self, key, what, *checks, timeout=SETTLE_TIMEOUT):
        self.machine.key(key)
        return self.wait(what, *checks, timeout=timeout)

    def is_colour(self, point, colour, what, equal=True):
        return lambda img: None if (self.px(img, point) == colour) == equal else \
            f"{what}: {self.px(img, point):06X} at {point}"

    def not_colour(self, point, colour, what):
        return self.is_colour(point, colour, what, equal=False)

    def changed_from(self, before, what):
        return lambda img: None if not same_screen(before, img) else f"{what}: nothing changed"

    def region_is(self, rect, expected, what, equal=True):
        return lambda img: None if (self.region(img, rect) == expected) == equal else what

    def region_is_not(self, rect, unexpected, what):
        return self.region_is(rect, unexpected, what, equal=False)

    def tab_level(self, what):
        L = self.L
        return self.wait(what, self.is_colour(L.main_tab, TEAL, "Main tab highlighted"),
                         self.is_colour(L.date_face, BUTTON_FACE, "System Date drawn normal"),
                         self.is_colour(L.right_column, RIGHT_COLUMN, "screen not greyed"))

    def enter_main_page(self):
        L = self.L
        self.press("right", "the Main page to take the focus",
                   self.is_colour(L.main_tab, TAB_PAGE_FOCUS, "Main tab in page-focus look"),
                   self.is_colour(L.time_face, TEAL, "System Time selected"))

    def select_language_row(self):
        L = self.L
        self.press("down", "System Date selected",
                   self.is_colour(L.date_face, TEAL, "System Date selected"))

        def language_selected(img):
            if any(self.px(img, p) == TEAL for p in L.language_margins()):
                return None
            return "Language row not selected"
        self.press("down", "Language selected", language_selected,
                   self.not_colour(L.date_face, TEAL, "System Date selected"))

    def choose_language(self, moves, what, *checks):
        """Opens the Language list, moves its highlight and accepts it."""
        before = self.machine.screenshot()
        shown = self.press("ret", "the Language list to open",
                           self.changed_from(before, "Language list"))
        for key in moves:
            shown = self.press(key, "the list highlight to move",
                               self.changed_from(shown, f"{key} in the Language list"))
        return self.press("ret", what, *checks, timeout=60.0)

    def confirm_and_reset(self, key, what):
        """F10 or Esc, then "y": the machine resets and the utility comes back."""
        L = self.L
        self.press(key, f"the {what} window",
                   self.is_colour(L.right_column, RIGHT_COLUMN_GREYED, "screen greyed"),
                   self.is_colour(L.yes_button, TEAL, "Yes highlighted"))
        self.machine.screenshot(self.artefact(f"_{what.replace(' ', '_')}.png"))
        self.machine.key("y")
        try:
            self.machine.wait_event("RESET", 90)
        except TimeoutError:
            self.fail(f"no reset within 90 s after Yes in the {what} window")
        self.machine.wait_until_redrawn(self.boot_timeout)
        return self.tab_level(f"the utility after the {what} reset")

    def test_f10_keeps_the_language_and_date_esc_drops_changes(self):
        m = self.boot()
        self.L = L = Layout(m.width or 1024, m.height or 768)
        english = self.tab_level("the Main tab highlighted after boot")
        en_logo = self.region(english, L.lower_logo)
        en_help = self.region(english, L.help_bar)
        date_at_boot = self.region(english, L.date_value)
        m.screenshot(self.artefact("_english.png"))

        # French from the Language list (English, Japanese, French).
        self.enter_main_page()
        self.select_language_row()
        french = self.choose_language(
            ["down", "down"], "the screen in French",
            self.region_is_not(L.lower_logo, en_logo, "lower logo still English"),
            self.region_is_not(L.help_bar, en_help, "help bar captions still English"),
            self.is_colour(L.main_tab, TAB_PAGE_FOCUS, "Main page keeps the focus"))
        fr_logo = self.region(french, L.lower_logo)
        fr_help = self.region(french, L.help_bar)
        m.screenshot(self.artefact("_french.png"))
        fr_logo.save(self.artefact("_french_logo.png"))
        fr_help.save(self.artefact("_french_help_bar.png"))

        # The date editor: Tab to the day, "+" ("-" on the month's last day), Enter.
        self.press("up", "System Date selected", self.is_colour(L.date_face, TEAL,
                                                                "System Date selected"))
        edited_on = host_dates()
        field_face = [(x + 5, y + 5) for x, y, _, _ in L.field]
        self.press("ret", "the date editor",
                   self.is_colour(field_face[0], TEAL, "month field focused"),
                   self.is_colour(L.right_column, RIGHT_COLUMN_GREYED, "screen greyed"))
        m.screenshot(self.artefact("_date_editor.png"))
        before = self.press("tab", "the day field focused",
                            self.is_colour(field_face[1], TEAL, "day field focused"),
                            self.not_colour(field_face[0], TEAL, "month field focused"))
        day = self.region(before, L.field[1])
        # "+" does nothing on the month's last day (the guest's clock is the
        # host's UTC), "-" nothing on the first: the key that moves the day
        # is chosen up front, so the wait below is for a state that comes.
        today = datetime.datetime.now(datetime.timezone.utc).date()
        last_day = (today + datetime.timedelta(days=1)).month != today.month
        m.type_text("-" if last_day else "+")
        self.wait("the day to change", self.region_is_not(L.field[1], day, "day unchanged"))
        self.press("ret", "the editor to close",
                   self.is_colour(L.right_column, RIGHT_COLUMN, "screen not greyed"),
                   self.is_colour(L.date_face, TEAL, "System Date selected"))
        edited = self.press("up", "System Time selected",
                            self.is_colour(L.time_face, TEAL, "System Time selected"),
                            self.is_colour(L.date_face, BUTTON_FACE, "System Date drawn normal"))
        date_edited = self.region(edited, L.date_value)
        date_edited.save(self.artefact("_date_edited.png"))
        self.assertNotEqual(date_edited, date_at_boot, "the date row did not change")

        def assert_date_kept(img, when):
            # Past midnight the guest's date moves on by itself.
            if host_dates() != edited_on:
                print(f"\n{self.id()}: the date rolled over during the test; "
                      f"date row not compared {when}")
                return
            self.assertEqual(self.region(img, L.date_value), date_edited,
                             f"the date row changed {when}")

        # F10 (from inside the page), Yes: saved, back in French after the reset.
        after_save = self.confirm_and_reset("f10", "Exit Saving Changes")
        m.screenshot(self.artefact("_after_save.png"))
        self.assertEqual(self.region(after_save, L.lower_logo), fr_logo,
                         "lower logo not French after the save and reset")
        self.assertEqual(self.region(after_save, L.help_bar), fr_help,
                         "help bar not French after the save and reset")
        assert_date_kept(after_save, "across the save and reset")

        # English again, then Esc, Yes: nothing saved, still French afterwards.
        self.enter_main_page()
        self.select_language_row()
        self.choose_language(
            ["up", "up"], "the screen in English",
            self.region_is(L.lower_logo, en_logo, "lower logo not back to English"),
            self.region_is(L.help_bar, en_help, "help bar not back to English"))
        after_discard = self.confirm_and_reset("esc", "Exit Discarding Changes")
        m.screenshot(self.artefact("_after_discard.png"))
        self.assertEqual(self.region(after_discard, L.lower_logo), fr_logo,
                         "lower logo not French after leaving without saving")
        self.assertEqual(self.region(after_discard, L.help_bar), fr_help,
                         "help bar not French after leaving without saving")
        assert_date_kept(after_discard, "across the discard and reset")


if __name__ == "__main__":
    unittest.main()
