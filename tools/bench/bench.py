#!/usr/bin/env python3
"""`make bench`: what the scripted interactions of interactions.sim cost.

Builds an optimised simulator without sanitizers (build/bench, linked
statically; --dynamic builds the ordinary shared-library one in
build/bench-dynamic instead), then runs the script twice with QUORVEX_SIM_BENCH set, which makes the simulator mark every
point where the utility waits for input:
  - natively, with a screenshot at every mark: pixels written to the screen
    per input (the fake GOP's count), pixels that really changed (the
    screenshots before and after compared), the pool's peak per input;
  - under callgrind, which dumps the instruction count at every mark, so one
    dump holds exactly one input's cost. The fake firmware's own pool
    bookkeeping (AllocatePool, FreePool, AllocatePages, FreePages, whole
    calls) is subtracted; its fill of new blocks is off in this mode anyway.
Start-up also shows the dynamic loader's own share (its relocations and
symbol look-ups; the UEFI image has no loader).
Then, unless --no-qemu, the key latency in QEMU of a tab move against a
trivial UEFI application (qemu_latency.py), and the host processor time of
the setup left alone against OVMF's own front page (qemu_idle.py); both need
QEMU, OVMF and make esp.
Prints one table. --json FILE also writes the figures for comparisons.
"""
import argparse
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(ROOT, "scripts"))
sys.path.insert(0, HERE)
import pngread  # noqa: E402
import qemu_idle  # noqa: E402
import qemu_latency  # noqa: E402

POOL_BOOKKEEPING = re.compile(
    r"^fake::detail::.*::(AllocatePool|FreePool|AllocatePages|FreePages)\(")


# An optimised simulator without sanitizers. Like the UEFI image (one static
# image: nothing to load, relocate or bind), it is linked statically and
# without the window library (SDL2 and the ~50 shared libraries it pulls in),
# so that start-up is not dominated by the dynamic loader; the loader's share
# is still reported apart. It is compiled by clang, the compiler of the UEFI
# image, so that the loops are vectorised as they are there.
BENCH_CONFIG = ["-DCMAKE_C_COMPILER=clang", "-DCMAKE_CXX_COMPILER=clang++",
                "-DCMAKE_BUILD_TYPE=Release", "-DQUORVEX_SANITIZE=OFF",
                "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -g1 -gdwarf-4",
                "-DCMAKE_C_FLAGS_RELEASE=-O2 -g1 -gdwarf-4",
                "-DCMAKE_DISABLE_FIND_PACKAGE_SDL2=ON", "-DCMAKE_EXE_LINKER_FLAGS=-static"]


def build(build_dir, config=None):
    config = BENCH_CONFIG if config is None else config
    stamp = os.path.join(build_dir, "bench-config.txt")
    wanted = "\n".join(config) + "\n"
    have = None
    if os.path.exists(stamp):
        with open(stamp, encoding="utf-8") as f:
            have = f.read()
    if have != wanted or not os.path.exists(os.path.join(build_dir, "build.ninja")):
        # A tree configured otherwise is configured afresh.
        if os.path.exists(os.path.join(build_dir, "CMakeCache.txt")):
            os.remove(os.path.join(build_dir, "CMakeCache.txt"))
            shutil.rmtree(os.path.join(build_dir, "CMakeFiles"), ignore_errors=True)
        subprocess.run(["cmake", "-S", ROOT, "-B", build_dir, "-G", "Ninja"] + config,
                       check=True, stdout=subprocess.DEVNULL)
        with open(stamp, "w", encoding="utf-8") as f:
            f.write(wanted)
    subprocess.run(["cmake", "--build", build_dir, "--target", "quorvex-sim"], check=True,
                   stdout=subprocess.DEVNULL)
    return os.path.join(build_dir, "quorvex-sim")


def read_script(path):
    """The script's lines, and for each input (in order) its bench name or None."""
    lines, names, pending = [], [], None
    with open(path, encoding="utf-8") as f:
        for line in f:
            text = line.strip()
            if text.startswith("# bench:"):
                pending = text[len("# bench:"):].strip()
                continue
            if not text or text.startswith("#"):
                continue
            lines.append(text)
            names.append(pending)
            pending = None
    return lines, names


def read_marks(path):
    marks = []
    with open(path, encoding="utf-8") as f:
        for line in f:
            fields = dict(p.split("=") for p in line.split()[2:])
            marks.append({k: int(v) for k, v in fields.items()})
    return marks


def changed_pixels(a_path, b_path):
    a, b = pngread.read(a_path), pngread.read(b_path)
    if (a.width, a.height) != (b.width, b.height):
        return a.width * a.height
    changed = 0
    step = a.channels
    for y in range(a.height):
        ra, rb = a.row(y), b.row(y)
        if ra == rb:
            continue
        for x in range(0, len(ra), step):
            if ra[x:x + step] != rb[x:x + step]:
                changed += 1
    return changed


