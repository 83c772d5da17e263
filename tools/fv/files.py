"""Firmware file system files: the 24-byte header (32 bytes for large
files), its two checksums and the data alignment its attributes ask for."""
import struct

from .errors import FirmwareError
from .guid import guid_text
from .sections import parse_sections, serialize_sections

FILETYPE_RAW = 0x01
FILETYPE_DRIVER = 0x07
FILETYPE_APPLICATION = 0x09
FILETYPE_FV_IMAGE = 0x0B
FILETYPE_PAD = 0xF0

ATTRIB_LARGE_FILE = 0x01
ATTRIB_DATA_ALIGNMENT_2 = 0x02
ATTRIB_CHECKSUM = 0x40
_FIXED_CHECKSUM = 0xAA
PAD_GUID = b"\xff" * 16
_HEADER = struct.Struct("<16sBBBB3sB")  # name, header sum, file sum, type, attributes, size, state
_ALIGNMENTS = (1, 16, 128, 512, 1024, 4 * 1024, 32 * 1024, 64 * 1024)

# Files whose body is not made of sections.
_RAW_TYPES = {FILETYPE_RAW, FILETYPE_PAD}


def _checksum8(data):
    return (-sum(data)) & 0xFF


class FfsFile:
    """A file: name GUID (bytes), type, attributes and state as read; the
    body as `sections` (parsed) or `data` (raw and pad files)."""

    def __init__(self, name, type_, attributes=0, state=0xF8, sections=None, data=b""):
        self.name = bytes(name)
        self.type = type_
        self.attributes = attributes
        self.state = state
        self.sections = sections
        self.data = bytes(data)

    @classmethod
    def parse(cls, raw, where):
        if len(raw) < _HEADER.size:
            raise FirmwareError(f"{where}: truncated file header")
        name, _, _, type_, attributes, size, state = _HEADER.unpack_from(raw)
        size = int.from_bytes(size, "little")
        header = _HEADER.size
        if attributes & ATTRIB_LARGE_FILE:
            if len(raw) < header + 8:
                raise FirmwareError(f"{where}: truncated large file header")
            size = struct.unpack_from("<Q", raw, header)[0]
            header += 8
        if size < header or size > len(raw):
            raise FirmwareError(f"{where}: file {guid_text(name)} size 0x{size:X} "
                                "outside its volume")
        if (sum(raw[:header]) - raw[17] - state) & 0xFF:
            raise FirmwareError(f"{where}: file {guid_text(name)} header checksum is wrong")
        body = raw[header:size]
        f = cls(name, type_, attributes, state)
        if type_ in _RAW_TYPES:
            f.data = bytes(body)
        else:
            f.sections = parse_sections(body, f"{where} file {guid_text(name)}")
        return f, size

    @classmethod
    def pad(cls, size, state=0xF8):
        """A pad file of exactly `size` bytes (header included)."""
        if size < _HEADER.size:
            raise FirmwareError(f"a pad file cannot be {size} bytes long")
        return cls(PAD_GUID, FILETYPE_PAD, 0, state, data=b"\xff" * (size - _HEADER.size))

    def body(self):
        return self.data if self.sections is None else serialize_sections(self.sections)

    def header_size(self, body_size):
        return _HEADER.size + (8 if self._large(body_size) else 0)

    def _large(self, body_size):
        return bool(self.attributes & ATTRIB_LARGE_FILE) or body_size + _HEADER.size > 0xFFFFFF

    def data_alignment(self):
        index = (self.attributes >> 3) & 7
        if self.attributes & ATTRIB_DATA_ALIGNMENT_2:
            return 128 * 1024 << index
        return _ALIGNMENTS[index]

    def serialize(self):
        body = self.body()
        if self._large(len(body)):
            self.attributes |= ATTRIB_LARGE_FILE
            size = _HEADER.size + 8 + len(body)
            size_field, extra = b"\0\0\0", struct.pack("<Q", size)
        else:
            size = _HEADER.size + len(body)
            size_field, extra = size.to_bytes(3, "little"), b""
        file_sum = _checksum8(body) if self.attributes & ATTRIB_CHECKSUM else _FIXED_CHECKSUM
        # The header sum covers the header with the state and file sum as zero.
        blank = _HEADER.pack(self.name, 0, 0, self.type, self.attributes, size_field, 0) + extra
        header = bytearray(_HEADER.pack(self.name, _checksum8(blank), file_sum, self.type,
                                        self.attributes, size_field, self.state) + extra)
        return bytes(header) + body

    def section(self, type_):
        """The first section of that type, searched through encapsulations."""
        return find_section(self.sections or [], type_)

    def describe(self):
        return f"file {guid_text(self.name)} (type 0x{self.type:02X})"


def find_section(sections, type_):
    for s in sections:
        if s.type == type_:
            return s
        if s.children:
            found = find_section(s.children, type_)
            if found:
                return found
    return None
