#!/usr/bin/env python3
"""Draws every picture the setup utility embeds.

    python3 tools/make_art.py assets/ [--sheet FILE]

Writes the pictures into the given directory (the build embeds them from
there; the outputs are committed, so the build does not need this script).
--sheet also writes an enlarged contact sheet of every picture on the
backgrounds it is drawn over, for looking at them.

Everything is drawn with 8x supersampling and reduced with an area filter
(on premultiplied alpha), so edges are smooth at the final size. Output is
deterministic: the texture uses a fixed seed and PNGs carry no time stamps.
Needs Pillow (Debian python3-pil) and the Noto Sans CJK fonts
(fonts-noto-cjk) for the wordmarks.
"""

import argparse
import math
import os
import random
import sys

try:
    from PIL import Image, ImageDraw, ImageFilter, ImageFont
except ImportError:  # a Python without Pillow first on PATH: use Debian's
    if os.path.exists("/usr/bin/python3") and os.path.realpath(sys.executable) != "/usr/bin/python3" \
            and not os.environ.get("QUORVEX_ART_REEXEC"):
        os.environ["QUORVEX_ART_REEXEC"] = "1"
        os.execv("/usr/bin/python3", ["/usr/bin/python3"] + sys.argv)
    sys.exit("make_art: needs Pillow (apt-get install python3-pil)")

SS = 8  # supersampling factor

# Product colours.
PAGE = (0xEB, 0xF1, 0xFA)
COLUMN = (0xD8, 0xE1, 0xF2)
DARK = (0x3A, 0x46, 0x5F)
TEAL = (0x00, 0x9C, 0xBA)
FACE = (0xF1, 0xF4, 0xFA)
BORDER = (0xA5, 0xB3, 0xCF)
WHITE = (0xFF, 0xFF, 0xFF)
GREY_TEXT = (0x87, 0x87, 0x87)
ERROR_RED = (0xC0, 0x00, 0x00)
SELECTED_TAB = (0xDC, 0xE6, 0xF0)

# Left band colours: a deep slate-navy that meets the product's teal.
NAVY = (0x1C, 0x26, 0x3B)
DEEP_TEAL = (0x00, 0x66, 0x82)
LIGHT_TEAL = (0x4F, 0xD2, 0xEA)
PANEL_TOP = (0xF6, 0xF9, 0xFD)
PANEL_BOTTOM = (0xEC, 0xF1, 0xF9)
HEADER_TOP = (0xE2, 0xF1, 0xF6)

FONT_DIR = "/usr/share/fonts/opentype/noto/"
FONT_BOLD = FONT_DIR + "NotoSansCJK-Bold.ttc"
FONT_REGULAR = FONT_DIR + "NotoSansCJK-Regular.ttc"


def mix(a, b, t):
    return tuple(int(round(x + (y - x) * t)) for x, y in zip(a, b))


def rgba(colour, alpha=255):
    return tuple(colour) + (alpha,)


