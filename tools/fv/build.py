"""New files for a volume: a DXE driver (PE32 image, dependency expression,
name), and dependency expressions in the firmware's opcode form."""
from .files import FfsFile, FILETYPE_DRIVER
from .guid import guid_bytes
from .sections import Section, SECTION_DXE_DEPEX, SECTION_PE32

_PUSH, _AND, _TRUE, _END = 0x02, 0x03, 0x06, 0x08


def depex(protocols=()):
    """A dependency expression that holds once every protocol (GUID text) is
    installed; with none it always holds."""
    if not protocols:
        return bytes([_TRUE, _END])
    out = bytearray()
    for i, p in enumerate(protocols):
        out += bytes([_PUSH]) + guid_bytes(p)
        if i:
            out.append(_AND)
    out.append(_END)
    return bytes(out)


def driver_file(name, pe32, dependencies=b"\x06\x08", ui_name=None):
    """A DXE driver file: the dispatcher starts it once its dependency
    expression holds."""
    sections = [Section(SECTION_DXE_DEPEX, dependencies), Section(SECTION_PE32, pe32)]
    if ui_name:
        sections.append(Section.user_interface(ui_name))
    return FfsFile(guid_bytes(name), FILETYPE_DRIVER, sections=sections)
