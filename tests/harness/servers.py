# SPDX-License-Identifier: MIT
"""What the tests on live servers share: runs of the monitor, its words as codes, throw-away servers, and somebody in
between."""
import argparse
import fcntl
import json
import os
import re
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import unittest

PASSWORD = "Never-To-Be-Seen"
NOT_INSTALLED = 77
OPTIONS = None
PREFIX = None  # of the library's variables
# The codes behind the words of a handle.
MODES = {"Normal": "0", "Read-only": "254", "Exclusive": "252", "Normal non-transactional": "248",
         "Read-only non-transactional": "246", "Exclusive non-transactional": "244",
         "Normal shared locking": "240", "Read-only shared locking": "238"}
LOCKS = {"None": "N", "Single Lock": "S", "Multiple Locks": "M", "n/a": "?"}
WAIT_STATES = {"None": "0", "Record": "1", "File": "2", "n/a": "?"}
STATES = {"None": "0", "Exclusive Lock": "19", "Concurrent Lock": "1019", "n/a": "?"}
# In /tmp, where a server gets that runs as another user than root.
WORK = tempfile.TemporaryDirectory(prefix="xs-odd.", dir="/tmp")
LOG = os.path.join(WORK.name, "log")
CERTIFICATE, OTHERS = (os.path.join(WORK.name, name) for name in ("ca.pem", "others.pem"))  # each with its key
SETTINGS = dict(USER="vexo", PASSWORD=PASSWORD, REFRESH=0, LIMIT=0, OUTPUT="console", NAME="", FILES="", SESSIONS="",
                CONNECTIONS="", RESOURCES="", COMMUNICATIONS="", HANDLES="no")


class ThrowAwayServer:
    """A server that the script `throw-away-server` in a folder starts, with further options."""

    def __init__(self, folder, *options):
        self.process = subprocess.Popen([os.path.join(folder, "throw-away-server"), *options], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        self.answer = self.process.stdout.readline().split()
        if not self.answer:
            if self.process.wait() == NOT_INSTALLED:
                raise unittest.SkipTest("no server to test with")
            raise RuntimeError("the server does not start with " + " ".join(options))
        self.pid = int(self.answer[0])

    def occupy(self):
        """Makes records long, where they are not."""

    def wait_for(self, answer, statement):
        for _ in range(250):
            if self.ask(statement) == answer:
                return
            time.sleep(0.02)
        raise RuntimeError(f"{statement}: {self.ask(statement)} instead of {answer}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()


class Peer:
    """Stands where a client takes the server to be, and keeps what the client sends in clear, or under our key."""

    def __init__(self, handle, port=0):
        self.sent, self.port_behind = b"", port
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.name = "127.0.0.1:%d" % self.listener.getsockname()[1]
        threading.Thread(target=self.serve, args=(handle,), daemon=True).start()

    def serve(self, handle):
        client = self.listener.accept()[0]
        try:
            handle(self, client)
        except OSError:  # the client gave up
            pass
        client.close()

    def pass_on(self, client, behind, at_once=0, pause=0.0):
        """Passes everything on; what comes from the server behind, after so many bytes, one at a time."""
        def upwards():
            while data := client.recv(65536):
                self.sent += data
                behind.sendall(data)
        threading.Thread(target=upwards, daemon=True).start()
        while data := behind.recv(65536):
            client.sendall(data[:at_once])
            for byte in data[at_once:]:
                time.sleep(pause)
                client.sendall(bytes([byte]))
            at_once = max(0, at_once - len(data))

    def end_tls_with_another_certificate(self, client):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(OTHERS)
        self.sent = context.wrap_socket(client, server_side=True).recv(4096)


def make_certificates():
    for path in (CERTIFICATE, OTHERS):
        made = subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                               "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", path, "-out",
                               path + ".part"], stderr=subprocess.PIPE, check=False)
        if made.returncode != 0:
            raise RuntimeError(made.stderr.decode())
        with open(path, "a", encoding="ascii") as both, open(path + ".part", encoding="ascii") as part:
            both.write(part.read())
        os.chmod(path, 0o644)
    os.chmod(WORK.name, 0o755)