class Canvas:
    """An RGBA drawing surface addressed in final-size pixel coordinates."""

    def __init__(self, width, height):
        self.width, self.height = width, height
        self.image = Image.new("RGBA", (width * SS, height * SS), (0, 0, 0, 0))

    def layer(self):
        return Canvas(self.width, self.height)

    def draw(self):
        return ImageDraw.Draw(self.image)

    @staticmethod
    def p(*xy):
        return [v * SS for v in xy]

    def polygon(self, points, fill):
        self.draw().polygon([(x * SS, y * SS) for x, y in points], fill=fill)

    def ellipse(self, cx, cy, rx, ry, fill=None, outline=None, width=0):
        self.draw().ellipse(self.p(cx - rx, cy - ry, cx + rx, cy + ry), fill=fill, outline=outline,
                            width=int(round(width * SS)))

    def circle(self, cx, cy, r, **kw):
        self.ellipse(cx, cy, r, r, **kw)

    def rect(self, x0, y0, x1, y1, fill):
        self.draw().rectangle(self.p(x0, y0, x1, y1), fill=fill)

    def rounded(self, x0, y0, x1, y1, radius, fill=None, outline=None, width=0):
        self.draw().rounded_rectangle(self.p(x0, y0, x1, y1), radius=radius * SS, fill=fill,
                                      outline=outline, width=int(round(width * SS)))

    def stroke(self, points, width, fill, caps=True):
        """A polyline of the given width with round joins and caps."""
        d = self.draw()
        pts = [(x * SS, y * SS) for x, y in points]
        d.line(pts, fill=fill, width=int(round(width * SS)), joint="curve")
        if caps:
            r = width * SS / 2
            for x, y in (pts[0], pts[-1]):
                d.ellipse((x - r, y - r, x + r, y + r), fill=fill)

    def over(self, other):
        self.image.alpha_composite(other.image)

    def masked(self, mask_canvas):
        """Keeps this layer only where the other canvas has ink."""
        alpha = Image.composite(self.image.getchannel("A"), Image.new("L", self.image.size, 0),
                                mask_canvas.image.getchannel("A"))
        self.image.putalpha(alpha)

    def shadow(self, dx, dy, blur, alpha):
        """A soft shadow of this layer's ink, offset and blurred."""
        s = Canvas(self.width, self.height)
        a = self.image.getchannel("A").point(lambda v: v * alpha // 255)
        s.image.putalpha(a)
        s.image = s.image.transform(s.image.size, Image.AFFINE, (1, 0, -dx * SS, 0, 1, -dy * SS))
        if blur:
            s.image = s.image.filter(ImageFilter.GaussianBlur(blur * SS))
        return s

    def text(self, x, y, string, font_path, size, fill, tracking=0.0):
        """Draws text with its top-left ink at (x, y); tracking in pixels."""
        font = ImageFont.truetype(font_path, int(round(size * SS)), index=0)
        d = self.draw()
        pen = x * SS
        top = min(font.getbbox(c)[1] for c in string if not c.isspace())
        for ch in string:
            d.text((pen, y * SS - top), ch, font=font, fill=fill)
            pen += font.getlength(ch) + tracking * SS
        return pen / SS - tracking

    @staticmethod
    def text_width(string, font_path, size, tracking=0.0):
        font = ImageFont.truetype(font_path, int(round(size * SS)), index=0)
        return sum(font.getlength(c) for c in string) / SS + tracking * (len(string) - 1)

    def result(self):
        small = self.image.convert("RGBa").resize((self.width, self.height), Image.BOX)
        return small.convert("RGBA")


# ---------------------------------------------------------------------------
# Left band: dark header behind the logos, light tab panel, teal footer.
# ---------------------------------------------------------------------------

BAND_W, BAND_H = 256, 768
HEADER_END = 252     # the tab strip starts at 260
FOOTER_START = 664   # and ends at 660


def facet_texture(width, height, cell, seed):
    """Per-pixel lightness offsets (-1..1) of a jittered triangle mesh."""
    rng = random.Random(seed)
    cols, rows = width // cell + 3, height // cell + 3
    pts = [[((c - 1) * cell + rng.uniform(-0.3, 0.3) * cell, (r - 1) * cell + rng.uniform(-0.3, 0.3) * cell)
            for c in range(cols)] for r in range(rows)]
    img = Image.new("L", (width, height), 128)
    d = ImageDraw.Draw(img)
    for r in range(rows - 1):
        for c in range(cols - 1):
            a, b, cc, dd = pts[r][c], pts[r][c + 1], pts[r + 1][c], pts[r + 1][c + 1]
            for tri in ((a, b, dd), (a, dd, cc)) if (r + c) % 2 else ((a, b, cc), (b, dd, cc)):
                d.polygon(tri, fill=int(128 + rng.uniform(-1, 1) * 127))
    return img


def left_band():
    """A light field from the top to the footer, so that the dark tab captions
    stay readable wherever the stretch to a taller screen moves the picture's
    rows under the tabs (at 1024 x 1280 the tabs lie over source rows from
    about 130 on), and the logos are drawn dark on it."""
    w, h = BAND_W, BAND_H
    img = Image.new("RGB", (w, h))
    px = img.load()
    header_tex = facet_texture(w, HEADER_END + 8, 46, 7).load()
    footer_tex = facet_texture(w, h - FOOTER_START + 8, 30, 11).load()
    rng = random.Random(3)
    for y in range(h):
        for x in range(w):
            if y < HEADER_END:
                t = y / HEADER_END
                # A pale teal wash at the top fading into the panel colour,
                # lit a little from the top-right; the facets stay faint.
                base = mix(HEADER_TOP, PANEL_TOP, t ** 1.5)
                light = 0.015 * max(0.0, 1 - math.hypot(w - x, y) / 420)
                tex = (header_tex[x, y] - 128) / 128.0
                amp = 0.006 + 0.012 * (x / w) * (1 - t)
                k = 1 + light + tex * amp
                c = tuple(min(255, v * k) for v in base)
            elif y < FOOTER_START:
                t = (y - HEADER_END) / (FOOTER_START - HEADER_END)
                c = mix(PANEL_TOP, PANEL_BOTTOM, t)
            else:
                t = (y - FOOTER_START) / (h - FOOTER_START)
                base = mix(TEAL, NAVY, t ** 0.8)
                tex = (footer_tex[x, y - FOOTER_START] - 128) / 128.0
                k = 1 + tex * 0.07
                c = tuple(min(255, v * k) for v in base)
            # Fine dither against banding after JPEG compression.
            n = rng.uniform(-0.6, 0.6)
            px[x, y] = tuple(max(0, min(255, int(round(v + n)))) for v in c)

    d = ImageDraw.Draw(img)
    # A teal rule along the top and one at the footer's head.
    d.rectangle((0, 0, w, 3), fill=TEAL)
    d.line((0, FOOTER_START, w, FOOTER_START), fill=mix(TEAL, WHITE, 0.25))
    # A hairline against the page. Nothing else in the light field may line
    # up with the tabs: the band is stretched at other resolutions while the
    # tabs keep their positions.
    for y in range(4, FOOTER_START):
        px[w - 4, y] = mix(px[w - 4, y], (0xC9, 0xD3, 0xE6), 0.9)
    return img


# ---------------------------------------------------------------------------
# Logos
# ---------------------------------------------------------------------------

def upper_logo():
    """The Quorvex emblem: a Q whose counter holds two setup sliders."""
    c = Canvas(118, 148)
    cx, cy, r_out, r_in = 55, 66, 52, 39  # left edge in line with the wordmark
    ring = c.layer()
    ring.circle(cx, cy, r_out, fill=rgba(NAVY))
    ring.circle(cx, cy, r_in, fill=(0, 0, 0, 0))
    # The tail crosses the ring at the lower right, from inside the counter
    # to a little beyond the rim, with a narrow gap cut into the ring on
    # either side of it.
    ang = math.radians(42)
    ux, uy = math.cos(ang), math.sin(ang)
    nx, ny = -uy, ux
    t0 = (cx + ux * (r_in - 13), cy + uy * (r_in - 13))
    t1 = (cx + ux * (r_out + 11), cy + uy * (r_out + 11))

    def band(half, a, b):
        return [(a[0] + nx * half, a[1] + ny * half), (b[0] + nx * half, b[1] + ny * half),
                (b[0] - nx * half, b[1] - ny * half), (a[0] - nx * half, a[1] - ny * half)]

    cut = c.layer()
    cut.polygon(band(10.5, t0, t1), fill=rgba(NAVY))
    ring_img = ring.image
    hole = cut.image.getchannel("A").point(lambda v: 255 - v)
    ring_img.putalpha(Image.composite(ring_img.getchannel("A"), Image.new("L", ring_img.size, 0), hole))
    # The ring shades from navy at the top-left to deep teal.
    sheen = c.layer()
    for i in range(40):
        t = i / 39
        sheen.circle(cx - 30 + 60 * t, cy - 30 + 60 * t, 80, fill=rgba(mix(NAVY, DEEP_TEAL, t), 255))
    sheen.masked(ring)

    # A tapered tail: wider where it leaves the ring.
    tail = c.layer()
    tail.polygon([(t0[0] + nx * 5, t0[1] + ny * 5), (t1[0] + nx * 7.5, t1[1] + ny * 7.5),
                  (t1[0] - nx * 7.5, t1[1] - ny * 7.5), (t0[0] - nx * 5, t0[1] - ny * 5)],
                 fill=rgba(TEAL))

    # Two sliders inside the counter.
    sliders = c.layer()
    for i, (y, knob) in enumerate(((cy - 12, cx + 8), (cy + 8, cx - 10))):
        half_len = math.sqrt(r_in ** 2 - (y - cy) ** 2) - 10
        right = cx + half_len - (9 if i else 0)
        sliders.stroke([(cx - half_len, y), (right, y)], 4, rgba(NAVY, 150))
        sliders.circle(knob, y, 7, fill=rgba(TEAL if i == 0 else NAVY))

    shadow_src = c.layer()
    shadow_src.over(sheen)
    shadow_src.over(tail)
    c.over(shadow_src.shadow(0, 2, 2.5, 30))
    c.over(sheen)
    c.over(tail)
    c.over(sliders)
    return c.result()


def lower_logo(subtitle):
    """"QUORVEX" with the product name below; ink kept left of x = 216 so the
    page area, which starts 236 pixels to the right of the logo's left edge,
    never covers it."""
    c = Canvas(254, 63)
    word = c.layer()
    size, tracking = 33, 3.2
    width = Canvas.text_width("QUORVEX", FONT_BOLD, size, tracking)
    if width > 214:
        size *= 214 / width
        tracking *= 214 / width
    word.text(1, 5, "QUORVEX", FONT_BOLD, size, rgba(NAVY), tracking)
    sub = c.layer()
    sub_size = 14.5
    if Canvas.text_width(subtitle, FONT_REGULAR, sub_size, 0.4) > 214:
        sub_size = 14.5 * 214 / Canvas.text_width(subtitle, FONT_REGULAR, 14.5, 0.4)
    sub.text(2, 42, subtitle, FONT_REGULAR, sub_size, rgba(DEEP_TEAL), 0.4)
    c.over(word)
    c.over(sub)
    return c.result()


# ---------------------------------------------------------------------------
# Controls
# ---------------------------------------------------------------------------

def close_mark():
    c = Canvas(20, 27)
    c.circle(10, 13.5, 9.9, fill=rgba(WHITE, 230))
    c.circle(10, 13.5, 8.6, fill=rgba(DARK))
    k = 3.1
    c.stroke([(10 - k, 13.5 - k), (10 + k, 13.5 + k)], 1.9, rgba(WHITE))
    c.stroke([(10 - k, 13.5 + k), (10 + k, 13.5 - k)], 1.9, rgba(WHITE))
    return c.result()


def switch(on):
    c = Canvas(62, 26)
    track = (0x00, 0x9C, 0xBA) if on else (0xB8, 0xC2, 0xD3)
    edge = (0x00, 0x7C, 0x96) if on else (0x9A, 0xA7, 0xBE)
    # A light rim keeps the outline visible on the teal of a selected item.
    c.rounded(0, 0, 62, 26, 13, fill=rgba(WHITE, 200))
    c.rounded(1, 1, 61, 25, 12, fill=rgba(edge))
    c.rounded(2, 2, 60, 24, 11, fill=rgba(track))
    # Soft inner shade along the top of the track.
    shade = c.layer()
    for i in range(8):
        shade.rect(0, 2 + i, 62, 3 + i, fill=rgba((0, 0, 0), int(26 * (1 - i / 8) ** 2)))
    shade_mask = c.layer()
    shade_mask.rounded(2, 2, 60, 24, 11, fill=rgba(WHITE))
    shade.masked(shade_mask)
    c.over(shade)
    kx = 49 if on else 13
    knob = c.layer()
    knob.circle(kx, 13, 9.5, fill=rgba(WHITE))
    c.over(knob.shadow(0, 1, 1.2, 90))
    c.over(knob)
    c.circle(kx, 13, 9.5, outline=rgba((0xD5, 0xDC, 0xE8)), width=0.8)
    # A small mark on the track: a bar when on, a ring when off.
    if on:
        c.rounded(19.5, 8.5, 21.5, 17.5, 1, fill=rgba(WHITE, 235))
    else:
        c.circle(44, 13, 4, outline=rgba(WHITE, 235), width=1.8)
    return c.result()


def minus_sign():
    c = Canvas(12, 17)
    c.rect(0, 8, 12, 10, fill=rgba(DARK))
    return c.result()


def plus_sign():
    c = Canvas(12, 17)
    c.rect(0, 8, 12, 10, fill=rgba(DARK))
    c.rect(5, 3, 7, 15, fill=rgba(DARK))
    return c.result()


def dropdown_arrow():
    c = Canvas(17, 12)
    c.stroke([(3.2, 3.6), (8.5, 8.9), (13.8, 3.6)], 2.3, rgba(DARK))
    return c.result()


def scroll_arrow(up):
    c = Canvas(10, 7)
    pts = [(0.3, 6.2), (5, 0.8), (9.7, 6.2)] if up else [(0.3, 0.8), (5, 6.2), (9.7, 0.8)]
    c.polygon(pts, fill=rgba(DARK))
    return c.result()


def cursor():
    """White arrow with a dark outline and a faint shadow; the tip, the hot
    spot, is the top-left pixel."""
    c = Canvas(17, 33)
    s = 1.42
    base = [(0, 0), (0, 16.6), (4.0, 12.8), (6.9, 19.6), (9.1, 18.7), (6.3, 12.0), (11.3, 12.0)]
    pts = [(0.45 + x * s, 0.45 + y * s) for x, y in base]
    shape = c.layer()
    shape.polygon(pts, fill=rgba(WHITE))
    shape.stroke(pts + [pts[0]], 1.5, rgba((0x1B, 0x23, 0x33)), caps=False)
    c.over(shape.shadow(1.2, 1.6, 0.9, 80))
    c.over(shape)
    return c.result()


# ---------------------------------------------------------------------------
# Boot device classes: normal (slate) and highlighted (teal), 36 x 48.
# ---------------------------------------------------------------------------

def scheme(highlighted):
    if highlighted:
        return {"ink": TEAL, "body": (0xE0, 0xF5, 0xFA), "solid": TEAL, "on_solid": WHITE,
                "accent": DARK}
    return {"ink": DARK, "body": (0xF8, 0xFA, 0xFD), "solid": DARK, "on_solid": WHITE,
            "accent": TEAL}


def icon_hdd(hi):
    k = scheme(hi)
    c = Canvas(36, 48)
    c.rounded(4, 3, 32, 45, 4, fill=rgba(k["ink"]))
    c.rounded(6, 5, 30, 43, 2.5, fill=rgba(k["body"]))
    c.circle(18, 19, 10, fill=rgba(k["ink"]))
    c.circle(18, 19, 8.4, fill=rgba(mix(k["body"], k["ink"], 0.12)))
    c.circle(18, 19, 2.4, fill=rgba(k["ink"]))
    c.stroke([(26.5, 36), (24.5, 27), (20.5, 22)], 2.0, rgba(k["ink"]))
    c.circle(26.5, 36, 2.2, fill=rgba(k["ink"]))
    c.rounded(9, 37, 19, 40, 1.2, fill=rgba(k["accent"]))
    for x, y in ((8.5, 7.5), (27.5, 7.5)):
        c.circle(x, y, 1.1, fill=rgba(k["ink"]))
    return c.result()


def icon_usb(hi):
    k = scheme(hi)
    c = Canvas(36, 48)
    c.rounded(11, 2, 25, 16, 1.5, fill=rgba(k["ink"]))
    c.rect(12.8, 3.8, 23.2, 16, fill=rgba(k["body"]))
    c.rect(14.5, 6.5, 17, 9, fill=rgba(k["ink"]))
    c.rect(19, 6.5, 21.5, 9, fill=rgba(k["ink"]))
    c.rounded(8, 14, 28, 46, 4.5, fill=rgba(k["solid"]))
    # The USB trident.
    w = rgba(k["on_solid"])
    c.stroke([(18, 40), (18, 21.5)], 1.7, w)
    c.polygon([(18, 18.5), (15.8, 22), (20.2, 22)], fill=w)
    c.stroke([(18, 36), (13, 32), (13, 28.5)], 1.5, w)
    c.circle(13, 27.6, 1.7, fill=w)
    c.stroke([(18, 33), (23, 29.5), (23, 26.5)], 1.5, w)
    c.rect(21.4, 24.4, 24.6, 27.6, fill=w)
    c.circle(18, 40.5, 2.2, fill=w)
    return c.result()


def icon_lan(hi):
    k = scheme(hi)
    c = Canvas(36, 48)
    # Cable and strain relief.
    c.rounded(15, 33, 21, 47, 2, fill=rgba(k["ink"]))
    c.rounded(12, 28, 24, 36, 2.5, fill=rgba(k["ink"]))
    # Plug body with its latch and contacts.
    c.rounded(6, 4, 30, 31, 3, fill=rgba(k["ink"]))
    c.rounded(8, 6, 28, 29, 1.8, fill=rgba(k["body"]))
    for i in range(6):
        x = 10.6 + i * 3.0
        c.rect(x, 6, x + 1.4, 13, fill=rgba(k["accent"]))
    c.rounded(13, 18, 23, 25, 1.5, fill=rgba(k["ink"]))
    return c.result()


def icon_odd(hi):
    k = scheme(hi)
    c = Canvas(36, 48)
    disc = c.layer()
    disc.circle(18, 18, 15.5, fill=rgba(k["ink"]))
    disc.circle(18, 18, 13.9, fill=rgba(k["body"]))
    disc.circle(18, 18, 6.5, fill=rgba(mix(k["body"], k["ink"], 0.25)))
    disc.circle(18, 18, 2.6, fill=(0, 0, 0, 0))
    # A sheen band across the disc.
    glint = disc.layer()
    glint.polygon([(7, 3), (14, 3), (29, 33), (22, 33)], fill=rgba(k["accent"], 60))
    ring = disc.layer()
    ring.circle(18, 18, 13.9, fill=rgba(WHITE))
    ring.circle(18, 18, 6.6, fill=(0, 0, 0, 0))
    glint.masked(ring)
    disc.over(glint)
    c.over(disc)
    # The drive the disc comes out of.
    c.rounded(2, 31, 34, 46, 2.5, fill=rgba(k["ink"]))
    c.rounded(4, 33, 32, 44, 1.5, fill=rgba(k["body"]))
    c.rect(6, 37.2, 24, 38.6, fill=rgba(k["ink"]))
    c.polygon([(26.5, 39.4), (28.5, 36.4), (30.5, 39.4)], fill=rgba(k["accent"]))
    c.rect(26.5, 40.2, 30.5, 41.2, fill=rgba(k["accent"]))
    return c.result()


# ---------------------------------------------------------------------------

PICTURES = [
    # (file, builder, size)
    ("upper_logo.png", upper_logo, (118, 148)),
    ("lower_logo_en.png", lambda: lower_logo("Setup Utility"), (254, 63)),
    ("lower_logo_fr.png", lambda: lower_logo("Utilitaire de configuration"), (254, 63)),
    ("close_mark.png", close_mark, (20, 27)),
    ("switch_on.png", lambda: switch(True), (62, 26)),
    ("switch_off.png", lambda: switch(False), (62, 26)),
    ("minus.png", minus_sign, (12, 17)),
    ("plus.png", plus_sign, (12, 17)),
    ("dropdown_arrow.png", dropdown_arrow, (17, 12)),
    ("scroll_up.png", lambda: scroll_arrow(True), (10, 7)),
    ("scroll_down.png", lambda: scroll_arrow(False), (10, 7)),
    ("cursor.png", cursor, (17, 33)),
    ("boot_hdd.png", lambda: icon_hdd(False), (36, 48)),
    ("boot_hdd_hi.png", lambda: icon_hdd(True), (36, 48)),
    ("boot_usb.png", lambda: icon_usb(False), (36, 48)),
    ("boot_usb_hi.png", lambda: icon_usb(True), (36, 48)),
    ("boot_lan.png", lambda: icon_lan(False), (36, 48)),
    ("boot_lan_hi.png", lambda: icon_lan(True), (36, 48)),
    ("boot_odd.png", lambda: icon_odd(False), (36, 48)),
    ("boot_odd_hi.png", lambda: icon_odd(True), (36, 48)),
]


def save_png(image, path):
    # Colour type 6 (8-bit RGBA) for every PNG; no metadata, so output only
    # changes when the drawing does.
    image.convert("RGBA").save(path, "PNG", optimize=True)


def contact_sheet(band, pictures, path):
    """Every picture enlarged on the backgrounds it is drawn over."""
    zoom = 4
    backgrounds = [PAGE, FACE, TEAL, COLUMN, ERROR_RED]
    rows = []
    for name, img in pictures:
        if img.width > 64:
            continue
        rows.append((name, img))
    cell_w = 62 * zoom + 16
    cell_h = 48 * zoom + 16
    sheet_w = 16 + cell_w * len(backgrounds)
    sheet_h = 16 + cell_h * len(rows)
    sheet = Image.new("RGB", (sheet_w, sheet_h), (0x80, 0x80, 0x80))
    for r, (name, img) in enumerate(rows):
        big = img.resize((img.width * zoom, img.height * zoom), Image.NEAREST)
        for b, colour in enumerate(backgrounds):
            x0, y0 = 8 + b * cell_w, 8 + r * cell_h
            tile = Image.new("RGBA", (cell_w - 8, cell_h - 8), rgba(colour))
            tile.alpha_composite(big, (4, 4))
            # The picture at its real size, beside the enlargement.
            tile.alpha_composite(img, (cell_w - 8 - img.width - 4, cell_h - 8 - img.height - 4))
            sheet.paste(tile.convert("RGB"), (x0, y0))
    sheet.save(path)

    # The left band with the logos and sample tabs at its real size, 2x.
    screen = Image.new("RGBA", (520, 768), rgba(PAGE))
    screen.paste(band, (3, 0))
    logos = dict(pictures)
    screen.alpha_composite(logos["upper_logo.png"], (20, 20))
    screen.alpha_composite(logos["lower_logo_en.png"], (20, 168))
    d = ImageDraw.Draw(screen)
    d.rectangle((3, 340, 255, 419), fill=rgba(TEAL))
    d.rectangle((3, 500, 255, 579), fill=rgba(SELECTED_TAB))
    font = ImageFont.truetype(FONT_REGULAR, 16, index=0)
    for i, label in enumerate(("Main", "Security", "Power Management", "Advanced", "Exit")):
        d.text((20, 260 + 80 * i + 30), label, font=font,
               fill=rgba(WHITE if i == 1 else DARK))
    d.rectangle((256, 0, 519, 767), fill=rgba(PAGE))
    screen.paste(band, (263, 0))
    screen.alpha_composite(logos["upper_logo.png"], (280, 20))
    screen.alpha_composite(logos["lower_logo_fr.png"], (280, 168))
    base, ext = os.path.splitext(path)
    screen.convert("RGB").save(base + "_band" + ext)


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("out_dir")
    parser.add_argument("--sheet", help="also write an enlarged contact sheet here")
    args = parser.parse_args(argv)
    os.makedirs(args.out_dir, exist_ok=True)

    band = left_band()
    band.save(os.path.join(args.out_dir, "left_band.jpg"), "JPEG", quality=92, subsampling=0,
              optimize=True)
    built = []
    for name, builder, size in PICTURES:
        img = builder()
        if img.size != size:
            sys.exit("make_art: %s came out %dx%d, expected %dx%d" % ((name,) + img.size + size))
        save_png(img, os.path.join(args.out_dir, name))
        built.append((name, img))
    if args.sheet:
        contact_sheet(band, built, args.sheet)
    return 0


if __name__ == "__main__":
    sys.exit(main())
