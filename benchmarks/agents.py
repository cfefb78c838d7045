#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What many agents cost beside one Prometheus that scrapes them all, each recording a simulated engine every 5 seconds.

Arguments: a build with vexo-agent and the simulated engine, the number of agents (50), and for how many seconds (60).
"""
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.parse
import urllib.request

FIRST_PORT = 20100
SETTLING_S = 15

build = os.path.abspath(sys.argv[1])
agents = int(sys.argv[2]) if len(sys.argv) > 2 else 50
seconds = int(sys.argv[3]) if len(sys.argv) > 3 else 60
settings = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "examples", "vexo.cfg")
prometheus = f"127.0.0.1:{FIRST_PORT - 1}"


def cpu_seconds(process):
    with open(f"/proc/{process.pid}/stat", encoding="utf-8") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def resident_mb(process):
    with open(f"/proc/{process.pid}/statm", encoding="utf-8") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") / 1e6


def ask(query):
    with urllib.request.urlopen(f"http://{prometheus}/api/v1/query?" + urllib.parse.urlencode({"query": query})) as answer:
        return float(json.load(answer)["data"]["result"][0]["value"][1])


with tempfile.TemporaryDirectory() as folder:
    targets = [f"127.0.0.1:{FIRST_PORT + number}" for number in range(agents)]
    with open(f"{folder}/prometheus.yml", "w", encoding="utf-8") as file:
        json.dump({"global": {"scrape_interval": "5s"},
                   "scrape_configs": [{"job_name": "vexo", "static_configs": [{"targets": targets}]}]}, file)
    started = []
    try:
        for target in targets:
            started.append(subprocess.Popen(
                [f"{build}/bin/vexo-agent", "-f", settings, "--interval=5s", f"--listen={target}",
                 f"--history={folder}/{target}.history"], stderr=subprocess.DEVNULL,
                env={**os.environ, "VEXO_ENGINE_LIBRARY": f"{build}/lib/libxrsim.so"}))
        started.append(subprocess.Popen(
            ["prometheus", f"--config.file={folder}/prometheus.yml", f"--storage.tsdb.path={folder}/data",
             f"--web.listen-address={prometheus}"], stderr=subprocess.DEVNULL))
        time.sleep(SETTLING_S)
        before = [cpu_seconds(process) for process in started]
        time.sleep(seconds)
        percent = [(cpu_seconds(process) - used) / seconds * 100 for process, used in zip(started, before)]
        resident = [resident_mb(process) for process in started]
        print(f"an agent: {statistics.mean(percent[:-1]):.3f} % of a core, {max(resident[:-1]):.1f} MB at most")
        print(f"Prometheus: {percent[-1]:.1f} % of a core, {resident[-1]:.0f} MB")
        print(f"{ask('count(vexo_up == 1)'):.0f} engines up, {ask('sum(scrape_samples_scraped)'):.0f} series, a scrape "
              f"{ask('quantile(0.5, scrape_duration_seconds)') * 1000:.1f} ms, the slowest "
              f"{ask(f'max(max_over_time(scrape_duration_seconds[{seconds}s]))') * 1000:.0f} ms, "
              f"{ask(f'sum(1 - min_over_time(up[{seconds}s]))'):.0f} missed")
    finally:
        for process in started:
            process.terminate()
        for process in started:
            process.wait()
