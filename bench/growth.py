"""What a request costs as logins, routes, WebSockets and files grow: tables, the order of growth, and a plot."""
import math
import pathlib
import subprocess

from instructions import FEW, MORE, per_request, requests
from load import broadcast, get_file
from servers import Server

SERIES = {"logins": (1, 10, 100, 1000), "routes": (0, 10, 100, 1000), "WebSockets": (1, 2, 5, 10, 20, 40),
          "file size (KiB)": (1, 10, 100, 1024, 10240, 204800)}
PLOT = """set terminal pngcairo size 1200,900 font "sans,11"
set output "{out}"
set multiplot layout 2,2
set logscale xy
set grid
set key off
{panels}unset multiplot
"""


def order(points):
    """The exponent between the last two points: 0 is constant, 1 is linear."""
    (x1, y1), (x2, y2) = points[-2:]
    return math.log(y2 / y1) / math.log(x2 / x1)


def newest_login(build, folder, count):
    """Instructions of a request whose login registered last: the list is searched from its front."""
    request = requests()["device information"]
    return per_request(build, "library", folder, request, (FEW, MORE), logins=count - 1)


def after_routes(build, folder, count):
    """Instructions of a request on the library's own route beside so many of the host's."""
    return per_request(build, "library", folder, requests()["device information"], (FEW, MORE), routes=count)


def texts(server, count):
    """Microseconds until one text has reached every client."""
    return 1e6 * count / broadcast(server, count, 200000 // count)


def download(server, kib):
    """Milliseconds of one download."""
    size = kib << 10
    best = max(get_file(server, size) for _ in range(3 if kib > 100000 else 10))
    return size / best / 1000


def measure(build, folder):
    series = {"logins": [(x, newest_login(build, folder, x)) for x in SERIES["logins"]],
              "routes": [(x, after_routes(build, folder, x)) for x in SERIES["routes"]]}
    server = Server(build, "library", folder)
    series["WebSockets"] = [(x, texts(server, x)) for x in SERIES["WebSockets"]]
    series["file size (KiB)"] = [(x, download(server, x)) for x in SERIES["file size (KiB)"]]
    server.stop()
    units = {"logins": "instructions a request", "routes": "instructions a request", "WebSockets": "µs a text to all",
             "file size (KiB)": "ms a download"}
    for name, points in series.items():
        text = ", ".join(f"{x}: {y:.4g}" for x, y in points)
        print(f"growth with {name}: {text} ({units[name]}), last exponent {order(points):.2f}", flush=True)
    return {"points": series, "units": units, "orders": {name: order(points) for name, points in series.items()}}


def plot(results, out):
    """Draws the series with gnuplot; a 0 is drawn at 1."""
    folder = pathlib.Path(out).parent
    panels = ""
    for index, (name, points) in enumerate(results["points"].items()):
        data = folder / f"growth-{index}.dat"
        data.write_text("".join(f"{max(x, 1)} {y}\n" for x, y in points))
        panels += (f'set xlabel "{name}"\nset ylabel "{results["units"][name]}"\nset yrange [*:*]\n'
                   f'plot "{data}" with linespoints lw 2 pt 7\n')
    subprocess.run(["gnuplot"], input=PLOT.format(out=out, panels=panels), text=True, check=True)
