#!/usr/bin/env python3
"""Makes the tables and plots of docs/performance.md from the JSON files that the benchmarks write.

    build/release/bin/bench_checksum --benchmark_out=bench_checksum.json
    build/release/bin/bench_lz4 --benchmark_out=bench_lz4.json
    bench/report.py bench_checksum.json bench_lz4.json                  # prints the tables
    bench/report.py --write-docs bench_checksum.json bench_lz4.json     # and writes docs/ and README.md

A benchmark is named PRIMITIVE/IMPLEMENTATION/INPUT. Each is reduced to the median of its repetitions; a ratio is taken
input by input and summed up as the geometric mean over inputs, with the smallest and the largest. A primitive named
NAME@size is a curve of speed over the input's length, and a primitive with compressed sizes is a codec.

In docs/performance.md everything between the markers

    <!-- begin generated: FAMILY -->
    <!-- end generated: FAMILY -->

is replaced, where FAMILY is the name of the JSON file without "bench_" and its suffix; the prose around them stays. In
README.md the summary between <!-- summary:begin --> and <!-- summary:end --> is made from all families given.
"""

import argparse
import collections
import itertools
import json
import math
import pathlib
import re
import statistics
import sys

OURS = "ozrdc"
ROOT = pathlib.Path(__file__).resolve().parent.parent
MOST_MARKED_LEVELS = 4  # more of them become a line in a plot
# One color for each implementation, in the order of appearance after ours.
OUR_COLOR = "#0b6e99"
PEER_COLORS = ["#d1495b", "#edae49", "#6a4c93", "#66a182", "#8d6a4f", "#7a7a7a"]


class Result:
    """Median speed in bytes a second of one benchmark, its spread, and what the codec made of the input."""

    def __init__(self, speeds, compressed, ratio):
        self.speed = statistics.median(speeds)
        # Half the distance of the quartiles, as a part of the median.
        quartiles = statistics.quantiles(speeds, n=4) if len(speeds) > 1 else [self.speed] * 3
        self.spread = (quartiles[2] - quartiles[0]) / 2 / self.speed
        self.compressed = compressed
        self.ratio = ratio
        self.plain = compressed * ratio if compressed else None


class Family:
    """The results of one JSON file: primitive -> implementation -> input -> Result, in the order of the file."""

    def __init__(self, path):
        self.name = path.stem.removeprefix("bench_")
        document = json.loads(path.read_text())
        self.context = document["context"]
        runs = collections.OrderedDict()
        for run in document["benchmarks"]:
            if run.get("run_type") != "iteration":
                continue
            if run.get("error_occurred"):
                sys.exit(f"{path}: {run['name']}: {run['error_message']}")
            runs.setdefault(run["run_name"] if "run_name" in run else run["name"], []).append(run)
        self.primitives = {}
        for name in sorted(runs, key=lambda n: min(r["family_index"] for r in runs[n])):
            primitive, implementation, source = name.split("/", 2)
            first = runs[name][0]
            result = Result([r["bytes_per_second"] for r in runs[name]], first.get("compressed"), first.get("ratio"))
            self.primitives.setdefault(primitive, {}).setdefault(implementation, {})[source] = result

    def whole_files(self):
        return {p: i for p, i in self.primitives.items() if "@" not in p}

    def curves(self):
        return {p.removesuffix("@size"): i for p, i in self.primitives.items() if p.endswith("@size")}

    def is_codec(self):
        return any(r.compressed for i in self.primitives.values() for f in i.values() for r in f.values())


def geometric_mean(values):
    return math.exp(statistics.fmean(math.log(v) for v in values))


def overall_speed(results):
    return geometric_mean([r.speed for r in results.values()])


def overall_ratio(results):
    """Of all inputs together, as if they were one."""
    return sum(r.plain for r in results.values()) / sum(r.compressed for r in results.values())


def gigabytes(speed):
    return f"{speed / 1e9:.2f}"


def table(rows):
    """A Markdown table; all columns but the first two are numbers."""
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]

    def line(row):
        cells = [c.ljust(w) if i < 2 else c.rjust(w) for i, (c, w) in enumerate(zip(row, widths))]
        return "| " + " | ".join(cells) + " |"

    rule = ["-" * w if i < 2 else "-" * (w - 1) + ":" for i, w in enumerate(widths)]
    return "\n".join([line(rows[0]), line(rule)] + [line(r) for r in rows[1:]])


