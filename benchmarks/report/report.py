#!/usr/bin/env python3
"""Makes one Markdown report with pictures of the results of all comparisons.

usage: report.py RESULTS OUT     reads RESULTS/*.json; writes OUT/report.md and OUT/performance/*.svg
"""
import datetime
import glob
import json
import os
import platform
import sys

import charts

SIDES = ("USM", "buffer", "loop", "Eigen", "Armadillo", "GSL", "Boost", "NumPy", "SciPy")
TEAM_ELEMENTS = 131072  # parallel_elements of the CPU component
QUANTITIES = ("mean", "sd", "skewness", "kurtosis", "raw sums", "central sums")


class Results:
    """What the programs have written."""

    def __init__(self, folder):
        self.folder = folder
        self.cpu = self.load("cpu.json")
        self.python = self.load("python.json")
        self.opencl = self.load("opencl.json")
        growth = [self.load(os.path.basename(path)) for path in glob.glob(os.path.join(folder, "growth_*.json"))]
        self.growth = sorted(growth, key=lambda g: g["threads"])
        self.rows = []
        more = {row["title"]: row["sides"] for row in self.python["rows"]}
        for row in self.cpu["rows"]:
            self.rows.append({**row, "sides": row["sides"] + more.get(row["title"], [])})

    def load(self, name):
        with open(os.path.join(self.folder, name), encoding="utf-8") as file:
            return json.load(file)


class Page:
    """Markdown in the making."""

    def __init__(self):
        self.text = ""

    def paragraph(self, text):
        self.text += text + "\n\n"

    def table(self, head, rows):
        self.text += "| " + " | ".join(head) + " |\n" + "|---" + "|---:" * (len(head) - 1) + "|\n"
        self.text += "".join("| " + " | ".join(row) + " |\n" for row in rows) + "\n"

    def picture(self, name, words):
        self.paragraph(f"![{words}](performance/{name})")


def processor():
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            return next(line.split(":")[1].strip() for line in file if line.startswith("model name"))
    except (OSError, StopIteration):
        return platform.machine()


def cell(side):
    if side is None:
        return "-"
    return f"{side['ratio']:.3f} ({int(side['digits'])}{'' if side['competes'] else ' *'})"


def best(sides, wanted):
    able = [s for s in sides if s["competes"] and wanted(s)]
    return max(able, key=lambda s: s["ratio"], default=None)


def is_ours(side):
    return side["ours"]


def is_loop(side):
    return not side["ours"] and not side["library"]


def is_library(side):
    return side["library"]


def lead(ours, other):
    return f"{ours['ratio'] / other['ratio']:.2f} {other['name']}" if ours and other else "-"


def introduce(page, results):
    page.paragraph("# Performance")
    page.paragraph(f"Written by `scripts/bench` on {datetime.date.today()}: {processor()}, {os.cpu_count()} cores, "
                   f"{results.cpu['threads']} threads, {results.cpu['elements'] / (1 << 20):.0f}M elements; NumPy "
                   f"{results.python['numpy']}, SciPy {results.python['scipy']}. Every figure is a ratio of two sides "
                   "that were interleaved in one process (Python has one of its own, with the same data and the same "
                   "read limit), the median of up to 25 samples.")


def speed(page, results):
    rows = []
    for row in results.rows:
        sides = row["sides"]
        named = {s["name"]: s for s in sides}
        ours = best(sides, is_ours)
        rows.append([row["title"], f"{row['bytes'] / row['limit_seconds'] * 1e-9:.1f}"]
                    + [cell(named.get(name)) for name in SIDES]
                    + [lead(ours, best(sides, is_loop)), lead(ours, best(sides, is_library))])
    page.paragraph("## The CPU path beside other libraries")
    page.picture("cpu.svg", "Speed of kurtosis relative to the read limit, ours and the best peers")
    page.paragraph("Ratio to the read limit (decimal digits); 1 is the speed of reading the data with four streams per "
                   "thread and doing nothing else. `*`: too few digits to compete. `loop` is a two-pass loop over "
                   "fixed-size arrays written with Eigen. The last columns: our faster form against the loop, and "
                   "against the fastest library.")
    page.table(["row", "limit GB/s", *SIDES, "x loop", "x library"], rows)


def behind(page, results):
    """The rows in which a peer with the same digits is faster, told in so many words."""
    lost = []
    for row in results.rows:
        ours, peer = best(row["sides"], is_ours), best(row["sides"], lambda s: not s["ours"])
        if ours and peer and peer["ratio"] > ours["ratio"]:
            lost.append(f"- {row['title']}: {peer['name']} is {peer['ratio'] / ours['ratio']:.2f} times as fast.")
    for point in small_points(results):
        ours, peer = point["time"]["USM"], point["time"][point["best_peer"]]
        if peer < ours:
            lost.append(f"- {point['name']}: {point['best_peer']} takes {peer * 1e6:.1f} us, we take {ours * 1e6:.1f}: "
                        f"{point['time']['component'] * 1e6:.1f} to compute, the rest to submit a command and to bring "
                        "its scratch memory, whatever the size.")
    lost += growth_behind(results) + opencl_behind(results)
    page.paragraph("## Where a peer is faster")
    page.paragraph("\n".join(lost) if lost else "In no row of this page.")


