"""Secure Boot on OVMF's Secure Boot build (SMM, Debian's snakeoil keys
enrolled, so a fresh variable store enforces Secure Boot), across four
starts that share one variable store:

1. the unsigned ESP: the firmware refuses it;
2. the ESP signed with scripts/sign-efi: the utility starts, the Security
   page shows <Enabled>; Disabled, F10, Yes;
3. the unsigned ESP starts now; the page shows <Disabled>; a supervisor
   password (which offers "Clear Secure Boot keys"), the keys cleared, F10, Yes;
4. at the next start, before the password gate, the launcher deletes the
   platform key through custom mode and says so on the serial port (with
   SetupMode read back as 1); the page shows <Disabled>, and the variable
   store file no longer holds a platform key (SetupMode itself is a
   volatile variable: the file holds its cause).

The <Enabled>/<Disabled> rows are compared with the simulator's rendering
of the same page over the fake firmware's model of each state."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import uuid

import harness
import ovmf_vars
import pngread
from qemu_machine import OVMF_SECBOOT_CODE, Machine
from screen_checks import Region, gate_shown, settle

SNAKEOIL_KEY = "/usr/share/ovmf/PkKek-1-snakeoil.key"
SNAKEOIL_CERT = "/usr/share/ovmf/PkKek-1-snakeoil.pem"
SIM = os.path.join(harness.ROOT, "build", "host", "quorvex-sim")
# The Secure Boot row of the Security page at 1024x768 (label and value),
# while the focus is on the "  User" row above.
SECURE_BOOT_ROW = (266, 380, 492, 60)
DOWNS_TO_SECURE_BOOT = 4
# Below the items: page colour unless a window greys the screen out.
PAGE_PROBE = (300, 700)
PAGE = 0xEBF1FA
PASSWORD = "sb4clear"
SECURE_BOOT_ENABLE = uuid.UUID("f0a30bc7-af08-4556-99c4-001009c93a44")


def tools_missing():
    for path in (OVMF_SECBOOT_CODE, SNAKEOIL_KEY, SNAKEOIL_CERT, SIM):
        if not os.path.exists(path):
            return path
    for tool in ("sbsign", "sbverify", "openssl"):
        if shutil.which(tool) is None:
            return tool
    return None


@unittest.skipIf(tools_missing(), f"needs {tools_missing()}")
class SecureBootTest(harness.QemuTestCase):
    boot_timeout = 180.0

    def setUp(self):
        os.makedirs(harness.WORK, exist_ok=True)
        self.folder = tempfile.mkdtemp(prefix="secure-boot-", dir=harness.WORK)
        self.addCleanup(shutil.rmtree, self.folder, True)
        self.vars_file = os.path.join(self.folder, "OVMF_VARS.fd")
        self.signed_esp = os.path.join(self.folder, "esp-signed")
        shutil.copytree(harness.ESP, self.signed_esp)
        key = os.path.join(self.folder, "snakeoil-plain.key")
        subprocess.run(["openssl", "pkey", "-in", SNAKEOIL_KEY, "-passin", "pass:snakeoil",
                        "-out", key], check=True, capture_output=True)
        signed = subprocess.run([os.path.join(harness.ROOT, "scripts", "sign-efi"), "--key", key,
                                 "--cert", SNAKEOIL_CERT, self.signed_esp],
                                check=True, capture_output=True, text=True).stdout
        self.assertEqual(signed.count("signed "), 2, signed)
        self.machine = None

    def start(self, esp, name, wait=True):
        if self.machine is not None:
            self.machine.stop()
        # SMM: TCG, since KVM inside a virtual machine usually lacks it.
        self.machine = Machine(esp, harness.WORK, display="none", secure_boot=True, accel="tcg",
                               vars_file=self.vars_file, keep_vars=True,
                               serial_log=self.artefact(f".{name}.serial.log"))
        self.machine.start()
        self.addCleanup(self._stop_machine)
        if wait:
            self.machine.wait_until_drawn(self.boot_timeout)
        return self.machine

    def _stop_machine(self):
        if self.machine is not None and self.machine.running():
            super()._stop_machine()

    def press(self, key, count=1):
        for _ in range(count):
            self.machine.key(key)
            time.sleep(0.2)
        return settle(self.machine, what=f"the screen after {key}")

    def wait_for(self, what, condition):
        return settle(self.machine, lambda img: [] if condition(img) else [what], what=what)

    def sim_row(self, state):
        """The Secure Boot row as the simulator draws it for a firmware state."""
        out = os.path.join(self.folder, f"sim-{state}")
        script = os.path.join(self.folder, f"{state}.sim")
        with open(script, "w") as f:
            f.write("key down\nkey right\nshot page\n")
        subprocess.run([SIM, "--secure-boot", state, "--script", script, "--out", out],
                       check=True, capture_output=True)
        return Region(pngread.read(os.path.join(out, "page.png")), *SECURE_BOOT_ROW)

    def row(self, img):
        return Region(img, *SECURE_BOOT_ROW)

    def test_signed_esp_secure_boot_switch_and_key_clearing(self):
        enabled, disabled = self.sim_row("enforced"), self.sim_row("disabled")
        self.assertNotEqual(enabled, disabled)

        # 1. Enforced: the unsigned launcher is refused.
        m = self.start(harness.ESP, "unsigned-refused", wait=False)
        deadline = time.monotonic() + self.boot_timeout
        refused = re.compile(r"failed to load Boot\d+ .*: Access Denied")
        while not refused.search(m.serial_text()) and time.monotonic() < deadline:
            time.sleep(1)
        m.screenshot(self.artefact(".refused.png"))
        self.assertRegex(m.serial_text(), refused)
        self.assertNotIn("QuorvexPlatform", m.serial_text())

        # 2. Signed: starts; <Enabled>; switched off and saved.
        m = self.start(self.signed_esp, "signed")
        page = self.to_security_page()
        self.assertEqual(self.row(page), enabled, "the Security page does not show <Enabled>")
        self.press("down", DOWNS_TO_SECURE_BOOT)
        self.press("ret")
        self.machine.screenshot(self.artefact(".disabled-chosen.png"))
        self.press("f10")
        m.key("ret")
        m.wait_event("RESET", 60)
        self.assertIn("Secure Boot enforcement off from the next start", m.serial_text())
        store = ovmf_vars.read_store(self.vars_file)
        self.assertEqual(store.get("SecureBootEnable", SECURE_BOOT_ENABLE), b"\x00")

        # 3. Unsigned starts now; <Disabled>; keys cleared with a supervisor password.
        m = self.start(harness.ESP, "unsigned-disabled")
        page = self.to_security_page()
        m.screenshot(self.artefact(".disabled.png"))
        self.assertEqual(self.row(page), disabled, "the Security page does not show <Disabled>")
        self.press("down")  # "  Supervisor"
        self.press("ret")
        for _ in range(2):  # new, confirm
            m.type_text(PASSWORD)
            self.press("ret")
        self.wait_for("the password window to close", lambda img: img.pixel(*PAGE_PROBE) == PAGE)
        self.press("down", DOWNS_TO_SECURE_BOOT)  # from Supervisor past Secure Boot
        m.key("ret")  # "Clear Secure Boot keys": the question
        self.wait_for("the question", lambda img: img.pixel(*PAGE_PROBE) != PAGE)
        m.screenshot(self.artefact(".clear-question.png"))
        m.key("ret")  # Yes
        self.wait_for("the question to close", lambda img: img.pixel(*PAGE_PROBE) == PAGE)
        self.press("f10")
        m.key("ret")
        m.wait_event("RESET", 60)

        # 4. The launcher clears the keys before the utility starts again (and
        # before the password gate, which the supervisor password now brings).
        m.wait_until(gate_shown, self.boot_timeout, what="the password gate")
        m.type_text(PASSWORD)
        m.key("ret")
        m.wait_until_drawn(self.boot_timeout)
        serial = m.serial_text()
        self.assertIn("Secure Boot keys cleared: the firmware is in Setup Mode (SetupMode = 1)",
                      serial)
        page = self.to_security_page()
        m.screenshot(self.artefact(".setup-mode.png"))
        self.assertEqual(self.row(page), disabled, "Setup Mode does not show <Disabled>")
        m.stop()
        store = ovmf_vars.read_store(self.vars_file)
        self.assertIsNone(store.get("PK"), "the platform key is still there")
        self.assertIsNotNone(store.get("KEK"))


if __name__ == "__main__":
    unittest.main()