# Valgrind counts every round of a rep-prefixed string instruction as one
# instruction, so glibc's memcpy and memset, which switch to rep movsb and rep
# stosb above a few KiB, would count one instruction per byte for every large
# copy or fill (the ones a firmware does with wide moves). glibc is told to
# keep to its vector loops instead; --rep-strings counts with them.
NO_REP_STRINGS = ("glibc.cpu.x86_rep_movsb_threshold=1099511627776:"
                  "glibc.cpu.x86_rep_stosb_threshold=1099511627776")


def bench_env(marks_path, rep_strings=False):
    env = dict(os.environ, QUORVEX_SIM_BENCH=marks_path)
    if not rep_strings:
        env["GLIBC_TUNABLES"] = NO_REP_STRINGS
    return env


def native_run(sim, lines, work, args):
    """Pixels written, pool peak and pixels changed per mark."""
    script = []
    for i, line in enumerate(lines):
        script += [f"shot m{i:03d}", line]
    script.append(f"shot m{len(lines):03d}")
    path = os.path.join(work, "native.sim")
    with open(path, "w", encoding="utf-8") as f:
        f.write("\n".join(script) + "\n")
    marks_path = os.path.join(work, "native.marks")
    env = bench_env(marks_path)
    out = os.path.join(work, "native")
    subprocess.run([sim, "--script", path, "--out", out] + args, check=True, env=env,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    marks = read_marks(marks_path)
    for i in range(1, min(len(marks), len(lines) + 1)):
        marks[i]["changed"] = changed_pixels(os.path.join(out, f"m{i - 1:03d}.png"),
                                             os.path.join(out, f"m{i:03d}.png"))
    return marks


def is_loader(function, obj):
    """The dynamic loader's work: its own object, or glibc's _dl_ functions
    (which a static binary carries for its own start-up relocations)."""
    return "/ld-linux" in obj or function.startswith("_dl_")


def parse_callgrind(path, names):
    """Total Ir of one dump, the inclusive Ir of the pool bookkeeping and the
    self Ir of the dynamic loader. names maps compressed ids to names across
    the dumps of one run (functions and objects apart)."""
    total, excluded, loader = 0, 0, 0
    current, target, in_call = None, None, False
    current_loader = False
    obj = ""
    name_re = re.compile(r"^(c?fn|c?ob)=\((\d+)\)(?: (.*))?$")
    with open(path, encoding="utf-8", errors="replace") as f:
        for line in f:
            if in_call:
                in_call = False
                cost = line.split()
                if (len(cost) > 1 and POOL_BOOKKEEPING.match(names.get(target, ""))
                        and not POOL_BOOKKEEPING.match(names.get(current, ""))):
                    excluded += int(cost[1])
                continue
            m = name_re.match(line.rstrip("\n"))
            if m:
                kind, ident, name = m.groups()
                key = ident if kind.endswith("fn") else "ob" + ident
                if name:
                    names[key] = name
                if kind == "fn":
                    current = ident
                    current_loader = is_loader(names.get(ident, ""), obj)
                elif kind == "ob":
                    obj = names.get(key, "")
                elif kind == "cfn":
                    target = ident
                continue
            if line.startswith("calls="):
                in_call = True
            elif line.startswith("summary:"):
                total = int(line.split()[1])
            elif current_loader and line[:1] in "0123456789+-*":
                cost = line.split()
                if len(cost) > 1:
                    loader += int(cost[1])
    return total, excluded, loader


def callgrind_run(sim, lines, work, args, rep_strings=False):
    path = os.path.join(work, "callgrind.sim")
    with open(path, "w", encoding="utf-8") as f:
        f.write("\n".join(lines) + "\n")
    out_file = os.path.join(work, "cg.out")
    env = bench_env(os.path.join(work, "cg.marks"), rep_strings)
    subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=" + out_file,
                    sim, "--script", path, "--out", os.path.join(work, "cg")] + args,
                   check=True, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    parts = sorted(glob.glob(out_file + ".*"), key=lambda p: int(p.rsplit(".", 1)[1]))
    marks = read_marks(os.path.join(work, "cg.marks"))
    if len(parts) != len(marks):
        sys.exit(f"bench: {len(parts)} callgrind dumps for {len(marks)} measuring points")
    names, costs, loader = {}, [], []
    for part in parts:
        total, excluded, loaded = parse_callgrind(part, names)
        costs.append(total - excluded)
        loader.append(loaded)
    return costs, loader


