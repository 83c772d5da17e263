"""GUIDs in their registry form (text) and their mixed-endian byte form."""
import uuid


def guid_bytes(text):
    return uuid.UUID(text).bytes_le


def guid_text(raw):
    return str(uuid.UUID(bytes_le=bytes(raw))).upper()
