"""Screen helpers for the end-to-end tests: regions, waits until the screen
has settled after a key, and a small PNG writer for saving regions.

QEMU runs the guest under TCG, so a key can take a second or more to be
drawn. The waits poll screendumps: first until the caller's condition
holds, then until two consecutive dumps agree, so that the next key is not
sent into the middle of a redraw (several loops of the utility discard the
keys that are waiting when they start).
"""
import struct
import time
import zlib

TEAL = 0x009CBA          # highlighted tab, selected item face
TAB_PAGE_FOCUS = 0xDCE6F0
BUTTON_FACE = 0xF1F4FA

# The Main page redraws its list every second while the clock runs; the
# time row (y 50..85 plus the 5-pixel margin of its control) is left out of
# the "has the screen settled" comparison.
CLOCK_ROWS = range(44, 92)


class Region:
    """A rectangle of a screendump, kept as raw row bytes (comparable)."""

    def __init__(self, img, x, y, w, h):
        if x < 0 or y < 0 or x + w > img.width or y + h > img.height:
            raise ValueError(f"region ({x}, {y}, {w}, {h}) outside the screen")
        c = img.channels
        self.x, self.y, self.w, self.h, self.channels = x, y, w, h, c
        self.rows = tuple(bytes(img.row(r)[x * c:(x + w) * c]) for r in range(y, y + h))

    def __eq__(self, other):
        return isinstance(other, Region) and self.rows == other.rows

    def __ne__(self, other):
        return not self == other

    def __hash__(self):
        return hash(self.rows)

    def differing_pixels(self, other):
        n = 0
        for a, b in zip(self.rows, other.rows):
            if a != b:
                n += sum(1 for i in range(0, len(a), self.channels)
                         if a[i:i + self.channels] != b[i:i + self.channels])
        return n

    def save(self, path):
        write_png(path, self.rows, self.w, self.channels)


def write_png(path, rows, width, channels=3):
    colour_type = {1: 0, 3: 2, 4: 6}[channels]

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + \
            struct.pack(">I", zlib.crc32(kind + body) & 0xFFFFFFFF)

    raw = b"".join(b"\x00" + r for r in rows)
    data = (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, len(rows), 8, colour_type, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(raw, 6)) + chunk(b"IEND", b""))
    with open(path, "wb") as f:
        f.write(data)


def same_screen(a, b, ignore_rows=CLOCK_ROWS):
    if (a.width, a.height) != (b.width, b.height):
        return False
    return all(a.row(y) == b.row(y) for y in range(a.height) if y not in ignore_rows)


def near(c1, c2, tolerance):
    return all(abs(((c1 >> s) & 0xFF) - ((c2 >> s) & 0xFF)) <= tolerance for s in (0, 8, 16))


# Long enough for a guest slowed down by a busy host; a state that is reached
# sooner ends the wait sooner.
SETTLE_TIMEOUT = 90.0


def settle(machine, problems=None, timeout=SETTLE_TIMEOUT, interval=0.3,
           what="the screen to settle"):
    """Polls screendumps until problems(img) (a list of what is still wrong,
    when given) is empty on two consecutive dumps that show the same screen.
    Returns the last dump; on time-out fails with the last list of problems."""
    deadline = time.monotonic() + timeout
    previous = None
    found = []
    while time.monotonic() < deadline:
        if not machine.running():
            raise AssertionError("QEMU stopped while waiting for " + what)
        img = machine.screenshot()
        found = problems(img) if problems is not None else []
        if not found and previous is not None and same_screen(previous, img):
            return img
        previous = None if found else img
        time.sleep(interval)
    raise AssertionError(f"timed out after {timeout:.0f} s waiting for {what}"
                         + (": " + "; ".join(found) if found else ""))


def gate_shown(img):
    """The platform's password gate at 1024 x 768: its plain left band, the top
    border of its window above the on-screen keyboard, the page colour below,
    and not the utility's screen."""
    from qemu_machine import PAGE_COLOUR, utility_drawn
    return (not utility_drawn(img) and img.pixel(10, 300) == TAB_PAGE_FOCUS and
            img.pixel(512, 97) == 0xA5B3CF and img.pixel(512, img.height - 10) == PAGE_COLOUR)
