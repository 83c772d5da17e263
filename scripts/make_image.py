#!/usr/bin/env python3
"""Writes a GPT disk image holding one EFI system partition (FAT32, made with
mtools) with the contents of an ESP directory. The image boots in QEMU as a
disk and can be written to a USB stick as it is.

  make_image.py --esp build/esp --out build/quorvex.img [--size-mb 64]

Layout: protective MBR, primary GPT header and 128 partition entries, the
partition from LBA 2048 (1 MiB aligned) to the last usable LBA, the backup
entries and header in the last 33 sectors.
"""
import argparse
import os
import struct
import subprocess
import sys
import uuid
import zlib

SECTOR = 512
ENTRIES = 128
ENTRY_SIZE = 128
ENTRY_SECTORS = ENTRIES * ENTRY_SIZE // SECTOR  # 32
FIRST_PARTITION_LBA = 2048
ESP_TYPE = uuid.UUID("C12A7328-F81F-11D2-BA4B-00A0C93EC93B")
# Fixed identifiers: the same ESP gives the same image.
DISK_GUID = uuid.UUID("5155A5E0-7C1D-4E4B-9A63-51756F727665")
PARTITION_GUID = uuid.UUID("5155A5E1-7C1D-4E4B-9A63-51756F727665")


def crc32(data):
    return zlib.crc32(data) & 0xFFFFFFFF


def protective_mbr(total_sectors):
    mbr = bytearray(SECTOR)
    size = min(total_sectors - 1, 0xFFFFFFFF)
    # status, CHS start, type 0xEE, CHS end, first LBA 1, sector count
    mbr[446:462] = struct.pack("<B3sB3sII", 0, b"\x00\x02\x00", 0xEE, b"\xFF\xFF\xFF", 1, size)
    mbr[510:512] = b"\x55\xAA"
    return bytes(mbr)


def partition_entries(first_lba, last_lba):
    name = "EFI system partition".encode("utf-16-le")
    entry = struct.pack("<16s16sQQQ72s", ESP_TYPE.bytes_le, PARTITION_GUID.bytes_le, first_lba,
                        last_lba, 0, name.ljust(72, b"\x00"))
    return entry + bytes(ENTRY_SIZE * (ENTRIES - 1))


def gpt_header(current, backup, first_usable, last_usable, entries_lba, entries_crc):
    def pack(crc):
        return struct.pack("<8sIIIIQQQQ16sQIII", b"EFI PART", 0x00010000, 92, crc, 0, current,
                           backup, first_usable, last_usable, DISK_GUID.bytes_le, entries_lba,
                           ENTRIES, ENTRY_SIZE, entries_crc)
    header = pack(crc32(pack(0)))
    return header + bytes(SECTOR - len(header))


def write_gpt(path, total_sectors):
    last_usable = total_sectors - 1 - ENTRY_SECTORS - 1
    first_usable = 2 + ENTRY_SECTORS
    last_partition = last_usable
    entries = partition_entries(FIRST_PARTITION_LBA, last_partition)
    entries_crc = crc32(entries)
    with open(path, "r+b") as f:
        f.write(protective_mbr(total_sectors))
        f.write(gpt_header(1, total_sectors - 1, first_usable, last_usable, 2, entries_crc))
        f.write(entries)
        f.seek((total_sectors - 1 - ENTRY_SECTORS) * SECTOR)
        f.write(entries)
        f.write(gpt_header(total_sectors - 1, 1, first_usable, last_usable,
                           total_sectors - 1 - ENTRY_SECTORS, entries_crc))
    return FIRST_PARTITION_LBA, last_partition


def run(args):
    result = subprocess.run(args, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f"make_image: {' '.join(args)} failed:\n{result.stdout}{result.stderr}")


def main():
    ap = argparse.ArgumentParser(description="GPT disk image with the ESP.")
    ap.add_argument("--esp", required=True)
    ap.add_argument("--out", required=True)
    ap.add_argument("--size-mb", type=int, default=64)
    args = ap.parse_args()
    if not os.path.isfile(os.path.join(args.esp, "EFI", "BOOT", "BOOTX64.EFI")):
        sys.exit(f"make_image: {args.esp} has no EFI/BOOT/BOOTX64.EFI (run make esp)")
    if args.size_mb < 40:
        sys.exit("make_image: FAT32 needs an image of at least 40 MiB")

    total = args.size_mb * 1024 * 1024 // SECTOR
    tmp = args.out + ".part"
    with open(tmp, "wb") as f:
        f.truncate(total * SECTOR)
    first, last = write_gpt(tmp, total)
    fat = f"{tmp}@@{first * SECTOR}"
    run(["mformat", "-i", fat, "-F", "-T", str(last - first + 1), "-h", "64", "-s", "32",
         "-H", str(first), "-v", "QUORVEX", "::"])
    for entry in sorted(os.listdir(args.esp)):
        run(["mcopy", "-s", "-Q", "-i", fat, os.path.join(args.esp, entry), "::/"])
    os.replace(tmp, args.out)
    print(f"make_image: {args.out} ({args.size_mb} MiB, ESP at LBA {first}..{last})")


if __name__ == "__main__":
    main()
