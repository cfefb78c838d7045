# SPDX-License-Identifier: MIT
"""What the recorder has to survive, each at full length, with the counts of what happened. Arguments: as unittest takes
them, such as Soak.test_a_full_disk. TIMES is how often a thing is done, in place of the usual number."""
import csv
import glob
import json
import os
import random
import re
import socket
import shutil
import sqlite3
import subprocess
import sys
import time
import unittest
import urllib.request

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "harness"))
from recorder import FROZEN, SHOP, Runs  # noqa: E402
from session import SOURCE, content_of, misuses  # noqa: E402

LIVELY = content_of(SOURCE + "/tests/soak/lively.toml").decode()
FRAME = ("v", "server", "run", "rec", "time", "epoch_ms")
ALL_SINKS = "--history h --ndjson out --csv table --textfile m.prom "
STATUSES = (1, 2, 11, 22, 161, 3001, 3002, 3003, 3005, 3006, 3009, 3012, 7001, 7004, 7008, 7010, 7012, 7015, 7023, 9999,
            32767, -1, -32768)


def times(usual):
    return int(os.environ.get("TIMES", usual))


def lively(size):
    """An engine with files of ten handles, sessions of a hundred, about as many in all as `size` says."""
    return (f"[generate]\nfiles = {size // 20}\nhandles_per_file = 10\nsessions = {max(size // 200, 1)}\n"
            "handles_per_session = 100\nconnections = 10\n[life]\nchurn_percent = 1\n")


