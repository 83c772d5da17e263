"""Boots an EFI system partition directory (or a disk image) in QEMU (q35,
OVMF, ramfb, USB keyboard and tablet or mouse, virtio RNG) and drives it
over QMP. Used by scripts/run-qemu and the
end-to-end tests.

The OVMF variable store is a copy made per machine, so a guest reset inside
one run keeps what the guest wrote, while every new run starts clean (unless
keep_vars is given).
"""
import os
import shutil
import socket
import subprocess
import tempfile
import time

import pngread
from qmp import Qmp

OVMF_DIR = "/usr/share/OVMF"
OVMF_CODE = os.path.join(OVMF_DIR, "OVMF_CODE.fd")
OVMF_VARS = os.path.join(OVMF_DIR, "OVMF_VARS.fd")
# The variable store that matches the 4 MiB code image make firmware starts from.
OVMF_VARS_4M = os.path.join(OVMF_DIR, "OVMF_VARS_4M.fd")
# Secure Boot: the SMM build of OVMF with Debian's test keys enrolled
# (the matching key and certificate are /usr/share/ovmf/PkKek-1-snakeoil.*).
OVMF_SECBOOT_CODE = os.path.join(OVMF_DIR, "OVMF_CODE_4M.secboot.fd")
OVMF_SNAKEOIL_VARS = os.path.join(OVMF_DIR, "OVMF_VARS_4M.snakeoil.fd")

PAGE_COLOUR = 0xEBF1FA
RIGHT_COLUMN_COLOUR = 0xD8E1F2
TAB_HIGHLIGHT_COLOUR = 0x009CBA


class MachineError(RuntimeError):
    pass


def accelerator():
    """QEMU's accelerator: TCG unless QUORVEX_QEMU_ACCEL names another (kvm).
    TCG is the default because KVM is not usable everywhere /dev/kvm exists
    (nested virtualisation), and a failing KVM aborts QEMU or the guest."""
    return os.environ.get("QUORVEX_QEMU_ACCEL", "tcg")


def free_vnc_display():
    for n in range(0, 100):
        s = socket.socket()
        try:
            s.bind(("127.0.0.1", 5900 + n))
            return n
        except OSError:
            continue
        finally:
            s.close()
    raise MachineError("no free VNC port in 5900-5999")


