#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""What the PostgreSQL library sees and costs, on a throw-away server.

Usage: benchmarks/postgres.py BUILD pairs|cost|effect|memory
  pairs   a random load on a few rows: of the blocking pairs that the server names before and after a record, how many
          the record shows
  cost    a record of every section beside the bare statements, at 10, 200 and 1,000 connections
  effect  what others notice of a record every 5 seconds
  memory  of the monitor over 2,000 records"""
import ctypes
import multiprocessing
import os
import random
import statistics
import subprocess
import sys
import time

import psycopg2

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
EDGES = "SELECT pid, b FROM pg_stat_activity, unnest(pg_blocking_pids(pid)) b WHERE wait_event_type = 'Lock'"
# The statements of a record, as they stand in backends/postgres/Queries.h.
QUERIES = {}
SCHEMA = """CREATE TABLE items (id int PRIMARY KEY, v int, u int UNIQUE);
INSERT INTO items SELECT i, i, i FROM generate_series(1, 15) i;
CREATE TABLE orders (id serial PRIMARY KEY, item int REFERENCES items, n int);
CREATE TABLE uq (id int PRIMARY KEY); CREATE TABLE old (id int, v int); CREATE INDEX ON old (id);
CREATE TABLE parts (id int PRIMARY KEY, v int) PARTITION BY RANGE (id);
CREATE TABLE part1 PARTITION OF parts FOR VALUES FROM (0) TO (8);
CREATE TABLE part2 PARTITION OF parts FOR VALUES FROM (8) TO (20);
INSERT INTO parts SELECT i, i FROM generate_series(1, 15) i; ANALYZE"""
STATEMENTS = ("UPDATE items SET v = v + 1 WHERE id = {}", "UPDATE items SET v = v + 1 WHERE id = {}",
              "UPDATE items SET v = v + 1 WHERE id IN ({}, {})", "SELECT * FROM items WHERE id = {} FOR UPDATE",
              "SELECT * FROM items WHERE id = {} FOR NO KEY UPDATE", "SELECT * FROM items WHERE id = {} FOR SHARE",
              "SELECT * FROM items WHERE id = {} FOR KEY SHARE", "INSERT INTO orders (item, n) VALUES ({}, 1)",
              "DELETE FROM orders WHERE item = {}", "UPDATE items SET u = u WHERE u = {}",
              "INSERT INTO uq VALUES ({}) ON CONFLICT DO NOTHING", "INSERT INTO uq VALUES ({})",
              "DELETE FROM uq WHERE id = {}", "UPDATE parts SET v = v + 1 WHERE id = {}",
              "SELECT pg_advisory_xact_lock({})", "LOCK TABLE old IN SHARE ROW EXCLUSIVE MODE",
              "INSERT INTO old VALUES ({}, 1)", "ALTER TABLE old ALTER v SET DEFAULT {}",
              "SELECT count(*) FROM old, items")


class Handle(ctypes.Structure):
    _fields_ = [("client", ctypes.c_uint32), ("mode", ctypes.c_uint8), ("lock", ctypes.c_uint8),
                ("wait", ctypes.c_uint8), ("rest", ctypes.c_uint8 * 1069)]


class Library:
    """The library, called as a monitor calls it."""

    def __init__(self, path, server):
        self.xr, self.h, self.count = ctypes.CDLL(path), ctypes.c_int32(), ctypes.c_uint32()
        self.check(self.xr.XrStart(None))
        self.check(self.xr.XrConnectServer(server.encode(), b"vexo", b"demo", ctypes.byref(self.h)))

    @staticmethod
    def check(status):
        if status & 0xffff:
            raise RuntimeError(f"status {status & 0xffff}")

    def files(self):
        """The handles of each file."""
        self.check(self.xr.XrGetOpenFilesData(self.h, ctypes.byref(self.count)))
        name, size, handle, found = ctypes.create_string_buffer(1024), ctypes.c_uint32(), Handle(), {}
        for index in range(self.count.value):
            size.value = 1024
            self.check(self.xr.XrGetOpenFileName(self.h, index, ctypes.byref(size), name))
            handles, number = [], 0
            while not self.xr.XrGetFileHandleInfo(self.h, name, number, ctypes.byref(handle)) & 0xffff:
                handles.append((handle.client, handle.wait))
                number += 1
            found[name.value] = handles
        self.xr.XrFreeOpenFilesData(self.h)
        return found

    def record(self):
        """All sections; what the monitor does with them is measured elsewhere."""
        buffer = ctypes.create_string_buffer(4096)
        for section, free in (("XrGetOpenFilesData", "XrFreeOpenFilesData"),
                              ("XrGetKesdClientsData", "XrFreeKesdClientsData"),
                              ("XrGetSQLConnectionsData", "XrFreeSQLConnectionsData"),
                              ("XrGetKesdUsageEx2", None), ("XrGetKesdCommStatEx", None)):
            self.check(getattr(self.xr, section)(self.h, buffer))
            if free:
                getattr(self.xr, free)(self.h)


class Server:
    def __init__(self, *options):
        # Else it depends on the layout of a server process' heap whether it gives memory back and takes it again with
        # every statement, which costs 0.1 ms each.
        os.environ.update(MALLOC_TRIM_THRESHOLD_="67108864", MALLOC_TOP_PAD_="1048576")
        self.process = subprocess.Popen([os.path.join(ROOT, "tests/postgres/throw-away-server"), *options],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.pid, self.socket, self.port = self.process.stdout.readline().split()
        admin = self.connect()
        self.ask(admin, "CREATE ROLE vexo LOGIN PASSWORD 'demo'; GRANT pg_read_all_stats TO vexo")
        self.ask(admin, "CREATE DATABASE shop")
        os.environ.update(PGDATABASE="shop", PGPORT=self.port, PGSSLMODE="disable")
        self.admin = self.connect(dbname="shop")
        self.ask(self.admin, SCHEMA)

    def connect(self, **how):
        connection = psycopg2.connect(**{"host": self.socket, "port": self.port, "user": "postgres",
                                         "dbname": "postgres", **how})
        connection.autocommit = True
        return connection

    @staticmethod
    def ask(connection, statement):
        with connection.cursor() as cursor:
            cursor.execute(statement)
            return cursor.fetchall() if cursor.description else None

    def crowd(self, count):
        """Sessions, 70 % of them in a transaction that has three tables and their indexes in use."""
        sessions = []
        for number in range(count):
            sessions.append(self.connect(dbname="shop"))
            if number % 10 < 7:
                self.ask(sessions[-1], "BEGIN; SELECT * FROM items, parts, old WHERE items.id = 1")
        return sessions

    def end(self):
        self.process.stdin.close()
        self.process.wait()


def disturb(server, number, end):
    """A session of the random load."""
    chance = random.Random(number)
    session = server.connect(dbname="shop")
    while not end.is_set():
        try:
            server.ask(session, "BEGIN")
            for _ in range(chance.randint(1, 4)):
                server.ask(session, chance.choice(STATEMENTS).format(chance.randint(1, 15), chance.randint(1, 15)))
                time.sleep(chance.random() * 0.01)
            server.ask(session, chance.choice(("COMMIT", "COMMIT", "ROLLBACK")))
        except psycopg2.Error:
            server.ask(session, "ROLLBACK")


def pairs(path, seconds=45, sessions=25):
    server = Server("-c", "deadlock_timeout=300ms")
    library = Library(path, server.socket)
    end = multiprocessing.Event()
    load = [multiprocessing.Process(target=disturb, args=(server, number, end), daemon=True)
            for number in range(sessions)]
    for one in load:
        one.start()
    records = named = shown = moved = 0
    until = time.monotonic() + seconds
    while time.monotonic() < until:
        before = set(server.ask(server.admin, EDGES))
        files = library.files().values()
        certain = before & set(server.ask(server.admin, EDGES))
        seen = {(waiter, other) for handles in files for waiter, wait in handles if wait for other, _ in handles}
        records, named, shown = records + 1, named + len(certain), shown + len(certain & seen)
        moved += sum(waiter not in {one for one, _ in seen} for waiter, _ in certain - seen)
    end.set()
    print(f"{records} records, {named} pairs named before and after, {shown} of them shown; of the others, {moved} have a "
          "waiter that did not wait at that moment", flush=True)
    for one in load:
        one.terminate()
    server.end()


def read_queries():
    """The statements from the source that sends them."""
    text = open(os.path.join(ROOT, "backends/postgres/Queries.h"), encoding="ascii").read()
    for part in text.split("constexpr const char* k")[1:]:
        name, value = part.split(" =", 1)
        QUERIES[name] = "".join(value.split(";\n")[0].strip().split('"')[1::2])


class Bare:
    """The statements of a record, sent by libpq with no look at the rows."""

    def __init__(self, server, user="vexo"):
        self.pq = ctypes.CDLL("libpq.so.5")
        for function in ("PQconnectdb", "PQexec"):
            getattr(self.pq, function).restype = ctypes.c_void_p
        self.connection = ctypes.c_void_p(self.pq.PQconnectdb(
            f"host={server.socket} port={server.port} user={user} password=demo dbname=shop".encode()))
        relations = server.ask(server.admin, "SELECT string_agg(DISTINCT relation::text, ',') FROM pg_locks")[0][0]
        joined = [QUERIES[name] for name in ("Locks", "Prepared", "Processes")]
        joined.append(QUERIES["Relations"].replace("$1", "'{%s}'" % relations))
        self.statements = joined * 3 + [QUERIES["Processes"]] * 2 + [QUERIES["Counters"]]

    def send(self, statement):
        self.pq.PQclear(ctypes.c_void_p(self.pq.PQexec(self.connection, statement.encode())))

    def record(self):
        for statement in self.statements:
            self.send(statement)


def busy(process):
    """CPU time of a process of the server, in ms."""
    with open(f"/proc/{process}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(") ", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) * 1000 / os.sysconf("SC_CLK_TCK")


def cost(path):
    read_queries()
    print("connections   record ms   bare ms   ratio   CPU of both sides: record ms   bare ms   ratio")
    for count, rounds in ((10, 400), (200, 200), (1000, 80)):
        server = Server("-c", f"max_connections={count + 20}")
        sessions = server.crowd(count)
        library, bare = Library(path, server.socket), Bare(server)
        wall, cpu = {library.record: [], bare.record: []}, {library.record: 0.0, bare.record: 0.0}
        serves = {run: server.ask(server.admin, "SELECT pid FROM pg_stat_activity WHERE usename = 'vexo' AND "
                                  f"(application_name = 'vexo') = {run == library.record}")[0][0] for run in wall}
        for number in range(rounds + rounds // 5):
            for run in sorted(wall, key=lambda _: random.random()):
                begun, used = time.perf_counter(), time.process_time() * 1000 + busy(serves[run])
                run()
                if number >= rounds // 5:
                    cpu[run] += time.process_time() * 1000 + busy(serves[run]) - used
                    wall[run].append((time.perf_counter() - begun) * 1000)
        full, floor = (statistics.median(wall[run]) for run in wall)
        used, least = (cpu[run] / rounds for run in cpu)
        print(f"{count:11}{full:12.2f}{floor:10.2f}{full / floor:8.2f}{used:30.2f}{least:10.2f}{used / least:8.2f}",
              flush=True)
        for session in sessions:
            session.close()
        server.end()


def probe(server, seconds, answer):
    """What another session's small transactions take, in ms."""
    bare = Bare(server, "postgres")
    times = []
    until = time.perf_counter() + seconds
    while time.perf_counter() < until:
        begun = time.perf_counter()
        bare.send("BEGIN; LOCK TABLE old IN ACCESS SHARE MODE; ROLLBACK")
        times.append((time.perf_counter() - begun) * 1000)
    answer.put(times)


