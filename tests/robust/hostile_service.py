#!/usr/bin/env python3
"""Every hostile setup data service answer the simulator knows
(--hostile-service), each over tours of every page's editors and a save.
Every run must end cleanly (status 0, sanitizers silent, a leave operation
or the script's end); screenshots stay in OUT/hostile/<answer>-<tour>/.

  hostile_service.py --sim build/host/quorvex-sim [--out DIR] [--answer NAME]
"""
import argparse
import concurrent.futures
import os
import re
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sim_run  # noqa: E402

TOURS = {
    "main": ["shot main", "key right", "key enter", "shot clock", "type 1", "key right",
             "type 2", "key esc", "key down 2", "key enter", "shot language", "key down",
             "key enter", "shot language_chosen"],
    "security": ["key down", "key right", "key enter", "type abcdefghijklmnopqrstuvwxyz0123456789",
                 "shot password", "key enter", "type abc", "key enter", "shot password_confirm",
                 "key esc"],
    "power": ["key down 2", "key right", "key down 10", "shot backlight", "type +++",
              "shot backlight_plus", "type ----", "shot backlight_minus"],
    "advanced": ["key down 3", "key right", "key down 12", "key enter", "shot boot_order",
                 "type -", "key tab 3", "key enter", "key down", "key enter", "shot sysconfig",
                 "key down 3", "key enter", "shot sysconfig_list", "key esc", "key esc"],
    "save": ["key f9", "shot defaults", "key enter", "key f10", "shot save", "key enter"],
}
# A restart rebuilds the screen from any state; Esc, Yes then leaves.
EPILOGUE = ["restart", "key esc", "key enter"]


def answers(sim):
    text = subprocess.run([sim, "--help"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True).stdout
    m = re.search(r"clock:\s*\n\s*(.*)\n", text)
    return m.group(1).split() if m else []


def run_one(sim, answer, tour, out_root):
    out = os.path.join(out_root, "%s-%s" % (answer, tour))
    run = sim_run.run_sim(sim, TOURS[tour] + EPILOGUE, extra=["--hostile-service", answer],
                          out_dir=out, timeout=90)
    return answer, tour, run


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sim", required=True)
    parser.add_argument("--out", default="/tmp/qvx-hostile")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--answer", default=None)
    args = parser.parse_args()
    sim = os.path.abspath(args.sim)
    out_root = os.path.join(os.path.abspath(args.out), "hostile")
    names = [args.answer] if args.answer else answers(sim)
    if not names:
        print("the simulator names no hostile answers")
        return 1
    started = time.time()
    jobs = [(a, t) for a in names for t in TOURS]
    failures = []
    with concurrent.futures.ThreadPoolExecutor(max_workers=args.jobs) as pool:
        for answer, tour, run in pool.map(lambda j: run_one(sim, j[0], j[1], out_root), jobs):
            faults = sim_run.problems(run)
            if faults:
                failures.append((answer, tour))
                sim_run.report("%s over the %s tour" % (answer, tour), faults, run)
    print("hostile answers: %d answers x %d tours = %d runs in %.0f s, %d failed" %
          (len(names), len(TOURS), len(jobs), time.time() - started, len(failures)))
    print("answers tried: " + " ".join(names))
    print("%d passed, %d failed" % (len(jobs) - len(failures), len(failures)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
