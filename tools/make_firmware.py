#!/usr/bin/env python3
"""Builds a firmware image whose setup screen is our own: the front-page
file's PE32 section of a UEFI firmware image (OVMF or a maker's own) is
replaced by the given UEFI application, and the volumes, files, checksums and
the compressed section around it are rebuilt. The image keeps its size and
every other file keeps its place.

  make_firmware.py --code OVMF_CODE_4M.fd --app Setup.efi --out QUORVEX_CODE.fd
                   [--vars OVMF_VARS_4M.fd --out-vars QUORVEX_VARS.fd (when missing)]
                   [--add-driver GUID=Driver.efi]... [--front-page GUID]
"""
import argparse
import os
import shutil
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import fv  # noqa: E402

FRONT_PAGE_GUID = "462CAA21-7614-4503-836E-8AB6F4662331"  # EDK2's UiApp


def _compressed_sections(volume):
    """(section, its FFS file, the volume holding that file) for every LZMA section."""
    for f in volume.files:
        for s in f.sections or []:
            if s.children is not None:
                yield s, f, volume
                for child in s.children:
                    if child.volume:
                        yield from _compressed_sections(child.volume)
            elif s.volume:
                yield from _compressed_sections(s.volume)


def build(code, app, front_page=FRONT_PAGE_GUID, drivers=()):
    """Returns (new image bytes, report lines). Raises fv.FirmwareError with a
    message naming what is missing or what no longer fits."""
    image = fv.FlashImage.parse(code)
    volume = image.volume_holding(front_page)
    if volume is None:
        raise fv.FirmwareError(f"the image has no front-page file {front_page} (UiApp): "
                               "nothing to replace")
    free_before = volume.free_space()
    before, after = volume.replace_section(front_page, fv.SECTION_PE32, app)
    for guid, pe32 in drivers:
        if volume.find(guid):
            raise fv.FirmwareError(f"the image already has a file {guid}")
        volume.add_file(fv.driver_file(guid, pe32))
    report = [f"front-page file: 0x{before:X} bytes before, 0x{after:X} after",
              f"its volume: 0x{free_before:X} bytes free before, 0x{volume.free_space():X} after"]
    try:
        out = image.serialize()
    except fv.FirmwareError as e:
        raise fv.FirmwareError(f"the result no longer fits: {e}") from None
    for outer in image.volumes:
        for section, _, holder in _compressed_sections(outer):
            report.append(f"compressed section: 0x{len(section.payload()):X} bytes; the volume "
                          f"holding it has 0x{holder.free_space():X} bytes free")
    # What the firmware will read must read back the same way.
    again = fv.FlashImage.parse(out)
    if again.find(front_page).section(fv.SECTION_PE32).data != app:
        raise fv.FirmwareError("the rebuilt image does not read back")
    return out, report


def _driver_argument(text):
    guid, sep, path = text.partition("=")
    if not sep:
        raise argparse.ArgumentTypeError("expected GUID=FILE")
    fv.guid_bytes(guid)
    return guid.upper(), path


def main(argv=None):
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--code", required=True, help="the firmware image to start from")
    ap.add_argument("--app", required=True, help="the UEFI application that becomes the setup")
    ap.add_argument("--out", required=True)
    ap.add_argument("--vars", help="the variable store matching --code, copied to --out-vars")
    ap.add_argument("--out-vars")
    ap.add_argument("--front-page", default=FRONT_PAGE_GUID, help="GUID of the file to replace")
    ap.add_argument("--add-driver", type=_driver_argument, action="append", default=[],
                    metavar="GUID=FILE", help="add a DXE driver file (always dispatched)")
    args = ap.parse_args(argv)
    try:
        with open(args.code, "rb") as f:
            code = f.read()
        with open(args.app, "rb") as f:
            app = f.read()
        drivers = []
        for guid, path in args.add_driver:
            with open(path, "rb") as f:
                drivers.append((guid, f.read()))
        out, report = build(code, app, args.front_page, drivers)
    except (OSError, fv.FirmwareError) as e:
        print(f"make_firmware: {e}", file=sys.stderr)
        return 1
    os.makedirs(os.path.dirname(os.path.abspath(args.out)), exist_ok=True)
    with open(args.out + ".tmp", "wb") as f:
        f.write(out)
    os.replace(args.out + ".tmp", args.out)
    # The variable store holds what the setup saved: a rebuild keeps it.
    if args.vars and args.out_vars and not os.path.exists(args.out_vars):
        shutil.copyfile(args.vars, args.out_vars)
        print(f"make_firmware: wrote {args.out_vars} (a copy of {args.vars})")
    for line in report:
        print(f"make_firmware: {line}")
    print(f"make_firmware: wrote {args.out} (0x{len(out):X} bytes)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
