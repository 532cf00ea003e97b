#!/usr/bin/python3
"""Brings results into docs/performance.md: its tables, the file behind them, and one plot a group.

usage: page.py ROOT          fills the tables from docs/performance.json and draws the plots
       page.py ROOT --check  says whether the tables are what the file says
"""
import json
import pathlib
import re
import subprocess
import sys

from servers import LABELS

PLOT = """set terminal svg size 860,{height} font "sans,13" background "#f4f4f4"
set output "{out}"
set logscale x
set grid x lc rgb "#c8c8c8"
set key outside top center horizontal maxcols 4
set xlabel "times better than the other (left of 1: worse)"
set xrange [*:*]
set yrange [{rows}:-1] noreverse
set ytics ({tics})
set lmargin at screen 0.34
set arrow from 1, graph 0 to 1, graph 1 nohead lw 2 lc rgb "#404040"
plot {series}
"""
GROWTH = """set terminal svg size 860,340 font "sans,13" background "#f4f4f4"
set output "{out}"
set multiplot layout 1,2
set logscale x
set grid lc rgb "#c8c8c8"
set key top left
set yrange [0:*]
set format y "%.0s%c"
{panels}unset multiplot
"""
COLOURS = {"each": "#c44e00", "library": "#0072b2", "before": "#c44e00", "twin": "#7a5fa8", "microhttpd": "#0072b2",
           "httplib": "#008f6b", "websockets": "#0072b2", "nginx": "#0072b2", "raw": "#606060"}


def number(value):
    if value is None:
        return ""
    if abs(value) >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}"


def field_of(results, row, target):
    """What a target bounds, or None where it was not measured."""
    if target["row"]:
        other = next((other for other in results["rows"] if other["name"] == target["row"]), None)
        return other and row["figures"]["library"]["value"] / other["figures"]["library"]["value"]
    if target["peer"]:
        found = row["ratios"].get(target["peer"], {}).get(target["field"])
        return found and found[0]
    return row["figures"]["library"].get(target["field"])


def verdict(results, row, target):
    """One target in words, with what came out."""
    what = {"value": "", "cpu": "CPU ", "switches": "switches "}[target["field"]]
    sign = "≥" if target["at_least"] else "≤"
    bound = f"{target['bound']:,.0f}" if target["bound"] >= 1000 else f"{target['bound']:g}"
    other = LABELS.get(target["peer"], target["peer"])
    if target["peer"] == "raw":
        other = row["limit"]
    text = f"{what}{sign} {bound}" + (f" of {other}" if other else f" of {target['row']}" if target["row"] else "")
    got = field_of(results, row, target)
    if got is None:
        return text
    met = got >= target["bound"] if target["at_least"] else got <= target["bound"]
    return f"{text}: {number(got)}, {'met' if met else '**missed**'}"


def lines_of(row, name, figure):
    """The lines of a table's cell: the figure, what it took, and the library's ratio to it."""
    value = number(figure.get("value"))
    if row["unit"] == "ms" and figure.get("p99") is not None:
        value += f" (99 %: {number(figure['p99'])})"
    lines = [value] if value else []
    took = [f"{number(figure['cpu'])} µs"] if "cpu" in figure else []
    if row["group"] == "requests" and "switches" in figure:
        took.append(f"{number(figure['switches'])} switches")
    lines += [", ".join(took)] if took else []
    lines += [figure["detail"]] if figure.get("detail") else []
    ratios = row["ratios"].get(name, {})
    if ratios.get("value"):
        text = f"**{ratios['value'][0]:.2f}**"
        if ratios["value"][1] != ratios["value"][2]:
            text += f" ({ratios['value'][1]:.2f} to {ratios['value'][2]:.2f})"
        lines.append(text + (f", CPU **{ratios['cpu'][0]:.2f}**" if ratios.get("cpu") else ""))
    return lines


def limit_lines(row):
    lines = []
    if "raw" in row["figures"]:
        lines += [row["limit"], *lines_of(row, "raw", row["figures"]["raw"])]
    for name, figure in row["limits"].items():
        lines += [name, *lines_of(row, name, figure)]
    return lines


def table(results, group):
    rows = [row for row in results["rows"] if row["group"] == group]
    names = [name for name in LABELS if name != "raw" and any(name in row["figures"] for row in rows)]
    limited = any(limit_lines(row) for row in rows)
    aimed = any(row["targets"] for row in rows)
    heads = ["measured", *(LABELS[name] for name in names), *["limit"] * limited, *["target"] * aimed]
    lines = ["| " + " | ".join(heads) + " |", "|---" * len(heads) + "|"]
    for row in rows:
        cells = [f"{row['name']}, {row['unit']}" + (f"<br>CPU a {row['per']}" if row["per"] else "")]
        cells += ["<br>".join(lines_of(row, name, row["figures"][name])) if name in row["figures"] else "" for name in names]
        cells += ["<br>".join(limit_lines(row))] * limited
        cells += ["<br>".join(verdict(results, row, target) for target in row["targets"])] * aimed
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def function_table(results):
    lines = ["| function | ns |", "|---|---|"]
    lines += [f"| {name} | {number(value)} |" for name, value in results.get("functions", {}).items()]
    return "\n".join(lines)


