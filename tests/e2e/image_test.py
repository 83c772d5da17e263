"""The disk image (make image): a GPT disk with the ESP that OVMF boots from
as a plain disk, with no directory behind it."""
import os
import struct
import subprocess
import sys
import unittest
import zlib

import harness


class DiskImageTest(harness.QemuTestCase):
    def make_image(self):
        out = self.artefact(".img")
        subprocess.run([sys.executable, os.path.join(harness.ROOT, "scripts", "make_image.py"),
                        "--esp", harness.ESP, "--out", out], check=True, capture_output=True)
        self.addCleanup(lambda: os.path.exists(out) and os.remove(out))
        return out

    def test_image_boots_as_a_disk(self):
        image = self.make_image()
        with open(image, "rb") as f:
            data = f.read()
        # Protective MBR, both GPT headers with valid checksums, the backup
        # header pointing back at the primary.
        self.assertEqual(data[510:512], b"\x55\xAA")
        self.assertEqual(data[450], 0xEE)
        total = len(data) // 512
        for lba, other in ((1, total - 1), (total - 1, 1)):
            header = data[lba * 512:lba * 512 + 92]
            self.assertEqual(header[:8], b"EFI PART")
            crc = struct.unpack("<I", header[16:20])[0]
            self.assertEqual(crc, zlib.crc32(header[:16] + b"\0" * 4 + header[20:]) & 0xFFFFFFFF)
            current, backup = struct.unpack("<QQ", header[24:40])
            self.assertEqual((current, backup), (lba, other))

        self.machine = harness.Machine(harness.ESP, harness.WORK, display="none",
                                       serial_log=self.artefact(".serial.log"), image=image)
        self.machine.start()
        self.addCleanup(self._stop_machine)
        self.machine.wait_until_drawn(self.boot_timeout)
        self.machine.screenshot(self.artefact("_booted.png"))


if __name__ == "__main__":
    unittest.main()
