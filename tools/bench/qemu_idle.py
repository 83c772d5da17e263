#!/usr/bin/env python3
"""Idle host processor time in QEMU: the setup utility left alone against
OVMF's own front page.

Boots two machines the way the end-to-end tests do (QEMU, OVMF, TCG unless
QUORVEX_QEMU_ACCEL says otherwise), one after the other:

  - the utility's ESP (build/esp), measured once its start-up screen is
    drawn;
  - stock OVMF with no disk, with F2 sent until its front page shows (F2 and
    Esc at power-on open it).

Each is left alone for a few seconds, then the processor time QEMU uses
(user + system, every thread) is measured over --seconds of wall time. The
figure is a share of one host core; the ratio utility / front page is the
one the goal is about (at most 1.5).
"""
import argparse
import os
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(ROOT, "scripts"))

from qemu_machine import Machine, MachineError, utility_drawn  # noqa: E402
import qemu_latency  # noqa: E402

UTILITY_ESP = os.environ.get("QUORVEX_ESP", os.path.join(ROOT, "build", "esp"))
WORK = os.path.join(ROOT, "build", "bench-qemu")
# The front page's grey face and the black help area below it.
FRONT_PAGE_FACE = 0x989898


class IdleError(RuntimeError):
    pass


def front_page_shown(img):
    w, h = img.width, img.height
    return (w >= 320 and h >= 240 and img.pixel(w // 2, h // 2) == FRONT_PAGE_FACE
            and img.pixel(w - 5, h // 3) == FRONT_PAGE_FACE and img.pixel(w // 2, h - 5) == 0)


def wait_for(machine, ready, timeout, what, keep_pressing=None):
    """Polls screendumps until ready(img); presses keep_pressing meanwhile."""
    deadline = time.monotonic() + timeout
    img = None
    while time.monotonic() < deadline:
        if not machine.running():
            raise IdleError(f"QEMU stopped while waiting for {what}")
        if keep_pressing:
            machine.key(keep_pressing, gap=0.05)
        img = machine.screenshot()
        if ready(img):
            return
        time.sleep(0.3)
    seen = "no screen" if img is None else (
        f"screen {img.width}x{img.height}, centre {img.pixel(img.width // 2, img.height // 2):06X}")
    raise IdleError(f"timed out after {timeout:.0f} s waiting for {what} ({seen})")


def idle_share(machine, settle_seconds, seconds):
    """QEMU's processor time per second of wall time, left alone."""
    time.sleep(settle_seconds)
    start_cpu, start = machine.cpu_seconds(), time.monotonic()
    time.sleep(seconds)
    return (machine.cpu_seconds() - start_cpu) / (time.monotonic() - start)


def measure(esp, ready, what, seconds, work, boot_timeout, keep_pressing=None):
    m = Machine(esp, work, display="none")
    try:
        m.start()
        wait_for(m, ready, boot_timeout, what, keep_pressing)
        return idle_share(m, 3.0, seconds)
    finally:
        m.stop()


def run(seconds=20.0, work=WORK, boot_timeout=240.0):
    """{"utility": share, "front page": share, "ratio": utility / front page}."""
    reason = unavailable()
    if reason:
        raise IdleError(reason)
    os.makedirs(work, exist_ok=True)
    utility = measure(UTILITY_ESP, utility_drawn, "the utility's screen", seconds, work,
                      boot_timeout)
    front = measure(None, front_page_shown, "OVMF's front page", seconds, work, boot_timeout,
                    keep_pressing="f2")
    return {"utility": utility, "front page": front,
            "ratio": utility / front if front > 0 else None, "seconds": seconds}


def lines(figures):
    ratio = f"{figures['ratio']:.2f}" if figures["ratio"] is not None else "-"
    return [f"QEMU idle CPU ratio: {ratio} (setup left alone {figures['utility'] * 100:.1f}% "
            f"of a host core, OVMF's front page {figures['front page'] * 100:.1f}%; "
            f"{figures['seconds']:.0f} s each, accelerator "
            f"{os.environ.get('QUORVEX_QEMU_ACCEL', 'tcg')})"]


def unavailable():
    """Why the measurement cannot run here, or None."""
    return qemu_latency.unavailable((UTILITY_ESP,))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--seconds", type=float, default=20.0,
                        help="wall time measured on each machine (default 20)")
    parser.add_argument("--work", default=WORK)
    args = parser.parse_args()
    try:
        figures = run(args.seconds, args.work)
    except (IdleError, MachineError) as e:
        sys.exit(f"qemu_idle: {e}")
    print("\n".join(lines(figures)))


if __name__ == "__main__":
    main()
