"""The firmware's LZMA section format: LZMA1 "alone" streams (a 13-byte
header: properties, dictionary size, uncompressed size) as EDK2's
decompressor reads them. Its output buffer is sized from the header's
uncompressed size, so that field must hold the real size, never the
"unknown" marker Python's encoder writes."""
import lzma
import struct

from .errors import FirmwareError

_HEADER = 13
_FILTERS = [{"id": lzma.FILTER_LZMA1, "dict_size": 1 << 24, "lc": 3, "lp": 0, "pb": 2,
             "mode": lzma.MODE_NORMAL, "nice_len": 273, "mf": lzma.MF_BT4}]


def decompress(payload, where):
    if len(payload) < _HEADER:
        raise FirmwareError(f"{where}: LZMA data shorter than its header")
    size = struct.unpack_from("<Q", payload, 5)[0]
    try:
        decoded = lzma.LZMADecompressor(lzma.FORMAT_ALONE).decompress(payload)
    except lzma.LZMAError as e:
        raise FirmwareError(f"{where}: LZMA data does not decode ({e})") from None
    if size != 0xFFFFFFFFFFFFFFFF and len(decoded) != size:
        raise FirmwareError(f"{where}: LZMA data decodes to 0x{len(decoded):X} bytes, "
                            f"header says 0x{size:X}")
    return decoded


def compress(data):
    packed = bytearray(lzma.compress(data, format=lzma.FORMAT_ALONE, filters=_FILTERS))
    struct.pack_into("<Q", packed, 5, len(data))
    return bytes(packed)
