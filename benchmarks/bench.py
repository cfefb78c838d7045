# SPDX-License-Identifier: MIT
"""Runs the monitor against simulated engines and prints what a line, a handle and a start cost."""
import argparse
import os
import pathlib
import re
import statistics
import subprocess
import tempfile
import time

FILES = "files = {n}\nhandles_per_file = 10\n"
SESSIONS = "sessions = {n}\nhandles_per_session = 200\n"


class Bench:
    def __init__(self, build, example, folder):
        self.vexo = build / "bin/vexo"
        self.floor = build / "bin/line_floor"
        self.start_floor = build / "bin/start_floor"
        self.library = build / "lib/libxrsim.so"
        self.folder = folder
        self.settings = example.read_text()

    def config(self, **settings):
        text = self.settings
        for name, value in settings.items():
            text = re.sub(rf"(?m)^{name}=.*$", f"{name}={value}", text)
        path = self.folder / "vexo.cfg"
        path.write_text(text)
        return path

    def environment(self, scenario):
        env = dict(os.environ, VEXO_ENGINE_LIBRARY=str(self.library), LC_ALL="C.UTF-8")
        env.pop("XRSIM_TRACE", None)
        env.pop("XRSIM_SCENARIO", None)
        if scenario:
            path = self.folder / "scenario.toml"
            path.write_text("[generate]\n" + scenario)
            env["XRSIM_SCENARIO"] = str(path)
        return env

    def command(self, json, *before):
        return [*before, self.vexo, "-f", self.folder / "vexo.cfg", "-runonce", *(["-JSON"] if json else [])]

    def record(self, scenario, json):
        """One record in a file, and its number of lines."""
        path = self.folder / "record"
        with open(path, "wb") as out:
            subprocess.run(self.command(json), stdout=out, check=True, env=self.environment(scenario))
        with open(path, "rb") as record:
            return path, sum(1 for _ in record)

    def instructions(self, scenario, json):
        out = subprocess.run(
            self.command(json, "valgrind", "--tool=callgrind", f"--callgrind-out-file={self.folder}/callgrind"),
            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True, env=self.environment(scenario))
        return int(re.search(r"Collected : (\d+)", out.stderr).group(1))

    def writes(self, scenario, json):
        path = self.folder / "strace"
        subprocess.run(self.command(json, "strace", "-f", "-c", "-e", "trace=write", "-o", path),
                       stdout=subprocess.DEVNULL, check=True, env=self.environment(scenario))
        return int(re.search(r"(\d+)\s+write$", path.read_text(), re.M).group(1))


    def peaks(self, scenario, records):
        """The most memory the program had in use, in bytes, after each of so many records. In key mode, where it
        can be asked while it waits; usage reported at its end would include what its parent had when it forked."""
        self.config(REFRESH=0, OUTPUT="file", NAME="/dev/null")
        process = subprocess.Popen([self.vexo, "-f", self.folder / "vexo.cfg"], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, bufsize=0, env=self.environment(scenario))
        seen, peaks = b"", []
        while len(peaks) < records:
            while seen.count(b"type r") <= len(peaks):
                part = process.stdout.read(4096)
                if not part:
                    raise SystemExit("the program ended before its prompt")
                seen += part
            status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
            peaks.append(int(re.search(r"VmHWM:\s+(\d+)", status).group(1)) * 1024)
            process.stdin.write(b"r" if len(peaks) < records else b"q")
        process.communicate()
        self.config()
        return peaks


def timed(command, out, env=None):
    """Seconds of wall time."""
    start = time.perf_counter()
    subprocess.run(command, stdout=out, env=env, check=True)
    return time.perf_counter() - start


def table(title, head, rows):
    print(f"\n{title}\n")
    widths = [max(len(str(row[i])) for row in [head, *rows]) for i in range(len(head))]
    for row in [head, ["-" * width for width in widths], *rows]:
        print("| " + " | ".join(str(cell).ljust(width) for cell, width in zip(row, widths)) + " |")


