# SPDX-License-Identifier: MIT
"""Runs of the recorder in a directory of their own, and what their sinks hold. The environment tells where the programs
are: AGENT, LIBRARY, and PARTS, what the recorder is built with."""
import json
import os
import shlex
import tempfile
import unittest

from session import SOURCE, Session, content_of

SETTINGS = {"SERVER": "shop", "USER": "monitor", "PASSWORD": "secret", "REFRESH": "0", "LIMIT": "0",
            "OUTPUT": "console", "NAME": "", "FILES": "yes", "SESSIONS": "yes", "CONNECTIONS": "yes",
            "RESOURCES": "yes", "COMMUNICATIONS": "yes", "HANDLES": "yes"}
SHOP = content_of(SOURCE + "/examples/scenarios/shop.toml").decode()
ALL_SECTIONS = ["files", "sessions", "connections", "usage", "communications"]
FROZEN = '[[fault]]\nfunction = "XrGetKesdUsageEx2"\ndelay_ms = 3600000\n'
PARTS = os.environ["PARTS"].split(",")


class Runs(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def path(self, name):
        return os.path.join(self.directory, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8", newline="") as file:
            file.write(text)

    def start(self, arguments, scenario=SHOP, environment=(), settings=(), **surroundings):
        if scenario is not None:
            self.write("scenario.toml", scenario)
        if settings is not None:
            self.write("vexo.cfg", "".join(f"{name}={value}\n" for name, value in {**SETTINGS, **dict(settings)}.items()))
        variables = {"VEXO_ENGINE_LIBRARY": os.environ["LIBRARY"], "XRSIM_SCENARIO": self.path("scenario.toml"),
                     "XRSIM_TRACE": self.path("calls"), **dict(environment)}
        run = Session([*shlex.split(os.environ.get("VEXO_CASE_WRAPPER", "")), os.environ["AGENT"], "-f", "vexo.cfg", *arguments.split()], self.directory, variables,
                      **surroundings)
        self.addCleanup(run.__exit__)
        return run

    def records(self, name="out", whole=True):
        """Lists of lines; every one is a record from its first to its last line. A last one may not be whole yet."""
        records, text = [], content_of(self.path(name)).decode()
        for line in filter(None, (text if whole else text[:text.rfind("\n") + 1]).split("\n")):
            item = json.loads(line)
            if item["kind"] == "record":
                records.append([])
            records[-1].append(item)
            self.assertEqual(item["rec"], records[-1][0]["rec"])
        if not whole and records and records[-1][-1]["kind"] != "end":
            records.pop()
        for record in records:
            self.assertEqual((record[-1]["kind"], record[-1]["items"]), ("end", len(record) - 2))
        return records

    def events(self, name="out", **given):
        return [item for record in self.records(name, **given) for item in record if item["kind"] == "event"]

    def await_event(self, run, kind, name="out"):
        def came():
            return any(event["event"] == kind for event in self.events(name, whole=False))
        self.assertTrue(run.until(came), f"no {kind}: {run.written}")

    def await_records(self, run, count, name="out"):
        self.assertTrue(run.until(lambda: len(self.records(name, whole=False)) >= count), run.written)

    def stop(self, run, status="0", within=5, signal="TERM"):
        run.act(["signal " + signal])
        ended, took = run.end()
        self.assertEqual(ended, status, run.written)
        self.assertLess(took, within)
