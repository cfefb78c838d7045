#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Ends the monitor in every way there is, at random moments: torture.py PROGRAM LIBRARY [TIMES [WAY]].

LIBRARY is that of Probe.cpp. However a run ends, the engine has to be disconnected and stopped once, the record that was
begun to be finished, the JSON document to be closed, and the status to tell what happened."""
import concurrent.futures
import fcntl
import os
import pathlib
import pty
import random
import re
import resource
import signal
import subprocess
import sys
import tempfile
import termios
import time

program, library = (str(pathlib.Path(word).resolve()) for word in sys.argv[1:3])
times = int(sys.argv[3]) if len(sys.argv) > 3 else 20
sanitized = os.environ.get("VEXO_SANITIZER", "")
PATIENCE = 20
STOPS = signal.SIGINT, signal.SIGTERM, signal.SIGHUP
SETTINGS = {"SERVER": "shop", "USER": "u", "PASSWORD": "p", "REFRESH": 600, "LIMIT": 0, "OUTPUT": "console", "NAME": "log",
            "FILES": "no", "SESSIONS": "no", "CONNECTIONS": "no", "RESOURCES": "yes", "COMMUNICATIONS": "yes",
            "HANDLES": "no"}
MODES = {"once": {"once": True}, "timer": {}, "keys": {"REFRESH": 0}}
FIRST, LAST = "RESOURCE USAGE", "Connection Recoveries:"  # how a record begins, and how its last line does


class Failure(Exception):
    pass


def need(condition, *what):
    if not condition:
        raise Failure(" ".join(str(part) for part in what))


class Run:
    """A monitor in a folder of its own, with pipes or a terminal around it. Settings are in upper case."""

    def __init__(self, folder, once=False, json=False, probe="interrupted", scenario="", stdout=None, stderr=None,
                 terminal=False, limit=None, language="C.UTF-8", shell=False, **settings):
        self.folder, self.json, self.shell, self.out = folder, json, shell, b""
        config = folder / ("-JSON" if json else "cfg")  # the option counts wherever it stands
        config.write_text("".join(f"{key}={value}\n" for key, value in {**SETTINGS, **settings}.items()))
        (folder / "scenario").write_text(scenario)
        self.command = [program, "-f", config.name] + ["-runonce"] * once
        environment = {"VEXO_ENGINE_LIBRARY": library, "XRSIM_TRACE": "trace", "XRSIM_SCENARIO": "scenario",
                       "XRPROBE": probe, "LC_ALL": language, "PATH": os.environ["PATH"], "PS1": "$ "}
        self.keyboard, slave = pty.openpty() if terminal else reversed(os.pipe())
        if terminal:
            self.reader, out = self.keyboard, slave
        else:
            self.reader, out = os.pipe()

        def prepare():
            if terminal:
                fcntl.ioctl(0, termios.TIOCSCTTY, 0)
            if limit:
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
            if stderr == "closed":
                os.close(2)
        Run.last = self
        self.writer = os.dup(out)  # for those who want to fill it
        self.process = subprocess.Popen(
            ["bash", "--norc", "--noediting", "-i"] if shell else self.command, cwd=folder, env=environment, stdin=slave,
            stdout=stdout or out, stderr=open(stderr, "w") if stderr and stderr != "closed" else open(folder / "err", "w"),
            start_new_session=terminal, preexec_fn=prepare)
        os.close(out) if not terminal else None
        self.keys = slave  # what the monitor reads from
        os.set_blocking(self.reader, False)

    def trace(self):
        path = self.folder / "trace"
        return path.read_text() if path.exists() else ""

    def err(self):
        path = self.folder / "err"
        return path.read_text(errors="replace") if path.exists() else ""

    def text(self):
        try:
            while some := os.read(self.reader, 65536):
                self.out += some
        except OSError:
            pass
        return self.out.decode(errors="replace").replace("\r", "")

    def until(self, condition, what):
        end = time.monotonic() + PATIENCE
        while not condition():
            need(time.monotonic() < end and (self.shell or self.process.poll() is None), "waited in vain for", what, self.text()[-300:], self.err()[-300:])
            time.sleep(0.002)
        return self

    def started(self):
        return self.until(lambda: "XrStart" in self.trace(), "the first call")

    def prompted(self, text="press Enter."):
        return self.until(lambda: text in self.text(), text)

    def send(self, number):
        if self.process.poll() is None:
            self.process.send_signal(number)
        return self

    def type(self, text):
        os.write(self.keyboard, text.encode())
        return self

    def close_terminal(self):
        for descriptor in self.keys, self.writer, self.keyboard:
            os.close(descriptor)
        self.keyboard = self.reader = self.keys = self.writer = -1
        return self

    def end(self, status=0, err="", within=PATIENCE, records=None, calls=""):
        """Waits for the end, and checks all that holds for every run."""
        begin = time.monotonic()
        while self.process.poll() is None and time.monotonic() < begin + within:
            self.text()
            time.sleep(0.002)
        need(self.process.returncode == status, "status", self.process.poll(), self.err()[-300:])
        need(err in self.err(), "standard error:", self.err())
        text, trace = self.text(), self.trace()
        for number in range(3) if status >= 0 else ():
            call = ("XrStart(", "XrDisconnect(", "XrStop(")[number]
            need(trace.count(call) == (trace.count("XrStart(") > 0), trace.count(call), call)
        need("MISUSE" not in trace and calls in trace, trace)
        if self.reader >= 0 and status == 0:
            need(len(re.findall(FIRST, text)) == len(re.findall(LAST, text)), "a torn record:", text)
            need(records is None or records == len(re.findall(FIRST, text)), "records:", text)
        if self.reader >= 0 and self.json and status >= 0:
            need(text.endswith("\n}\n"), "the document is not closed:", text[-100:])
        return self


def moment(most=0.15):
    time.sleep(random.uniform(0, most))


WAYS = {}


def way(name, modes=("timer",), json=(False,)):
    """Puts the decorated function among the ways, once for each mode and form."""
    def add(function):
        for mode in modes:
            for form in json:
                arguments = {**MODES[mode], "json": form}
                WAYS[f"{name}, {mode}{', JSON' if form else ''}"] = lambda folder, a=arguments: function(folder, a)
    return add


@way("a signal", MODES, (False, True))
def signalled(folder, mode):
    run = Run(folder, **mode).started()
    moment()
    connecting = "XrConnectServer" not in run.trace()
    run.send(random.choice(STOPS)).end(within=5, records=1 if connecting and not mode["json"] else None)


@way("a signal while connecting", MODES, (False, True))
def connecting(folder, mode):
    Run(folder, **mode).started().send(random.choice(STOPS)).end(within=5, records=None if mode["json"] else 1)


@way("a signal twice in one go", MODES)
def echoed(folder, mode):
    number = random.choice(STOPS)
    Run(folder, **mode).started().send(number).send(number).end(within=5)


@way("a signal, beside a thread older than the first call")
def beside(folder, mode):
    Run(folder, probe="thread,interrupted", **mode).started().prompted().send(random.choice(STOPS)).end(within=5)


@way("a signal after q")
def after_q(folder, mode):
    run = Run(folder, **mode).started().prompted().type("q\n")
    moment(0.05)
    run.send(random.choice(STOPS)).end(within=5)


@way("a signal after the end of input")
def after_input(folder, mode):
    run = Run(folder, **mode).started().prompted()
    os.close(run.keyboard)
    moment(0.05)
    run.send(random.choice(STOPS)).end(within=5)


@way("a signal around the limit")
def around_limit(folder, mode):
    run = Run(folder, LIMIT=1, **mode).started()
    run.until(lambda: "XrGetKesdUsageEx2" in run.trace(), "the record")
    moment(0.01)
    run.send(random.choice(STOPS)).end(within=5)


@way("a signal while another process takes the keys", ("keys",))
def shared_keys(folder, mode):
    run = Run(folder, **mode).started().prompted()
    os.set_blocking(run.keys, False)
    for _ in range(300):
        run.type("x")
        try:
            os.read(run.keys, 1)
        except BlockingIOError:
            pass
    os.set_blocking(run.keys, True)
    run.send(signal.SIGTERM).end(within=5)


@way("Ctrl-C", MODES)
def control_c(folder, mode):
    run = Run(folder, terminal=True, **mode).started()
    moment()
    try:
        run.type("\x03")
    except OSError:
        pass  # the run was faster
    run.end(within=5)


@way("the terminal closed", MODES)
def closed(folder, mode):
    run = Run(folder, terminal=True, **mode).started()
    moment()
    run.close_terminal().end(within=5)


@way("the terminal closed, below a shell")
def closed_below_shell(folder, mode):
    run = Run(folder, terminal=True, shell=True, **mode).type(" ".join(run_words(mode)) + "\n").started()
    moment()
    run.close_terminal().until(lambda: "XrStop" in run.trace(), "the end").process.wait()
    need(run.trace().count("XrDisconnect(") == 1, run.trace())


def run_words(mode):
    return [program, "-f", "-JSON" if mode["json"] else "cfg"] + ["-runonce"] * mode.get("once", False)


@way("job control: & and fg, then q", ("timer", "keys"))
def background(folder, mode):
    run = Run(folder, terminal=True, shell=True, **mode).type(" ".join(run_words(mode)) + " &\n").started()
    run.until(lambda: state_of(run) == "T", "the stop")
    resume(run)
    run.until(lambda: "XrStop" in run.trace(), "the end")


@way("job control: Ctrl-Z, bg and fg, then q", ("timer", "keys"))
def suspended(folder, mode):
    run = Run(folder, terminal=True, shell=True, **mode).type(" ".join(run_words(mode)) + "\n").started().prompted()
    time.sleep(0.15)
    run.type("\x1a").until(lambda: state_of(run) == "T", "Ctrl-Z").type("bg\n")
    time.sleep(0.1)
    run.until(lambda: state_of(run) == "T", "the stop behind bg")
    resume(run)
    run.until(lambda: "XrStop" in run.trace(), "the end")


def resume(run):
    """Fetches the job back and stops it with q. The shell may not have noticed yet that it stopped."""
    while state_of(run) == "T":
        run.type("fg\n")
        time.sleep(0.3)
    run.type("q\n")


def state_of(run):
    """The state letter of the shell's child; nothing when it has none."""
    shell = run.process.pid
    child = pathlib.Path(f"/proc/{shell}/task/{shell}/children").read_text().split()
    return pathlib.Path(f"/proc/{child[0]}/stat").read_text().rsplit(")")[1].split()[0] if child else ""


