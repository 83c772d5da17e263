#!/usr/bin/env python3
"""Power cuts during a save: boots build/esp in QEMU on one persistent OVMF
variable store, changes the display language (English <-> French), presses
F10 and Yes, and kills QEMU at a random moment of the save and reset. After
every cut the settings record in the variable store must be whole (its
checksum holds: the old one or the new one, never a mix of the two) or be
damaged or missing; the next boot must bring the utility up, with the
serial-port notice when the record was damaged (some records are damaged by hand to check that).

  power_cut.py [--cuts N] [--seed S]      (make power-cuts [POWER_CUTS=N])
"""
import argparse
import os
import random
import re
import shutil
import struct
import sys
import threading
import time
import zlib

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "scripts"))
from qemu_machine import OVMF_VARS, Machine  # noqa: E402

ESP = os.environ.get("QUORVEX_ESP", os.path.join(ROOT, "build", "esp"))
WORK = os.environ.get("QUORVEX_E2E_DIR", os.path.join(ROOT, "build", "e2e"))
SCHEMA = os.path.join(ROOT, "setup_data", "settings_schema.inc")
NAME = "QuorvexSettings\0".encode("utf-16-le")
MAGIC = 0x53585651
VAR_ADDED = 0x3F
VAR_ADDED_IN_DELETION = 0x3E
DAMAGED_NOTICE = "saved record is damaged"


def setting_names():
    with open(SCHEMA, encoding="utf-8") as f:
        return [m.group(1) for m in (re.match(r"^SETTING\((\w+),", l.strip()) for l in f) if m]


def live_record(vars_path):
    found = live_record_at(vars_path)
    return found[1] if found else None


