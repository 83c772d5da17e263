"""The disk image of make image (a GPT disk holding a FAT copy of build/esp)
boots as a plain disk, and the screenshot key writes to it: F12 on two pages
writes \\screenshots\\quorvex-0000.png and -0001.png, which read back with
mtools decode to exactly the screendumps of the same moments. The time from
the key to the platform's "saved" line on the serial port is printed."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import struct
import time
import unittest
import zlib

import harness
from qemu_machine import Machine
from screen_checks import same_screen, settle

FIRST_PARTITION_LBA = 2048  # where make_image.py puts the ESP
SAVED = re.compile(r"screenshot saved as \\screenshots\\(quorvex-\d{4}\.png)")


class ScreenshotKeyTest(harness.QemuTestCase):
    def setUp(self):
        os.makedirs(harness.WORK, exist_ok=True)
        self.folder = tempfile.mkdtemp(prefix="screenshots-", dir=harness.WORK)
        self.addCleanup(shutil.rmtree, self.folder, True)
        self.image = os.path.join(self.folder, "disk.img")
        made = subprocess.run([sys.executable, os.path.join(harness.ROOT, "scripts", "make_image.py"),
                               "--esp", harness.ESP, "--out", self.image],
                              capture_output=True, text=True, check=True).stdout
        self.partition = f"{self.image}@@{FIRST_PARTITION_LBA * 512}"
        self.assertIn(f"LBA {FIRST_PARTITION_LBA}", made)
        with open(self.image, "rb") as f:
            data = f.read()
        # Protective MBR; both GPT headers checksummed and pointing at each other.
        self.assertEqual((data[510:512], data[450]), (b"\x55\xAA", 0xEE))
        total = len(data) // 512
        for lba, other in ((1, total - 1), (total - 1, 1)):
            header = data[lba * 512:lba * 512 + 92]
            self.assertEqual(header[:8], b"EFI PART")
            crc = struct.unpack("<I", header[16:20])[0]
            self.assertEqual(crc, zlib.crc32(header[:16] + b"\0" * 4 + header[20:]) & 0xFFFFFFFF)
            self.assertEqual(struct.unpack("<QQ", header[24:40]), (lba, other))

    def files_on_volume(self):
        """The screenshot folder of the volume, copied out with mtools."""
        out = os.path.join(self.folder, "screenshots")
        os.makedirs(out, exist_ok=True)
        listing = subprocess.run(["mdir", "-b", "-i", self.partition, "::/screenshots"],
                                 capture_output=True, text=True)
        names = sorted(os.path.basename(line.strip()).lower()
                       for line in listing.stdout.splitlines() if line.strip())
        for name in names:
            subprocess.run(["mcopy", "-n", "-i", self.partition, f"::/screenshots/{name}",
                            os.path.join(out, name)], check=True)
        return out, names

    def boot_copy(self):
        self.machine = Machine(harness.ESP, harness.WORK, display="none",
                               serial_log=self.artefact(".serial.log"), image=self.image,
                               image_writable=True)
        self.machine.start()
        self.addCleanup(self._stop_machine)
        self.machine.wait_until_drawn(self.boot_timeout)
        return self.machine

    def saved_lines(self):
        return SAVED.findall(self.machine.serial_text())

    def shoot(self, count_before, timeout=90.0):
        """F12, then waits for the platform's line; returns (file name, seconds)."""
        start = time.monotonic()
        self.machine.key("f12")
        while time.monotonic() - start < timeout:
            lines = self.saved_lines()
            if len(lines) > count_before:
                return lines[count_before], time.monotonic() - start
            time.sleep(0.02)
        self.fail("no screenshot line on the serial port:\n" + self.machine.serial_text()[-2000:])

    def test_image_boots_and_f12_writes_to_it(self):
        m = self.boot_copy()
        # Each file must equal the screendump taken just before the key or
        # the one just after the saved line (the Main page's clock can tick,
        # a pointer's cursor can hide, between the two).
        before = settle(m)
        name0, seconds0 = self.shoot(0)
        after = m.screenshot()
        # Security tab highlighted.
        m.key("down")
        security = settle(m)
        name1, seconds1 = self.shoot(1)
        security_after = m.screenshot()
        self.assertEqual((name0, name1), ("quorvex-0000.png", "quorvex-0001.png"))
        print(f"\nscreenshot in QEMU (TCG): {seconds0:.2f} s and {seconds1:.2f} s from the key "
              "to the saved line", file=sys.stderr)

        m.stop()

        folder, names = self.files_on_volume()
        self.assertEqual(names, ["quorvex-0000.png", "quorvex-0001.png"])
        for name in (name0, name1):  # kept with the other artefacts of the run
            shutil.copyfile(os.path.join(folder, name), self.artefact("." + name))
        shot0 = harness.pngread.read(os.path.join(folder, name0))
        shot1 = harness.pngread.read(os.path.join(folder, name1))
        self.assertTrue(same_screen(shot0, before, ignore_rows=()) or
                        same_screen(shot0, after, ignore_rows=()),
                        "the Main page file matches neither screendump")
        self.assertTrue(same_screen(shot1, security, ignore_rows=()) or
                        same_screen(shot1, security_after, ignore_rows=()),
                        "the Security tab file matches neither screendump")


if __name__ == "__main__":
    unittest.main()
