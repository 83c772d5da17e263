"""Reads the variables out of an OVMF variable store file (OVMF_VARS.fd as
QEMU leaves it): the firmware volume header, the variable store header, then
variable records, each aligned to 4 bytes. Both record layouts are read: the
authenticated one (60-byte header) and the plain one (32-byte header).

    store = read_store("build/e2e/x.vars.fd")
    store.get("BootOrder", EFI_GLOBAL)     -> bytes or None
    boot_order(store)                      -> [0x0001, 0x0000, ...]
    load_option(store, 1)                  -> (attributes, description, device path bytes)
"""
import struct
import uuid

EFI_GLOBAL = uuid.UUID("8be4df61-93ca-11d2-aa0d-00e098032b8c")
AUTH_STORE = uuid.UUID("aaf32c78-947b-439a-a180-2e144ec37792")
PLAIN_STORE = uuid.UUID("ddcf3616-3275-4164-98b6-fe85707ffe7d")

VAR_ADDED = 0x3F
VAR_IN_DELETED_TRANSITION = 0xFE
START_ID = 0x55AA


class StoreError(Exception):
    pass


class Store:
    def __init__(self):
        self.variables = {}  # (name, guid) -> (attributes, data)

    def get(self, name, guid=EFI_GLOBAL):
        entry = self.variables.get((name, guid))
        return entry[1] if entry else None


def read_store(path):
    with open(path, "rb") as f:
        return parse_store(f.read())


def parse_store(blob):
    if len(blob) < 0x48 or blob[40:44] != b"_FVH":
        raise StoreError("no firmware volume header")
    header_length = struct.unpack_from("<H", blob, 48)[0]
    at = header_length
    if at + 28 > len(blob):
        raise StoreError("no variable store header")
    kind = uuid.UUID(bytes_le=bytes(blob[at:at + 16]))
    if kind not in (AUTH_STORE, PLAIN_STORE):
        raise StoreError(f"unknown variable store {kind}")
    size = struct.unpack_from("<I", blob, at + 16)[0]
    end = min(at + size, len(blob))
    authenticated = kind == AUTH_STORE
    header_size = 60 if authenticated else 32
    store = Store()
    in_transition = {}
    at += 28
    while True:
        at = (at + 3) & ~3
        if at + header_size > end:
            break
        start_id, state, _, attributes = struct.unpack_from("<HBBI", blob, at)
        if start_id != START_ID:
            break
        if authenticated:
            name_size, data_size = struct.unpack_from("<II", blob, at + 36)
            guid_at = at + 44
        else:
            name_size, data_size = struct.unpack_from("<II", blob, at + 8)
            guid_at = at + 16
        guid = uuid.UUID(bytes_le=bytes(blob[guid_at:guid_at + 16]))
        name_at = at + header_size
        data_at = name_at + name_size
        if data_at + data_size > end:
            break
        name = blob[name_at:data_at].decode("utf-16-le").rstrip("\0")
        data = bytes(blob[data_at:data_at + data_size])
        if state == VAR_ADDED:
            store.variables[(name, guid)] = (attributes, data)
        elif state == VAR_ADDED & VAR_IN_DELETED_TRANSITION:
            in_transition[(name, guid)] = (attributes, data)
        at = data_at + data_size
    # A record caught between its replacement's write and its own deletion
    # counts only when the replacement never completed.
    for key, value in in_transition.items():
        store.variables.setdefault(key, value)
    return store


def boot_order(store):
    data = store.get("BootOrder") or b""
    return list(struct.unpack_from(f"<{len(data) // 2}H", data))


def load_option(store, number):
    """(attributes, description, device path) of Boot####, or None."""
    data = store.get(f"Boot{number:04X}")
    if data is None or len(data) < 6:
        return None
    attributes, path_length = struct.unpack_from("<IH", data, 0)
    at = 6
    chars = []
    while at + 2 <= len(data):
        c = struct.unpack_from("<H", data, at)[0]
        at += 2
        if c == 0:
            break
        chars.append(chr(c))
    return attributes, "".join(chars), data[at:at + path_length]
