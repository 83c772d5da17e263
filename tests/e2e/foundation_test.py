"""The utility boots from build/esp under OVMF and draws its three screen areas."""
import unittest

import harness
from harness import PAGE_COLOUR, RIGHT_COLUMN_COLOUR


class FoundationTest(harness.QemuTestCase):
    def test_boots_and_draws_the_screen_division(self):
        m = self.boot()
        img = self.screen()
        # ramfb offers 640x480, 800x600 and 1024x768: the narrowest mode at
        # least 1024 wide is taken.
        self.assertEqual((img.width, img.height), (1024, 768))
        w, h = img.width, img.height

        left_band = [(w // 8, h // 2), (20, h - 20), (w // 4 - 5, 100), (w // 8, 5),
                     (5, h // 3), (w // 4 - 3, h - 3)]
        for x, y in left_band:
            self.assertNotPixel(img, x, y, PAGE_COLOUR, "left band")
            self.assertNotPixel(img, x, y, RIGHT_COLUMN_COLOUR, "left band")
        self.assertTrue(any(img.pixel(x, y) != 0 for x, y in left_band),
                        "the left band is black: its picture was not drawn")

        # Page area pixels clear of the Main page's items.
        for x, y in [(w // 2, h - 10), (w // 4 + 2, h - 3), (3 * w // 4 - 3, h - 3), (w // 2, 15)]:
            self.assertPixel(img, x, y, PAGE_COLOUR, "page area")
        # The main loop starts with the Main tab (y 260 to 340) highlighted.
        self.assertPixel(img, 10, 300, harness.TAB_HIGHLIGHT_COLOUR, "Main tab")

        for x, y in [(7 * w // 8, 10), (3 * w // 4 + 3, 5), (3 * w // 4 + 3, h // 2),
                     (w - 3, h - 3)]:
            self.assertPixel(img, x, y, RIGHT_COLUMN_COLOUR, "right column")

        # The screen stays up: the utility is waiting for input, not gone.
        self.assertTrue(m.running())
        self.assertTrue(harness.utility_drawn(m.screenshot()))


if __name__ == "__main__":
    unittest.main()
