"""Firmware volumes: the header with its block map and checksum, the files at
their offsets, and the erased free space after them. Files keep their
offsets when the volume is rebuilt; a changed file is turned into a pad file
of the same size and its new version placed in the free space, so no other
file moves."""
import struct

from .errors import FirmwareError
from .files import FfsFile, FILETYPE_PAD
from .guid import guid_bytes, guid_text
from .sections import align

_HEADER = struct.Struct("<16s16sQ4sIHHHBB")
_SIGNATURE = b"_FVH"
_ERASE_POLARITY = 0x800
_FILE_SYSTEMS = {guid_bytes("8C8CE578-8A3D-4F1C-9935-896185C32DD3"),   # FFS2
                 guid_bytes("5473C07A-3DCB-4DCA-BD6F-1E9689E7349A")}   # FFS3


class FirmwareVolume:
    def __init__(self, header, length, attributes, entries):
        self.header = header          # the header bytes as read (block map included)
        self.length = length
        self.attributes = attributes
        self.entries = entries        # [(offset, FfsFile)], ascending

    @property
    def erased(self):
        return 0xFF if self.attributes & _ERASE_POLARITY else 0x00

    @property
    def files(self):
        return [f for _, f in self.entries]

    # -- reading ------------------------------------------------------------
    @classmethod
    def parse(cls, raw, where="volume"):
        if len(raw) < _HEADER.size or raw[40:44] != _SIGNATURE:
            raise FirmwareError(f"{where}: no firmware volume header (signature _FVH)")
        _, fs, length, _, attributes, header_length, _, _, _, _ = _HEADER.unpack_from(raw)
        if fs not in _FILE_SYSTEMS:
            raise FirmwareError(f"{where}: file system {guid_text(fs)} is not FFS2 or FFS3")
        if length > len(raw) or header_length < _HEADER.size or header_length > length:
            raise FirmwareError(f"{where}: volume length 0x{length:X} or header length "
                                f"{header_length} does not fit 0x{len(raw):X} bytes")
        if sum(struct.unpack_from(f"<{header_length // 2}H", raw)) & 0xFFFF:
            raise FirmwareError(f"{where}: volume header checksum is wrong")
        volume = cls(bytes(raw[:header_length]), length, attributes, [])
        offset = align(header_length, 8)
        erased_header = bytes([volume.erased]) * 24
        while offset + 24 <= length and raw[offset:offset + 24] != erased_header:
            f, size = FfsFile.parse(raw[offset:length], f"{where} at 0x{offset:X}")
            volume.entries.append((offset, f))
            offset = align(offset + size, 8)
        tail = raw[min(offset, length):length]
        if tail.count(volume.erased) != len(tail):
            raise FirmwareError(f"{where}: data in the free space after 0x{offset:X}")
        return volume

    # -- writing ------------------------------------------------------------
    def serialize(self):
        out = bytearray([self.erased]) * self.length
        header = bytearray(self.header)
        struct.pack_into("<H", header, 50, 0)
        struct.pack_into("<H", header, 50,
                         (-sum(struct.unpack(f"<{len(header) // 2}H", header))) & 0xFFFF)
        out[:len(header)] = header
        for offset, f in self.entries:
            raw = f.serialize()
            if offset + len(raw) > self.length:
                raise FirmwareError(f"{f.describe()} at 0x{offset:X} runs past the volume's end")
            out[offset:offset + len(raw)] = raw
        return bytes(out)

    # -- looking up ---------------------------------------------------------
    def find(self, name):
        """The file named by GUID text, or None."""
        raw = guid_bytes(name)
        for f in self.files:
            if f.name == raw and f.type != FILETYPE_PAD:
                return f
        for f in self.files:
            for s in f.sections or []:
                found = s.volume.find(name) if s.volume else None
                found = found or _find_in_children(s, name)
                if found:
                    return found
        return None

    def volume_holding(self, name):
        """This volume or the nested one that holds the named file directly."""
        raw = guid_bytes(name)
        if any(f.name == raw and f.type != FILETYPE_PAD for f in self.files):
            return self
        for f in self.files:
            for v in _nested_volumes(f.sections or []):
                found = v.volume_holding(name)
                if found:
                    return found
        return None

    def free_offset(self):
        if not self.entries:
            return align(len(self.header), 8)
        offset, f = self.entries[-1]
        return align(offset + len(f.serialize()), 8)

    def free_space(self):
        return max(0, self.length - self.free_offset())

    # -- changing -----------------------------------------------------------
    def add_file(self, new_file):
        """Places a new file in the free space, after a pad file when its
        data alignment needs one. Returns its offset."""
        raw_size = len(new_file.serialize())
        header = new_file.header_size(len(new_file.body()))
        alignment = max(8, new_file.data_alignment())
        start = self.free_offset()
        pad = None
        if (start + header) % alignment:
            # A pad file needs room for its own header.
            placed = align(start + 24 + header, alignment) - header
            pad = (start, FfsFile.pad(placed - start))
            start = placed
        if start + raw_size > self.length:
            raise FirmwareError(
                f"{new_file.describe()} does not fit: it needs 0x{raw_size:X} bytes, the "
                f"volume has 0x{max(0, self.length - start):X} free")
        if pad:
            self.entries.append(pad)
        self.entries.append((start, new_file))
        return start

    def remove_file(self, name):
        """Turns the named file into a pad file of the same size, so that
        nothing after it moves."""
        raw = guid_bytes(name)
        for i, (offset, f) in enumerate(self.entries):
            if f.name == raw and f.type != FILETYPE_PAD:
                self.entries[i] = (offset, FfsFile.pad(len(f.serialize()), f.state))
                return f
        raise FirmwareError(f"the volume has no file {name}")

    def replace_section(self, name, section_type, data):
        """Replaces the payload of the named file's first section of that type;
        the file moves to the free space and its old place becomes padding.
        On failure the volume stays as it was. Returns (old size, new size)."""
        old = self.find(name)
        if old is None or old not in self.files:
            raise FirmwareError(f"the volume has no file {name}")
        section = old.section(section_type)
        if section is None:
            raise FirmwareError(f"{old.describe()} has no section of type 0x{section_type:02X}")
        old_size = len(old.serialize())
        saved_entries, saved_data = list(self.entries), section.data
        try:
            self.remove_file(name)  # the pad keeps the old size
            section.data = bytes(data)
            self.add_file(old)
        except FirmwareError:
            self.entries, section.data = saved_entries, saved_data
            raise
        return old_size, len(old.serialize())


def _find_in_children(section, name):
    for child in section.children or []:
        if child.volume:
            found = child.volume.find(name)
            if found:
                return found
        found = _find_in_children(child, name)
        if found:
            return found
    return None


def _nested_volumes(sections):
    for s in sections:
        if s.volume:
            yield s.volume
        if s.children:
            yield from _nested_volumes(s.children)