def comparison_table(family):
    codec = family.is_codec()
    header = ["primitive", "peer", "ours GB/s", "peer GB/s", "ours / peer", "smallest", "largest", "spread"]
    rows = [header + (["ours ratio", "peer ratio"] if codec else [])]
    for primitive, implementations in family.whole_files().items():
        ours = implementations.get(OURS)
        if not ours:
            continue
        for peer, theirs in implementations.items():
            inputs = [i for i in ours if i in theirs]
            if peer == OURS or not inputs:
                continue
            ratios = [ours[i].speed / theirs[i].speed for i in inputs]
            spread = statistics.fmean(math.hypot(ours[i].spread, theirs[i].spread) for i in inputs)
            row = [primitive, peer, gigabytes(overall_speed(ours)), gigabytes(overall_speed(theirs)),
                   f"**{geometric_mean(ratios):.2f}**", f"{min(ratios):.2f}", f"{max(ratios):.2f}",
                   f"±{100 * spread:.1f}%"]
            if codec:
                row += [f"{overall_ratio(ours):.3f}", f"{overall_ratio(theirs):.3f}"]
            rows.append(row)
    return table(rows)


def curve_table(family):
    """Small inputs: our speed, and the ratio to each peer, at every length."""
    parts = []
    for primitive, implementations in family.curves().items():
        ours = implementations[OURS]
        peers = [p for p in implementations if p != OURS]
        rows = [["bytes", "primitive", "ours GB/s"] + [f"ours / {p}" for p in peers]]
        for source, result in ours.items():
            rows.append([source, primitive, gigabytes(result.speed)]
                        + [f"{result.speed / implementations[p][source].speed:.2f}" for p in peers])
        parts.append(table(rows))
    return "\n\n".join(parts)


def environment(family):
    context = family.context
    count = len(next(iter(next(iter(family.whole_files().values())).values())))
    known = {"processor", "compiler", "command"}
    peers = [f"{k} {v}" for k, v in context.items()
             if isinstance(v, str) and k not in known | {"date", "host_name", "executable", "library_build_type"}]
    lines = [f"Processor: {context.get('processor', 'unknown')}, {context['num_cpus']} cores.",
             f"Compiler: {context.get('compiler', 'unknown')}. Peers: {', '.join(peers)}. Inputs: {count} files.",
             "",
             "```",
             f"{context.get('command', '')} --benchmark_out=bench_{family.name}.json",
             f"bench/report.py --write-docs bench_{family.name}.json",
             "```"]
    return "\n".join(lines)


# ---- Plots ----

def style(plt):
    plt.rcParams.update({
        "font.size": 9.5, "font.family": "DejaVu Sans", "axes.spines.top": False, "axes.spines.right": False,
        "axes.edgecolor": "#888888", "axes.grid": True, "grid.color": "#e4e4e4", "grid.linewidth": 0.8,
        "axes.axisbelow": True, "xtick.color": "#444444", "ytick.color": "#444444", "axes.labelcolor": "#333333",
        "axes.titleweight": "bold", "axes.titlesize": 10.5, "legend.frameon": False, "svg.hashsalt": "ozrdc",
        "svg.fonttype": "path", "figure.facecolor": "white",
    })


def colors(implementations):
    peers = [i for i in implementations if i != OURS]
    return {OURS: OUR_COLOR, **{p: PEER_COLORS[k % len(PEER_COLORS)] for k, p in enumerate(peers)}}


