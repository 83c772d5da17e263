"""The utility's folders are layers: a folder includes its own headers and the
headers of lower layers only, so a change low down never needs anything from
above and a reader can follow the code bottom up. The reference platform sees
only what a vendor's firmware would (our UEFI declarations, the settings
schema, the pictures), and the fake firmware of the simulator knows nothing of
the utility it runs. Reads every #include line and names each one that
reaches up."""

import glob
import os
import re
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))

# Folder -> rank. Folders of equal rank may not include each other.
RANK = {
    "platform": 0,
    "setup_data": 1,
    "assets": 1,
    "graphics": 2,
    "input": 3,
    "pages": 4,
    "core": 5,
}

# Folders outside the utility and what each may include besides itself.
ALLOWED = {
    "reference_platform": {"platform", "setup_data", "assets"},
}

# Files of the simulator's fake firmware: it may include only our UEFI
# declarations (and its own headers); the simulator's main program wires the
# utility to it.
FAKE_FIRMWARE_GLOB = "host/fake_*"
FAKE_FIRMWARE_ALLOWED = {"platform"}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def includes(path):
    with open(path, encoding="utf-8") as f:
        return INCLUDE.findall(f.read())


def folder_of(include):
    return include.split("/", 1)[0] if "/" in include else None


def violations():
    found = []
    for folder in list(RANK) + list(ALLOWED):
        for path in sorted(glob.glob(os.path.join(ROOT, folder, "*.*"))):
            if not path.endswith((".cpp", ".h", ".inc")):
                continue
            for inc in includes(path):
                target = folder_of(inc)
                if target is None or target == folder:
                    continue
                if folder in RANK:
                    ok = target in RANK and RANK[target] < RANK[folder]
                else:
                    ok = target in ALLOWED[folder]
                if not ok:
                    found.append(f"{os.path.relpath(path, ROOT)}: {inc}")
    for path in sorted(glob.glob(os.path.join(ROOT, FAKE_FIRMWARE_GLOB))):
        for inc in includes(path):
            target = folder_of(inc)
            if target not in (None, "host") and target not in FAKE_FIRMWARE_ALLOWED:
                found.append(f"{os.path.relpath(path, ROOT)}: {inc}")
    return found


class LayersTest(unittest.TestCase):
    def test_no_include_reaches_up(self):
        found = violations()
        self.assertEqual(found, [], "includes that reach up:\n" + "\n".join(found))

    def test_checker_sees_a_violation(self):
        # The pattern must match the include style the sources use.
        self.assertEqual(INCLUDE.findall('#include "pages/pages.h"\n'), ["pages/pages.h"])
        self.assertEqual(folder_of("core/startup.h"), "core")


if __name__ == "__main__":
    for line in violations():
        print(line)
