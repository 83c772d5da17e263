"""File sections: the common header (with its extended form for sections of
16 MiB or more), GUID-defined sections (LZMA-compressed ones are opened) and
volume-image sections (holding a whole firmware volume)."""
import struct

from . import lzma_codec
from .errors import FirmwareError
from .guid import guid_bytes, guid_text

SECTION_GUID_DEFINED = 0x02
SECTION_PE32 = 0x10
SECTION_DXE_DEPEX = 0x13
SECTION_VERSION = 0x14
SECTION_USER_INTERFACE = 0x15
SECTION_FV_IMAGE = 0x17
SECTION_RAW = 0x19

LZMA_GUID = "EE4E5898-3914-4259-9D6E-DC7BD79403CF"
_LZMA_GUID_BYTES = guid_bytes(LZMA_GUID)
_GUIDED_HEADER = struct.Struct("<16sHH")  # definition GUID, data offset, attributes
_EXTENDED_SIZE = 0xFFFFFF


def align(value, alignment):
    return (value + alignment - 1) // alignment * alignment


class Section:
    """One section. Leaf sections keep their payload in `data`; an LZMA
    section keeps its decoded `children`; a volume-image section its
    `volume`. Everything else in the header is kept as read, so an unchanged
    section serialises to the same bytes."""

    def __init__(self, type_, data=b"", extended=False):
        self.type = type_
        self.data = bytes(data)
        self.extended = extended
        self.guid = None          # GUID-defined: the definition GUID (bytes)
        self.guided_header = b""  # GUID-defined: bytes between the GUID header and the data
        self.attributes = 0
        self.children = None      # LZMA: the decoded section list
        self.volume = None        # volume image: a FirmwareVolume
        self._packed = None       # LZMA: (decoded bytes, compressed bytes) as read

    # -- reading ------------------------------------------------------------
    @classmethod
    def parse(cls, raw, where):
        if len(raw) < 4:
            raise FirmwareError(f"{where}: truncated section header")
        size = int.from_bytes(raw[:3], "little")
        type_ = raw[3]
        header = 4
        extended = size == _EXTENDED_SIZE
        if extended:
            if len(raw) < 8:
                raise FirmwareError(f"{where}: truncated extended section header")
            size = struct.unpack_from("<I", raw, 4)[0]
            header = 8
        if size < header or size > len(raw):
            raise FirmwareError(f"{where}: section size 0x{size:X} outside its file")
        body = raw[header:size]
        section = cls(type_, extended=extended)
        if type_ == SECTION_GUID_DEFINED:
            section._parse_guided(raw, header, size, where)
        elif type_ == SECTION_FV_IMAGE:
            from .volume import FirmwareVolume
            section.volume = FirmwareVolume.parse(body, f"{where} volume image")
        else:
            section.data = bytes(body)
        return section, size

    def _parse_guided(self, raw, header, size, where):
        if size < header + _GUIDED_HEADER.size:
            raise FirmwareError(f"{where}: truncated GUID-defined section")
        guid, offset, self.attributes = _GUIDED_HEADER.unpack_from(raw, header)
        if offset < header + _GUIDED_HEADER.size or offset > size:
            raise FirmwareError(f"{where}: GUID-defined section data offset 0x{offset:X}")
        self.guid = guid
        self.guided_header = bytes(raw[header + _GUIDED_HEADER.size:offset])
        payload = bytes(raw[offset:size])
        if guid == _LZMA_GUID_BYTES:
            decoded = lzma_codec.decompress(payload, where)
            self.children = parse_sections(decoded, f"{where} (decompressed)")
            self._packed = (decoded, payload)
        else:
            self.data = payload

    # -- writing ------------------------------------------------------------
    def payload(self):
        if self.type == SECTION_FV_IMAGE:
            return self.volume.serialize()
        if self.type != SECTION_GUID_DEFINED:
            return self.data
        guided_header_size = (8 if self.extended else 4) + _GUIDED_HEADER.size
        offset = guided_header_size + len(self.guided_header)
        if self.children is None:
            body = self.data
        else:
            decoded = serialize_sections(self.children)
            if self._packed and self._packed[0] == decoded:
                body = self._packed[1]  # unchanged: the original bytes
            else:
                body = lzma_codec.compress(decoded)
                self._packed = (decoded, body)
        return _GUIDED_HEADER.pack(self.guid, offset, self.attributes) + self.guided_header + body

    def serialize(self):
        body = self.payload()
        if self.extended or len(body) + 4 >= _EXTENDED_SIZE:
            if self.type == SECTION_GUID_DEFINED and not self.extended:
                # The data offset counts the header; rebuild it with the longer one.
                self.extended = True
                body = self.payload()
            return (_EXTENDED_SIZE.to_bytes(3, "little") + bytes([self.type]) +
                    struct.pack("<I", len(body) + 8) + body)
        return (len(body) + 4).to_bytes(3, "little") + bytes([self.type]) + body

    # -- building -----------------------------------------------------------
    @classmethod
    def user_interface(cls, name):
        return cls(SECTION_USER_INTERFACE, (name + "\0").encode("utf-16-le"))

    def describe(self):
        if self.type == SECTION_GUID_DEFINED:
            return f"GUID-defined {guid_text(self.guid)}"
        return f"type 0x{self.type:02X}"


def parse_sections(raw, where):
    """The sections of a file body or of an encapsulation, each 4-aligned."""
    sections = []
    offset = 0
    while offset < len(raw):
        if len(raw) - offset < 4 and not any(raw[offset:]):
            break  # zero bytes of alignment at the end
        section, size = Section.parse(raw[offset:], f"{where} section at 0x{offset:X}")
        sections.append(section)
        offset = align(offset + size, 4)
    return sections


def serialize_sections(sections):
    out = bytearray()
    for i, section in enumerate(sections):
        if i:
            out += bytes(align(len(out), 4) - len(out))
        out += section.serialize()
    return bytes(out)