def utility_drawn(img):
    """True when the utility's start-up screen is complete: the page area
    (sampled below its items, at (W/2, H-10), since the centre of the page area
    carries item text) and the right column (7W/8, 10) show their colours, and
    the Main tab (x 10, y 300) is highlighted, which the main loop draws last."""
    w, h = img.width, img.height
    if w < 16 or h < 320:
        return False
    return (img.pixel(w // 2, h - 10) == PAGE_COLOUR and
            img.pixel(7 * w // 8, 10) == RIGHT_COLUMN_COLOUR and
            img.pixel(10, 300) == TAB_HIGHLIGHT_COLOUR)


class Machine:
    def __init__(self, esp, work_dir, display="none", vars_file=None, keep_vars=False,
                 serial_log=None, shutdown_exits=False, memory_mb=512, extra_args=(),
                 pointers=("tablet",), image=None, image_writable=False,
                 firmware_code=None, vars_template=None, secure_boot=False, accel=None):
        """display: "none" (headless), "vnc" (127.0.0.1), or "window".
        pointers: the USB pointing devices, "tablet" and/or "mouse".
        image: a raw disk image to boot instead of the ESP directory; its
        writes are dropped unless image_writable.
        firmware_code: a firmware image to boot instead of OVMF (make
        firmware). esp None with no image: no disk at all (the firmware's own
        screens). vars_template: the store vars_file is copied from (OVMF's
        when None).
        secure_boot: SMM on, as OVMF's Secure Boot build needs; by default
        that build with the snakeoil keys enrolled (a fresh variable store
        starts with Secure Boot enforced).
        accel: the accelerator, default accelerator() (SMM needs TCG where
        KVM runs nested)."""
        self.esp = os.path.abspath(esp) if esp else None
        default_code, default_vars = ((OVMF_SECBOOT_CODE, OVMF_SNAKEOIL_VARS) if secure_boot
                                      else (OVMF_CODE, OVMF_VARS))
        self.firmware_code = firmware_code or default_code
        self.vars_template = vars_template or default_vars
        self.image = os.path.abspath(image) if image else None
        self.image_writable = image_writable
        self.pointers = tuple(pointers)
        os.makedirs(work_dir, exist_ok=True)
        self.work_dir = tempfile.mkdtemp(prefix="qemu-", dir=os.path.abspath(work_dir))
        self.display = display
        self.vars_file = vars_file or os.path.join(self.work_dir, "OVMF_VARS.fd")
        self.keep_vars = keep_vars
        self.serial_log = serial_log or os.path.join(self.work_dir, "serial.log")
        self.qmp_path = os.path.join(self.work_dir, "qmp.sock")
        self.shutdown_exits = shutdown_exits
        self.memory_mb = memory_mb
        self.extra_args = list(extra_args)
        self.secure_boot = secure_boot
        self.accel = accel or accelerator()
        self.process = None
        self.qmp = None
        self.vnc_display = None
        self.width = None
        self.height = None

    # -- lifetime -----------------------------------------------------------
    def command_line(self):
        if self.image:
            if not os.path.isfile(self.image):
                raise MachineError(f"no disk image {self.image} (run make image)")
            disk = f"format=raw,file={self.image}"
            if not self.image_writable:
                disk += ",snapshot=on"
        elif self.esp is None:
            disk = None
        elif not os.path.isfile(os.path.join(self.esp, "EFI", "BOOT", "BOOTX64.EFI")):
            raise MachineError(f"{self.esp} has no EFI/BOOT/BOOTX64.EFI (run make esp)")
        else:
            disk = f"format=raw,file=fat:rw:{self.esp}"
        pointer_devices = []
        for p in self.pointers:
            if p not in ("tablet", "mouse"):
                raise MachineError(f"unknown pointer {p!r} (tablet or mouse)")
            pointer_devices += ["-device", f"usb-{p},bus=xhci.0"]
        machine = "q35,smm=on" if self.secure_boot else "q35"
        args = ["qemu-system-x86_64", "-machine", machine, "-m", str(self.memory_mb),
                "-nodefaults", "-no-user-config"]
        args += ["-accel", self.accel]
        if self.secure_boot:
            # Only SMM code may write the variable store's flash.
            args += ["-global", "driver=cfi.pflash01,property=secure,value=on"]
        args += [
            "-drive", f"if=pflash,format=raw,unit=0,readonly=on,file={self.firmware_code}",
            "-drive", f"if=pflash,format=raw,unit=1,file={self.vars_file}",
            "-vga", "none", "-device", "ramfb",
            "-device", "qemu-xhci,id=xhci",
            "-device", "usb-kbd,bus=xhci.0",
            *pointer_devices,
            "-device", "virtio-rng-pci",
            *(["-drive", disk] if disk else []),
            "-nic", "none",
            "-serial", f"file:{self.serial_log}",
            "-qmp", f"unix:{self.qmp_path},server=on,wait=off",
        ]
        if not self.shutdown_exits:
            args.append("-no-shutdown")
        if self.display == "window":
            pass  # QEMU's default user interface
        elif self.display == "vnc":
            self.vnc_display = free_vnc_display()
            args += ["-display", "none", "-vnc", f"127.0.0.1:{self.vnc_display}"]
        else:
            args += ["-display", "none"]
        return args + self.extra_args

    def start(self, timeout=30.0):
        if not (os.path.isfile(self.vars_file) and self.keep_vars):
            shutil.copyfile(self.vars_template, self.vars_file)
        args = self.command_line()
        self.stderr = open(os.path.join(self.work_dir, "qemu.stderr"), "w")
        self.process = subprocess.Popen(args, stdin=subprocess.DEVNULL, stdout=self.stderr,
                                        stderr=subprocess.STDOUT)
        try:
            self.qmp = Qmp(self.qmp_path).connect(timeout=timeout)
        except Exception:
            self.stop()
            raise MachineError("QEMU did not start: " + self.qemu_output())
        return self

    def cpu_seconds(self):
        """Host processor time QEMU has used so far (user + system, all its
        threads), in seconds."""
        with open(f"/proc/{self.process.pid}/stat") as f:
            fields = f.read().rsplit(")", 1)[1].split()
        # utime and stime are the 14th and 15th fields; fields[0] is the 3rd.
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def running(self):
        return self.process is not None and self.process.poll() is None

    def release_qmp(self):
        """Closes our QMP connection: QEMU serves one client at a time, and
        this lets scripts/qmp.py drive an interactive run."""
        if self.qmp:
            self.qmp.close()
            self.qmp = None

    def stop(self):
        if not self.qmp and self.running():
            try:
                self.qmp = Qmp(self.qmp_path).connect(timeout=3)
            except Exception:  # another client holds the socket
                self.process.terminate()
        if self.qmp:
            self.qmp.quit()
            self.qmp = None
        if self.process:
            try:
                self.process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
            self.process = None
        if getattr(self, "stderr", None):
            self.stderr.close()
            self.stderr = None
        if not os.environ.get("QUORVEX_KEEP_QEMU_DIR"):
            shutil.rmtree(self.work_dir, ignore_errors=True)

    def __enter__(self):
        return self.start()

    def __exit__(self, *exc):
        self.stop()
        return False

    def qemu_output(self):
        if getattr(self, "stderr", None):
            self.stderr.flush()
        try:
            with open(os.path.join(self.work_dir, "qemu.stderr")) as f:
                return f.read()[-2000:]
        except OSError:
            return ""

    def serial_text(self):
        try:
            with open(self.serial_log, "rb") as f:
                return f.read().decode("utf-8", "replace")
        except OSError:
            return ""

    # -- screen -------------------------------------------------------------
    def screenshot(self, path=None):
        """Writes a PNG (or returns the decoded screen when path is None)."""
        if path is not None:
            return self.qmp.screendump(path)
        tmp = os.path.join(self.work_dir, "screen.ppm")
        self.qmp.command("screendump", filename=tmp)
        img = pngread.read(tmp)
        self.width, self.height = img.width, img.height
        return img

    def wait_until(self, predicate, timeout=120.0, interval=0.5, what="the screen"):
        deadline = time.monotonic() + timeout
        img = None
        while time.monotonic() < deadline:
            if not self.running():
                raise MachineError("QEMU stopped while waiting for " + what + "\n" +
                                   self.qemu_output() + "\nserial:\n" +
                                   self.serial_text()[-2000:])
            img = self.screenshot()
            if predicate(img):
                return img
            time.sleep(interval)
        detail = ""
        if img is not None:
            detail = (f" (screen {img.width}x{img.height}, centre "
                      f"{img.pixel(img.width // 2, img.height // 2):06X})")
        raise MachineError(f"timed out after {timeout:.0f} s waiting for {what}{detail}\n"
                           "serial:\n" + self.serial_text()[-2000:])

    def wait_until_drawn(self, timeout=120.0):
        return self.wait_until(utility_drawn, timeout, what="the utility's screen")

    def wait_until_redrawn(self, timeout=120.0):
        """After a reset: the old screen can stay on the display for a while,
        so first wait until it is gone, then until the utility draws again."""
        start = time.monotonic()
        self.wait_until(lambda img: not utility_drawn(img), timeout, interval=0.2,
                        what="the screen to clear after the reset")
        return self.wait_until_drawn(max(1.0, timeout - (time.monotonic() - start)))

    # -- input --------------------------------------------------------------
    def key(self, name, count=1, gap=0.15):
        self.qmp.key(name, count, gap)

    def type_text(self, text):
        self.qmp.type_text(text)

    def click(self, x, y):
        self.qmp.click(x, y, self.width or 1024, self.height or 768)

    def move(self, x, y):
        self.qmp.move(x, y, self.width or 1024, self.height or 768)

    def move_by(self, dx, dy):
        """A relative move (a mouse): dx, dy in device counts."""
        self.qmp.move_by(dx, dy)

    def button(self, down, button="left"):
        self.qmp.button(down, button)

    def reset(self):
        self.qmp.system_reset()

    def wait_event(self, names, timeout=60.0):
        return self.qmp.wait_event(names, timeout)
