"""Running quorvex-sim for the robustness drivers: one run with a script,
settings and switches, and the checks every run must pass (exit status,
sanitizer silence, how the trace ends, what the pool still holds)."""
import os
import re
import subprocess
import sys
import tempfile

# Setup data operations that end the session: save and leave, leave without
# saving, save with battery off and power off, shut down.
LEAVE_OPERATIONS = {1, 2, 4, 190}
SANITIZER_MARKS = ("ERROR: AddressSanitizer", "ERROR: LeakSanitizer", "runtime error:",
                   "AddressSanitizer:DEADLYSIGNAL", "UndefinedBehaviorSanitizer")
END_SHOT = "zz_script_end"


class Run:
    def __init__(self):
        self.status = None
        self.timed_out = False
        self.stdout = ""
        self.stderr = ""
        self.trace = []
        self.reached_end = False
        self.allocations = None
        self.outstanding = None


def run_sim(sim, script_lines, settings=None, modes=None, extra=(), out_dir=None, timeout=60):
    """Runs the simulator with the script (an end-of-script screenshot is
    appended, so a run that got through the whole script can be told from
    one that left) and returns a Run."""
    own_dir = out_dir is None
    if own_dir:
        holder = tempfile.TemporaryDirectory(prefix="qvx-robust-")
        out_dir = holder.name
    os.makedirs(out_dir, exist_ok=True)
    # Nothing from an earlier run in the same directory may count for this one.
    for stale in os.listdir(out_dir):
        if stale.endswith(".png") or stale == "trace.txt":
            os.remove(os.path.join(out_dir, stale))
    script_path = os.path.join(out_dir, "session.sim")
    with open(script_path, "w", encoding="utf-8") as f:
        f.write("\n".join(list(script_lines) + ["shot " + END_SHOT]) + "\n")
    args = [sim, "--script", script_path, "--out", out_dir, "--trace"]
    # No refused allocation unless the caller asks for one.
    if "--fail-alloc" not in extra:
        args += ["--fail-alloc", "0"]
    if settings:
        settings_path = os.path.join(out_dir, "session.settings")
        with open(settings_path, "w", encoding="utf-8") as f:
            f.write("".join("%s = %d\n" % (k, v) for k, v in settings))
        args += ["--settings", settings_path]
    for mode in modes or []:
        args += ["--mode", mode]
    args += list(extra)
    run = Run()
    run.command = args
    env = dict(os.environ)
    env.setdefault("ASAN_OPTIONS", "detect_leaks=1")
    env.setdefault("UBSAN_OPTIONS", "print_stacktrace=1:halt_on_error=1")
    try:
        result = subprocess.run(args, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env,
                                timeout=timeout, text=True, errors="replace")
        run.status = result.returncode
        run.stdout = result.stdout
        run.stderr = result.stderr
    except subprocess.TimeoutExpired as e:
        run.timed_out = True
        run.stderr = (e.stderr or b"").decode("utf-8", "replace") if isinstance(
            e.stderr, bytes) else (e.stderr or "")
    trace_path = os.path.join(out_dir, "trace.txt")
    if os.path.exists(trace_path):
        with open(trace_path, encoding="utf-8", errors="replace") as f:
            run.trace = [l.rstrip("\n") for l in f if l.strip()]
    run.reached_end = os.path.exists(os.path.join(out_dir, END_SHOT + ".png"))
    m = re.search(r"quorvex-sim: (\d+) pool allocations", run.stderr)
    if m:
        run.allocations = int(m.group(1))
    m = re.search(r"quorvex-sim: (\d+) pool blocks outstanding", run.stderr)
    if m:
        run.outstanding = int(m.group(1))
    if own_dir:
        holder.cleanup()
    return run


def report(label, faults, run):
    print("%s: %s" % (label, "; ".join(faults)))
    sys.stdout.write(run.stderr[-3000:])
    print("reproduce: " + " ".join(run.command))


def last_operation(run):
    if not run.trace:
        return None
    m = re.match(r"op (\d+)", run.trace[-1])
    return int(m.group(1)) if m else None


def problems(run, allowed_status=(0,), max_outstanding=None):
    """The faults a run shows, as messages (empty when it is clean)."""
    found = []
    if run.timed_out:
        found.append("hung (timed out)")
        return found
    for mark in SANITIZER_MARKS:
        if mark in run.stderr:
            found.append("sanitizer report: " + mark)
            break
    if run.status not in allowed_status:
        found.append("exit status %s" % run.status)
    left = last_operation(run) in LEAVE_OPERATIONS
    if run.status == 0 and not left and not run.reached_end:
        found.append("the run ended neither in a leave operation nor at the script's end")
    if run.status == 0 and left and run.reached_end:
        found.append("the trace ends in a leave operation but the script went on")
    if max_outstanding is not None and run.outstanding is not None and \
            run.outstanding > max_outstanding:
        found.append("%d pool blocks held at the end (at most %d expected)" %
                     (run.outstanding, max_outstanding))
    if "frees of memory the pool never gave out" in run.stderr:
        found.append("FreePool of memory the pool never gave out")
    return found
