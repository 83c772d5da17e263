"""Reads and rebuilds UEFI firmware images: firmware volumes, their files and
the files' sections, including LZMA-compressed and volume-image sections.

    image = FlashImage.parse(data)
    dxe = image.volume_holding(FRONT_PAGE_GUID)
    dxe.replace_section(FRONT_PAGE_GUID, SECTION_PE32, new_image)
    data = image.serialize()
"""
from .errors import FirmwareError  # noqa: F401
from .sections import (Section, SECTION_PE32, SECTION_DXE_DEPEX,  # noqa: F401
                       SECTION_USER_INTERFACE, SECTION_VERSION, SECTION_FV_IMAGE,
                       SECTION_GUID_DEFINED, LZMA_GUID)
from .files import (FfsFile, FILETYPE_DRIVER, FILETYPE_APPLICATION,  # noqa: F401
                    FILETYPE_PAD, FILETYPE_FV_IMAGE)
from .volume import FirmwareVolume  # noqa: F401
from .image import FlashImage  # noqa: F401
from .guid import guid_bytes, guid_text  # noqa: F401
from .build import depex, driver_file  # noqa: F401
