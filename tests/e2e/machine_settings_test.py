"""Settings that act on the machine, on OVMF with a USB stick and a virtio
network card beside the boot disk: the boot priority dialog opens on the
machine's own class order, moving its first row down and saving rewrites
BootOrder exactly (read back from the variable store file at the reset), the
firmware then tries the new first option first, PlatformLang becomes "en-US"; the Main page shows the SMBIOS firmware version
given on QEMU's command line and the installed memory (512 MB), as the
screendump kept in build/e2e shows.

The expected BootOrder is worked out here from OVMF's option descriptions,
independently of the platform's device-path classifier."""
import re
import time
import unittest

import harness
import ovmf_vars
from screen_checks import TEAL, same_screen, settle

SMBIOS_VERSION = "QVX-E2E-1.7"
GREYED = 0x75787D        # the page area under a modal window
ROW_SELECTED = 0x009CBA


def description_class(description):
    if "USB" in description:
        return "usb"
    if "PXE" in description or "HTTP" in description:
        return "lan"
    if "DVD" in description or "CD-ROM" in description:
        return "odd"
    if "HARDDISK" in description:
        return "hdd"
    return None


def expected_order(store):
    """The BootOrder after the first class in the machine's order moves one
    place down: classes regrouped, unclassified options last."""
    numbers = ovmf_vars.boot_order(store)
    classes = [description_class(ovmf_vars.load_option(store, n)[1]) for n in numbers]
    order = []
    for c in classes:
        if c and c not in order:
            order.append(c)
    order[0], order[1] = order[1], order[0]
    out = [n for c in order for n, k in zip(numbers, classes) if k == c]
    return out + [n for n, k in zip(numbers, classes) if k is None], order


class MachineSettingsTest(harness.QemuTestCase):
    def press(self, key, text=False):
        """One key, sent again if the screen does not change (a key that
        arrives while the utility is busy starting can be dropped)."""
        m = self.machine
        before = settle(m)
        for _ in range(3):
            m.type_text(key) if text else m.key(key)
            try:
                return settle(m, lambda img: [] if not same_screen(before, img) else ["same"],
                              timeout=8, what=f"the screen to change after {key}")
            except AssertionError:
                continue
        self.fail(f"{key} changed nothing")

    def test_boot_order_and_system_information_come_from_the_machine(self):
        stick = self.artefact(".stick.img")
        with open(stick, "wb") as f:
            f.truncate(16 << 20)
        vars_file = self.artefact(".vars.fd")
        extra = ["-drive", f"if=none,id=stick,format=raw,file={stick}",
                 "-device", "usb-storage,bus=xhci.0,drive=stick",
                 "-netdev", "user,id=n0,restrict=on", "-device", "virtio-net-pci,netdev=n0",
                 "-smbios", f"type=0,version={SMBIOS_VERSION}"]
        self.machine = harness.Machine(harness.ESP, harness.WORK, display="none",
                                       vars_file=vars_file,
                                       serial_log=self.artefact(".serial.log"), extra_args=extra)
        self.machine.start()
        self.addCleanup(self._stop_machine)
        m = self.machine
        m.wait_until_drawn(self.boot_timeout)
        settle(m, what="the Main page")
        m.screenshot(self.artefact(".main.png"))

        # OVMF wrote its boot options before it started us.
        before = ovmf_vars.read_store(vars_file)
        expected, classes = expected_order(before)
        self.assertGreaterEqual(len(classes), 3, f"classes on the machine: {classes}")

        # Advanced page, "Change Boot Order", first row down, OK.
        # The Main page's clock changes the screen by itself: the first key
        # is checked by the Security tab's highlight.
        for _ in range(3):
            m.key("down")
            if settle(m).pixel(*harness.SECURITY_TAB) == TEAL:
                break
        else:
            self.fail("the Security tab did not take the highlight")
        for key in ["down"] * 2 + ["right"] + ["down"] * 12:
            self.press(key)
        dialog = self.press("ret")
        self.assertEqual(dialog.pixel(300, 700), GREYED, "no boot priority dialog")
        m.screenshot(self.artefact(".dialog.png"))
        self.assertEqual(dialog.pixel(510, 256), ROW_SELECTED, "row 0 is not selected")
        # Three rows (no optical drive): the fourth position is frame, not a row.
        self.press("-", text=True)
        for key in ["tab"] * 3:
            self.press(key)
        self.assertNotEqual(self.press("ret").pixel(300, 700), GREYED, "the dialog stays open")
        self.assertEqual(self.press("f10").pixel(300, 700), GREYED, "no save question")
        m.key("ret")
        m.wait_event("RESET", 60)
        after = ovmf_vars.read_store(vars_file)
        booted = len(m.serial_text())

        # The firmware's boot manager reports each option it tries on the
        # serial port: after the reset the first one is the new first.
        deadline = time.monotonic() + 120
        while "BdsDxe: " not in m.serial_text()[booted:]:
            self.assertLess(time.monotonic(), deadline, "the firmware tried no boot option")
            time.sleep(0.5)
        tried = re.search(r"BdsDxe: [a-z ]+ Boot([0-9A-F]{4})", m.serial_text()[booted:])
        m.stop()
        self.assertIsNotNone(tried, m.serial_text()[booted:])
        self.assertEqual(int(tried.group(1), 16), expected[0], "the first option booted")
        self.assertEqual(ovmf_vars.boot_order(after), expected,
                         f"class order {classes} with the first two swapped")
        # OVMF starts with PlatformLang "en" and offers "en-US": saving in
        # English sets it.
        self.assertEqual(before.get("PlatformLang"), b"en\0")
        self.assertEqual(after.get("PlatformLang"), b"en-US\0")


if __name__ == "__main__":
    unittest.main()
