"""The utility boots from build/esp under OVMF, draws its three screen areas,
and its tab column is walked with the arrow keys: highlight, page focus, the
band picture put back under a tab that loses the highlight, the first item
of a page selected only while it has the focus."""
import unittest

import harness
from harness import PAGE_COLOUR, RIGHT_COLUMN_COLOUR
from screen_checks import TAB_PAGE_FOCUS, TEAL, Region, near, settle

TAB_NAMES = ["Main", "Security", "Power Management", "Advanced", "Exit"]
TAB_HEIGHT = 80


def tab_top(k):
    return 260 + TAB_HEIGHT * k


def tab_probes(k):
    """Points of tab k away from its caption (x 20.., y top+30..top+50)."""
    top = tab_top(k)
    return [(8, top + 40), (240, top + 10), (240, top + 70), (150, top + 12), (150, top + 68)]


def item_columns(w):
    """Columns through the first row of every page: x + 4 of the item
    controls (plain buttons, the margins of toggles and drop-down lists) and
    x + 4 of the value buttons of the Main page, 200 pixels further."""
    return [w // 4 + 54, w // 4 + 254]


def teal_rows(img, y_from, y_to):
    return sum(1 for x in item_columns(img.width) for y in range(y_from, y_to)
               if img.pixel(x, y) == TEAL)


# The first selectable item of every page lies within y 50..155 (the Security
# page starts with a title line); a second selected item would show below.
FIRST_ROW_END = 160


class TabsTest(harness.QemuTestCase):
    def tab_region(self, img, k):
        return Region(img, 3, tab_top(k), img.width // 4 - 3, TAB_HEIGHT)

    def state_problems(self, img, highlighted=None, focused=None):
        """What differs from the expected screen: tab `highlighted` filled
        with the accent colour, or tab `focused` in its page-focus look with
        the page's first item selected; every other tab in its band look."""
        found = []
        for k, name in enumerate(TAB_NAMES):
            colours = {img.pixel(x, y) for x, y in tab_probes(k)}
            if k == highlighted:
                if colours != {TEAL}:
                    found.append(f"{name} tab not highlighted ({sorted(map(hex, colours))})")
            elif k == focused:
                if colours != {TAB_PAGE_FOCUS}:
                    found.append(f"{name} tab not in page-focus look "
                                 f"({sorted(map(hex, colours))})")
            elif k in self.band:
                if self.tab_region(img, k) != self.band[k]:
                    found.append(f"{name} tab does not show its band picture as at boot")
            elif colours & {TEAL, TAB_PAGE_FOCUS}:
                found.append(f"{name} tab still filled ({sorted(map(hex, colours))})")
            elif not all(near(img.pixel(x, y), self.band_probe[i], 20)
                         for i, (x, y) in enumerate(tab_probes(k))):
                found.append(f"{name} tab does not show the band picture")
        first = teal_rows(img, 45, FIRST_ROW_END)
        rest = teal_rows(img, FIRST_ROW_END, img.height)
        if focused is not None:
            if first < 15:
                found.append(f"first item of the {TAB_NAMES[focused]} page not drawn selected")
            if rest:
                found.append(f"{TAB_NAMES[focused]} page: a selected face below its first item")
        elif first or rest:
            found.append("an item drawn selected while only the tab is highlighted")
        return found

    def expect(self, what, **state):
        return settle(self.machine, lambda img: self.state_problems(img, **state), what=what)

    def press(self, key, what, **state):
        self.machine.key(key)
        return self.expect(what, **state)

    def check_screen_division(self, img):
        # ramfb offers 640x480, 800x600 and 1024x768: the narrowest mode at
        # least 1024 wide is taken.
        self.assertEqual((img.width, img.height), (1024, 768))
        w, h = img.width, img.height
        band = [(w // 8, h // 2), (20, h - 20), (w // 4 - 5, 100), (5, h // 3)]
        for x, y in band:
            self.assertNotIn(img.pixel(x, y), (PAGE_COLOUR, RIGHT_COLUMN_COLOUR), "left band")
        self.assertTrue(any(img.pixel(x, y) for x, y in band), "the band picture was not drawn")
        for x, y in [(w // 2, h - 10), (w // 4 + 2, h - 3), (3 * w // 4 - 3, h - 3)]:
            self.assertPixel(img, x, y, PAGE_COLOUR, "page area")
        for x, y in [(7 * w // 8, 10), (3 * w // 4 + 3, h // 2), (w - 3, h - 3)]:
            self.assertPixel(img, x, y, RIGHT_COLUMN_COLOUR, "right column")

    def test_tab_walk_with_arrow_keys(self):
        m = self.boot()
        # band: exact pixels of the tabs 1-4 as first drawn (band picture and
        # caption); band_probe: the band's colours at a tab's probe points,
        # for the Main tab, which starts highlighted.
        self.band = {}
        self.band_probe = None
        boot = settle(m, lambda img: [] if img.pixel(*tab_probes(0)[0]) == TEAL
                      else ["Main tab not highlighted"], what="the Main tab highlighted")
        self.band_probe = [boot.pixel(x, y) for x, y in tab_probes(1)]
        for k in range(1, 5):
            self.band[k] = self.tab_region(boot, k)
        m.screenshot(self.artefact("_boot.png"))
        self.assertEqual(self.state_problems(boot, highlighted=0), [])
        self.check_screen_division(boot)

        for k, name in enumerate(TAB_NAMES):
            if k:
                shown = self.press("down", f"Down to the {name} tab", highlighted=k)
                if k == 1:
                    self.band[0] = self.tab_region(shown, 0)
            self.press("right", f"Right into the {name} page", focused=k)
            if name in ("Main", "Exit"):
                m.screenshot(self.artefact(f"_{name.lower()}_page.png"))
            self.press("left", f"Left back to the {name} tab", highlighted=k)

        # Back up: every tab that loses the highlight shows its band picture
        # exactly as before (checked against the boot pixels by expect).
        for k in (3, 2, 1, 0):
            self.press("up", f"Up to the {TAB_NAMES[k]} tab", highlighted=k)
        m.screenshot(self.artefact("_end.png"))


if __name__ == "__main__":
    unittest.main()