class Soak(Runs):
    def tell(self, text):
        print(f"{self.id().rpartition('.')[2]}: {text}", flush=True)

    def history(self, name="h", only=""):
        """The lines of every record of a history, unpacked by zstd itself, less what each line repeats."""
        base = sqlite3.connect(f"file:{self.path(name)}?mode=ro", uri=True)
        self.addCleanup(base.close)
        self.assertEqual(base.execute("PRAGMA quick_check").fetchall(), [("ok",)])
        records, before = {}, self.path("before")
        for rec, key, body in base.execute(f"SELECT rec, key_rec, body FROM record {only} ORDER BY rec"):
            prefix = [] if key == rec else ["--patch-from=" + before]
            text = subprocess.run(["zstd", "-qdc", *prefix], input=body, capture_output=True, check=True).stdout
            with open(before, "wb") as file:
                file.write(text)
            records[rec] = self.plain(json.loads(line) for line in text.splitlines())
            self.assertEqual((records[rec][0]["kind"], records[rec][-1]["kind"]), ("record", "end"))
        base.close()
        return records

    @staticmethod
    def plain(lines):
        return [{name: value for name, value in line.items() if name not in FRAME} for line in lines]

    def check_tables(self, may_be_cut=False):
        rows = 0
        for path in glob.glob(self.path("table*/*.csv*")):
            text = content_of(path).decode()
            if may_be_cut:
                text = text[:text.rfind("\r\n") + 2]
            header, *lines = csv.reader(text.splitlines(keepends=True), strict=True)
            self.assertEqual({len(header)}, {len(line) for line in [header, *lines]}, path)
            rows += len(lines)
        return rows

    def check_textfile(self):
        self.assertRegex(content_of(self.path("m.prom")).decode(), r"(?s)\A# HELP .*vexo_up\{.*\n\Z")

    def used(self, run):
        """CPU seconds, resident and most resident KB, and descriptors of a run."""
        with open(f"/proc/{run.process.pid}/stat", encoding="utf-8") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        status = content_of(f"/proc/{run.process.pid}/status").decode()
        with open(f"/proc/{run.process.pid}/status", encoding="utf-8") as file:
            status = file.read()
        memory = [int(re.search(name + r":\s+(\d+)", status)[1]) for name in ("VmRSS", "VmHWM")]
        cpu = (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
        return cpu, *memory, len(os.listdir(f"/proc/{run.process.pid}/fd"))

    def sleep(self, run, seconds):
        until = time.monotonic() + seconds
        while time.monotonic() < until and not run.has_ended():
            run.read(min(1, max(until - time.monotonic(), 0)))
        self.assertFalse(run.has_ended(), run.written)

    @staticmethod
    def free_port():
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            return free.getsockname()[1]

    @staticmethod
    def scrape(port):
        start = time.monotonic()
        with urllib.request.urlopen(f"http://127.0.0.1:{port}/metrics", timeout=5) as answer:
            text = answer.read().decode()
        return text, time.monotonic() - start

    def test_an_engine_frozen_for_ten_minutes(self):
        port, seconds = self.free_port(), times(600)
        run = self.start(f"--interval 1s --stall 5s --listen {port} " + ALL_SINKS,
                         scenario=SHOP + FROZEN.replace("3600000", "3600000\ncall = 5"))
        self.await_event(run, "stalled")
        slowest, scrapes, until = 0, 0, time.monotonic() + seconds
        while time.monotonic() < until:
            text, took = self.scrape(port)
            self.assertRegex(text, r"(?m)^vexo_up 0$")
            slowest, scrapes = max(slowest, took), scrapes + 1
            self.sleep(run, 1)
        start = time.monotonic()
        self.stop(run)
        self.tell(f"{scrapes} scrapes, the slowest {slowest * 1000:.1f} ms; ended {time.monotonic() - start:.1f} s after "
                  f"SIGTERM; {len(self.history())} records in the history, all whole")

    @unittest.skipIf(os.getuid(), "only root can mount a small file system")
    def test_a_full_disk(self):
        small = self.path("small")
        os.mkdir(small)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64M", "none", small], check=True)
        self.addCleanup(subprocess.run, ["umount", "-l", small], check=True)
        sinks = ("history", "ndjson", "csv", "textfile")
        for reserve in ("1M", "0"):
            for name in os.listdir(small):
                subprocess.run(["rm", "-r", f"{small}/{name}"], check=True)
            run = self.start("--interval 100ms --history small/h --ndjson small/out --csv small/table "
                             f"--textfile small/m.prom --min-free {reserve}", scenario=lively(400))
            self.await_count(run, b"answers", 1)
            for turn in range(times(5)):
                self.sleep(run, 0.5)
                subprocess.run(["dd", "if=/dev/zero", f"of={small}/filler", "bs=64k"], stderr=subprocess.DEVNULL)
                for sink in sinks:
                    told = f"The sink {sink} failed".encode()
                    self.assertTrue(run.until(lambda: run.written["stderr"].count(told) > turn), (sink, run.written))
                self.sleep(run, 1)
                os.remove(small + "/filler")
                for name in ("out", "table"):
                    os.rename(f"{small}/{name}", f"{small}/{name}.{turn}")
                os.mkdir(small + "/table")
                run.act(["signal HUP"])
                self.await_count(run, b"takes records again", (turn + 1) * len(sinks))
            self.stop(run)
            for path in glob.glob(small + "/out*") + glob.glob(small + "/table*"):
                shutil.move(path, self.path(os.path.basename(path) + "." + reserve))
            shutil.copy(small + "/m.prom", self.path("m.prom"))
            self.check_textfile()
            records = {record[0]["rec"]: self.plain(record) for path in glob.glob(self.path(f"out*.{reserve}"))
                       for record in self.records(os.path.basename(path))}
            kept = self.history("small/h")
            for rec, lines in kept.items():
                if rec in records and not self.has_events(records[rec], lines):
                    self.assertEqual(lines, records[rec])
            last = max(records)
            told = self.told_drops(records, run)
            self.assertEqual((told["ndjson"], told["history"]), (last - len(records), last - len(kept)))
            self.tell(f"reserve {reserve}: {last} records, {times(5)} times full; kept by NDJSON {len(records)}, by the "
                      f"history {len(kept)}; told as dropped {told}; {self.check_tables()} rows whole")

    @staticmethod
    def has_events(*records):
        return any(line["kind"] == "event" for record in records for line in record)

    @staticmethod
    def told_drops(records, run):
        """By sink, from the texts of the events, and at the very end from standard error."""
        told = {}
        texts = {(line["text"], line["start_epoch_ms"]) for record in records.values() for line in record
                 if line["kind"] == "event" and line["event"] == "records_dropped"}
        last = run.written["stderr"].decode().rpartition("Recording ended.")[2].splitlines()
        for text in [text for text, _ in texts] + last:
            if found := re.search(r"The sink (\w+) dropped records: (\d+)", text):
                told[found[1]] = told.get(found[1], 0) + int(found[2])
        return told

    def await_count(self, run, text, count):
        self.assertTrue(run.until(lambda: run.written["stderr"].count(text) >= count), run.written["stderr"][-2000:])

    def test_kill_at_random_moments(self):
        turns, cut, rows = times(100), 0, 0
        for turn in range(turns):
            run = self.start("--interval 100ms " + ALL_SINKS, scenario=lively(1000))
            if turn % 5:  # else while it starts
                self.assertTrue(run.until(lambda: os.path.exists(self.path("out"))))
            self.sleep(run, random.uniform(0, 1.2))
            run.act(["signal KILL"])
            run.end()
            *lines, last = content_of(self.path("out")).split(b"\n")
            for line in lines:
                json.loads(line)
            cut += last != b""
            if os.path.exists(self.path("h")):
                self.history(only="WHERE run = (SELECT max(run) FROM record)")
            if os.path.exists(self.path("m.prom")):
                self.check_textfile()
            rows += self.check_tables(may_be_cut=True)
            for path in glob.glob(self.path("table/*")) + glob.glob(self.path("out")):
                os.remove(path)
        whole = self.history()
        self.assertEqual(list(whole), list(range(1, len(whole) + 1)))
        self.assertEqual(glob.glob(self.path("h.aside*")), [])
        self.tell(f"{turns} times killed, {len(whole)} records in the history, all whole; the last line of NDJSON cut {cut} "
                  f"times; {rows} rows of CSV whole")

    def test_a_reader_that_stops_and_comes_back(self):
        os.mkfifo(self.path("fifo"))
        run = self.start("--interval 100ms --ndjson fifo --csv table", scenario=lively(1000))
        text, stops = b"", times(3)
        for _ in range(stops):
            with open(self.path("fifo"), "rb") as reader:
                seen = text.count(b'"kind":"end"')
                while text.count(b'"kind":"end"') < seen + 12:  # more than wait in the pipe and for the sink
                    text += reader.read1(65536)
            dropped = content_of(self.path("table/event.csv")).count(b"records_dropped")
            self.assertTrue(run.until(lambda: content_of(self.path("table/event.csv")).count(b"records_dropped") > dropped))
        with open(self.path("fifo"), "rb") as reader:
            run.act(["signal TERM"])
            text += reader.read()  # until the program ends
        self.assertEqual(run.end()[0], "0")
        self.write("taken", text.decode())
        records = {record[0]["rec"]: self.plain(record) for record in self.records("taken")}
        told = self.told_drops(records, run)["ndjson"]
        self.assertEqual(told, max(records) - len(records))
        self.tell(f"{stops} stops, {max(records)} records, {len(records)} read, all whole; {told} dropped, all told")

    def test_a_file_is_renamed_under_load(self):
        turns = times(50)
        run = self.start("--interval 100ms --ndjson out --csv table", scenario=lively(5000))
        for turn in range(turns):
            self.sleep(run, random.uniform(0, 0.4))
            for name in ("out", "table/end.csv"):
                os.rename(self.path(name), self.path(f"{name}.{turn}"))
            run.act(["signal HUP"])
            self.assertTrue(run.until(lambda: os.path.exists(self.path("out")) and
                                      os.path.exists(self.path("table/end.csv"))))
        self.stop(run)
        records = [record for path in glob.glob(self.path("out*")) for record in self.records(os.path.basename(path))]
        numbers = sorted(record[0]["rec"] for record in records)
        self.assertEqual(numbers, list(range(1, len(numbers) + 1)))
        self.tell(f"{turns} times renamed, {len(numbers)} records, {sum(map(len, records))} lines, none lost or split; "
                  f"{self.check_tables()} rows of CSV")

    def test_clients_that_stall_and_send_garbage(self):
        port = self.free_port()
        run = self.start(f"--interval 100ms --listen {port}")
        self.assertTrue(run.until(lambda: b"answers" in run.written["stderr"]))
        slowest, sent = 0, 0
        for _ in range(times(5)):
            stalled = [socket.create_connection(("127.0.0.1", port)) for _ in range(100)]
            for number, client in enumerate(stalled):
                client.sendall((b"", b"GET /met", b"POST / HTTP/1.1\r\nContent-Length: 9\r\n\r\n")[number % 3])
            for kind in (lambda: random.randbytes(5000), lambda: b"GET /" + b"x" * (1 << 20) + b" HTTP/1.1\r\n\r\n",
                         lambda: b"GET /metrics HTTP/1.1\r\nX: " + b"x" * (1 << 20) + b"\r\n\r\n",
                         lambda: b"POST /metrics HTTP/1.1\r\nContent-Length: 1048576\r\n\r\n" + bytes(1 << 20)):
                for _ in range(20):
                    with socket.create_connection(("127.0.0.1", port)) as client:
                        try:
                            client.sendall(kind())
                        except OSError:
                            pass  # refused before it had sent everything
                    sent += 1
                text, took = self.scrape(port)
                self.assertRegex(text, "(?m)^vexo_up 1$")
                slowest = max(slowest, took)
            for client in stalled:
                client.close()
        memory = self.used(run)
        self.stop(run)
        self.tell(f"beside 100 stalled clients and {sent} bad requests the slowest scrape took {slowest * 1000:.1f} ms; "
                  f"{memory[2]} KB at most")

    def test_every_call_fails_with_every_kind_of_status(self):
        self.start("--count 1 --ndjson first").end()
        functions = sorted({call.partition("=")[0].partition("[")[0] for call in
                            re.findall(r"(?m)^(\w+)\(", content_of(self.path("calls")).decode())})
        whole, partial, failed = 0, 0, 0
        for function in functions:
            for status in STATUSES:
                with self.subTest(function=function, status=status):
                    for name in ("out", "calls"):
                        if os.path.exists(self.path(name)):
                            os.remove(self.path(name))
                    run = self.start("--count 1 --ndjson out", scenario=SHOP +
                                     f'[[fault]]\nfunction = "{function}"\nstatus = {status}\n')
                    self.assertEqual(run.end()[0], "0", run.written)
                    run.__exit__()
                    missing = len(self.records()[0][-1]["failed_sections"])
                    whole, partial, failed = whole + (not missing), partial + (0 < missing < 5), failed + (missing == 5)
                    if function not in ("XrStop", "XrDisconnect") and not function.startswith("XrFree"):
                        self.assertEqual(misuses(run.calls()), [])
        self.tell(f"{len(functions)} calls, {len(STATUSES)} statuses each: {whole} records whole, {partial} in part, "
                  f"{failed} told that nothing could be read")

    def test_hostile_names_in_every_sink(self):
        hostile = content_of(SOURCE + "/examples/scenarios/hostile.toml").decode()
        name = 's"\\p\u2028\u202e\x9b{}'
        run = self.start("--count 3 --interval 100ms " + ALL_SINKS, scenario=hostile, settings={"SERVER": name})
        self.assertEqual(run.end()[0], "0", run.written)
        records = {record[0]["rec"]: self.plain(record) for record in self.records()}
        self.assertEqual(self.history(), records)
        escaped = name.replace("\\", "\\\\").replace('"', '\\"')
        self.assertIn(f'vexo_up{{server="{escaped}"}} 1\n', content_of(self.path("m.prom")).decode())
        checked = subprocess.run(["promtool", "check", "metrics"], input=content_of(self.path("m.prom")),
                                 capture_output=True, check=False)
        self.assertEqual(checked.returncode, 0, checked)
        self.tell(f"{len(records)} records equal in NDJSON and history, {self.check_tables()} rows of CSV whole, "
                  "metrics accepted by promtool")

    def grow(self, handles, records, arguments, **surroundings):
        run = self.start(f"--listen {self.free_port()} --history h --textfile m.prom --ndjson /dev/null {arguments}",
                         scenario=lively(handles), **surroundings)
        samples, count = [], 0
        while count < records:
            self.sleep(run, 0.5)
            if os.path.exists(self.path("h")):
                with sqlite3.connect(f"file:{self.path('h')}?mode=ro", uri=True) as base:
                    count = base.execute("SELECT ifnull(max(rec), 0) FROM record").fetchone()[0]
                base.close()
            if count >= records * (len(samples) + 1) // 10:
                samples.append((count, *self.used(run)))
        self.stop(run)
        base = sqlite3.connect(self.path("h"))
        self.addCleanup(base.close)
        missed = base.execute("SELECT count(*) FROM event WHERE kind IN ('ticks_missed', 'records_dropped')").fetchone()[0]
        first, last = samples[len(samples) // 2], samples[-1]
        self.tell(f"{handles} handles, {last[0]} records: {last[1] / last[0] * 1000:.1f} ms of CPU a record, "
                  f"{first[2]} KB resident halfway, {last[2]} in the end, {last[3]} at most, {last[4]} descriptors, "
                  f"{os.path.getsize(self.path('h')) / last[0]:.0f} bytes a record, {missed} ticks missed or records dropped")
        self.assertEqual(first[4], last[4])
        return last[1] / last[0], first[2], last[2], last[3], missed

    def test_a_hundred_thousand_handles(self):
        cpu, _, _, most, missed = self.grow(100000, times(60), "--interval 5s")
        self.assertLess(cpu, 1)
        self.assertLess(most, 300000)
        self.assertEqual(missed, 0)

    def test_a_thousand_handles_for_ten_thousand_records(self):
        cpu, first, last, most, _ = self.grow(1000, times(10000), "--interval 20s",
                                              environment={"LD_PRELOAD": os.environ["SHORTER_WAITS"]})
        self.assertLess(cpu, 0.015)
        self.assertLess(most, 40000)
        self.assertLess(last, first * 1.02 + 256)


if __name__ == "__main__":
    unittest.main(verbosity=0)
