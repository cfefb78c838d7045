# SPDX-License-Identifier: MIT
"""Runs the monitor in timer mode for thousands of records, and checks that it neither grows nor leaks nor loses a line.

A preloaded library makes seconds milliseconds. The program runs without a limit, so the keyboard thread is there, and is
ended by a typed q."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "harness"))
from session import calls_of, misuses  # noqa: E402

program, preloaded, library, example, scenario = (pathlib.Path(word) for word in sys.argv[1:6])
records = int(sys.argv[6])


def status(pid):
    fields = dict(re.findall(r"(\w+):\s+(\d+)", pathlib.Path(f"/proc/{pid}/status").read_text()))
    return {"memory KiB": int(fields["VmRSS"]), "threads": int(fields["Threads"]),
            "descriptors": len(os.listdir(f"/proc/{pid}/fd"))}


def fail(reason):
    sys.exit(f"soak: {reason}")


with tempfile.TemporaryDirectory() as folder:
    folder = pathlib.Path(folder)
    log, printed, trace = folder / "logs/soak.log", folder / "printed", folder / "trace"
    settings = example.read_text()
    for name, value in (("REFRESH", 5), ("OUTPUT", "both"), ("NAME", log)):
        settings = re.sub(rf"(?m)^{name}=.*$", f"{name}={value}", settings)
    (folder / "cfg").write_text(settings)
    environment = dict(os.environ, VEXO_ENGINE_LIBRARY=str(library), XRSIM_SCENARIO=str(scenario),
                       XRSIM_TRACE=str(trace), LC_ALL="C.UTF-8", LD_PRELOAD=str(preloaded))
    start = time.monotonic()
    with open(printed, "wb") as out:
        run = subprocess.Popen([program, "-f", folder / "cfg"], stdin=subprocess.PIPE, stdout=out, env=environment)
    done, samples = 0, []
    trace.touch()
    with open(trace, "rb") as growing:
        while done < records:
            time.sleep(0.05)
            if run.poll() is not None:
                fail(f"the monitor ended with status {run.returncode} after {done} records")
            done += growing.read().count(b"XrGetKesdCommStatEx")
            if done >= records * (len(samples) + 1) // 20:
                samples.append(status(run.pid))
    before_end = status(run.pid)
    run.communicate(b"q\n", timeout=30)
    if run.returncode != 0:
        fail(f"the monitor ended with status {run.returncode}")

    calls = list(calls_of(trace.read_bytes()))
    if misused := misuses(calls):
        fail(f"the engine library was misused: {misused[:3]}")
    written = calls.count("XrGetKesdCommStatEx")

    # The log is what was printed, less the banner and the prompts.
    lines = log.read_bytes().split(b"\n")
    shown = printed.read_bytes().split(b"\n")
    prompts = {i for i, line in enumerate(shown) if line.startswith(b"To stop monitoring") and line.endswith(b"  ")}
    if len(prompts) != written:
        fail(f"{written} records, but {len(prompts)} prompts")
    shown = [line for i, line in enumerate(shown)
             if i > 2 and i not in prompts and i + 1 not in prompts and line != b"Monitoring has stopped."]
    if shown != lines:
        fail("the log does not hold the lines that were printed")

    memory = [sample["memory KiB"] for sample in samples]
    first, last = memory[len(memory) // 10], max(memory[-3:])
    if last > first * 1.02 + 64:
        fail(f"memory grew: {memory}")
    for what in ("threads", "descriptors"):
        if len({sample[what] for sample in [*samples, before_end]}) != 1:
            fail(f"{what} changed: {samples}")
    print(f"{written:,} records in {time.monotonic() - start:.0f} s, {len(lines) - 1:,} lines, "
          f"{len(calls):,} calls; memory {first} KiB after the first twentieths, {last} KiB at the end; "
          f"{before_end['threads']} threads, {before_end['descriptors']} descriptors throughout; 0 misuses")
