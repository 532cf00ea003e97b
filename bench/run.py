#!/usr/bin/python3
"""Drives the benchmark servers and prints one block per row.

usage: run.py BUILD_FOLDER [--rounds N] [--only REGEX] [--before FOLDER REVISION] [--write] [--list]

Method: each round measures all servers of a row, then all of them again in reverse (A B B A). A round's ratio is the
mean of the library's (or the kit's) two figures over the mean of the other's two; a row's ratio is the median of the rounds, and its
figures are medians. BUILD_FOLDER/results.json keeps everything; --write brings it into docs/. --only
takes a part of "group: name" or an expression, --list prints these names.
"""
import argparse
import datetime
import json
import pathlib
import platform
import re
import resource
import statistics
import subprocess
import sys
import tempfile
import time
import traceback
from dataclasses import asdict

import page
import rows
from costs import Counted
from servers import LABELS, Server, make_files, make_replies

ROOT = pathlib.Path(__file__).resolve().parent.parent


class Subject:
    """A server by name: its running processes are started when a row first asks for them."""

    def __init__(self, bench, name):
        self.bench, self.name, self.running = bench, name, {}

    def server(self):
        return self.started("", lambda: Server(self.bench, self.name))

    def counted(self, routes):
        return self.started(routes, lambda: Counted(self.bench, self.name, routes))

    def started(self, kind, start):
        if kind not in self.running:
            self.running[kind] = start()
        return self.running[kind]

    def stop(self):
        for server in self.running.values():
            server.stop()
        self.running.clear()


class Bench:
    """Where the programs and the files are, and the servers of this run."""

    def __init__(self, build, folder, before):
        self.build, self.folder, self.before = build, folder, before and pathlib.Path(before[0]).resolve()
        self.subjects = {name: Subject(self, name) for name in LABELS if name != "before" or before}

    def library(self, name):
        return self.before / "libsdkapi.so" if name == "before" else f"{self.build}/src/libsdkapi.so"

    def stop(self):
        for subject in self.subjects.values():
            subject.stop()


def middle(values):
    """The median of what was measured; of texts the last; None where one is missing."""
    if any(value is None for value in values):
        return None
    return values[-1] if isinstance(values[-1], str) else statistics.median(values)


def medians(figures):
    return {field: middle([figure[field] for figure in figures if field in figure])
            for field in dict.fromkeys(field for figure in figures for field in figure)}


def ratio(rounds, first, name, field):
    """The first one's field over another's: median, lowest and highest of the rounds; None without both."""
    ratios = []
    for figures in rounds:
        ours, theirs = ([figure.get(field) for figure in figures[key]] for key in (first, name))
        if None in ours or None in theirs or sum(theirs) == 0:
            return None
        ratios.append(sum(ours) / sum(theirs))
    return [statistics.median(ratios), min(ratios), max(ratios)]


def measure(bench, row, rounds):
    """A row of the results."""
    names = [name for name in row.subjects if name in bench.subjects]
    done = []
    for _ in range(row.rounds or rounds):
        figures = {name: [] for name in names}
        # A row of one round counts what does not vary: once is enough.
        for name in names if row.rounds == 1 else names + names[::-1]:
            figures[name].append(row.measure(bench.subjects[name]))
        done.append(figures)
    result = {key: getattr(row, key) for key in ("group", "name", "unit", "per", "limit", "lower_is_better")}
    result["figures"] = {name: medians([figure for figures in done for figure in figures[name]]) for name in names}
    result["limits"] = {name: limit() for name, limit in row.limits}
    result["ratios"] = {name: {field: ratio(done, names[0], name, field) for field in ("value", "cpu")} for name in names[1:]}
    result["targets"] = [asdict(target) for target in row.targets]
    return result


def machine():
    model = re.search(r"^model name\s*:\s*(.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    return {"cores": len(re.findall(r"^processor", pathlib.Path("/proc/cpuinfo").read_text(), re.M)),
            "model": model.group(1) if model else platform.machine(), "kernel": platform.release().split("-")[0],
            "congestion": pathlib.Path("/proc/sys/net/ipv4/tcp_congestion_control").read_text().strip(),
            "system": platform.freedesktop_os_release()["PRETTY_NAME"],
            "openssl": subprocess.run(["openssl", "version"], capture_output=True, text=True, check=True).stdout.split()[1]}


def functions(build):
    """Times of single functions, by Google Benchmark."""
    text = subprocess.run([f"{build}/bench/bench-functions", "--benchmark_format=json"], capture_output=True, text=True,
                          check=True).stdout
    return {entry["name"]: entry["real_time"] for entry in json.loads(text)["benchmarks"] if entry["run_type"] == "iteration"}


def run(bench, chosen, rounds, keep):
    """Measures row after row; returns the names of those that failed."""
    failed, group = [], None
    for row in chosen:
        if row.group != group:
            bench.stop()
            group = row.group
        begun = time.monotonic()
        try:
            result = measure(bench, row, rounds)
        except Exception:  # the other rows are worth having
            traceback.print_exc()
            bench.stop()
            failed.append(row.name)
            continue
        keep(result)
        print(page.as_text(result), f"   [{time.monotonic() - begun:.0f} s]", sep="", flush=True)
    bench.stop()
    return failed


def wanted(only, name):
    return only in name or re.search(only, name)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--only", default="")
    parser.add_argument("--before", nargs=2)
    parser.add_argument("--write", action="store_true")
    parser.add_argument("--list", action="store_true")
    arguments = parser.parse_args()
    everything = list(rows.all_rows())
    chosen = [row for row in everything if wanted(arguments.only, f"{row.group}: {row.name}")]
    if arguments.list:
        print("\n".join(f"{row.group}: {row.name}" for row in chosen))
        return
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (max(soft, min(hard, 65536)), hard))

    revision = subprocess.run(["git", "describe", "--always", "--dirty"], cwd=ROOT, capture_output=True, text=True,
                              check=False).stdout.strip()
    results = {"date": datetime.date.today().isoformat(), "revision": revision, "machine": machine(), "rows": [],
               "order": [[row.group, row.name] for row in everything],
               "before": arguments.before[1] if arguments.before else None}
    begun = time.monotonic()
    with tempfile.TemporaryDirectory() as temporary:
        bench = Bench(str(pathlib.Path(arguments.build).resolve()), pathlib.Path(temporary), arguments.before)
        make_files(bench.folder)
        make_replies(bench)
        failed = run(bench, chosen, arguments.rounds, results["rows"].append)
    if wanted(arguments.only, "functions"):
        results["functions"] = functions(arguments.build)
    print(f"{len(results['rows'])} rows in {(time.monotonic() - begun) / 60:.1f} minutes")
    (pathlib.Path(arguments.build) / "results.json").write_text(json.dumps(results, indent=1) + "\n")
    if arguments.write:
        page.write(ROOT, results)
    if failed:
        sys.exit(f"failed: {', '.join(failed)}")


main()