def machine_text(results):
    found = results["machine"]
    runs = sorted({row["run"] for row in results["rows"]})
    before = f" Before: revision {results['before']}." if results["before"] else ""
    return (f"{found['cores']} virtual cores ({found['model']}), {found['system']}, Linux {found['kernel']},\n"
            f"OpenSSL {found['openssl']}, congestion control **{found['congestion']}**.\n"
            f"Measured on {'; '.join(runs)}.{before}")


def block(results, name):
    if name == "machine":
        return machine_text(results)
    return function_table(results) if name == "functions" else table(results, name)


def filled(text, results):
    """The page with every marked block as the results have it."""
    return re.sub(r"(<!-- bench: (\w+) -->\n).*?(<!-- end -->)",
                  lambda match: match[1] + block(results, match[2]) + "\n" + match[3], text, flags=re.S)


def gains(rows, name, field):
    """Pairs of how many times better the library is in a row, and the row's place."""
    for place, row in enumerate(rows):
        found = row["ratios"].get(name, {}).get(field)
        if found:
            yield 1 / found[0] if field == "cpu" or row["lower_is_better"] else found[0], place


def draw(script):
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def data_block(pairs):
    return "".join(f"{x} {y}\n" for x, y in pairs)


def plot_group(folder, results, group):
    rows = [row for row in results["rows"] if row["group"] == group]
    blocks, series = "", []
    for name in COLOURS:
        for field, shape, title in (("value", 7, LABELS[name]), ("cpu", 6, f"{LABELS[name]}, CPU")):
            pairs = list(gains(rows, name, field))
            if pairs:
                blocks += f"${name}_{field} << EOD\n{data_block(pairs)}EOD\n"
                series.append(f'${name}_{field} with points pt {shape} ps 1.1 lw 2 lc rgb "{COLOURS[name]}" title "{title}"')
    if series:
        tics = ", ".join('"{}" {}'.format(row["name"].replace("\\", "\\\\").replace('"', "'").replace("`", ""), place)
                         for place, row in enumerate(rows))
        draw(blocks + PLOT.format(out=folder / f"bench-{group}.svg", height=150 + 26 * len(rows), rows=len(rows), tics=tics,
                                  series=", ".join(series)))


def plot_growth(folder, results):
    panels = ""
    for what, pattern in (("logins", r"GET, newest of ([\d,]+) logins?"),
                          ("custom routes", r"GET beside ([\d,]+) custom routes")):
        found = [(re.fullmatch(pattern, row["name"]), row) for row in results["rows"]]
        found = [(int(match[1].replace(",", "")), row["figures"]) for match, row in found if match]
        series = []
        for name, colour in (("library", "#0072b2"), ("before", "#c44e00")):
            pairs = [(count, figures[name]["value"]) for count, figures in found if name in figures]
            if pairs:
                panels += f"${name} << EOD\n{data_block(pairs)}EOD\n"
                series.append(f'${name} with linespoints lw 2 pt 7 lc rgb "{colour}" title "{name}"')
        if series:
            panels += f'set xlabel "{what}"\nset ylabel "instructions a GET"\nplot {", ".join(series)}\n'
    if panels:
        draw(GROWTH.format(out=folder / "bench-growth.svg", panels=panels))


def as_text(row):
    """A row for the terminal."""
    lines = [f"{row['group']}: {row['name']}, {row['unit']}"]
    for name, figure in row["figures"].items():
        label = f"limit: {row['limit']}" if name == "raw" else LABELS[name]
        lines.append(f"    {label:34} " + "  ".join(lines_of(row, name, figure)).replace("**", ""))
    for name, figure in row["limits"].items():
        lines.append(f"    limit: {name:27} " + "  ".join(lines_of(row, name, figure)))
    return "\n".join(lines) + "\n"


def merged(old, new):
    """The old results with every row that was measured anew replaced, in the rows' own order."""
    for row in new["rows"]:
        row["run"] = f"{new['date']} at revision {new['revision']}"
    rows = {(row["group"], row["name"]): row for row in [*old.get("rows", []), *new["rows"]]}
    kept = [rows[tuple(key)] for key in new["order"] if tuple(key) in rows]
    functions = new.get("functions") or old.get("functions", {})
    return {"machine": new["machine"], "before": new["before"] or old.get("before"), "rows": kept, "functions": functions}


def write(root, new):
    """Keeps the results in docs/ and refreshes the page; rows that were not measured stay."""
    path = root / "docs/performance.json"
    old = json.loads(path.read_text()) if path.exists() else {}
    path.write_text(json.dumps(merged(old, new), indent=1, ensure_ascii=False) + "\n")
    refresh(root)


def refresh(root):
    results = json.loads((root / "docs/performance.json").read_text())
    page = root / "docs/performance.md"
    page.write_text(filled(page.read_text(), results))
    for group in dict.fromkeys(row["group"] for row in results["rows"]):
        plot_group(root / "docs/images", results, group)
    plot_growth(root / "docs/images", results)


def main():
    root = pathlib.Path(sys.argv[1])
    if "--check" not in sys.argv:
        refresh(root)
        return
    text = (root / "docs/performance.md").read_text()
    if filled(text, json.loads((root / "docs/performance.json").read_text())) != text:
        sys.exit("docs/performance.md: a table differs from docs/performance.json (run bench/page.py)")


if __name__ == "__main__":
    main()