def reason_of_growth(name, threads):
    dims, _, observations, _ = name.split()
    if threads > 1 and int(dims) * int(observations) < TEAM_ELEMENTS:
        return (f" Fewer than {TEAM_ELEMENTS:,} elements are left to one thread, since a team that sleeps takes longer to "
                "wake.")
    return ""


def growth_behind(results):
    lost = []
    for g in results.growth:
        for name, _, ours, alone, peer, ratio in growth_rows(g["observations"] + g["dimensions"]):
            if float(ratio) < 1:
                lost.append(f"- {name}, {g['threads']} threads: {peer} ns per element, we take {ours}; the computation alone "
                            f"takes {alone}.{reason_of_growth(name, g['threads'])}")
    return lost


def opencl_behind(results):
    lost = []
    for row in results.opencl["rows"]:
        ours, peer = (next(s for s in row["sides"] if s["name"] == name)
                      for name in ("kurtosis", "kurtosis, Boost.Compute"))
        if peer["seconds"] < ours["seconds"]:
            lost.append(f"- OpenCL, kurtosis {row['type']} {row['layout']}: Boost.Compute is "
                        f"{ours['seconds'] / peer['seconds']:.2f} times as fast; the work-items of a group each "
                        "leave up to six numbers in memory, from which they are added.")
    return lost


def small_points(results):
    for case in results.cpu.get("small_calls", []):
        yield {"name": f"{case['dims']} x {case['observations']} {case['layout']}", "best_peer": case["best_peer"],
               "time": {s["name"]: s["seconds"] for s in case["sides"]}}


def small(page, results):
    page.paragraph("## Small calls")
    page.picture("small.svg", "Microseconds of small calls")
    page.paragraph("Kurtosis, microseconds from the call to a complete result.")
    page.table(["data", "USM", "buffer", "component alone", "best peer"],
               [[p["name"]] + [f"{p['time'][name] * 1e6:.2f}" for name in ("USM", "buffer", "component")]
                + [f"{p['time'][p['best_peer']] * 1e6:.2f} {p['best_peer']}"] for p in small_points(results)])


def growth_rows(points):
    for point in points:
        size = point["dims"] * point["observations"] * 1e-9
        time = {s["name"]: s["seconds"] / size for s in point["sides"]}
        yield [f"{point['dims']} x {point['observations']} {point['layout']}", f"{point['limit_seconds'] / size:.3f}",
               f"{time['USM']:.3f}", f"{time['component']:.3f}", f"{time[point['best_peer']]:.3f} {point['best_peer']}",
               f"{time[point['best_peer']] / time['USM']:.2f}"]


def growth(page, results):
    head = ["data", "read limit", "USM", "component alone", "best peer", "x peer"]
    page.paragraph("## Growth")
    page.picture("observations.svg", "Nanoseconds per element as observations grow")
    page.picture("dimensions.svg", "Nanoseconds per element as dimensions grow")
    page.paragraph("Kurtosis in `double`, nanoseconds per element; the last column: how many times as fast as the best "
                   "peer.")
    for g in results.growth:
        page.paragraph(f"### {g['threads']} thread{'s' if g['threads'] > 1 else ''}")
        page.table(head, list(growth_rows(g["observations"] + g["dimensions"])))


def opencl(page, results):
    rows = []
    for row in results.opencl["rows"]:
        for side in row["sides"]:
            rows.append([f"{row['type']} {row['layout']} {side['name']}", f"{side['first_seconds'] * 1e3:.1f}",
                         f"{side['seconds'] * 1e3:.2f}", f"{side['nanoseconds_per_element']:.3f}",
                         f"{side['limits']:.2f}"])
    page.paragraph("## The device path on OpenCL")
    page.picture("opencl.svg", "Nanoseconds per element on the OpenCL device")
    page.paragraph(f"{results.opencl['dims']} dimensions of {results.opencl['observations']} observations on "
                   f"{results.opencl['device']}. Boost.Compute computes the same four power sums; the plain sum reads the "
                   "data once. The device is the processor itself: its kernels run as loops over work-items, and each "
                   "barrier ends such a loop. All sides run with the driver's settings that the run-time chooses where the "
                   "environment sets none.")
    page.table(["row", "first, ms", "warm, ms", "ns/element", "plain sums"], rows)


def accuracy(page, results):
    rows = []
    for entry in results.python.get("digits", []):
        for side, found in entry["sides"].items():
            rows.append([f"{entry['name']}{' weighted' if entry['weighted'] else ''}", side]
                        + ["exact" if d >= 17 else f"{d:.1f}" for d in found])
    page.paragraph("## Digits")
    page.picture("digits.svg", "Decimal digits of kurtosis on hard data")
    page.paragraph("Decimal digits that agree with 113-bit arithmetic on the stored values, the worst of all dimensions "
                   "and orders. Skewness, kurtosis and the third central sum are judged against the size of their terms "
                   "where they are next to zero.")
    page.table(["data", "side", *QUANTITIES], rows)


def main():
    results, out = Results(sys.argv[1]), sys.argv[2]
    pictures = os.path.join(out, "performance")
    os.makedirs(pictures, exist_ok=True)
    charts.draw_all(results, pictures)
    page = Page()
    for part in (introduce, speed, small, growth, opencl, accuracy, behind):
        part(page, results)
    with open(os.path.join(out, "report.md"), "w", encoding="utf-8") as file:
        file.write(page.text.rstrip() + "\n")


if __name__ == "__main__":
    main()
