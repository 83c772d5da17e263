"""Reads 8-bit RGB / RGBA / grey PNG files (what QEMU's screendump and the
simulator write) with zlib only, for pixel checks in tests and scripts."""
import struct
import zlib

_SIGNATURE = b"\x89PNG\r\n\x1a\n"
_CHANNELS = {0: 1, 2: 3, 4: 2, 6: 4}


class PngError(ValueError):
    pass


class Image:
    """Rows are unfiltered on first use, up to the lowest row asked for."""

    def __init__(self, width, height, channels, raw):
        self.width = width
        self.height = height
        self.channels = channels
        self._raw = raw
        self._rows = []

    def row(self, y):
        while len(self._rows) <= y:
            self._rows.append(_unfilter(self._raw, len(self._rows), self.width,
                                        self.channels, self._rows[-1] if self._rows else None))
        return self._rows[y]

    def pixel(self, x, y):
        """The colour at (x, y) as 0xRRGGBB."""
        if not (0 <= x < self.width and 0 <= y < self.height):
            raise IndexError(f"pixel ({x}, {y}) outside {self.width}x{self.height}")
        c = self.channels
        p = self.row(y)[x * c:(x + 1) * c]
        if c in (1, 2):
            return p[0] * 0x010101
        return (p[0] << 16) | (p[1] << 8) | p[2]


def _paeth(a, b, c):
    p = a + b - c
    pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
    if pa <= pb and pa <= pc:
        return a
    return b if pb <= pc else c


def decode(data):
    if not data.startswith(_SIGNATURE):
        raise PngError("not a PNG file")
    pos = len(_SIGNATURE)
    header = None
    idat = []
    while pos + 8 <= len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if len(body) != length:
            raise PngError("truncated chunk")
        pos += 12 + length
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat.append(body)
        elif kind == b"IEND":
            break
    if header is None:
        raise PngError("no IHDR")
    width, height, depth, colour, _, _, interlace = header
    if depth != 8 or colour not in _CHANNELS or interlace != 0:
        raise PngError(f"unsupported PNG (depth {depth}, colour type {colour}, "
                       f"interlace {interlace})")
    bpp = _CHANNELS[colour]
    raw = zlib.decompress(b"".join(idat))
    if len(raw) < height * (width * bpp + 1):
        raise PngError("image data too short")
    return Image(width, height, bpp, raw)


def _unfilter(raw, y, width, bpp, prev):
    stride = width * bpp
    off = y * (stride + 1)
    ftype = raw[off]
    line = bytearray(raw[off + 1:off + 1 + stride])
    if prev is None:
        prev = bytes(stride)
    if ftype == 1:
        for i in range(bpp, stride):
            line[i] = (line[i] + line[i - bpp]) & 0xFF
    elif ftype == 2:
        line = bytearray((a + b) & 0xFF for a, b in zip(line, prev))
    elif ftype == 3:
        for i in range(stride):
            left = line[i - bpp] if i >= bpp else 0
            line[i] = (line[i] + ((left + prev[i]) >> 1)) & 0xFF
    elif ftype == 4:
        for i in range(stride):
            left = line[i - bpp] if i >= bpp else 0
            up_left = prev[i - bpp] if i >= bpp else 0
            line[i] = (line[i] + _paeth(left, prev[i], up_left)) & 0xFF
    elif ftype != 0:
        raise PngError(f"bad filter type {ftype} in row {y}")
    return bytes(line)


def decode_ppm(data):
    """A binary PPM (P6, maxval 255), QEMU's default screendump format."""
    fields = []
    pos = 0
    while len(fields) < 4:
        while pos < len(data) and data[pos:pos + 1].isspace():
            pos += 1
        if data[pos:pos + 1] == b"#":
            pos = data.index(b"\n", pos)
            continue
        start = pos
        while pos < len(data) and not data[pos:pos + 1].isspace():
            pos += 1
        fields.append(data[start:pos])
    if fields[0] != b"P6" or int(fields[3]) != 255:
        raise PngError("not an 8-bit binary PPM")
    width, height = int(fields[1]), int(fields[2])
    pixels = data[pos + 1:]
    stride = width * 3
    if len(pixels) < stride * height:
        raise PngError("PPM data too short")
    img = Image(width, height, 3, b"")
    img._rows = [pixels[y * stride:(y + 1) * stride] for y in range(height)]
    return img


def read(path):
    """A PNG or a binary PPM file."""
    with open(path, "rb") as f:
        data = f.read()
    if data.startswith(b"P6"):
        return decode_ppm(data)
    return decode(data)
