#!/usr/bin/env python3
"""Runs every tests/scenarios/*.sim script through quorvex-sim and checks the
result against the script's own expectations, given in `#!` lines (the
simulator reads them as comments):

  #! args: ARG...        extra command-line arguments
  #! no-script           run without --script (the arguments alone)
  #! settings: LINE      a line of a settings file passed with --settings
  #! status: N           the exit status (default 0)
  #! stdout: TEXT        TEXT must appear in the standard output
  #! stderr: TEXT        TEXT must appear in the standard error
  #! trace: LINE         LINE must be a line of trace.txt; several `trace:`
                         lines must appear in this order
  #! trace-last: LINE    the last line of trace.txt
  #! png: NAME           the run must have written NAME.png
  #! same-png: A B       A.png and B.png (paths under the output directory)
                         have the same size and the same pixels
  #! no-file: PATH       the run must not have written PATH
  #! absent: TEXT        TEXT appears in none of stdout, stderr and trace.txt
  #! deterministic       a second run must give byte-identical outputs

Every run gets --trace and its own --out directory under --out.
"""
import argparse
import filecmp
import os
import shlex
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(
    os.path.abspath(__file__)))), "scripts"))
import pngread  # noqa: E402

TIMEOUT_SECONDS = 180


# Expectation keys: those given once (with how their value is read) and
# those that may repeat (collected in order).
SINGLE = {"no-script": lambda v: True, "status": int, "trace-last": str,
          "deterministic": lambda v: True}
REPEATED = {"args": shlex.split, "settings": lambda v: [v], "stdout": lambda v: [v],
            "stderr": lambda v: [v], "trace": lambda v: [v], "png": lambda v: [v],
            "same-png": lambda v: [v.split()], "no-file": lambda v: [v],
            "absent": lambda v: [v]}


