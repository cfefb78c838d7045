#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Ends the monitor in every way there is, at random moments: torture.py PROGRAM LIBRARY [TIMES [WAY]].

LIBRARY is that of Probe.cpp. However a run ends, the engine has to be disconnected and stopped once, the record that was
begun to be finished, the JSON document to be closed, and the status to tell what happened."""
import concurrent.futures
import dataclasses
import os
import pathlib
import random
import re
import signal
import sys
import tempfile
import time

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "harness"))
from session import PATIENCE, Session, misuses  # noqa: E402

program, library = (str(pathlib.Path(word).resolve()) for word in sys.argv[1:3])
times = int(sys.argv[3]) if len(sys.argv) > 3 else 20
DEFAULTS = pathlib.Path(__file__).with_name("..").joinpath("cases/default.cfg").read_text()
STOPS = "INT", "TERM", "HUP"
FIRST, LAST = "RESOURCE USAGE", "Connection Recoveries:"  # how a record begins, and how its last line does
TEXT, JSON = ["vexo.cfg"], ["-JSON"]  # the settings file; the option counts wherever it stands
ONCE, TIMER, KEYS = "once", "timer", "keys"
ALL = [ONCE, TIMER, KEYS]


@dataclasses.dataclass
class Way:
    """Steps are those of Session and User. $RUN starts the monitor where a shell is the program."""
    name: str
    steps: str = ""
    modes: list = dataclasses.field(default_factory=lambda: ALL)
    forms: list = dataclasses.field(default_factory=lambda: TEXT)
    settings: str = ""
    scenario: str = ""
    probe: str = "interrupted"
    language: str = "C.UTF-8"
    at: str = "pipe"  # or pty, or a shell at one
    redirect: dict = dataclasses.field(default_factory=dict)
    limits: list = dataclasses.field(default_factory=list)
    status: str = "0"  # or that of the last signal
    err: str = ""  # part of standard error
    seconds: float = 0  # at least


def fault(function="", call=0, action="status = 94"):
    return "[[fault]]\n" + f'function = "{function}"\n' * bool(function) + f"call = {call}\n" * bool(call) + action


TERMINAL = {"at": "pty", "redirect": {"stdout": "terminal"}}
SHELL = {"at": "shell", "redirect": {"stdout": "terminal"}}
STARTED = "called XrStart; "
SHORTLY = STARTED + "pause 0-150; "
SLOW = "delay_ms = 100_000"
WAYS = [
    Way("a signal", SHORTLY + "signal any", forms=TEXT + JSON),
    Way("a signal while connecting", STARTED + "signal any", forms=TEXT + JSON),
    Way("a signal twice in one go", STARTED + "signal any; signal same"),
    Way("a signal, beside a thread older than the first call", "await Enter.; signal any", [TIMER],
        probe="thread,interrupted"),
    Way("a signal in the first call, beside such a thread", probe="thread,signalled"),
    Way("a signal after q", "await Enter.; type q\\n; pause 0-50; signal any", [TIMER]),
    Way("a signal after the end of input", "await Enter.; leave; pause 0-50; signal any", [TIMER]),
    Way("a signal around the limit", "called XrGetKesdUsageEx2; pause 0-10; signal any", [TIMER], settings="LIMIT=1"),
    Way("a signal while another process takes the keys", "await Enter.; contend 300; signal any", [KEYS]),
    Way("Ctrl-C", SHORTLY + "type \\x03", **TERMINAL),
    Way("the terminal closed", SHORTLY + "leave", **TERMINAL),
    Way("the terminal closed, below a shell", f"type $RUN\\n; {SHORTLY}leave; called XrStop", **SHELL),
    Way("job control: & and fg, then q", f"type $RUN &\\n; {STARTED}stopped; fetch; type q\\n; called XrStop",
        [TIMER, KEYS], **SHELL),
    Way("job control: Ctrl-Z, bg and fg, then q", "type $RUN\\n; await press Enter.; pause 150; type \\x1a; stopped; "
        "type bg\\n; pause 100; stopped; fetch; type q\\n; called XrStop", [TIMER, KEYS], **SHELL),
    # Before the record is complete, however slow the machine is.
    Way("the reader gone", STARTED + "unread", forms=TEXT + JSON, status="1",
        scenario=fault("XrGetKesdUsageEx2", action="delay_ms = 1000"), err="stdout failed: Broken pipe"),
    # Inside the first record; the trace is a file too, but shorter.
    *(Way(f"a file-size limit of {size}", forms=TEXT + JSON, settings="OUTPUT=both", limits=[("fsize", size)],
          status="1", err="monitor.log failed: File too large") for size in (1150, 1300)),
    *(Way(f"an error of the engine's call {call}", forms=TEXT + JSON, scenario=fault(call=call), status="1", err="94")
      for call in (3, 6)),
    *(Way(f"an error, standard error {target}", "called XrGetKesdUsageEx2", forms=JSON, redirect={"stderr": target},
          scenario=fault("XrGetKesdUsageEx2"), status="1") for target in ("closed", "/dev/full")),
    *(Way(f"a second signal during {call}", STARTED + "pause 200; signal any; pause 100; signal other",
          scenario=fault(call, action=SLOW), status="signal") for call in ("XrConnectServer", "XrGetKesdUsageEx2")),
    Way("the first signal before the first call", "await Copyright; pause 100; signal any",
        settings="OUTPUT=both\nNAME=fifo", status="signal"),
    Way("q, its answer unwritable", STARTED + "await Copyright; unread; type q\\n", [TIMER], settings="OUTPUT=file",
        status="1", err="stdout failed: Broken pipe"),
    Way("q, its answer delayed", "called XrGetKesdCommStatEx; fill; type q\\n; pause 3500; await has stopped.", [TIMER],
        settings="OUTPUT=file"),  # longer than the monitor sleeps at a stretch
    Way("q before the keyboard is looked at", "type q; await has stopped.", [TIMER], probe="", seconds=0.1),
    Way("a library that aborts", probe="abort", status="SIGABRT", err="during the call XrGetKesdUsageEx2.\n"),
    Way("a library that crashes", probe="overrun", status="SIGSEGV", err="during the call XrGetKesdUsageEx2.\n"),
    Way("a library that sets the locale", "await Eingabetaste drücken.; signal any", [TIMER], probe="locale",
        language="de_DE.UTF-8"),
]


class User(Session):
    connecting, signal = False, ""

    def has_ended(self):
        return "$RUN" not in self.way.steps and super().has_ended()  # a job may outlive its shell

    def do_signal(self, name):
        others = [stop for stop in STOPS if stop != self.signal]
        self.signal = {"any": random.choice(STOPS), "same": self.signal, "other": random.choice(others)}[name]
        self.connecting = "XrConnectServer" not in self.calls()
        super().do_signal(self.signal)

    def do_contend(self, count):
        """Types keys, and reads them like another process, in a race with the monitor."""
        os.set_blocking(self.open["stdin"], False)
        for _ in range(int(count)):
            self.do_type("x")
            try:
                os.read(self.open["stdin"], 1)
            except BlockingIOError:
                pass
        os.set_blocking(self.open["stdin"], True)

    def do_unread(self, _):
        """Nobody reads standard output any more."""
        self.shut("stdout")
        self.shut("stdout's other end")

    def do_fill(self, _):
        """Standard output is full to the last byte."""
        out = self.open["stdout's other end"]
        os.set_blocking(out, False)
        for size in 4096, 1:
            try:
                while True:
                    os.write(out, b" " * size)
            except BlockingIOError:
                pass
        os.set_blocking(out, True)

    def job_state(self):
        """The state letter of the shell's child; nothing when it has none."""
        shell = self.process.pid
        child = pathlib.Path(f"/proc/{shell}/task/{shell}/children").read_text().split()
        return pathlib.Path(f"/proc/{child[0]}/stat").read_text().rsplit(")")[1].split()[0] if child else ""

    def do_stopped(self, _):
        return self.until(lambda: self.job_state() == "T")

    def do_fetch(self, _):
        """Gets the job back. The shell may not have noticed yet that it stopped."""
        while self.job_state() == "T":
            self.do_type("fg\\n")
            time.sleep(0.3)


