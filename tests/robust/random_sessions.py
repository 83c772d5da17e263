#!/usr/bin/env python3
"""Seeded random simulator sessions: random scripts (keys, characters,
scan codes, clicks, touches, raw pointer states, clock changes, restarts)
over random in-range settings and random supported screen modes. Every
session must exit cleanly, keep the sanitizers silent, end either in a leave
operation or at the script's end, and hold no more pool blocks at the end
than the utility's long-lived ones. A failing seed prints the command that
reproduces it.

  random_sessions.py --sim build/host/quorvex-sim [--budget SECONDS] [--jobs N]
  random_sessions.py --sim ... --seed S [--keep DIR]     one session again
"""
import argparse
import concurrent.futures
import os
import random
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import schema  # noqa: E402
import sim_run  # noqa: E402

KEYS = ["up", "down", "left", "right", "enter", "esc", "tab", "backspace", "pgup", "pgdn",
        "space"] + ["f%d" % i for i in range(1, 13)]
# Modes the utility takes (at least 1024 wide), and narrower ones it must pass over.
MODES = ["1024x768", "1024x600", "1280x800", "1280x1024", "1366x768", "1600x900", "1920x1080",
         "1024x1024", "2048x1536"]
NARROW = ["800x600", "640x480", "1023x768"]
# Long-lived pool blocks a session may still hold when it ends: up to eight
# decoded pictures in the image service's cache, the two font services' cell
# buffers, the platform's own buffers, and the utility's off-screen frame,
# saved screen under a window and cursor backing (14 to 20 seen in sessions).
# More than this is a leak.
MAX_HELD_BLOCKS = 28
TEXT = "abcXYZ019 -_.,@éàüあいう漢字"


def make_session(seed):
    rng = random.Random(seed)
    modes = []
    for _ in range(rng.randint(1, 3)):
        modes.append(rng.choice(MODES) if rng.random() < 0.8 else
                     "%dx%d" % (rng.randint(1024, 2100), rng.randint(600, 1600)))
    if rng.random() < 0.3:
        modes.insert(rng.randrange(len(modes) + 1), rng.choice(NARROW))
    # The chosen mode: the narrowest at least 1024 wide, lowest number first.
    wide = [tuple(map(int, m.split("x"))) for m in modes if int(m.split("x")[0]) >= 1024]
    width = min(w for w, _ in wide)
    height = next(h for w, h in wide if w == width)

    rows = schema.settable()
    settings = []
    for name, low, high in rng.sample(rows, rng.randint(0, len(rows) // 2)):
        settings.append((name, rng.randint(low, high)))

    def point():
        if rng.random() < 0.05:
            return rng.randint(0, 100000), rng.randint(0, 100000)
        return rng.randrange(width), rng.randrange(height)

    lines = []
    for _ in range(rng.randint(20, 160)):
        r = rng.random()
        if r < 0.50:
            key = rng.choice(KEYS)
            lines.append("key %s" % key if rng.random() < 0.8 else
                         "key %s %d" % (key, rng.randint(2, 5)))
        elif r < 0.58:
            text = "".join(rng.choice(TEXT) for _ in range(rng.randint(1, 12))).strip()
            lines.append("type " + (text or "a"))
        elif r < 0.68:
            lines.append("click %d %d" % point())
        elif r < 0.75:
            lines.append("touch %d %d" % point())
        elif r < 0.79:
            lines.append("move %d %d" % point())
        elif r < 0.83:
            lines.append("scan 0x%X 0x%X" % (rng.randrange(0x10000) if rng.random() < 0.5
                                             else rng.randrange(0x30),
                                             rng.choice([0, 0, rng.randrange(0x10000)])))
        elif r < 0.88:
            lines.append("mouse %d %d %d" % (rng.randint(-3000, 3000), rng.randint(-3000, 3000),
                                             rng.randrange(4)))
        elif r < 0.92:
            lines.append("touch-raw %d %d %d" % (rng.randrange(0x10000) if rng.random() < 0.9
                                                 else rng.randrange(1 << 32),
                                                 rng.randrange(0x10000), rng.randrange(4)))
        elif r < 0.95:
            lines.append("tick %d" % rng.choice([1, 2, 5, 60, 3600, 86400 * 40]))
        elif r < 0.97:
            lines.append("time %04d-%02d-%02d %02d:%02d:%02d" % (
                rng.randint(1900, 9999), rng.randint(1, 12), rng.randint(1, 28),
                rng.randrange(24), rng.randrange(60), rng.randrange(60)))
        else:
            lines.append("restart")
    return modes, settings, lines


def run_seed(sim, seed, keep=None):
    modes, settings, lines = make_session(seed)
    started = time.time()
    run = sim_run.run_sim(sim, lines, settings=settings, modes=modes, out_dir=keep)
    faults = sim_run.problems(run, max_outstanding=MAX_HELD_BLOCKS)
    return seed, len(lines), faults, run, time.time() - started


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sim", required=True)
    parser.add_argument("--budget", type=float, default=75, help="seconds for new sessions")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--base-seed", type=int, default=None)
    parser.add_argument("--seed", type=int, default=None, help="run this one session")
    parser.add_argument("--keep", default=None, help="keep the session's files here")
    args = parser.parse_args()
    sim = os.path.abspath(args.sim)
    me = os.path.abspath(__file__)

    if args.seed is not None:
        seed, count, faults, run, _ = run_seed(sim, args.seed, args.keep)
        print("seed %d: %d script lines, exit %s" % (seed, count, run.status))
        print("command: " + " ".join(run.command))
        for f in faults:
            print("  " + f)
        if faults:
            sys.stdout.write(run.stderr[-6000:])
        return 1 if faults else 0

    base = args.base_seed if args.base_seed is not None else int(time.time()) % 1000000 * 1000
    print("random sessions: base seed %d, budget %.0f s" % (base, args.budget))
    deadline = time.time() + args.budget
    sessions = inputs = 0
    most_held = 0
    failures = []
    next_seed = base
    with concurrent.futures.ThreadPoolExecutor(max_workers=args.jobs) as pool:
        pending = set()
        while True:
            while len(pending) < args.jobs and time.time() < deadline:
                pending.add(pool.submit(run_seed, sim, next_seed))
                next_seed += 1
            if not pending:
                break
            done, pending = concurrent.futures.wait(
                pending, return_when=concurrent.futures.FIRST_COMPLETED)
            for future in done:
                seed, count, faults, run, _ = future.result()
                sessions += 1
                inputs += count
                most_held = max(most_held, run.outstanding or 0)
                if faults:
                    failures.append(seed)
                    print("seed %d FAILED: %s" % (seed, "; ".join(faults)))
                    sys.stdout.write(run.stderr[-4000:])
                    print("reproduce: python3 %s --sim %s --seed %d --keep /tmp/qvx-seed-%d" %
                          (me, sim, seed, seed))
    print("random sessions: %d sessions, %d script lines, %d failed; at most %d pool blocks "
          "held at an end (limit %d)" % (sessions, inputs, len(failures), most_held,
                                         MAX_HELD_BLOCKS))
    print("%d passed, %d failed" % (sessions - len(failures), len(failures)))
    return 1 if failures or sessions == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