def parse_expectations(path):
    exp = {"no-script": False, "status": 0, "trace-last": None, "deterministic": False}
    exp.update({key: [] for key in REPEATED})
    with open(path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            if not line.startswith("#!"):
                continue
            key, _, value = line[2:].strip().partition(":")
            key, value = key.strip(), value.strip()
            if key in SINGLE:
                exp[key] = SINGLE[key](value)
            elif key in REPEATED:
                exp[key] += REPEATED[key](value)
            else:
                raise ValueError(f"{path}:{number}: unknown expectation '{key}'")
            if key == "same-png" and len(exp[key][-1]) != 2:
                raise ValueError(f"{path}:{number}: same-png needs two names")
    return exp


def run_once(sim, script, exp, out_dir):
    if os.path.exists(out_dir):
        shutil.rmtree(out_dir)
    os.makedirs(out_dir)
    command = [sim, "--trace", "--out", out_dir]
    if exp["settings"]:
        settings = os.path.join(out_dir, "settings.txt")
        with open(settings, "w", encoding="utf-8") as f:
            f.write("\n".join(exp["settings"]) + "\n")
        command += ["--settings", settings]
    if not exp["no-script"]:
        command += ["--script", script]
    command += exp["args"]
    env = dict(os.environ)
    env.setdefault("ASAN_OPTIONS", "detect_leaks=1")
    return subprocess.run(command, capture_output=True, text=True, timeout=TIMEOUT_SECONDS,
                          env=env, cwd=os.path.dirname(script))


def check(script, exp, result, out_dir):
    problems = []
    if result.returncode != exp["status"]:
        problems.append(f"exit status {result.returncode}, expected {exp['status']}")
    for stream in ("stdout", "stderr"):
        problems += [f"{stream} lacks '{text}'" for text in exp[stream]
                     if text not in getattr(result, stream)]
    trace_path = os.path.join(out_dir, "trace.txt")
    trace = []
    if os.path.exists(trace_path):
        with open(trace_path, encoding="utf-8") as f:
            trace = f.read().splitlines()
    position = 0
    for line in exp["trace"]:
        try:
            position = trace.index(line, position) + 1
        except ValueError:
            problems.append(f"trace lacks '{line}' (in order)")
            break
    if exp["trace-last"] is not None:
        last = trace[-1] if trace else "<empty trace>"
        if last != exp["trace-last"]:
            problems.append(f"trace ends with '{last}', expected '{exp['trace-last']}'")
    for name in exp["png"]:
        if not os.path.exists(os.path.join(out_dir, name + ".png")):
            problems.append(f"{name}.png not written")
    for a, b in exp["same-png"]:
        difference = png_difference(os.path.join(out_dir, a + ".png"),
                                    os.path.join(out_dir, b + ".png"))
        if difference:
            problems.append(f"{a}.png and {b}.png differ: {difference}")
    for text in exp["absent"]:
        for where, content in (("stdout", result.stdout), ("stderr", result.stderr),
                               ("trace.txt", "\n".join(trace))):
            if text in content:
                problems.append(f"'{text}' appears in {where}")
    for name in exp["no-file"]:
        if os.path.exists(os.path.join(out_dir, name)):
            problems.append(f"{name} was written")
    return problems


def output_files(out_dir):
    """Every file under out_dir (screenshots/ included), relative, sorted."""
    found = []
    for folder, _, files in os.walk(out_dir):
        found += [os.path.relpath(os.path.join(folder, f), out_dir) for f in files]
    return sorted(found)


def png_difference(path_a, path_b):
    """None when both pictures have the same size and pixels, else why not."""
    try:
        a, b = pngread.read(path_a), pngread.read(path_b)
    except (OSError, pngread.PngError) as error:
        return str(error)
    if (a.width, a.height, a.channels) != (b.width, b.height, b.channels):
        return (f"{a.width}x{a.height}x{a.channels} against "
                f"{b.width}x{b.height}x{b.channels}")
    for y in range(a.height):
        if a.row(y) != b.row(y):
            x = next(i for i in range(a.width) if a.pixel(i, y) != b.pixel(i, y))
            return f"first at ({x}, {y}): {a.pixel(x, y):06X} against {b.pixel(x, y):06X}"
    return None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sim", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--filter", default="", help="run only scripts whose name contains this")
    args = parser.parse_args()

    here = os.path.dirname(os.path.abspath(__file__))
    sim = os.path.abspath(args.sim)
    scripts = sorted(f for f in os.listdir(here) if f.endswith(".sim") and args.filter in f)
    failed = 0
    for name in scripts:
        script = os.path.join(here, name)
        out_dir = os.path.join(os.path.abspath(args.out), name[:-4])
        try:
            exp = parse_expectations(script)
            result = run_once(sim, script, exp, out_dir)
            problems = check(script, exp, result, out_dir)
            if not problems and exp["deterministic"]:
                again = out_dir + ".again"
                run_once(sim, script, exp, again)
                for entry in output_files(out_dir):
                    if entry == "settings.txt":
                        continue
                    other = os.path.join(again, entry)
                    if not os.path.exists(other) or not filecmp.cmp(
                            os.path.join(out_dir, entry), other, shallow=False):
                        problems.append(f"{entry} differs between two runs")
        except subprocess.TimeoutExpired:
            problems = [f"no end after {TIMEOUT_SECONDS} s"]
            result = None
        except ValueError as error:
            problems = [str(error)]
            result = None
        if problems:
            failed += 1
            print(f"FAIL {name}: " + "; ".join(problems))
            if result is not None and result.stderr:
                # The pool report of --trace says little about a failure.
                lines = [l for l in result.stderr.strip().splitlines()
                         if not l.startswith("  block #")]
                tail = lines[-15:]
                print("  stderr: " + "\n  stderr: ".join(tail))
        else:
            print(f"ok   {name}")
    print(f"{len(scripts) - failed} of {len(scripts)} scenarios passed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
