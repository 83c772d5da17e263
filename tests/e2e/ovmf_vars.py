"""Reads the variables an OVMF variable store file (OVMF_VARS*.fd) holds:
the firmware volume header, the authenticated variable store header, then
one record per variable write. Only what the end-to-end tests need: the live
(added, not deleted) variables by name and vendor GUID.

    store = ovmf_vars.read("OVMF_VARS.fd")
    store.get("PK", ovmf_vars.GLOBAL)     # bytes, or None
"""
import struct
import uuid

GLOBAL = uuid.UUID("8be4df61-93ca-11d2-aa0d-00e098032b8c")
SECURE_BOOT_ENABLE = uuid.UUID("f0a30bc7-af08-4556-99c4-001009c93a44")
CUSTOM_MODE = uuid.UUID("c076ec0c-7028-4399-a072-71ee5c448b9f")

_AUTHENTICATED_STORE = uuid.UUID("aaf32c78-947b-439a-a180-2e144ec37792")
_START_ID = 0x55AA
_VAR_ADDED = 0x3F
# A record is live while its state has the "added" bits and no "deleted" bit
# cleared; an update marks the old record "in deleted transition" (0x3E)
# before the new one is added, so a 0x3E record counts only without a 0x3F one.
_IN_DELETED_TRANSITION = 0x3E
_HEADER = struct.Struct("<HBBIQ16sIII16s")  # authenticated variable header, 60 bytes


class StoreError(ValueError):
    pass


class Store:
    def __init__(self, variables):
        self.variables = variables  # {(name, guid): (attributes, bytes)}

    def get(self, name, guid):
        entry = self.variables.get((name, guid))
        return entry[1] if entry else None

    def attributes(self, name, guid):
        entry = self.variables.get((name, guid))
        return entry[0] if entry else None


def parse(data):
    if len(data) < 64 or data[40:44] != b"_FVH":
        raise StoreError("no firmware volume header")
    header_length = struct.unpack_from("<H", data, 48)[0]
    start = header_length
    if start + 28 > len(data) or uuid.UUID(bytes_le=bytes(data[start:start + 16])) != \
            _AUTHENTICATED_STORE:
        raise StoreError("no authenticated variable store after the volume header")
    size, fmt, state = struct.unpack_from("<IBB", data, start + 16)
    if fmt != 0x5A or state != 0xFE or start + size > len(data):
        raise StoreError(f"variable store not formatted or not healthy ({fmt:#x}, {state:#x})")
    end = start + size
    at = start + 28
    live, transition = {}, {}
    while at + _HEADER.size <= end:
        (start_id, var_state, _, attributes, _, _, _, name_size, data_size,
         guid) = _HEADER.unpack_from(data, at)
        if start_id != _START_ID:
            break
        name_at = at + _HEADER.size
        data_at = name_at + name_size
        if name_size % 2 or data_at + data_size > end:
            raise StoreError(f"variable record at {at:#x} runs past the store")
        name = bytes(data[name_at:data_at]).decode("utf-16-le").rstrip("\0")
        key = (name, uuid.UUID(bytes_le=bytes(guid)))
        value = (attributes, bytes(data[data_at:data_at + data_size]))
        if var_state == _VAR_ADDED:
            live[key] = value
        elif var_state == _IN_DELETED_TRANSITION:
            transition[key] = value
        at = (data_at + data_size + 3) & ~3
    for key, value in transition.items():
        live.setdefault(key, value)
    return Store(live)


def read(path):
    with open(path, "rb") as f:
        return parse(f.read())