def plot_bars(plt, family):
    """Checksums over whole files: a group of bars for each primitive."""
    groups = family.whole_files()
    names = []
    for implementations in groups.values():
        names += [i for i in implementations if i not in names]
    color = colors(names)
    bars = [(p, i, overall_speed(r) / 1e9) for p, impl in groups.items() for i, r in impl.items()]
    figure, axes = plt.subplots(figsize=(8, 0.27 * len(bars) + 0.22 * len(groups) + 1.1))
    y, ticks, labels = 0.0, [], []
    for primitive, implementations in groups.items():
        start = y
        for implementation, results in implementations.items():
            speed = overall_speed(results) / 1e9
            axes.barh(y, speed, height=0.82, color=color[implementation])
            axes.text(speed, y, f" {speed:.1f}", va="center", fontsize=8, color="#444444")
            y += 1
        ticks.append((start + y - 1) / 2)
        labels.append(primitive)
        y += 0.8
    axes.set_yticks(ticks, labels)
    axes.set_ylim(y - 0.8, -0.8)
    axes.grid(axis="y", visible=False)
    axes.tick_params(axis="y", length=0)
    axes.set_xlabel("GB/s, geometric mean over files")
    axes.set_title("Checksums over whole files", loc="left")
    handles = [plt.Rectangle((0, 0), 1, 1, color=color[n]) for n in names]
    axes.legend(handles, names, loc="lower right")
    figure.tight_layout()
    return figure


def plot_curves(plt, family):
    """Checksums of short inputs: speed over length, one panel a primitive."""
    curves = family.curves()
    columns = 2
    rows = (len(curves) + columns - 1) // columns
    figure, grid = plt.subplots(rows, columns, figsize=(8, 2.7 * rows), squeeze=False)
    names = []
    for implementations in curves.values():
        names += [i for i in implementations if i not in names]
    color = colors(names)
    for axes in grid.flat[len(curves):]:
        axes.set_visible(False)
    for axes, (primitive, implementations) in zip(grid.flat, curves.items()):
        for implementation, results in reversed(implementations.items()):
            sizes = [int(s) for s in results]
            axes.plot(sizes, [r.speed / 1e9 for r in results.values()], marker="o", markersize=3.2,
                      linewidth=2 if implementation == OURS else 1.4, color=color[implementation],
                      label=implementation)
        axes.set_xscale("log", base=2)
        axes.set_yscale("log", base=2)
        axes.xaxis.set_major_formatter(lambda v, _: f"{v:g}" if v < 1024 else f"{v / 1024:g}K")
        axes.yaxis.set_major_formatter(lambda v, _: f"{v:g}")
        axes.set_title(primitive, loc="left")
        axes.set_xlabel("bytes a call")
        axes.set_ylabel("GB/s")
        handles, labels = axes.get_legend_handles_labels()
        axes.legend(handles[::-1], labels[::-1], fontsize=8, loc="lower right")
    figure.tight_layout()
    return figure


def level_of(primitive):
    """The stem and the number of a primitive whose name ends in its level."""
    match = re.fullmatch(r"(.+?)_?(\d)", primitive)
    return (match[1], int(match[2])) if match else (primitive, None)


def plot_series(primitives):
    """What is drawn: label, marker (none for a line through levels), and a list of results for each implementation."""
    levels = {}
    for primitive in primitives:
        stem, level = level_of(primitive)
        if level is not None:
            levels.setdefault(stem, {})[level] = primitive
    lines = {stem: dict(sorted(named.items())) for stem, named in levels.items() if len(named) > MOST_MARKED_LEVELS}
    markers = itertools.cycle("osD^vP*X")
    for primitive, implementations in primitives.items():
        stem, level = level_of(primitive)
        if level is None or stem not in lines:
            yield primitive, next(markers), {i: [r] for i, r in implementations.items()}
        elif level == min(lines[stem]):
            yield (f"{stem} {level} to {max(lines[stem])}", None,
                   {i: [primitives[p][i] for p in lines[stem].values()] for i in implementations})


