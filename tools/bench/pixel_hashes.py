#!/usr/bin/env python3
"""Hash list of everything the simulator draws and traces, for proving that
a change to the drawing code leaves every pixel as it was.

Runs every tests/scenarios/*.sim (with its own `#!` arguments and settings)
and a sweep in each language and two screen modes: every page with its help
window and questions, and each of the first items of every page highlighted,
opened with Enter and closed with Esc (one run per item, so that an item
that leaves the utility cannot cut the sweep short). Writes one line per
screenshot and trace: sha256 and path.

  pixel_hashes.py --sim SIM --out DIR [--list FILE] [--compare FILE]

--compare prints the files whose hash differs from the older list (or is
missing from either) and exits 1 when there is any.
"""
import argparse
import concurrent.futures
import hashlib
import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(ROOT, "tests", "scenarios"))
import run_scenarios  # noqa: E402

MODES = ("1024x768", "1280x1024")
LANGUAGES = (0, 1, 2)
PAGES = 5
ITEMS_PER_PAGE = 10


def page_script():
    """Every page with its tab highlighted and with the focus, the help
    window (and its next page), the F9 and F10 questions, a clock tick."""
    lines = ["time 2026-03-04 05:06:07", "shot start", "tick 1", "shot tick"]
    for page in range(PAGES):
        lines += [f"shot p{page}_tab", "key right", f"shot p{page}_focus", "key pgdn",
                  f"shot p{page}_pgdn", "key pgup", "key f1", f"shot p{page}_help", "key pgdn",
                  f"shot p{page}_help_pgdn", "key esc", "key f9", f"shot p{page}_f9", "key esc",
                  "key f10", f"shot p{page}_f10", "key esc", "key left", "key down"]
    return "\n".join(lines) + "\n"


def item_script(page, item):
    """One item of one page highlighted, opened with Enter, closed with Esc."""
    lines = ["key down"] * page + ["key right"] + ["key down"] * item
    lines += ["shot highlighted", "key enter", "shot entered", "key esc", "shot esc", "quit"]
    return "\n".join(lines) + "\n"


def run(sim, script, args, out_dir):
    os.makedirs(out_dir, exist_ok=True)
    command = [sim, "--trace", "--out", out_dir] + args
    if script:
        command += ["--script", script]
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=600)


def collect(sim, out):
    out = os.path.abspath(out)
    scenarios = os.path.join(ROOT, "tests", "scenarios")
    for name in sorted(os.listdir(scenarios)):
        if not name.endswith(".sim"):
            continue
        path = os.path.join(scenarios, name)
        exp = run_scenarios.parse_expectations(path)
        run_scenarios.run_once(sim, path, exp, os.path.join(out, "scenarios", name[:-4]))
    scripts = {"pages": page_script()}
    for page in range(PAGES):
        for item in range(ITEMS_PER_PAGE):
            scripts[f"p{page}_i{item}"] = item_script(page, item)
    os.makedirs(os.path.join(out, "scripts"), exist_ok=True)
    for name, text in scripts.items():
        with open(os.path.join(out, "scripts", name + ".sim"), "w", encoding="utf-8") as f:
            f.write(text)
    jobs = []
    for mode in MODES:
        for language in LANGUAGES:
            config = f"{mode}_lang{language}"
            settings = os.path.join(out, "scripts", f"lang{language}.txt")
            with open(settings, "w", encoding="utf-8") as f:
                f.write(f"language = {language}\n")
            for name in scripts:
                jobs.append((os.path.join(out, "scripts", name + ".sim"),
                             ["--mode", mode, "--settings", settings],
                             os.path.join(out, "sweep", config, name)))
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count() or 2) as pool:
        list(pool.map(lambda job: run(sim, *job), jobs))
    hashes = {}
    for folder, _, files in os.walk(out):
        for f in files:
            if f.endswith(".png") or f == "trace.txt":
                full = os.path.join(folder, f)
                with open(full, "rb") as data:
                    hashes[os.path.relpath(full, out)] = hashlib.sha256(data.read()).hexdigest()
    return hashes


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sim", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--list", help="write the hash list here")
    parser.add_argument("--compare", help="an earlier hash list")
    args = parser.parse_args()
    hashes = collect(os.path.abspath(args.sim), args.out)
    text = "".join(f"{h}  {p}\n" for p, h in sorted(hashes.items()))
    if args.list:
        with open(args.list, "w", encoding="utf-8") as f:
            f.write(text)
    print(f"{len(hashes)} files hashed")
    if args.compare:
        old = {}
        with open(args.compare, encoding="utf-8") as f:
            for line in f:
                h, p = line.rstrip("\n").split("  ", 1)
                old[p] = h
        bad = sorted(p for p in set(old) | set(hashes) if old.get(p) != hashes.get(p))
        for p in bad:
            print(f"differs: {p}")
        print(f"{len(set(old) & set(hashes))} compared, {len(bad)} differ")
        return 1 if bad else 0
    return 0


if __name__ == "__main__":
    sys.exit(main())