def damage_record(vars_path):
    """Flips a byte inside the live record, as a write torn below the
    variable store's own protection would leave it."""
    found = live_record_at(vars_path)
    if not found:
        return False
    offset, data = found
    with open(vars_path, "r+b") as f:
        f.seek(offset + len(data) // 2)
        f.write(bytes([data[len(data) // 2] ^ 0x5A]))
    return True


def live_record_at(vars_path):
    """The file offset and data of the live QuorvexSettings variable in an OVMF variable store
    file, or None. Copies that are only half added (no VAR_ADDED state) do
    not count; one in deletion counts only when no added copy exists."""
    blob = open(vars_path, "rb").read()
    added, in_deletion = [], []
    at = blob.find(NAME)
    while at >= 0:
        for header in (60, 32):  # authenticated, plain variable headers
            start = at - header
            if start >= 0 and blob[start:start + 2] == b"\xAA\x55":
                state = blob[start + 2]
                if header == 60:
                    name_size, data_size = struct.unpack_from("<II", blob, start + 36)
                else:
                    name_size, data_size = struct.unpack_from("<II", blob, start + 8)
                data = (at + name_size, blob[at + name_size:at + name_size + data_size])
                if state == VAR_ADDED:
                    added.append(data)
                elif state == VAR_ADDED_IN_DELETION:
                    in_deletion.append(data)
                break
        at = blob.find(NAME, at + 1)
    if added:
        return added[-1]
    return in_deletion[-1] if in_deletion else None


def decode(record, count):
    """The setting values of a record whose checksum holds, else None."""
    if record is None or len(record) < 16 + 8 * count + 8:
        return None
    if struct.unpack_from("<I", record, 0)[0] != MAGIC:
        return None
    if zlib.crc32(record[:-4]) != struct.unpack_from("<I", record, len(record) - 4)[0]:
        return None
    return list(struct.unpack_from("<%dQ" % count, record, 16))


def boot(vars_path, log):
    m = Machine(ESP, WORK, vars_file=vars_path, keep_vars=True, serial_log=log)
    m.start()
    m.wait_until_drawn(240)
    # The utility empties the key queue while it starts: keys sent at once
    # could be dropped.
    time.sleep(3.0)
    return m


def change_language(m, to_french, gap):
    """Main page, Language row, open the list, two rows down (French) or up
    (English), accept."""
    for key in ["right", "down", "down", "ret"] + (["down", "down"] if to_french else
                                                    ["up", "up"]) + ["ret"]:
        m.key(key)
        time.sleep(gap)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--cuts", type=int, default=10)
    parser.add_argument("--seed", type=int, default=None)
    parser.add_argument("--gap", type=float, default=1.5, help="seconds between keys")
    args = parser.parse_args()
    seed = args.seed if args.seed is not None else int(time.time())
    rng = random.Random(seed)
    names = setting_names()
    language, count = names.index("language"), len(names)
    os.makedirs(WORK, exist_ok=True)
    vars_path = os.path.join(WORK, "power_cut_vars.fd")
    shutil.copyfile(OVMF_VARS, vars_path)
    print("power cuts: seed %d, %d cuts" % (seed, args.cuts))

    failures = 0
    outcomes = {"old": 0, "new": 0, "whole, other change": 0, "damaged or missing": 0}
    for cut in range(args.cuts):
        log = os.path.join(WORK, "power_cut_%d.serial.log" % cut)
        before = decode(live_record(vars_path), count)
        m = boot(vars_path, log)
        damaged_before = live_record(vars_path) is not None and before is None
        if damaged_before and DAMAGED_NOTICE not in m.serial_text():
            print("cut %d: the record was damaged but the boot gave no notice" % cut)
            failures += 1
        current = before[language] if before else 0
        change_language(m, current != 2, args.gap)
        m.key("f10")
        time.sleep(args.gap)
        # The cut lands at a random moment from just before Yes is pressed to
        # a little after the reset: the save itself takes a fraction of a
        # second, so most cuts fall in the first half second.
        delay = rng.uniform(0.0, 0.5) if rng.random() < 0.7 else rng.uniform(0.0, 3.0)
        cutter = threading.Timer(delay, m.process.kill)
        cutter.start()
        try:
            m.key("y")
        except Exception:  # the cut came while the key was being sent
            pass
        cutter.join()
        m.process.wait()
        m.process = None
        m.qmp = None
        m.stop()
        after = decode(live_record(vars_path), count)
        if after is None:
            outcome = "damaged or missing"
        elif before is not None and after == before:
            outcome = "old"
        else:
            expected = list(before) if before else None
            if expected is not None:
                expected[language] = 0 if current == 2 else 2
            if expected is None and after[language] in (0, 2):
                outcome = "new"  # the first save: nothing older to compare with
            elif after == expected:
                outcome = "new"
            else:
                # A whole record (its checksum holds) that is neither: the
                # keys landed elsewhere (a key lost while QEMU was busy), so
                # something else was saved. Whole records are never a mix.
                outcome = "whole, other change"
        print("cut %d at %.2f s from Yes: %s (language %s -> %s)" %
              (cut, delay, outcome, before[language] if before else "-",
               after[language] if after else "-"))
        if outcome == "whole, other change":
            print("  settings that changed: " + ", ".join(
                "%s %d -> %d" % (names[i], before[i], after[i])
                for i in range(count) if before[i] != after[i]))
        outcomes[outcome] += 1
        # Now and then the record is damaged by hand: the next boot must fall
        # back to the defaults and say so on the serial port.
        if outcome != "damaged or missing" and rng.random() < 0.2 and damage_record(vars_path):
            print("  record damaged by hand before the next boot")

    # The boot after the last cut must come up as well.
    damaged = live_record(vars_path) is not None and decode(live_record(vars_path), count) is None
    m = boot(vars_path, os.path.join(WORK, "power_cut_final.serial.log"))
    if damaged and DAMAGED_NOTICE not in m.serial_text():
        print("the record was damaged but the last boot gave no notice")
        failures += 1
    m.stop()
    print("power cuts: %d cuts, %s; %d failed" %
          (args.cuts, ", ".join("%s %d" % kv for kv in outcomes.items()), failures))
    print("%d passed, %d failed" % (args.cuts - failures, failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
