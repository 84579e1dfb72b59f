#!/usr/bin/env python3
"""Merges the results of bench_cpu, bench_digits and bench_python into one Markdown report.

usage: report.py CPU_JSON PYTHON_JSON > report.md
"""
import json
import os
import platform
import sys

SIDES = ("USM", "buffer", "loop", "Eigen", "Armadillo", "GSL", "Boost", "NumPy", "SciPy")
QUANTITIES = ("mean", "sd", "skewness", "kurtosis", "raw sums", "central sums")


def processor():
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            return next(line.split(":")[1].strip() for line in file if line.startswith("model name"))
    except (OSError, StopIteration):
        return platform.machine()


def table(head, rows):
    print("| " + " | ".join(head) + " |")
    print("|---" + "|---:" * (len(head) - 1) + "|")
    for row in rows:
        print("| " + " | ".join(row) + " |")
    print()


def cell(side):
    if side is None:
        return "-"
    return f"{side['ratio']:.3f} ({int(side['digits'])}{'' if side['competes'] else ' *'})"


def best(sides, wanted):
    able = [s for s in sides if s["competes"] and wanted(s)]
    return max(able, key=lambda s: s["ratio"], default=None)


def lead(ours, other):
    return f"{ours['ratio'] / other['ratio']:.2f} {other['name']}" if ours and other else "-"


def is_loop(side):
    return not side["ours"] and not side["library"]


def speed(cpu, python):
    more = {row["title"]: row["sides"] for row in python["rows"]}
    rows = []
    for row in cpu["rows"]:
        sides = row["sides"] + more.get(row["title"], [])
        named = {s["name"]: s for s in sides}
        ours = best(sides, lambda s: s["ours"])
        rows.append([row["title"], f"{row['bytes'] / row['limit_seconds'] * 1e-9:.1f}"]
                    + [cell(named.get(name)) for name in SIDES]
                    + [lead(ours, best(sides, is_loop)), lead(ours, best(sides, lambda s: s["library"]))])
    print("## Speed\n\nRatio to the read limit (decimal digits); 1 is the speed of reading the data with four streams "
          "per thread and doing nothing else. `*`: too few digits to compete. `loop` is a two-pass loop over "
          "fixed-size arrays written with Eigen. The last columns: our faster form against the loop, and against the "
          "fastest library.\n")
    table(["row", "limit GB/s", *SIDES, "x loop", "x library"], rows)


def small(cpu):
    rows = []
    for case in cpu.get("small_calls", []):
        time = {s["name"]: s["microseconds"] for s in case["sides"]}
        peer = case["best_peer"]
        rows.append([f"{case['dims']} x {case['observations']} {case['layout']}"]
                    + [f"{time[name]:.2f}" for name in ("USM", "buffer", "component")]
                    + [f"{time[peer]:.2f} {peer}"])
    if rows:
        print("## Small calls\n\nKurtosis, microseconds from the call to a complete result.\n")
        table(["data", "USM", "buffer", "component alone", "best peer"], rows)


def accuracy(entries):
    rows = []
    for entry in entries:
        for side, found in entry["sides"].items():
            rows.append([f"{entry['name']}{' weighted' if entry['weighted'] else ''}", side]
                        + ["exact" if d >= 17 else f"{d:.1f}" for d in found])
    print("## Digits\n\nDecimal digits that agree with 113-bit arithmetic on the stored values, the worst of all "
          "dimensions and orders. Skewness, kurtosis and the third central sum are judged against the size of their "
          "terms where they are next to zero.\n")
    table(["data", "side", *QUANTITIES], rows)


def main():
    cpu, python = (json.load(open(path, encoding="utf-8")) for path in sys.argv[1:3])
    print(f"# The CPU path beside other libraries\n\n{processor()}, {os.cpu_count()} cores, {cpu['threads']} threads, "
          f"{cpu['elements'] / (1 << 20):.0f}M elements; NumPy {python['numpy']}, SciPy {python['scipy']}.\n")
    speed(cpu, python)
    small(cpu)
    if python.get("digits"):
        accuracy(python["digits"])


if __name__ == "__main__":
    main()