@way("the reader gone", MODES, (False, True))
def reader_gone(folder, mode):
    run = Run(folder, **mode).started()
    os.close(run.writer), os.close(run.reader)
    run.reader = -1
    run.end(1, "stdout failed: Broken pipe")


@way("a file-size limit", MODES, (False, True))
def file_size(folder, mode):
    # Inside the first record; the trace is a file too, but shorter.
    Run(folder, OUTPUT="both", limit=random.randint(1150, 1300), **mode).end(1, "log failed: File too large")


@way("an error of the engine", MODES, (False, True))
def engine_error(folder, mode):
    Run(folder, scenario=f"[[fault]]\nstatus = 94\ncall = {random.randint(3, 6)}\n", **mode).end(1, "94")


@way("the same, standard error closed", MODES, (True,))
def error_closed(folder, mode):
    Run(folder, stderr="closed", scenario="[[fault]]\nstatus = 94\ncall = 5\n", **mode).end(1, calls=" = 94")


@way("the same, standard error full", MODES, (True,))
def error_full(folder, mode):
    Run(folder, stderr="/dev/full", scenario="[[fault]]\nstatus = 94\ncall = 5\n", **mode).end(1, calls=" = 94")


@way("the second signal while a call blocks", MODES)
def second(folder, mode):
    slow = random.choice(("XrConnectServer", "XrGetKesdUsageEx2"))
    run = Run(folder, scenario=f'[[fault]]\nfunction = "{slow}"\ndelay_ms = 20000\n', **mode).started()
    time.sleep(0.2)
    run.send(random.choice(STOPS))
    time.sleep(0.1)
    need(run.process.poll() is None, "the first one ended it:", run.process.returncode)
    last = random.choice(STOPS)
    run.send(last).end(-last, within=2)


