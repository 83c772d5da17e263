"""The password gate on the real firmware: a supervisor and a user password
set on the Security page (with "BIOS Access Rights" Restricted) and saved;
every start after that shows the gate, not a page. The supervisor password
opens the setup with the Supervisor row registered and "BIOS Access Rights"
offered; the user password opens it with the Advanced page greyed; three
wrong answers power the machine off. The gate speaks the stored language:
French after the first save, Japanese after the second. Screendumps of the
gate are kept in build/e2e/."""
import time
import unittest

import harness
from screen_checks import TEAL, gate_shown, settle

SUPERVISOR = "Sup3rv"
NOTICE = (260, 292)  # inside the red notice (the password window's size, centred)
NOTICE_RED = 0xC00000
USER = "Us3r"


class PasswordGateTest(harness.QemuTestCase):
    def set_password(self, text):
        """Enter on the focused password row, the new password twice."""
        m = self.machine
        centre = settle(m).pixel(512, 384)
        m.key("ret")
        settle(m, what="the password window")
        for _ in range(2):
            m.type_text(text)
            m.key("ret")
            time.sleep(0.5)
        # Hashed with the shipped iteration count: wait until the window is gone.
        settle(m, lambda i: [] if i.pixel(512, 384) == centre else ["dialog open"], timeout=120,
               what="the password dialog to close")

    def wait_gate(self, name):
        img = self.machine.wait_until(gate_shown, self.boot_timeout, what="the password gate")
        self.machine.screenshot(self.artefact(f"-{name}.png"))
        return img

    def answer(self, text):
        m = self.machine
        m.type_text(text)
        m.key("ret")

    def restart_to_gate(self, name):
        self.machine.reset()
        self.machine.wait_event("RESET", 30)
        return self.wait_gate(name)

    def choose_language(self, moves):
        """From the tab level: the Main page's Language list (English,
        Japanese, French), moved by Moves and accepted."""
        m = self.machine
        settle(m, what="the utility to settle")
        m.key("right")
        m.key("down", 2)
        m.key("ret")
        settle(m, what="the Language list")
        for key in moves:
            m.key(key)
        m.key("ret")
        settle(m, what="the screen in the new language")
        m.key("left")
        settle(m, what="the tab level")

    def test_gate_before_the_setup(self):
        m = self.boot(shutdown_exits=True)
        # The gate speaks the stored language: French first.
        self.choose_language(["down", "down"])
        self.to_security_page()
        m.key("down")
        self.set_password(SUPERVISOR)
        m.key("up")
        self.set_password(USER)
        # "BIOS Access Rights" (last row, offered now): Restricted.
        m.key("down", 7)
        m.key("ret")
        m.key("ret")
        settle(m, what="the access rights list to close")
        m.key("f10")
        m.key("y")
        m.wait_event("RESET", 90)
        self.wait_gate("after-save-fr")
        self.assertNotIn(SUPERVISOR, m.serial_text())

        # The supervisor: full access, "BIOS Access Rights" offered (its list
        # button at the bottom of the Security page).
        self.answer(SUPERVISOR)
        m.wait_until_drawn(self.boot_timeout)
        page = self.to_security_page()
        self.assertPixel(page, 600, 666, 0xF1F4FA, "BIOS Access Rights list button")
        self.assertIn("Quorvex gate: supervisor password given", m.serial_text())

        # Japanese, saved: the next gate asks in Japanese.
        m.key("left")
        m.key("up")
        self.choose_language(["up"])
        m.key("f10")
        m.key("y")
        m.wait_event("RESET", 90)
        self.wait_gate("ja")

        # The user with Restricted rights: only "System Configuration" can
        # take the focus on the Advanced page.
        self.answer(USER)
        m.wait_until_drawn(self.boot_timeout)
        settle(m, what="the utility to settle")
        m.key("down", 3)
        m.key("right")
        img = settle(m, what="the Advanced page")
        self.assertPixel(img, 600, 450, TEAL, "System Configuration focused")

        # Three wrong answers (the empty one among them) power off.
        self.restart_to_gate("wrong")
        for text in ("nope", "", "Sup3r"):
            self.answer(text)
            if text == "Sup3r":
                break
            # Two hashes in TCG, then the red notice; Enter closes it.
            settle(m, lambda i: [] if i.pixel(*NOTICE) == NOTICE_RED else ["no notice"],
                   timeout=120, what="Verify error!!")
            if text == "nope":
                m.screenshot(self.artefact("-wrong.png"))
            m.key("ret")
            settle(m, lambda i: [] if i.pixel(*NOTICE) != NOTICE_RED else ["notice shown"],
                   what="the notice to close")
        deadline = time.monotonic() + 90
        while m.running() and time.monotonic() < deadline:
            time.sleep(0.5)
        self.assertFalse(m.running(), "QEMU still runs 90 s after the third wrong answer")
        serial = m.serial_text()
        self.assertIn("Quorvex gate: too many wrong passwords, powering off", serial)
        for secret in (SUPERVISOR, USER, "nope"):
            self.assertNotIn(secret, serial)


if __name__ == "__main__":
    unittest.main()