def latency_in_qemu(reps):
    """The QEMU latency figures (None when not measured), the lines that
    report them, and whether the measurement ran and failed."""
    reason = qemu_latency.unavailable()
    if reason is not None:
        return None, [f"QEMU latency ratio: not measured ({reason})"], False
    try:
        figures = qemu_latency.summary(*qemu_latency.run(reps))
    except (qemu_latency.LatencyError, qemu_latency.MachineError, AssertionError) as e:
        return None, [f"QEMU latency ratio: not measured (failed: {e})"], True
    return figures, qemu_latency.ratio_lines(figures), False


def idle_in_qemu():
    """The idle processor figures (None when not measured), their lines, and
    whether the measurement ran and failed."""
    reason = qemu_idle.unavailable()
    if reason is not None:
        return None, [f"QEMU idle CPU ratio: not measured ({reason})"], False
    try:
        figures = qemu_idle.run()
    except (qemu_idle.IdleError, qemu_idle.MachineError) as e:
        return None, [f"QEMU idle CPU ratio: not measured (failed: {e})"], True
    return figures, qemu_idle.lines(figures), False


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", default=os.path.join(ROOT, "build", "bench"))
    parser.add_argument("--script", default=os.path.join(HERE, "interactions.sim"))
    parser.add_argument("--json", help="also write the figures here")
    parser.add_argument("--keep", help="keep the work files in this directory")
    parser.add_argument("--rep-strings", action="store_true",
                        help="let glibc copy and fill with rep movsb / rep stosb (counted "
                        "per byte by callgrind)")
    parser.add_argument("--dynamic", action="store_true",
                        help="link as the ordinary simulator (shared libraries, window "
                        "library) in BUILD_DIR-dynamic, to see what the loader costs")
    parser.add_argument("--no-qemu", action="store_true",
                        help="leave out the key latency in QEMU")
    parser.add_argument("--qemu-reps", type=int, default=20,
                        help="keys per machine for the QEMU latency (default 20)")
    args = parser.parse_args()
    if shutil.which("valgrind") is None:
        sys.exit("bench: valgrind is not installed")
    if args.dynamic:
        sim = build(args.build_dir + "-dynamic", BENCH_CONFIG[:4])
    else:
        sim = build(args.build_dir)
    lines, names = read_script(args.script)
    work = args.keep or tempfile.mkdtemp(prefix="quorvex-bench-")
    os.makedirs(work, exist_ok=True)
    try:
        marks = native_run(sim, lines, work, [])
        costs, loader = callgrind_run(sim, lines, work, [], args.rep_strings)
    finally:
        if not args.keep:
            shutil.rmtree(work, ignore_errors=True)
    # Mark 0 closes start-up; mark i closes input i.
    rows = [("start-up to first key read", 0)]
    if loader and loader[0]:
        rows.append(("  of which the dynamic loader", None))
    rows += [(name, i + 1) for i, name in enumerate(names) if name]
    figures = {}
    print(f"{'interaction':32} {'instructions':>14} {'px written':>11} {'px changed':>11}"
          f" {'pool peak':>11}")
    for name, i in rows:
        if i is None:
            mark, cost = {}, loader[0]
        else:
            mark = marks[i] if i < len(marks) else {}
            cost = costs[i] if i < len(costs) else None
        row = {"instructions": cost, "written": mark.get("pixels"),
               "changed": mark.get("changed"), "peak": mark.get("peak")}
        figures[name] = row

        def cell(v, width):
            return f"{v:>{width},}" if v is not None else f"{'-':>{width}}"
        print(f"{name:32} {cell(cost, 14)} {cell(row['written'], 11)} "
              f"{cell(row['changed'], 11)} {cell(row['peak'], 11)}")
    print("instructions: callgrind, whole process, fake pool bookkeeping left out; "
          "pool peak in bytes while the input was handled")
    # The largest pool peak of every input of the script, named or not.
    peaks = [(m.get("peak"), i) for i, m in enumerate(marks) if m.get("peak") is not None]
    if peaks:
        peak, i = max(peaks)
        what = "start-up" if i == 0 else f"input {i}: {lines[i - 1]}"
        figures["largest pool peak"] = {"peak": peak, "input": what}
        print(f"largest pool peak of any input: {peak:,} bytes ({what})")
    failed = False
    if args.no_qemu:
        print("QEMU latency ratio: not measured (--no-qemu)")
    else:
        figures["qemu latency"], lines, failed = latency_in_qemu(args.qemu_reps)
        print("\n".join(lines))
        figures["qemu idle"], lines, idle_failed = idle_in_qemu()
        print("\n".join(lines))
        failed = failed or idle_failed
    if args.json:
        with open(args.json, "w", encoding="utf-8") as f:
            json.dump(figures, f, indent=1)
    if failed:
        sys.exit(1)


if __name__ == "__main__":
    main()
