#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What recording a MariaDB server costs beside a load of 100 sessions: phases with vexo-agent, a record every 5 seconds,
between phases without.

Arguments: a build with vexo-agent, the MariaDB library and server_load; the number of pairs of phases (6); and for how many
seconds a phase lasts (30).
"""
import json
import os
import statistics
import subprocess
import sys
import tempfile

SESSIONS = 100
build = os.path.abspath(sys.argv[1])
pairs = int(sys.argv[2]) if len(sys.argv) > 2 else 6
seconds = int(sys.argv[3]) if len(sys.argv) > 3 else 30
here = os.path.dirname(os.path.abspath(__file__))


def cpu_seconds(pid):
    with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


with tempfile.TemporaryDirectory() as folder:
    server = subprocess.Popen([here + "/../tests/mariadb/throw-away-server", "--max-connections=200", "--userstat=1",
                               "--innodb-buffer-pool-size=64M"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    pid, path, port, _ = server.stdout.readline().split()

    def ask(statement):
        return subprocess.run(["mariadb", "--no-defaults", "-N", "-S", path, "-u", "root", "-e", statement], check=True,
                              capture_output=True, text=True).stdout.strip()
    ask("CREATE DATABASE shop; CREATE TABLE shop.items (id INT PRIMARY KEY, stock INT) ENGINE=InnoDB;"
        "INSERT INTO shop.items SELECT seq, 100 FROM shop.seq_0_to_10100; CREATE USER vexo@localhost;"
        "GRANT PROCESS ON *.* TO vexo@localhost; GRANT SELECT ON performance_schema.* TO vexo@localhost")
    with open(here + "/../examples/mariadb.cfg", encoding="utf-8") as file:
        settings = file.read().replace("/run/mysqld/mysqld.sock", path)
    with open(folder + "/cfg", "w", encoding="utf-8") as file:
        file.write(settings)
    load = subprocess.Popen([build + "/bin/server_load", port, str(SESSIONS), str(seconds)], stdout=subprocess.PIPE,
                            text=True)
    phases, agent_cpu = {False: [], True: []}, 0
    load.stdout.readline()  # warm
    for phase in range(2 * pairs):
        agent = None
        if phase % 2:
            agent = subprocess.Popen(
                [build + "/bin/vexo-agent", "-f", folder + "/cfg", "--interval", "5s", "--history", folder + "/h",
                 "--ndjson", folder + "/out"], stderr=subprocess.DEVNULL,
                env={**os.environ, "VEXO_ENGINE_LIBRARY": build + "/lib/libxrmariadb.so"})
        before = cpu_seconds(pid)
        transactions, median, p99 = map(float, load.stdout.readline().split())
        phases[bool(agent)].append((transactions, median, p99, (cpu_seconds(pid) - before) / seconds * 100))
        if agent:
            agent_cpu += cpu_seconds(agent.pid)
            agent.terminate()
            agent.wait()
    by_user = float(ask("SELECT cpu_time FROM information_schema.user_statistics WHERE user = 'vexo'"))
    with open(folder + "/out", encoding="utf-8") as file:
        kinds = [json.loads(line) for line in file]
    load.kill()
    server.stdin.close()
    server.wait()
records = [line for line in kinds if line["kind"] == "end" and not line["failed_sections"]]
for title, rows in (("without", phases[False]), ("with", phases[True])):
    middle = [statistics.median(column) for column in zip(*rows)]
    print(f"{title:8}{middle[0]:8.1f} transactions/s, median {middle[1]:.2f} ms, p99 {middle[2]:.2f} ms, "
          f"server {middle[3]:.1f} % of a core")
print(f"{len(records)} records whole of {sum(line['kind'] == 'record' for line in kinds) - pairs}, "
      f"{len(kinds) / max(len(records), 1):.0f} lines each; a record: agent {agent_cpu / len(records) * 1000:.1f} ms, server "
      f"{by_user / len(records) * 1000:.1f} ms of CPU, {statistics.median(line['took_ms'] for line in records):.1f} ms to read")
print("load of the machine:", *os.getloadavg())
