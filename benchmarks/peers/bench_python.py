#!/usr/bin/env python3
"""The rows of bench_cpu in NumPy and SciPy: same data, same read limit, same judge.

usage: bench_python.py --library LIB --cpu JSON [--digits FOLDER] [--json FILE] [--samples N] [--least N]
                       [--budget SECONDS] [--only TEXT]

LIB is libbench_yardstick.so, JSON the file of 'bench_cpu --json', FOLDER that of 'bench_digits --dump'. One read of
the limit stands between any two samples. OPENBLAS_NUM_THREADS=1 in the environment keeps the threads of the BLAS out
of the way of those that share the work here.
"""
import argparse
import ctypes
import decimal
import json
import os
import statistics
import time
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import scipy.stats

decimal.getcontext().prec = 50
THREADS = len(os.sched_getaffinity(0))
BLOCK = 65536  # elements that the second-level cache holds together with two temporaries
TILE = 64      # rows that become one, so that broadcasting has long inner loops


class Yardstick:
    """The C++ side's data and read limit."""

    def __init__(self, path):
        library = ctypes.CDLL(path)
        library.bench_read.restype = ctypes.c_double
        library.bench_read.argtypes = [ctypes.c_void_p, ctypes.c_size_t]
        for name in ("bench_fill_double", "bench_fill_float"):
            getattr(library, name).argtypes = [ctypes.c_void_p, ctypes.c_size_t]
        self.library = library

    def filled(self, kind, count):
        values = np.empty(count, np.float64 if kind == "double" else np.float32)
        getattr(self.library, f"bench_fill_{kind}")(values.ctypes.data, count)
        return values

    def read(self, values, size):
        self.library.bench_read(values.ctypes.data, size)


class Matrix:
    """Views of one pool as the rows of the comparison lay it out."""

    def __init__(self, pool, dims, observations, by_dimension, weighted):
        self.dims, self.n, self.by_dimension = dims, observations, by_dimension
        flat = pool[: dims * observations]
        self.x = flat.reshape(dims, observations) if by_dimension else flat.reshape(observations, dims)
        self.w = pool[dims * observations: (dims + 1) * observations] if weighted else None


