# SPDX-License-Identifier: MIT
"""A program in its surroundings, and the user who deals with it step by step."""
import ctypes
import fcntl
import os
import random
import re
import resource
import select
import signal
import subprocess
import termios
import time

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PATIENCE = 60  # seconds; what takes longer is given up
LIBC = ctypes.CDLL(None)
PR_SET_PDEATHSIG, PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH = 1, 24, 1, 2


def encoded(text):
    return text.encode("utf-8", "surrogateescape")


def decoded(notation, directory):
    """The bytes that a text in the notation of cases stands for."""
    def byte(found):
        escape = found[1]
        return bytes.fromhex(escape[1:].decode()) if len(escape) == 3 else \
            {b"t": b"\t", b"s": b" ", b"n": b"\n"}.get(escape, escape)
    text = re.sub(rb"\\(x..|.)", byte, encoded(notation))
    return text.replace(b"@DIR@", encoded(directory)).replace(b"@SOURCE@", encoded(SOURCE))


def content_of(path):
    if not os.path.isfile(path):
        return b""
    with open(path, "rb") as file:
        return file.read()


def calls_of(trace):
    """The calls of a trace: "XrGetOpenFileName[1]=7008" is what index 1 was answered with."""
    for line in trace.decode("utf-8", "surrogateescape").splitlines():
        parts = re.match(r"(\w+)\((?:.*?index=(\d+))?.*?\) = (-?\d+)", line)
        yield parts[1] + (f"[{parts[2]}]" if parts[2] else "") + ("" if parts[3] == "0" else "=" + parts[3]) \
            if parts else line


def misuses(calls):
    """What every run owes the engine: what it starts it stops, what it connects it disconnects, what it takes it frees."""
    wrong = [call for call in calls if call.startswith("MISUSE")]
    lists = [(f"XrGet{name}Data", f"XrFree{name}Data") for name in ("OpenFiles", "KesdClients", "SQLConnections")]
    for taken, given in [("XrConnectServer", "XrDisconnect"), *lists, ("XrStart", "XrStop")]:
        # A call that failed counts where that does not matter to what is owed.
        took = sum(call == taken or (taken == "XrStart" and call.startswith("XrStart=")) for call in calls)
        gave = sum(call.partition("=")[0] == given for call in calls)
        if took != gave:
            wrong.append(f"{took} times {taken}, {gave} times {given}")
    return wrong


class Session:
    """The program, running. Its user's steps are the operations do_...; one that gives False was never due.

    `keyboard`: its standard input, one of pipe, pty, closed, or the file named "input". `redirect`: where the streams
    lead that shall not be read from here: a path, closed, or terminal."""

    def __init__(self, command, directory, environment, keyboard="pipe", redirect=None, limits=(),
                 keeps_to_permissions=False):
        self.directory, self.redirect = directory, redirect or {}
        self.open, self.written = {}, {"stdout": b"", "stderr": b""}  # descriptors and what came, by their names
        self.seen, self.faults = 0, []
        if keyboard == "pipe":
            self.open["stdin"], self.open["keyboard"] = os.pipe()
        elif keyboard == "pty":
            self.open["keyboard"], self.open["stdin"] = os.openpty()
        elif keyboard != "closed":
            self.open["stdin"] = os.open(directory + "/input", os.O_RDONLY)
        streams = [self.open.get("stdin"), *(self.open_output(name) for name in self.written)]

        def surround():
            LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
            if keyboard == "pty":
                fcntl.ioctl(0, termios.TIOCSCTTY, 0)
            for number in set(signal.Signals) - {signal.SIGKILL, signal.SIGSTOP}:
                signal.signal(number, signal.SIG_DFL)
            for name, value in limits:
                resource.setrlimit(getattr(resource, "RLIMIT_" + name.upper()), (int(value), int(value)))
            if keeps_to_permissions:  # the superuser too
                LIBC.prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE)
                LIBC.prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH)
            for number, descriptor in enumerate(streams):
                if descriptor is None:
                    os.close(number)
        self.start = self.last_step = time.monotonic()
        self.process = subprocess.Popen(command, cwd=directory, env=environment, stdin=streams[0], stdout=streams[1],
                                        stderr=streams[2], start_new_session=keyboard == "pty", preexec_fn=surround)
        self.shut("stderr's other end")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        for name in list(self.open):
            self.shut(name)

    def open_output(self, name):
        target = self.redirect.get(name)
        if target == "closed":
            return None
        if target == "terminal":
            self.open[name] = os.dup(self.open["keyboard"])
            return self.open["stdin"]
        if target:
            return self.open.setdefault(target, os.open(os.path.join(self.directory, target), os.O_WRONLY))
        self.open[name], self.open[name + "'s other end"] = os.pipe()
        return self.open[name + "'s other end"]

    def shut(self, name):
        if name in self.open:
            os.close(self.open.pop(name))

    def read(self, seconds=0):
        """Takes what the program wrote, waiting this long for it. Whether there was something."""
        streams = {self.open[name]: name for name in self.written if name in self.open}
        ready = select.select(list(streams), [], [], seconds)[0]
        for descriptor in ready:
            try:
                some = os.read(descriptor, 65536)
            except OSError:  # a terminal that has gone
                some = b""
            self.written[streams[descriptor]] += some
            if not some:
                self.shut(streams[descriptor])
        return bool(ready)

    def has_ended(self):
        return self.process.poll() is not None

    def until(self, condition):
        """Reads until the condition holds. Whether it did before the program ended, or patience did."""
        deadline, is_over = time.monotonic() + PATIENCE, False
        while not condition() and not is_over:
            is_over = self.has_ended() or time.monotonic() > deadline
            self.read(0.005)
        return condition()

    def end(self):
        """Waits for the end; gives the status, and how long after the last step it came."""
        deadline = time.monotonic() + PATIENCE
        while self.process.poll() is None:
            self.read(0.02)
            if time.monotonic() > deadline:
                self.process.kill()
        took = time.monotonic() - self.last_step
        while self.read():
            pass
        code = self.process.returncode
        return str(code) if code >= 0 else signal.Signals(-code).name, took

    def calls(self):
        return list(calls_of(content_of(self.directory + "/calls")))

    def act(self, steps):
        for step in steps:
            verb, _, argument = step.partition(" ")
            if getattr(self, "do_" + verb)(argument) is False:
                self.faults.append(f"never due: {step}")
                break
        self.last_step = time.monotonic()

    def do_await(self, notation):
        text = decoded(notation, self.directory)
        due = self.until(lambda: text in self.written["stdout"][self.seen:])
        self.seen = self.written["stdout"].find(text, self.seen) + len(text)
        return due

    def do_called(self, function):
        return self.until(lambda: encoded(function + "(") in content_of(self.directory + "/calls"))

    def do_type(self, notation):
        os.write(self.open["keyboard"], decoded(notation, self.directory))

    def do_signal(self, name):
        self.process.send_signal(signal.Signals["SIG" + name])

    def do_pause(self, milliseconds):
        """So many, or a random number of them: 0-150."""
        shortest, _, longest = milliseconds.partition("-")
        time.sleep(random.uniform(int(shortest), int(longest or shortest)) / 1000)

    def do_leave(self, _):
        """Closes the keyboard, and with it the terminal."""
        self.shut("keyboard")
        if self.redirect.get("stdout") == "terminal":
            self.shut("stdout")
