"""The firmware-volume tool against Debian's OVMF_CODE_4M.fd: the image reads
and writes back byte for byte, a replaced front page and an added driver land where the firmware will find
them while every other file stays in place, and a bad image or a result that
no longer fits is refused with a message naming what is wrong."""

import os
import random
import struct
import sys
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "tools"))
import fv  # noqa: E402
import make_firmware  # noqa: E402

STOCK = "/usr/share/OVMF/OVMF_CODE_4M.fd"
FRONT_PAGE = make_firmware.FRONT_PAGE_GUID
DRIVER = "6F7A1C2E-51D3-4B0A-9E8C-2D4F6A8B0C1E"


def read_stock():
    with open(STOCK, "rb") as f:
        return f.read()


def placed_files(image):
    """{name: (offset, bytes)} of every non-pad file in the front page's volume."""
    volume = image.volume_holding(FRONT_PAGE) or image.volume_holding(DRIVER)
    return {fv.guid_text(f.name): (o, f.serialize()) for o, f in volume.entries
            if f.type != fv.FILETYPE_PAD}


def lzma_section(image):
    for f in image.volumes[0].files:
        for s in f.sections or []:
            if s.children is not None:
                return s
    raise AssertionError("no compressed section")


@unittest.skipUnless(os.path.isfile(STOCK), f"needs {STOCK} (Debian package ovmf)")
class StockImageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.stock = read_stock()

    def test_reads_and_writes_back_byte_for_byte(self):
        image = fv.FlashImage.parse(self.stock)
        self.assertEqual(image.serialize(), self.stock)
        dxe = image.volume_holding(FRONT_PAGE)
        self.assertEqual(dxe.length, 0xC00000)
        self.assertGreater(dxe.free_space(), 6 << 20)
        self.assertEqual(image.find(FRONT_PAGE).type, fv.FILETYPE_APPLICATION)

    def test_replaces_the_front_page_and_adds_a_driver_leaving_the_rest_in_place(self):
        app = b"MZ" + bytes(range(256)) * 2000
        driver = b"MZ" + b"driver" * 1000
        before = placed_files(fv.FlashImage.parse(self.stock))
        old = fv.FlashImage.parse(self.stock).volume_holding(FRONT_PAGE)
        old_offset = next(o for o, f in old.entries if fv.guid_text(f.name) == FRONT_PAGE)
        out, report = make_firmware.build(self.stock, app, drivers=[(DRIVER, driver)])
        self.assertEqual(len(out), len(self.stock))
        self.assertIn("front-page file", report[0])

        image = fv.FlashImage.parse(out)
        after = placed_files(image)
        self.assertEqual(image.find(FRONT_PAGE).section(fv.SECTION_PE32).data, app)
        self.assertEqual(image.find(FRONT_PAGE).section(fv.SECTION_USER_INTERFACE).data,
                         "UiApp\0".encode("utf-16-le"), "the other sections stay")
        for name, placed in before.items():
            if name != FRONT_PAGE:
                self.assertEqual(after[name], placed, f"file {name} moved or changed")
        volume = image.volume_holding(FRONT_PAGE)
        pad = dict(volume.entries)[old_offset]
        self.assertEqual(pad.type, fv.FILETYPE_PAD)
        self.assertEqual(len(pad.serialize()), len(before[FRONT_PAGE][1]))

        # The firmware sizes its output buffer from the LZMA header's field.
        section = lzma_section(image)
        decoded_size = struct.unpack_from("<Q", section.payload(), 20 + 5)[0]
        self.assertEqual(decoded_size, len(fv.sections.serialize_sections(section.children)))

        added = image.find(DRIVER)
        self.assertEqual(added.type, fv.FILETYPE_DRIVER)
        self.assertEqual(added.section(fv.SECTION_PE32).data, driver)
        self.assertEqual(added.section(fv.SECTION_DXE_DEPEX).data, fv.depex())
        self.assertGreater(after[DRIVER][0], after[FRONT_PAGE][0], "placed in the free space")

    def test_refuses_what_it_cannot_do_and_says_what(self):
        image = fv.FlashImage.parse(self.stock)
        image.volume_holding(FRONT_PAGE).remove_file(FRONT_PAGE)
        with self.assertRaisesRegex(fv.FirmwareError, f"no front-page file {FRONT_PAGE}"):
            make_firmware.build(image.serialize(), b"MZ")

        # Fits the 12 MiB volume uncompressed, not the code volume compressed.
        noise = random.Random(7).randbytes(3 << 20)
        with self.assertRaisesRegex(fv.FirmwareError, "no longer fits.*runs past"):
            make_firmware.build(self.stock, noise)
        with self.assertRaisesRegex(fv.FirmwareError, "does not fit: it needs"):
            make_firmware.build(self.stock, bytes(13 << 20))

        broken = bytearray(self.stock)
        broken[0x78 + 20] ^= 0x01  # the compressed file's size
        with self.assertRaisesRegex(fv.FirmwareError, "9E21FD93.*header checksum"):
            fv.FlashImage.parse(bytes(broken))
        with self.assertRaisesRegex(fv.FirmwareError, "no firmware volume"):
            fv.FlashImage.parse(bytes(0x10000))


class AlignmentTest(unittest.TestCase):
    def test_a_file_asking_for_aligned_data_gets_a_pad_file_before_it(self):
        header = bytearray(72)
        header[16:32] = fv.guid_bytes("8C8CE578-8A3D-4F1C-9935-896185C32DD3")
        struct.pack_into("<Q4sIHHHBB", header, 32, 0x10000, b"_FVH", 0x4FEFF, 72, 0, 0, 0, 2)
        struct.pack_into("<II", header, 56, 0x10, 0x1000)
        volume = fv.FirmwareVolume(bytes(header), 0x10000, 0x4FEFF, [])
        aligned = fv.driver_file(DRIVER, b"MZ" * 10)
        aligned.attributes = 5 << 3  # data on a 4 KiB boundary
        offset = volume.add_file(aligned)
        again = fv.FirmwareVolume.parse(volume.serialize())
        self.assertEqual([f.type for f in again.files], [fv.FILETYPE_PAD, fv.FILETYPE_DRIVER])
        self.assertEqual((offset + 24) % 0x1000, 0)
        self.assertEqual(again.entries[1][0], offset)


if __name__ == "__main__":
    unittest.main()
