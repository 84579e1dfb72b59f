"""Describes the columns of a CSV file and draws them: picture.py FILE.csv PICTURE.png [DEVICE]"""

import os
import sys

import matplotlib

matplotlib.use("Agg")  # a file, not a window

import matplotlib.pyplot as pyplot
import numpy

import qtx_stats

file, picture, *rest = sys.argv[1:]
device = rest[0] if rest else "cpu"

# One row per observation, one column per dimension: just what the module takes.
with open(file) as lines:
    names = next(lines).strip().split(",")
    data = numpy.loadtxt(lines, delimiter=",", ndmin=2)

# Everything about every column, in one call.
facts = qtx_stats.describe(data, device=device)
deviation = numpy.sqrt(facts["central_moment2"])

print(f"{len(data):,} observations, computed on '{device}'")
print(f"{'':8}{'min':>10}{'mean':>10}{'max':>10}{'deviation':>11}{'skewness':>10}{'kurtosis':>10}")
for d, name in enumerate(names):
    values = (facts["min"][d], facts["mean"][d], facts["max"][d], deviation[d], facts["skewness"][d], facts["kurtosis"][d])
    print(f"{name:8}" + "{:10.4g}{:10.4g}{:10.4g}{:11.4g}{:10.3f}{:10.3f}".format(*values))

# A panel for each column: the values, their mean, and one deviation to both sides.
figure, panels = pyplot.subplots(2, (len(names) + 1) // 2, figsize=(14, 6), squeeze=False, constrained_layout=True)
for panel in panels.flat[len(names) :]:
    panel.set_axis_off()
for d, (name, panel) in enumerate(zip(names, panels.flat)):
    mean, width = facts["mean"][d], deviation[d]
    low, high = max(facts["min"][d], mean - 5 * width), min(facts["max"][d], mean + 5 * width)
    panel.hist(data[:, d], bins=80, range=(low, high), color="#7a9cc6")
    panel.axvspan(mean - width, mean + width, color="#e8b04a", alpha=0.3)
    panel.axvline(mean, color="#b5432a")
    panel.set_title(f"{name}: skewness {facts['skewness'][d]:.2f}, kurtosis {facts['kurtosis'][d]:.2f}", fontsize=9)
    panel.set_yticks([])
figure.suptitle(f"{os.path.basename(file)}: the values of each column within five deviations, their mean, and one deviation about it")
figure.savefig(picture)
print(f"drawn: {picture}")