def plot_codec(plt, family):
    """Codecs: compression ratio of all files together against speed, a panel for each direction."""
    panels = collections.OrderedDict()
    for primitive, implementations in family.whole_files().items():
        direction = "decompression" if "decode" in primitive else "compression"
        panels.setdefault(direction, {})[primitive] = implementations
    names = []
    for implementations in family.whole_files().values():
        names += [i for i in implementations if i not in names]
    color = colors(names)
    panels = {direction: list(plot_series(primitives)) for direction, primitives in panels.items()}
    entries = max(sum(len(implementations) for _, _, implementations in panel) for panel in panels.values())
    longest = max(len(f"{label}, {i}") for panel in panels.values() for label, _, named in panel for i in named)
    height = 3.2 + 0.22 * ((entries + 1) // 2)  # the legend below, in two columns, takes nothing from the axes
    width = 4.6 if longest < 30 else 5.8
    figure, grid = plt.subplots(1, len(panels), figsize=(width * len(panels), height), squeeze=False)
    for axes, (direction, series) in zip(grid.flat, panels.items()):
        for label, marker, implementations in series:
            for implementation, results in implementations.items():
                if any(r.compressed is None for files in results for r in files.values()):
                    continue  # a stage by itself
                x = [overall_speed(files) / 1e9 for files in results]
                y = [overall_ratio(files) for files in results]
                name = f"{label}, {implementation}"
                if marker is None:
                    axes.plot(x, y, color=color[implementation], marker=".", linewidth=1.1, zorder=2, label=name)
                else:
                    axes.scatter(x, y, s=46, marker=marker, color=color[implementation], edgecolor="white",
                                 linewidth=0.6, zorder=3, label=name)
        axes.set_title(direction, loc="left")
        axes.set_xlabel("GB/s of plain bytes, geometric mean over files")
        axes.set_ylabel("compression ratio")
        axes.margins(0.18)
        axes.set_xlim(left=0)
        axes.legend(fontsize=7.5, loc="upper center", bbox_to_anchor=(0.5, -0.2), ncol=2)
    figure.tight_layout()
    return figure


def write_plots(family, directory, suffix="svg"):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    style(plt)
    directory.mkdir(parents=True, exist_ok=True)
    if family.is_codec():
        figures = {family.name: (plot_codec(plt, family), "Compression ratio against speed")}
    else:
        figures = {family.name: (plot_bars(plt, family), "Speed over whole files")}
        if family.curves():
            figures[f"{family.name}-sizes"] = (plot_curves(plt, family), "Speed over short inputs")
    written = {}
    for name, (figure, caption) in figures.items():
        path = directory / f"{name}.{suffix}"
        # Without a date the same results give the same file.
        figure.savefig(path, dpi=150, bbox_inches="tight", metadata={"Date": None} if suffix == "svg" else None)
        written[path] = caption
    return written


# ---- The document ----

def generated(family, plots):
    parts = [environment(family), comparison_table(family),
             "The speeds are geometric means over files; `smallest` and `largest` are the extremes of the ratio over files; "
             "`spread` is half the distance between the quartiles of the repetitions, of both sides together."]
    parts += [f"![{caption}](plots/{path.name})" for path, caption in plots.items()]
    if family.curves():
        parts += ["Short inputs:", curve_table(family)]
    return "\n\n".join(parts)


def summary(families):
    """One line a primitive and peer, without the paths that hide processor features."""
    rows = [["primitive", "peer", "ours / peer", "ours GB/s"]]
    for family in families:
        for primitive, implementations in family.whole_files().items():
            for peer, theirs in implementations.items():
                if peer == OURS or "-" in primitive:
                    continue
                ours = implementations[OURS]
                ratio = geometric_mean([ours[i].speed / theirs[i].speed for i in ours])
                rows.append([primitive, peer, f"{ratio:.2f}", gigabytes(overall_speed(ours))])
    return table(rows)


def replace_between(path, begin, end, text):
    document = path.read_text()
    pattern = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.DOTALL)
    if not pattern.search(document):
        sys.exit(f"{path} lacks the markers {begin} and {end}")
    path.write_text(pattern.sub(lambda _: f"{begin}\n{text}\n{end}", document))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("results", nargs="+", type=pathlib.Path, help="JSON files of the benchmarks")
    parser.add_argument("--write-docs", action="store_true", help="write docs/performance.md, docs/plots and README.md")
    parser.add_argument("--png", type=pathlib.Path, help="also write the plots as PNG into this directory")
    arguments = parser.parse_args()
    families = [Family(path) for path in arguments.results]
    for family in families:
        print(f"{family.name}\n\n{comparison_table(family)}\n")
        if family.curves():
            print(curve_table(family) + "\n")
        if arguments.png:
            write_plots(family, arguments.png, "png")
        if arguments.write_docs:
            plots = write_plots(family, ROOT / "docs" / "plots")
            replace_between(ROOT / "docs" / "performance.md", f"<!-- begin generated: {family.name} -->",
                            f"<!-- end generated: {family.name} -->", generated(family, plots))
    if arguments.write_docs:
        replace_between(ROOT / "README.md", "<!-- summary:begin -->", "<!-- summary:end -->", summary(families))


if __name__ == "__main__":
    main()