def line_path(bench, workloads, rounds):
    rows = []
    for name, scenario, small in workloads:
        for json in (True, False):
            bench.config()
            _, small_lines = bench.record(small, json)
            per_line = bench.instructions(small, json) / small_lines
            calls = bench.writes(small, json) / small_lines
            record, lines = bench.record(scenario, json)
            row = [name, "JSON" if json else "text", f"{lines:,}", f"{per_line:,.0f}", f"{calls:.2f}"]
            for target in ("/dev/null", bench.folder / "out"):
                ratios, times = [], []
                for _ in range(rounds):  # alternately, so that a busy machine slows both
                    with open(target, "wb") as out:
                        floor = timed([bench.floor, record], out)
                    with open(target, "wb") as out:
                        ours = timed(bench.command(json), out, bench.environment(scenario))
                    ratios.append(ours / floor)
                    times.append(ours)
                row += [f"{statistics.median(times):.2f}", f"{statistics.median(ratios):.2f}"]
            rows.append(row)
    table("Line path: a whole run, once", ["engine", "form", "lines", "instructions/line", "write(2)/line",
                                          "s to /dev/null", "over floor", "s to a file", "over floor"], rows)


def growth(bench, sizes):
    rows = []
    bench.config()
    base = bench.peaks("files = 1\n", 1)[0]
    with open("/dev/null", "wb") as out:
        for kind, pattern, each in (("file", FILES, 10), ("session", SESSIONS, 200)):
            for handles in sizes:
                scenario = pattern.format(n=handles // each)
                seconds = min(timed(bench.command(True), out, bench.environment(scenario)) for _ in range(3))
                peak = bench.peaks(scenario, 1)[0]
                rows.append([f"{handles:,} {kind} handles", f"{seconds:.3f}", f"{seconds / handles * 1e6:.2f}",
                             f"{peak / 2**20:.1f}", f"{(peak - base) / handles:.0f}"])
    table("How cost grows: one JSON record to /dev/null",
          ["engine", "seconds", "us/handle", "peak MiB", "bytes/handle"], rows)


def repetition(bench, scenario):
    peaks = bench.peaks(scenario, 6)
    table("Memory of a long run: 10,000 files x 10 handles", ["records", "peak MiB", "over one record"],
          [[n, f"{peaks[n - 1] / 2**20:.1f}", f"{peaks[n - 1] / peaks[0]:.3f}"] for n in (1, 2, 6)])


def start(bench, rounds):
    config = bench.config()
    ratios, ours = [], []
    with open("/dev/null", "wb") as out:
        for _ in range(rounds):
            floor = timed([bench.start_floor, config], out)
            own = timed(bench.command(True), out, bench.environment(None))
            ratios.append(own / floor)
            ours.append(own)
    table("Start to exit: -runonce -JSON on the demo engine", ["instructions", "ms", "over a program that reads a file"],
          [[f"{bench.instructions(None, True):,}", f"{statistics.median(ours) * 1e3:.2f}",
            f"{statistics.median(ratios):.2f}"]])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("example", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true")
    options = parser.parse_args()
    factor = 10 if options.quick else 1
    rounds = 3 if options.quick else 7
    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(options.build, options.example, pathlib.Path(folder))
        workloads = [
            ("100,000 files x 10 handles", FILES.format(n=100_000 // factor), FILES.format(n=2_000)),
            ("5,000 sessions x 200 handles", SESSIONS.format(n=5_000 // factor), SESSIONS.format(n=100)),
        ]
        line_path(bench, workloads, rounds)
        growth(bench, [size // factor for size in (10_000, 100_000, 1_000_000)])
        repetition(bench, FILES.format(n=10_000))
        start(bench, 20 * rounds)
    subprocess.run([options.build / "bin/vexo_benchmarks", "--benchmark_counters_tabular=true"], check=True)


main()
