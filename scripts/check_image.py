#!/usr/bin/env python3
"""Checks a UEFI image and the objects it was linked from.

Fails when an object carries C++ global constructors (.CRT$XC* sections; no
C runtime runs them in a UEFI image, so such a global would stay unset), when
the image has a .CRT section, imports anything, is not an x86-64 EFI
application (or, with --driver, a boot service driver), or lacks base relocations while its objects hold absolute
addresses. Prints the image size and its sections.
"""
import argparse
import os
import re
import subprocess
import sys


def sections(objdump, path):
    out = subprocess.run([objdump, "-h", path], check=True, capture_output=True,
                         text=True).stdout
    found = []
    for line in out.splitlines():
        m = re.match(r"\s*\d+\s+(\S+)\s+([0-9a-fA-F]+)\s", line)
        if m:
            found.append((m.group(1), int(m.group(2), 16)))
    return found


def absolute_addresses(objdump, objects):
    """The objects that hold an absolute address, which the loader must fix
    up when the image does not sit at its preferred base. An image without
    any (a small application using only RIP-relative code) needs no .reloc."""
    found = []
    for obj in objects:
        out = subprocess.run([objdump, "-r", obj], check=True, capture_output=True,
                             text=True).stdout
        if re.search(r"\bIMAGE_REL_AMD64_(ADDR64|ADDR32)\b", out):
            found.append(obj)
    return found


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--objdump", default="llvm-objdump")
    ap.add_argument("--readobj", default="llvm-readobj")
    ap.add_argument("--image", required=True)
    ap.add_argument("--driver", action="store_true",
                    help="the image is a boot service driver, not an application")
    ap.add_argument("objects", nargs="*")
    args = ap.parse_args()

    # CMake hands an object list over as one ';'-separated argument.
    objects = [o for arg in args.objects for o in arg.split(";") if o]
    problems = []
    for obj in objects:
        for name, size in sections(args.objdump, obj):
            if (name.startswith(".CRT$XC") or name in (".ctors", ".init_array")) and size:
                problems.append(f"{os.path.basename(obj)}: global constructor section {name}")

    image_sections = sections(args.objdump, args.image)
    names = [n for n, _ in image_sections]
    if ".CRT" in names:
        problems.append("image has a .CRT section (global constructors or destructors)")
    if ".reloc" not in names and absolute_addresses(args.objdump, objects):
        problems.append("image has no base relocations (.reloc)")

    headers = subprocess.run([args.readobj, "--file-headers", "--coff-imports", args.image],
                             check=True, capture_output=True, text=True).stdout
    if "IMAGE_FILE_MACHINE_AMD64" not in headers:
        problems.append("image is not x86-64")
    if args.driver:
        if "IMAGE_SUBSYSTEM_EFI_BOOT_SERVICE_DRIVER" not in headers:
            problems.append("image is not an EFI boot service driver")
    elif "IMAGE_SUBSYSTEM_EFI_APPLICATION" not in headers:
        problems.append("image is not an EFI application")
    m = re.search(r"ImportTableSize:\s*0x([0-9A-Fa-f]+)", headers)
    if not m or int(m.group(1), 16) != 0 or re.search(r"^\s*Import \{", headers, re.M):
        problems.append("image imports from a DLL")

    if not objects:
        problems.append("no objects given")
    size = os.path.getsize(args.image)
    print(f"{os.path.basename(args.image)}: {size} bytes ({size / 1024:.1f} KiB)")
    for name, sz in image_sections:
        print(f"  {name:10s} {sz:9d}")
    for p in problems:
        print("FAIL:", p)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
