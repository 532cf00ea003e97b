#!/usr/bin/python3
"""Runs the library and its baselines side by side and prints ratios.

usage: run.py BUILD_FOLDER [--rounds N] [--seconds S] [--only REGEX]

Method: library (A) and bare web server (B) on the same CivetWeb build, options and bytes, interleaved
A B B A per round; a round's ratio is the mean of its A figures over the mean of its B figures; printed is
the median of the rounds with their lowest and highest. Everything is left in BUILD_FOLDER/results as JSON,
as tables and as a plot.
"""
import argparse
import json
import pathlib
import re
import statistics
import subprocess
import tempfile

import growth
import instructions
import memory
from load import broadcast, get_file, kept_download, post_file, watch, wrk
from servers import SIZES, Server, make_files


class Comparison:
    """Collects rows of ratios; names that the pattern does not match are left out."""

    def __init__(self, rounds, only):
        self.rounds, self.only, self.rows = rounds, re.compile(only), []

    def compare(self, name, unit, measure, library, baseline, target=None):
        """Measures A B B A per round; a figure may be a tuple whose further members are kept beside it."""
        if not self.only.search(name):
            return
        ratios, ours, theirs = [], [], []
        for _ in range(self.rounds):
            figures = [measure(server) for server in (library, baseline, baseline, library)]
            figures = [figure if isinstance(figure, tuple) else (figure,) for figure in figures]
            first, second, third, fourth = (figure[0] for figure in figures)
            ratios.append((first + fourth) / (second + third))
            ours += [figures[0], figures[3]]
            theirs += figures[1:3]
        row = {"name": name, "unit": unit, "target": target, "ratio": statistics.median(ratios), "lowest": min(ratios),
               "highest": max(ratios), "library": medians(ours), "baseline": medians(theirs)}
        self.rows.append(row)
        print(f"{name:46} {show(row['library']):>26} {show(row['baseline']):>26} {unit:8} ratio {row['ratio']:.3f} "
              f"({row['lowest']:.3f} to {row['highest']:.3f})", flush=True)


def medians(figures):
    return [statistics.median(column) for column in zip(*figures)]


def show(figures):
    return " / ".join(f"{figure:.4g}" if figure < 1000 else f"{figure:.0f}" for figure in figures)


def compare_servers(table, library, bare, folder, seconds):
    script = str(folder / "login.lua")
    for tls in (False, True):
        scheme = "https" if tls else "http"
        table.compare(f"{scheme} GET device information", "req/s", lambda s: wrk(s, "/dev_info", seconds, tls), library,
                      bare, 0.97)
        table.compare(f"{scheme} POST login", "req/s", lambda s: wrk(s, "/api/v1/auth/login", seconds, tls, script),
                      library, bare, 0.97)
        for label, size in SIZES.items():
            count = {"1 KB": 2000, "1 MB": 200, "200 MB": 2}[label]
            table.compare(f"{scheme} upload {label}", "MB/s",
                          lambda s: statistics.mean(post_file(s, size, tls) for _ in range(count)), library, bare, 0.9)
            table.compare(f"{scheme} download {label}", "MB/s",
                          lambda s: statistics.mean(get_file(s, size, tls) for _ in range(count)), library, bare, 0.65)
        table.compare(f"{scheme} download 1 KB, kept connection", "ms", lambda s: kept_download(s, tls), library, bare)
        for viewers in (1, 4, 16):
            table.compare(f"{scheme} preview, {viewers} viewers", "pict/s", lambda s: watch(s, viewers, seconds, tls),
                          library, bare, 0.9)
    for clients in (1, 10, 40):
        table.compare(f"broadcast to {clients}", "texts/s", lambda s: broadcast(s, clients, 200000 // clients), library,
                      bare, 0.9)


def compare_peers(table, build, folder, library, seconds):
    for name in ("microhttpd", "httplib"):
        if pathlib.Path(f"{build}/bench/bench-{name}").exists():
            peer = Server(build, name, folder)
            table.compare(f"http GET device information, peer {name}", "req/s", lambda s: wrk(s, "/dev_info", seconds),
                          library, peer)
            peer.stop()


def life(build, folder, rounds):
    """Start, stop and idle memory of a process, and the library's size without symbols."""
    figures = {}
    for name in ("library", "bare"):
        servers = []
        for _ in range(rounds):
            server = Server(build, name, folder)
            servers.append((server.start_seconds * 1000, server.stop() * 1000, server.idle_memory / 1024))
        figures[name] = dict(zip(("start ms", "stop ms", "idle MiB"), medians(servers)))
    stripped = pathlib.Path(folder) / "stripped.so"
    subprocess.run(["strip", "-o", stripped, f"{build}/src/libsdkapi.so"], check=True)
    figures["library"]["stripped bytes"] = stripped.stat().st_size
    print(json.dumps(figures), flush=True)
    return figures


def markdown(results):
    """The tables of the results, ready for a document."""
    lines = ["| measured | unit | library | baseline | ratio | lowest to highest | target |", "|---|---|---|---|---|---|---|"]
    for row in results["rows"]:
        lines.append(f"| {row['name']} | {row['unit']} | {show(row['library'])} | {show(row['baseline'])} "
                     f"| {row['ratio']:.3f} | {row['lowest']:.3f} to {row['highest']:.3f} | {row['target'] or ''} |")
    for title in ("instructions", "memory"):
        lines += ["", f"| {title} | library | bare | ratio |", "|---|---|---|---|"]
        for row in results.get(title, []):
            lines.append(f"| {row['name']} | {row['library']:.1f} | {row.get('bare', 0):.1f} | {row.get('ratio', 0):.3f} |")
    for name, points in results.get("growth", {}).get("points", {}).items():
        lines += ["", f"| {name} | {' | '.join(str(x) for x, _ in points)} |", "|---" * (len(points) + 1) + "|",
                  f"| {results['growth']['units'][name]} | {' | '.join(f'{y:.4g}' for _, y in points)} |"]
    return "\n".join(lines) + "\n"


def measure(build, folder, arguments):
    table = Comparison(arguments.rounds, arguments.only)
    library, bare = Server(build, "library", folder), Server(build, "bare", folder)
    compare_servers(table, library, bare, folder, arguments.seconds)
    compare_peers(table, build, folder, library, arguments.seconds)
    library.stop()
    bare.stop()
    results = {"rows": table.rows}
    for name, work in (("instructions", lambda: instructions.measure(build, folder)),
                       ("memory", lambda: memory.measure(build, folder)),
                       ("life", lambda: life(build, folder, arguments.rounds)),
                       ("growth", lambda: growth.measure(build, folder))):
        if table.only.search(name):
            results[name] = work()
    return results


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--seconds", type=int, default=1)
    parser.add_argument("--only", default="")
    arguments = parser.parse_args()
    build = str(pathlib.Path(arguments.build).resolve())
    out = pathlib.Path(build) / "results"
    out.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        make_files(folder)
        results = measure(build, folder, arguments)
    (out / "results.json").write_text(json.dumps(results, indent=1))
    (out / "tables.md").write_text(markdown(results))
    if "growth" in results:
        growth.plot(results["growth"], out / "growth.png")


main()
