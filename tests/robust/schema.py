"""The settings the simulator's --settings file can set, read from the
settings schema: (name, min, max) for every stored setting that is not a
value text, and "<name>_present" (0..1) for every setting with a presence
operation."""
import os
import re

HERE = os.path.dirname(os.path.abspath(__file__))
SCHEMA = os.path.join(HERE, "..", "..", "setup_data", "settings_schema.inc")


def settable(schema_path=SCHEMA):
    rows = []
    pattern = re.compile(r"^SETTING\((\w+),\s*(-?\d+),\s*(-?\d+),\s*(-?\d+),\s*(\w+),\s*(\w+),"
                         r"\s*(\w+),\s*(\w+)\)")
    with open(schema_path, encoding="utf-8") as f:
        for line in f:
            m = pattern.match(line.strip())
            if not m:
                continue
            name, _get, _set, presence, kind, low, high, _default = m.groups()
            if kind == "TEXT":
                continue
            rows.append((name, int(low, 0), int(high, 0)))
            if int(presence) >= 0:
                rows.append((name + "_present", 0, 1))
    return rows
