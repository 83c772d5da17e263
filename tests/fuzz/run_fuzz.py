#!/usr/bin/env python3
"""Runs one libFuzzer target: its seed corpus (tests/fuzz/corpus/<name>/)
first, then fuzzing for a given time in a scratch corpus beside the build.
Prints one summary line (executions, seconds); on a finding prints the
saved input and the command that replays it, and fails."""
import argparse
import os
import re
import shutil
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("target")
    parser.add_argument("--seconds", type=int, default=10)
    parser.add_argument("--work", required=True)
    parser.add_argument("--jobs", type=int, default=1)
    args = parser.parse_args()

    binary = os.path.abspath(args.target)
    name = re.sub(r"_fuzz$", "", os.path.basename(binary))
    seeds = os.path.join(HERE, "corpus", name)
    work = os.path.join(os.path.abspath(args.work), name)
    corpus = os.path.join(work, "corpus")
    artifacts = os.path.join(work, "findings") + "/"
    os.makedirs(corpus, exist_ok=True)
    os.makedirs(artifacts, exist_ok=True)
    if os.path.isdir(seeds):
        for entry in os.listdir(seeds):
            shutil.copy(os.path.join(seeds, entry), corpus)
    dictionary = os.path.join(HERE, name + ".dict")

    command = [binary, corpus, "-max_total_time=%d" % args.seconds, "-timeout=10",
               "-rss_limit_mb=2048", "-print_final_stats=1", "-artifact_prefix=" + artifacts,
               "-max_len=8192"]
    if os.path.exists(dictionary):
        command.append("-dict=" + dictionary)
    env = dict(os.environ)
    env.setdefault("ASAN_OPTIONS", "detect_leaks=1:abort_on_error=0")
    env.setdefault("UBSAN_OPTIONS", "print_stacktrace=1:halt_on_error=1")
    started = time.time()
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=env,
                            text=True, errors="replace")
    elapsed = time.time() - started
    output = result.stdout
    executions = re.findall(r"stat::number_of_executed_units:\s*(\d+)", output)
    count = int(executions[-1]) if executions else 0
    print("fuzz %s: %d executions in %.1f s (seeds: %d)" %
          (name, count, elapsed, len(os.listdir(seeds)) if os.path.isdir(seeds) else 0))
    if result.returncode != 0:
        sys.stdout.write(output[-12000:])
        found = re.findall(r"Test unit written to (\S+)", output)
        if found:
            print("finding saved as %s" % found[-1])
            print("reproduce: %s %s" % (binary, found[-1]))
        print("fuzz %s: FAILED (exit %d)" % (name, result.returncode))
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