def in_threads(pool, matrix, task):
    """Adds up task(first, last) over the shares of all threads."""
    bounds = [matrix.n * t // THREADS for t in range(THREADS + 1)]
    return list(pool.map(task, bounds[:-1], bounds[1:]))


def blocks(matrix, first, last):
    """Yields (dimension or None, rows x columns block, its weights)."""
    if matrix.by_dimension:
        for d in range(matrix.dims):
            for i in range(first, last, BLOCK):
                end = min(i + BLOCK, last)
                yield d, matrix.x[d, i:end], None if matrix.w is None else matrix.w[i:end]
    else:
        rows = max(BLOCK // matrix.dims // TILE * TILE, TILE)
        for i in range(first, last, rows):
            end = min(i + rows, last)
            yield None, matrix.x[i:end], None if matrix.w is None else matrix.w[i:end]


def weighted_sum(values, weights, ones):
    if values.ndim == 1:
        return values.sum() if weights is None else np.dot(values, weights)
    return (ones[: len(values)] if weights is None else weights) @ values


def product_sum(a, b, weights, ones, scratch):
    if a.ndim == 1 and weights is None:
        return np.dot(a, b)
    return weighted_sum(np.multiply(a, b, out=scratch), weights, ones)


def tiled(block, dims):
    """The same memory with TILE rows as one, where that divides."""
    return block.reshape(-1, TILE * dims) if block.ndim == 2 and len(block) % TILE == 0 else block


def central_sums(matrix, orders, mean, first, last):
    sums = {k: np.zeros(matrix.dims) for k in orders}
    size, kind = BLOCK + TILE * matrix.dims, matrix.x.dtype
    buffers = [np.empty(size, kind) for _ in range(3)]
    ones = np.ones(BLOCK, kind)
    about = mean.astype(kind)
    for d, x, w in blocks(matrix, first, last):
        y, y2, scratch = (b[: x.size].reshape(x.shape) for b in buffers)
        if d is None:
            shape = tiled(x, matrix.dims)
            np.subtract(shape, np.tile(about, shape.shape[1] // matrix.dims), out=y.reshape(shape.shape))
        else:
            np.subtract(x, about[d], out=y)
        np.multiply(y, y, out=y2)
        at = slice(None) if d is None else d
        sums[2][at] += weighted_sum(y2, w, ones)
        if 3 in orders:
            sums[3][at] += product_sum(y2, y, w, ones, scratch)
        if 4 in orders:
            sums[4][at] += product_sum(y2, y2, w, ones, scratch)
    return sums


def raw_sums(matrix, orders, first, last):
    sums = {k: np.zeros(matrix.dims) for k in orders}
    kind = matrix.x.dtype
    buffers = [np.empty(BLOCK + TILE * matrix.dims, kind) for _ in range(2)]
    ones = np.ones(BLOCK, kind)
    for d, x, w in blocks(matrix, first, last):
        at = slice(None) if d is None else d
        sums[1][at] += weighted_sum(x, w, ones)
        if 2 in orders:
            x2, scratch = (b[: x.size].reshape(x.shape) for b in buffers)
            np.multiply(x, x, out=x2)
            sums[2][at] += weighted_sum(x2, w, ones)
            sums[3][at] += product_sum(x2, x, w, ones, scratch)
            sums[4][at] += product_sum(x2, x2, w, ones, scratch)
    return sums


def total(parts, k):
    return sum(part[k] for part in parts)


def extremes(matrix, first, last):
    low, high = np.full(matrix.dims, np.inf), np.full(matrix.dims, -np.inf)
    for d, x, _ in blocks(matrix, first, last):
        if d is None:
            shape = tiled(x, matrix.dims)
            low = np.minimum(low, shape.min(axis=0).reshape(-1, matrix.dims).min(axis=0))
            high = np.maximum(high, shape.max(axis=0).reshape(-1, matrix.dims).max(axis=0))
        else:
            low[d], high[d] = min(low[d], x.min()), max(high[d], x.max())
    return low, high


def with_numpy(pool, estimate, m):
    """Two passes over cached blocks in all threads: what a careful user of NumPy writes."""
    if estimate == "min_max":
        parts = in_threads(pool, m, lambda a, b: extremes(m, a, b))
        return np.concatenate([np.min([p[0] for p in parts], axis=0), np.max([p[1] for p in parts], axis=0)])
    weight = float(m.n) if m.w is None else float(m.w.sum(dtype=np.float64))
    if estimate in ("raw_sum", "raw_moment"):
        parts = in_threads(pool, m, lambda a, b: raw_sums(m, (1, 2, 3, 4), a, b))
        return np.concatenate([total(parts, k) for k in (1, 2, 3, 4)]) / (weight if estimate == "raw_moment" else 1)
    mean = total(in_threads(pool, m, lambda a, b: raw_sums(m, (1,), a, b)), 1) / weight
    if estimate == "mean":
        return mean
    weight2 = float(m.n) if m.w is None else float(np.dot(m.w, m.w))
    orders = {"kurtosis": (2, 4), "skewness": (2, 3), "variation": (2,), "central_moment": (2, 3, 4)}[estimate]
    parts = in_threads(pool, m, lambda a, b: central_sums(m, orders, mean, a, b))
    variance = total(parts, 2) * weight / (weight * weight - weight2)
    if estimate == "kurtosis":
        return total(parts, 4) / weight / variance ** 2 - 3
    if estimate == "skewness":
        return total(parts, 3) / weight / variance ** 1.5
    if estimate == "variation":
        return np.sqrt(variance) / mean
    return np.concatenate([variance, total(parts, 3) / weight, total(parts, 4) / weight])


def with_scipy(pool, estimate, m):
    """scipy.stats as it stands, a thread per share of the dimensions."""
    factor = (m.n - 1) / m.n  # SciPy's moments have the plain denominator

    def share(begin, end):
        x, axis = (m.x[begin:end], 1) if m.by_dimension else (m.x[:, begin:end], 0)
        if estimate == "kurtosis":
            return [(scipy.stats.kurtosis(x, axis=axis) + 3) * factor ** 2 - 3]
        if estimate == "skewness":
            return [scipy.stats.skew(x, axis=axis) * factor ** 1.5]
        if estimate == "variation":
            return [scipy.stats.variation(x, axis=axis, ddof=1)]
        second, third, fourth = scipy.stats.moment(x, [2, 3, 4], axis=axis)
        return [second / factor, third, fourth]

    bounds = sorted({m.dims * t // THREADS for t in range(THREADS + 1)})
    parts = list(pool.map(share, bounds[:-1], bounds[1:]))
    return np.concatenate([np.concatenate(output) for output in zip(*parts)])


SCIPY_ESTIMATES = ("kurtosis", "skewness", "variation", "central_moment")


def digits(value, reference, scale=0.0):
    """Agreement in decimal digits relative to the reference, or to the scale where that is larger."""
    exact = decimal.Decimal(reference)
    if not exact.is_finite():
        return 17.0 if exact.is_nan() == np.isnan(value) else 0.0
    if not np.isfinite(value):
        return 0.0
    error = abs(decimal.Decimal(float(value)) - exact)
    size = max(abs(exact), decimal.Decimal(scale))
    if error == 0:
        return 17.0
    return float(min(max(-(error / size).log10(), 0), 17)) if size else 0.0


def digits_of(row, values):
    scale = 1.0 if row["estimate"] in ("kurtosis", "skewness") else 0.0
    stored = np.asarray(values, np.float32 if row["type"] == "float" else np.float64)
    return min(digits(v, r, scale) for v, r in zip(stored, row["reference"]))


def seconds(call):
    start = time.perf_counter()
    call()
    return time.perf_counter() - start


def measure(sides, limit, options):
    """As the C++ side: limit, sample, limit, sample, ..., a ratio per sample."""
    wanted = []
    for side in sides:
        limit()
        wanted.append(max(options.least, min(options.samples, int(options.budget / max(seconds(side), 1e-9)))))
    ratios, times = [[] for _ in sides], [[] for _ in sides]
    limits = [seconds(limit)]
    for turn in range(options.samples):
        for s, side in enumerate(sides):
            if turn < wanted[s]:
                times[s].append(seconds(side))
                limits.append(seconds(limit))
                ratios[s].append((limits[-2] + limits[-1]) / 2 / times[s][-1])
    return [{"ratio": statistics.median(r), "seconds": statistics.median(t), "samples": len(t)}
            for r, t in zip(ratios, times)]


def time_row(pool, row, data, yardstick, options):
    matrix = Matrix(data, row["dims"], row["observations"], row["layout"] == "by_dimension", row["weighted"])
    sides = {"NumPy": with_numpy}
    if row["estimate"] in SCIPY_ESTIMATES and not row["weighted"]:
        sides["SciPy"] = with_scipy
    values = {}

    def runner(name):
        def run():
            values[name] = sides[name](pool, row["estimate"], matrix)
        return run

    times = measure([runner(name) for name in sides], lambda: yardstick.read(data, row["bytes"]), options)
    entries = []
    for name, result in zip(sides, times):
        found = digits_of(row, values[name])
        entries.append({"name": name, "library": True, "ours": False, "digits": found,
                        "competes": found >= row["digits_wanted"], **result})
        print(f"{row['title']:<58} {name:<6} {result['ratio']:.3f}/{int(found)}", flush=True)
    return {"title": row["title"], "sides": entries}


def digit_quantities(x):
    """Results of the exact-digit sets by NumPy and SciPy, per dimension; x is dims x observations."""
    mean = x.mean(axis=1)
    y = x - mean[:, None]
    factor = (x.shape[1] - 1) / x.shape[1]
    with np.errstate(all="ignore"):
        return {
            "mean": mean,
            "sd": x.std(axis=1, ddof=1),
            "skewness": scipy.stats.skew(x, axis=1) * factor ** 1.5,
            "kurtosis": (scipy.stats.kurtosis(x, axis=1) + 3) * factor ** 2 - 3,
            "raw sums": np.concatenate([(x ** k).sum(axis=1) for k in (1, 2, 3, 4)]),
            "central sums": np.concatenate([(y ** k).sum(axis=1) for k in (2, 3, 4)]),
        }


def scale_of(quantity, index, entry):
    if quantity in ("skewness", "kurtosis"):
        return 1.0
    if quantity == "central sums" and index // entry["dims"] == 1:
        variance = float(entry["reference"]["central sums"][index % entry["dims"]]) / entry["observations"]
        return variance ** 1.5 * entry["observations"]
    return 0.0


def judge_digits(folder):
    with open(os.path.join(folder, "digits.json"), encoding="utf-8") as file:
        entries = json.load(file)
    for entry in entries:
        if entry["weighted"]:
            continue
        kind = np.float32 if entry["type"] == "float" else np.float64
        x = np.fromfile(os.path.join(folder, entry["data"]), kind).reshape(entry["dims"], -1)
        found = digit_quantities(x)
        entry["sides"]["SciPy"] = [
            min(digits(v, r, scale_of(quantity, i, entry))
                for i, (v, r) in enumerate(zip(values, entry["reference"][quantity])))
            for quantity, values in found.items()]
        print(f"{entry['name']:<16} SciPy " + " ".join(f"{d:.1f}" for d in entry["sides"]["SciPy"]), flush=True)
    return entries


def parse():
    parser = argparse.ArgumentParser(description="The rows of bench_cpu in NumPy and SciPy.")
    parser.add_argument("--library", required=True)
    parser.add_argument("--cpu", required=True)
    parser.add_argument("--digits")
    parser.add_argument("--json")
    parser.add_argument("--samples", type=int, default=25)
    parser.add_argument("--least", type=int, default=5)
    parser.add_argument("--budget", type=float, default=1.5)
    parser.add_argument("--only", default="")
    options = parser.parse_args()
    options.least = min(options.least, options.samples)
    return options


def main():
    options = parse()
    yardstick = Yardstick(options.library)
    with open(options.cpu, encoding="utf-8") as file:
        cpu = json.load(file)
    report = {"rows": [], "numpy": np.__version__, "scipy": scipy.__version__}
    with ThreadPoolExecutor(THREADS) as pool:
        for kind in ("double", "float"):
            rows = [r for r in cpu["rows"] if r["type"] == kind and options.only in r["title"]]
            if rows:
                data = yardstick.filled(kind, cpu["elements"])
                report["rows"] += [time_row(pool, row, data, yardstick, options) for row in rows]
    if options.digits:
        report["digits"] = judge_digits(options.digits)
    if options.json:
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(report, file, indent=1)


if __name__ == "__main__":
    main()
