"""Exact statistics of the numbers that a run stored, and how far a run may be from them.

Everything is rational arithmetic on the stored values, so the only rounding here is that of the decimal text to the
element type.
"""

import csv
import functools
import math
import struct
from collections import Counter
from fractions import Fraction

ROUNDING = {"double": 2.0**-53, "float": 2.0**-24}
LARGEST = {"double": float.fromhex("0x1.fffffffffffffp+1023"), "float": float.fromhex("0x1.fffffep+127")}

# Additions that one element's value takes part in: two passes over at most this many work-items.
ADDITIONS = 2 * 1024 + 16
# The CPU path adds blocks pairwise in double arithmetic.
CPU_ADDITIONS = 256


def stored(text, element_type):
    """The number that a decimal text becomes in memory."""
    value = float(text)
    return struct.unpack("<f", struct.pack("<f", value))[0] if element_type == "float" else value


@functools.lru_cache
def read_columns(path):
    """Names of the columns and their cells as texts."""
    with open(path, newline="") as file:
        rows = list(csv.reader(file))
    return rows[0], list(zip(*rows[1:]))


def power_sums(values, weights, about):
    """Sums of w (x - about)^k and of w |x - about|^k, k from 0 to 4, as fractions.

    The work is done on integers: stored numbers are multiples of a power of two. Columns repeat their values, so each
    different pair is worked out once.
    """
    pairs = Counter(zip(values, weights))
    unit = max(Fraction(v).denominator for v in [about, *(value for value, _ in pairs)])
    weight_unit = max(Fraction(weight).denominator for _, weight in pairs)
    sums, absolute = [0] * 5, [0] * 5
    for (value, weight), times in pairs.items():
        term = int(Fraction(weight) * weight_unit) * times
        step = int(Fraction(value) * unit) - int(Fraction(about) * unit)
        for k in range(5):
            sums[k] += term
            absolute[k] += abs(term)
            term *= step
    scale = [weight_unit * unit**k for k in range(5)]
    return [Fraction(s, c) for s, c in zip(sums, scale)], [Fraction(a, c) for a, c in zip(absolute, scale)]


def central_sums(raw, mean):
    """Central sums of order 0 to 4 about a rational mean, expanded from raw sums."""
    return [
        sum(math.comb(k, j) * raw[k - j] * (-mean) ** j for j in range(k + 1)) for k in range(5)
    ]


class Column:
    """Estimates of one column: `value[name]` exactly, `bound[name]` how far a correct run may be from it."""

    def __init__(self, values, weights, element_type, device, given_mean=None, extremes_only=False, chunked=False):
        self.rounding = ROUNDING[element_type]
        self.on_cpu = device == "cpu"
        self.sum_error = CPU_ADDITIONS * 2.0**-53 if self.on_cpu else ADDITIONS * self.rounding
        # Sums of a chunk are rounded to the element type before they merge, and so is what tells its mean.
        self.sum_error += 4 * self.rounding if chunked else 0
        self.value = {"min": min(values), "max": max(values)}
        self.bound = {"min": 0, "max": 0}
        if not extremes_only:
            self._add_moments(values, [w if w > 0 else 1.0 for w in weights], given_mean)

    def _add_moments(self, values, weights, given_mean):
        self.raw, self.raw_size = power_sums(values, weights, 0.0)
        self.total = self.raw[0]
        self.total_of_squares = sum(times * Fraction(w) ** 2 for w, times in Counter(weights).items())
        self._raw_estimates()
        self._central_estimates(values, weights, given_mean)

    def _set(self, name, value, error):
        """A result: its error before the last rounding, and the rounding of a handful of last operations."""
        self.value[name] = value
        self.bound[name] = 2 * float(error) + 8 * self.rounding * abs(float(value))

    def _raw_estimates(self):
        for k, (sum_name, moment_name) in enumerate(
            [("sum", "mean"), ("raw_sum2", "raw_moment2"), ("raw_sum3", "raw_moment3"), ("raw_sum4", "raw_moment4")], 1
        ):
            error = self.sum_error * float(self.raw_size[k])
            self._set(sum_name, self.raw[k], error)
            value = self.raw[k] / self.total
            self._set(moment_name, value, error / float(self.total) + self.sum_error * abs(float(value)))

    def _central_error(self, values, weights, mean, given):
        """Errors of the central sums.

        An expansion from raw sums loses what the powers of |x| + |mean| lose; sums of differences only their own size.
        """
        if given or self.on_cpu:
            size = power_sums(values, weights, given if given is not None else float(mean))[1]
        else:
            size = power_sums([abs(v) for v in values], weights, -abs(float(mean)))[1]
        return [self.sum_error * float(s) for s in size]

    def _central_estimates(self, values, weights, given_mean):
        mean = self.raw[1] / self.total if given_mean is None else Fraction(given_mean)
        central = central_sums(self.raw, mean)
        error = self._central_error(values, weights, mean, given_mean)
        spread = self.total**2 - self.total_of_squares
        factor = self.total / spread
        factor_error = 4 * self.sum_error * float(self.total**2 / spread)
        for k in (2, 3, 4):
            self._set(f"central_sum{k}", central[k], error[k])
        for k in (3, 4):
            moment = central[k] / self.total
            self._set(f"central_moment{k}", moment, error[k] / float(self.total) + self.sum_error * abs(float(moment)))
        variance = central[2] * factor
        variance_error = error[2] / float(central[2]) + factor_error
        self._set("central_moment2", variance, variance_error * float(variance))
        self.resolvable = variance_error < 0.1
        mean_error = 0 if given_mean is not None else self.bound["mean"] / abs(float(mean))
        self._shape(float(mean), central, error, float(variance), variance_error, mean_error)

    def _shape(self, mean, central, error, variance, variance_error, mean_error):
        variation = math.sqrt(variance) / mean
        self._set("variation", variation, abs(variation) * (variance_error / 2 + mean_error))
        skewness = float(central[3] / self.total) / variance**1.5
        scale = float(self.total) * variance**1.5
        self._set("skewness", skewness, error[3] / scale + abs(skewness) * (1.5 * variance_error + self.sum_error))
        ratio = float(central[4] / self.total) / variance**2
        scale = float(self.total) * variance**2
        self._set("kurtosis", ratio - 3, error[4] / scale + ratio * (2 * variance_error + self.sum_error))
        self.bound["kurtosis"] += 8 * self.rounding * (ratio + 3)