def start(server, environment=None, arguments=("-runonce",), **settings):
    """Starts the monitor."""
    path = os.path.join(WORK.name, "vexo.cfg")
    with open(path, "w", encoding="utf-8") as file:
        file.writelines(f"{name}={value}\n" for name, value in {**SETTINGS, "SERVER": server, **settings}.items())
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "VEXO_ENGINE_LIBRARY": OPTIONS.library, PREFIX + "LOG": LOG,
                   **(environment or {})}
    return subprocess.Popen([OPTIONS.program, "-f", path, *arguments], env=environment, text=True,
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def vexo(server, environment=None, keys=None, **settings):
    """Exit status, standard output and error of a record, or of a run in key mode that is sent keys and waited for."""
    run = start(server, environment, [] if keys else ["-runonce"], **settings)
    for key, after in keys or []:
        run.stdin.write(key + "\n")
        run.stdin.flush()
        after()
    out, err = run.communicate(timeout=60)
    assert PASSWORD not in out + err + log()
    return run.returncode, out, err


def log():
    """What the library has told in its log so far."""
    with open(LOG, "a+", encoding="utf-8") as file:
        file.seek(0)
        return file.read()


def record(server, environment=None):
    """A record with handle detail: the document, files by name, sessions, and SQL connections."""
    run = start(server, environment, ["-runonce", "-JSON"], HANDLES="")
    out, err = run.communicate(timeout=60)
    assert run.returncode == 0, out + err
    document = json.loads(out)
    return (document, {file["active_file_name"]: file for file in document["active_files"]["active_files_info"]},
            document["kestrin_active_sessions"]["active_session_info"],
            document["sql_connection_manager_active_sessions"]["session_info"])


def codes(handle):
    """Open mode, record locks, wait state and transaction state: "0S0 1019"."""
    return (MODES[" ".join(handle["open_mode"])] + LOCKS[handle["record_lock_type"]] +
            WAIT_STATES[handle["wait_state"]] + " " + STATES[handle["transaction_state"]])


def conformance(case, **settings):
    """Runs the conformance suite."""
    environment = {"VEXO_CONFORMANCE_" + name: value for name, value in settings.items() if name.isupper()}
    suite = subprocess.run([OPTIONS.conformance], stdout=subprocess.PIPE, text=True, check=False,
                           env={**os.environ, **environment, **settings.get("environment", {}),
                                "VEXO_CONFORMANCE_LIBRARY": OPTIONS.library})
    case.assertEqual(suite.returncode, 0, suite.stdout)


class Losses:
    """Servers that do not answer any more. A class of tests adds `new_server`, and the statuses that it expects."""

    def test_a_frozen_server_is_given_up(self):
        brief = {PREFIX + "CONNECT_TIMEOUT": "2", PREFIX + "READ_TIMEOUT": "2"}
        with self.new_server() as server:
            def freeze():
                server.wait_until_idle(1)
                server.signal(signal.SIGSTOP)
            # First in the middle of a run, then from the start.
            for keys in ([("", freeze), ("r", lambda: 0)], None):
                begun = time.monotonic()
                status, _, err = vexo(server.name, brief, keys)
                self.assertEqual((status, err.count(self.TIMEOUT + ": "), err.count("given up")), (1, 1, 1), err)
                self.assertLess(time.monotonic() - begun, 15)

    def test_a_killed_server_ends_the_record(self):
        with self.new_server() as server:
            server.occupy()
            stuck = start(server.name)
            fcntl.fcntl(stuck.stdout, 1031, 4096)  # F_SETPIPE_SZ: it stops in the middle, since nobody reads
            server.wait_until_idle(1)
            server.signal(signal.SIGKILL)
            out, err = stuck.communicate(timeout=60)
            self.assertEqual(stuck.returncode, 1)
            self.assertIn("ACTIVE FILES: ", out)
            self.assertRegex(err, re.compile(f"^({self.LOST}): ", re.M))


def main(description, prefix):
    """Runs the tests of the calling script. Arguments behind the options are those of unittest."""
    global OPTIONS, PREFIX
    parser = argparse.ArgumentParser(description=description)
    for option in ("program", "library", "conformance", "lost-server"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    PREFIX = prefix
    unittest.main(module="__main__", argv=[sys.argv[0], *rest], warnings="ignore")
