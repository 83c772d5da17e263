"""Every #include that reaches up a layer: a folder includes its own headers
and lower layers only; the reference platform and the simulator's fake
firmware see only the declarations a vendor's firmware would."""

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
    # The setup image inside the firmware joins the platform and the utility.
    "firmware": {"platform", "reference_platform", "core"},
}

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


if __name__ == "__main__":
    for line in violations():
        print(line)
