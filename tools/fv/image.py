"""A flash image: the firmware volumes laid end to end in a flash device
file (such as OVMF_CODE_4M.fd), each found by its header signature."""
from .errors import FirmwareError
from .volume import FirmwareVolume

_SIGNATURE_OFFSET = 40
_STEP = 0x1000


class FlashImage:
    def __init__(self, size, parts):
        self.size = size
        self.parts = parts  # [(offset, FirmwareVolume or raw bytes)]

    @classmethod
    def parse(cls, raw):
        parts = []
        offset = 0
        gap_start = 0
        while offset + _SIGNATURE_OFFSET + 4 <= len(raw):
            if raw[offset + _SIGNATURE_OFFSET:offset + _SIGNATURE_OFFSET + 4] == b"_FVH":
                if gap_start < offset:
                    parts.append((gap_start, bytes(raw[gap_start:offset])))
                volume = FirmwareVolume.parse(raw[offset:], f"volume at 0x{offset:X}")
                parts.append((offset, volume))
                offset += volume.length
                gap_start = offset
            else:
                offset += _STEP
        if gap_start < len(raw):
            parts.append((gap_start, bytes(raw[gap_start:])))
        if not any(isinstance(p, FirmwareVolume) for _, p in parts):
            raise FirmwareError("no firmware volume in the image")
        return cls(len(raw), parts)

    @property
    def volumes(self):
        return [p for _, p in self.parts if isinstance(p, FirmwareVolume)]

    def volume_holding(self, name):
        for v in self.volumes:
            found = v.volume_holding(name)
            if found:
                return found
        return None

    def find(self, name):
        for v in self.volumes:
            found = v.find(name)
            if found:
                return found
        return None

    def serialize(self):
        out = bytearray()
        for offset, part in self.parts:
            raw = part.serialize() if isinstance(part, FirmwareVolume) else part
            if len(out) != offset:
                raise FirmwareError(f"part at 0x{offset:X} follows 0x{len(out):X} bytes")
            out += raw
        if len(out) != self.size:
            raise FirmwareError(f"the image came out 0x{len(out):X} bytes, not 0x{self.size:X}")
        return bytes(out)
