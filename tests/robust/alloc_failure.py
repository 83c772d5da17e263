#!/usr/bin/env python3
"""Scripted sessions run once to count their pool allocations, then once
for every N with the Nth allocation refused. No run may crash, hang or trip
a sanitizer; each goes on to its leave operation, or ends with the entry
point's error status when the refused allocation was one start-up needs;
the pool holds no more blocks at the end than without a failure.

  alloc_failure.py --sim build/host/quorvex-sim [--out DIR] [--jobs N]
                   [--session NAME] [--nth N]
"""
import argparse
import concurrent.futures
import os
import re
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sim_run  # noqa: E402

SESSIONS = {
    "startup": ["key esc", "key enter"],
    "pages": ["key down", "key right", "key down", "key down", "key left", "key down",
              "key right", "key down 3", "key left", "key down", "key right", "key down 4",
              "key left", "key down", "key right", "key down", "key left", "key up 4",
              "key esc", "key enter"],
    "windows": ["key f1", "key esc", "key f9", "key esc", "key f10", "key esc",
                "key down", "key right", "key enter", "type abc", "key esc", "key esc",
                "key left", "key down 2", "key right", "key enter", "key esc", "key left",
                "key esc", "key esc", "key enter"],
    "save": ["key down 2", "key right", "key enter", "key down", "key enter", "key left",
             "key f10", "key enter"],
    "pointer": ["click 200 345", "click 200 425", "touch 200 505", "click 600 300",
                "click 600 300", "key esc", "key esc", "key enter"],
}


# A refused allocation may keep a window from opening, so keys can land
# elsewhere; a restart rebuilds the screen from any state, then Esc, Yes leaves.
EPILOGUE = ["restart", "key esc", "key enter"]


def script(name):
    return SESSIONS[name] + EPILOGUE


def run_one(sim, name, nth, out_root):
    out = os.path.join(out_root, "%s-%d" % (name, nth))
    run = sim_run.run_sim(sim, script(name), extra=["--fail-alloc", str(nth)], out_dir=out,
                          timeout=90)
    return name, nth, run


def judge(run, baseline):
    faults = sim_run.problems(run, allowed_status=(0, 1), max_outstanding=baseline.outstanding)
    if run.status == 1 and not re.search(r"(entry|platform) returned 0x8", run.stdout):
        faults.append("exit status 1 without an error status: " + run.stdout.strip())
    left = sim_run.last_operation(run) in sim_run.LEAVE_OPERATIONS
    if run.status == 0 and not left:
        faults.append("the session did not go on to its leave operation")
    return faults


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sim", required=True)
    parser.add_argument("--out", default="/tmp/qvx-alloc")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--session", default=None)
    parser.add_argument("--nth", type=int, default=None)
    args = parser.parse_args()
    sim = os.path.abspath(args.sim)
    out_root = os.path.join(os.path.abspath(args.out), "alloc")
    names = [args.session] if args.session else list(SESSIONS)
    started = time.time()
    failures = []
    total_runs = 0
    refused_at_start = 0
    for name in names:
        baseline = sim_run.run_sim(sim, script(name), out_dir=os.path.join(out_root, name + "-0"))
        total_runs += 1
        base_faults = sim_run.problems(baseline)
        if base_faults or sim_run.last_operation(baseline) not in sim_run.LEAVE_OPERATIONS:
            print("session %s fails without any allocation failure: %s" %
                  (name, "; ".join(base_faults) or "no leave operation"))
            failures.append((name, 0))
            continue
        count = baseline.allocations
        wanted = [args.nth] if args.nth else range(1, count + 1)
        with concurrent.futures.ThreadPoolExecutor(max_workers=args.jobs) as pool:
            results = list(pool.map(lambda n: run_one(sim, name, n, out_root), wanted))
        bad = 0
        for _, nth, run in results:
            total_runs += 1
            faults = judge(run, baseline)
            if run.status == 1:
                refused_at_start += 1
            if faults:
                bad += 1
                failures.append((name, nth))
                if bad <= 5:
                    sim_run.report("session %s, allocation %d refused" % (name, nth), faults, run)
        print("session %s: %d allocations, each refused once: %d runs, %d failed" %
              (name, count, len(results), bad))
    print("allocation failures: %d runs in %.0f s, %d could not start (error status), "
          "%d failed" %
          (total_runs, time.time() - started, refused_at_start, len(failures)))
    print("%d passed, %d failed" % (total_runs - len(failures), len(failures)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