@way("the first signal before the first call", MODES)
def before(folder, mode):
    os.mkfifo(folder / "log")
    run = Run(folder, OUTPUT="both", **mode).prompted("Copyright")
    time.sleep(0.1)
    number = random.choice(STOPS)
    run.send(number).end(-number, within=2)


@way("q, its answer unwritable")
def answer_lost(folder, mode):
    run = Run(folder, OUTPUT="file", **mode).started().prompted("Copyright")
    os.close(run.writer), os.close(run.reader)
    run.reader = -1
    run.type("q\n").end(1, "stdout failed: Broken pipe")


@way("q, its answer delayed")
def answer_delayed(folder, mode):
    run = Run(folder, OUTPUT="file", **mode).started().prompted("Copyright")
    run.until(lambda: "XrGetKesdCommStatEx" in run.trace(), "the record")
    os.set_blocking(run.writer, False)
    for size in 4096, 1:
        try:
            while True:
                os.write(run.writer, b" " * size)
        except BlockingIOError:
            pass
    os.set_blocking(run.writer, True)
    run.type("q\n")
    time.sleep(3.5)  # longer than the monitor sleeps at a stretch
    run.end()
    need("Monitoring has stopped." in run.text(), "no last line")


@way("q before the keyboard is looked at")
def settled(folder, mode):
    begin = time.monotonic()
    run = Run(folder, probe="", **mode).type("q").prompted("has stopped.")
    need(time.monotonic() - begin >= 0.1, "keys were read at once")
    run.end()


