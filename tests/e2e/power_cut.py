#!/usr/bin/env python3
"""Power cuts during a save: boots build/esp in QEMU on one persistent OVMF
variable store, changes the display language (English <-> French), presses
F10 and Yes, and kills QEMU at a random moment of the save and reset. After
every cut the settings record in the variable store must be the old one or
the new one, whole (never a mix of the two), or be damaged or missing; the
next boot must bring the utility up, with the serial-port notice when the
record was damaged.

  power_cut.py [--cuts N] [--seed S]      (make power-cuts [POWER_CUTS=N])
"""
import argparse
import os
import random
import re
import shutil
import struct
import sys
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


def setting_index(name):
    rows = [m.group(1) for m in
            (re.match(r"^SETTING\((\w+),", l.strip()) for l in open(SCHEMA, encoding="utf-8"))
            if m]
    return rows.index(name), len(rows)


def live_record(vars_path):
    """The data of the live QuorvexSettings variable in an OVMF variable store
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
                data = blob[at + name_size:at + name_size + data_size]
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
    language, count = setting_index("language")
    os.makedirs(WORK, exist_ok=True)
    vars_path = os.path.join(WORK, "power_cut_vars.fd")
    shutil.copyfile(OVMF_VARS, vars_path)
    print("power cuts: seed %d, %d cuts" % (seed, args.cuts))

    failures = 0
    outcomes = {"old": 0, "new": 0, "damaged or missing": 0}
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
        m.key("y")
        # Most cuts within the first moments after Yes, where the save runs.
        delay = rng.uniform(0.0, 0.8) if rng.random() < 0.6 else rng.uniform(0.0, 4.0)
        time.sleep(delay)
        m.process.kill()
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
                outcome = "mix"
        print("cut %d at %.2f s after Yes: %s (language %s -> %s)" %
              (cut, delay, outcome, before[language] if before else "-",
               after[language] if after else "-"))
        if outcome == "mix":
            failures += 1
        else:
            outcomes[outcome] += 1

    # The last boot after the last cut must come up as well.
    m = boot(vars_path, os.path.join(WORK, "power_cut_final.serial.log"))
    m.stop()
    print("power cuts: %d cuts, %s; %d failed" %
          (args.cuts, ", ".join("%s %d" % kv for kv in outcomes.items()), failures))
    print("%d passed, %d failed" % (args.cuts - failures, failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