def inhabitants(folder):
    """The processes whose working directory it is."""
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if os.path.samefile(process / "cwd", folder):
                yield int(process.name)
        except OSError:  # gone, or somebody else's
            pass


def outlasting(folder):
    """Tells of a job that goes on without its shell and its terminal, and ends it."""
    deadline = time.monotonic() + PATIENCE
    while jobs := list(inhabitants(folder)):
        if time.monotonic() < deadline:
            time.sleep(0.05)
            continue
        for job in jobs:
            os.kill(job, signal.SIGKILL)
        yield f"still running without its shell: {len(jobs)}"
        return


def faults_of(way, mode, form, folder):
    refresh = "REFRESH=0\n" if mode == KEYS else "REFRESH=600\n"
    (folder / form).write_text(f"{DEFAULTS}\nRESOURCES=yes\nCOMMUNICATIONS=yes\n{refresh}{way.settings}\n")
    (folder / "scenario").write_text(way.scenario)
    os.mkfifo(folder / "fifo")
    (folder / "vexo").symlink_to(program)
    run = f"./vexo -f {form}" + " -runonce" * (mode == ONCE)
    environment = {"VEXO_ENGINE_LIBRARY": library, "XRSIM_TRACE": "calls", "XRSIM_SCENARIO": "scenario", "RUN": run,
                   "XRPROBE": way.probe, "LC_ALL": way.language, "PATH": os.environ["PATH"], "PS1": "$ "}
    if way.at != "pipe":
        # The SIGCONT of shells and closing terminals can make its search for leaks wait for ever.
        environment["ASAN_OPTIONS"] = "detect_leaks=0"
    in_shell = way.at == "shell"
    command = ["bash", "--norc", "--noediting", "-i"] if in_shell else run.split()
    with User(command, str(folder), environment, "pty" if in_shell else way.at, way.redirect, way.limits) as user:
        user.way = way
        user.act(way.steps.split("; ") if way.steps else [])
        yield from user.faults
        while in_shell and user.read(0.2):
            pass
        if not in_shell:
            status, _ = user.end()
            if status != ("SIG" + user.signal if way.status == "signal" else way.status):
                yield f"status {status}"
        text, err = (some.decode(errors="replace").replace("\r", "") for some in user.written.values())
    yield from outlasting(folder)
    if way.err not in err:
        yield f"standard error: {err}"
    if time.monotonic() - user.start < way.seconds:
        yield "ended too early"
    if way.status not in ("0", "1"):
        return
    yield from misuses(user.calls())
    records = len(re.findall(FIRST, text))
    is_readable = "leave" not in way.steps and "unread" not in way.steps
    if way.status == "0" and is_readable and records != len(re.findall(LAST, text)):
        yield f"a torn record: {text}"
    if user.connecting and form in TEXT and records != 1:
        yield f"{records} records: {text}"
    if form in JSON and is_readable and not text.endswith("\n}\n"):
        yield f"the document is not closed: {text[-100:]}"


def attempt(*run):
    with tempfile.TemporaryDirectory() as folder:
        return "; ".join(faults_of(*run, pathlib.Path(folder)))


def main():
    print(f"{'way':70}{'times':>6}{'in order':>10}")
    failed = 0
    with concurrent.futures.ProcessPoolExecutor(6) as pool:
        outcomes = {}
        for way in WAYS:
            left_out = way.status == "SIGSEGV" and os.environ.get("VEXO_SANITIZER")  # it handles that signal itself
            for mode, form in [] if left_out else [(mode, form) for mode in way.modes for form in way.forms]:
                name = f"{way.name}, {mode}, {'JSON' if form in JSON else 'text'}"
                if len(sys.argv) < 5 or sys.argv[4] in name:
                    outcomes[name] = [pool.submit(attempt, way, mode, form) for _ in range(times)]
        for name, futures in outcomes.items():
            reasons = [reason for reason in (future.result() for future in futures) if reason]
            failed += len(reasons)
            print(f"{name:70}{times:6}{times - len(reasons):10}", *(f"\n    {reason[:800]}" for reason in reasons[:1]),
                  flush=True)
    sys.exit(f"{failed} runs did not end in order" if failed else 0)


main()