def effect(path, count=1000, windows=10, seconds=10):
    read_queries()
    server = Server("-c", f"max_connections={count + 20}")
    sessions = server.crowd(count)
    library = Library(path, server.socket)
    times = {True: [], False: []}
    for window in range(2 * windows):
        answer = multiprocessing.Queue()
        prober = multiprocessing.Process(target=probe, args=(server, seconds, answer))
        prober.start()
        until = time.monotonic() + seconds
        while time.monotonic() < until:
            if window % 2:
                library.record()
            time.sleep(min(5, max(0, until - time.monotonic())))
        times[bool(window % 2)] += answer.get()
        prober.join()
    for recorded, values in sorted(times.items()):
        values.sort()
        print("a record every 5 s:" if recorded else "without:           ",
              "transactions %d, ms at the median %.3f, p99 %.3f, p99.9 %.3f, p99.99 %.2f, worst %.2f" %
              (len(values), *(values[int(len(values) * part)] for part in (0.5, 0.99, 0.999, 0.9999)), values[-1]),
              flush=True)
    for session in sessions:
        session.close()
    server.end()


def memory(path, records=2000, count=200):
    server = Server("-c", f"max_connections={count + 20}")
    sessions = server.crowd(count)
    settings = os.path.join("/tmp", f"vexo-{os.getpid()}.cfg")
    with open(settings, "w", encoding="ascii") as file:
        file.write(f"SERVER={server.socket}\nUSER=vexo\nPASSWORD=demo\nREFRESH=0\nLIMIT=0\nOUTPUT=console\nNAME=\n"
                   "FILES=\nSESSIONS=\nCONNECTIONS=\nRESOURCES=\nCOMMUNICATIONS=\nHANDLES=\n")
    with subprocess.Popen([os.path.join(sys.argv[1], "bin/vexo"), "-f", settings], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE, text=True,
                          env={**os.environ, "VEXO_ENGINE_LIBRARY": path}) as monitor:
        written = 0
        for line in monitor.stdout:
            if "TCP/IP Remote Sessions" in line:  # the last line of a record
                written += 1
                if written in (1, 10, 100, records // 2, records):
                    status = open(f"/proc/{monitor.pid}/status", encoding="ascii").read()
                    files = len(os.listdir(f"/proc/{monitor.pid}/fd"))
                    print(f"record {written}:", status.split("VmRSS:")[1].split("\n")[0].strip(), f"{files} files",
                          flush=True)
                monitor.stdin.write("q\n" if written == records else "r\n")
                monitor.stdin.flush()
    os.remove(settings)
    for session in sessions:
        session.close()
    server.end()


if __name__ == "__main__":
    if len(sys.argv) != 3 or sys.argv[2] not in ("pairs", "cost", "effect", "memory"):
        sys.exit(__doc__)
    print("load:", os.getloadavg())
    globals()[sys.argv[2]](os.path.abspath(os.path.join(sys.argv[1], "lib/libxrpostgres.so")))
    print("load:", os.getloadavg())