@way("a crash in a call", MODES)
def crash(folder, mode):
    kind, number = random.choice((("abort", signal.SIGABRT),) if sanitized else
                                 (("abort", signal.SIGABRT), ("overrun", signal.SIGSEGV)))
    Run(folder, probe=kind, **mode).end(-number, "during the call XrGetKesdUsageEx2.\n")


@way("a library that sets the locale", ("timer",))
def other_locale(folder, mode):
    run = Run(folder, probe="locale", language="de_DE.UTF-8", **mode).prompted("Eingabetaste dr\u00fccken.")
    run.send(signal.SIGTERM).end(within=5)


def attempt(name):
    with tempfile.TemporaryDirectory() as folder:
        try:
            WAYS[name](pathlib.Path(folder))
            return ""
        except (Failure, OSError) as failure:
            return repr(failure)
        finally:
            Run.last.process.kill()


if __name__ == "__main__":
    chosen = [name for name in WAYS if len(sys.argv) < 5 or sys.argv[4] in name]
    failed = 0
    print(f"{'way':62}{'times':>6}{'in order':>10}")
    with concurrent.futures.ProcessPoolExecutor(6) as pool:
        outcomes = {name: [pool.submit(attempt, name) for _ in range(times)] for name in chosen}
        for name, futures in outcomes.items():
            reasons = [future.result() for future in futures]
            bad = [reason for reason in reasons if reason]
            failed += len(bad)
            print(f"{name:62}{times:6}{times - len(bad):10}", *(f"\n    {reason[:500]}" for reason in bad[:1]), flush=True)
    sys.exit(f"{failed} runs did not end in order" if failed else 0)
