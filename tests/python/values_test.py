"""The numbers that the module returns, against SciPy and against exact arithmetic."""

import inspect
import itertools
import os
import pathlib
import random
import unittest

import numpy
import scipy.stats

import oracle
import qtx_stats

DEVICES = ("cpu", "gpu")
DTYPES = {"float32": "float", "float64": "double"}
TUPLES = ("min_max", "raw_sum", "raw_moment", "central_sum", "central_moment")
WITHOUT_MEAN = ("mean", "raw_sum", "raw_moment")
ABOUT_MEAN = ("central_sum", "central_moment", "variation", "skewness", "kurtosis")
SHAPES = ("variation", "skewness", "kurtosis")
DIAMONDS = pathlib.Path(__file__).parents[2] / "data" / "diamonds.csv"


def one_by_one(data, weights=None, mask=None, mean=None, **options):
    """What describe() returns, from the functions for one estimate each."""
    results = {"min": qtx_stats.min(data, mask=mask, **options), "max": qtx_stats.max(data, mask=mask, **options)}
    for name in WITHOUT_MEAN + ABOUT_MEAN:
        about = {"mean": mean} if name in ABOUT_MEAN else {}
        result = getattr(qtx_stats, name)(data, weights=weights, mask=mask, **about, **options)
        results.update(result._asdict() if name in TUPLES else {name: result})
    return results


class Values(unittest.TestCase):
    def check_exactly(self, results, data, device, case, weights=None, mask=None, mean=None):
        """Every result of every dimension is within the bound of its exact value; masked ones are NaN."""
        row_weights = [1.0] * len(data) if weights is None else weights.tolist()
        for d in range(data.shape[1]):
            if mask is not None and not mask[d]:
                self.assertTrue(all(numpy.isnan(values[d]) for values in results.values()), case)
                continue
            given = None if mean is None else float(mean[d])
            exact = oracle.Column(data[:, d].tolist(), row_weights, DTYPES[data.dtype.name], device, given)
            for name, values in results.items():
                if name in SHAPES and not exact.resolvable:
                    continue
                error = abs(oracle.Fraction(float(values[d])) - oracle.Fraction(exact.value[name]))
                self.assertLessEqual(error, exact.bound[name], f"{name} of dimension {d}; {case}")

    def test_diamonds_against_scipy(self):
        data = numpy.loadtxt(DIAMONDS, delimiter=",", skiprows=1)
        n = len(data)
        # SciPy's shape estimates take the variance with denominator n.
        shrink = (n - 1) / n
        moment = {k: scipy.stats.moment(data, k) for k in (2, 3, 4)}
        expected = {
            "min": data.min(axis=0),
            "max": data.max(axis=0),
            **{f"raw_moment{k}": (data**k).mean(axis=0) for k in (2, 3, 4)},
            **{f"raw_sum{k}": (data**k).sum(axis=0) for k in (2, 3, 4)},
            **{f"central_sum{k}": moment[k] * n for k in (2, 3, 4)},
            "mean": data.mean(axis=0),
            "sum": data.sum(axis=0),
            "central_moment2": data.var(axis=0, ddof=1),
            "central_moment3": moment[3],
            "central_moment4": moment[4],
            "variation": scipy.stats.variation(data, ddof=1),
            "skewness": scipy.stats.skew(data) * shrink**1.5,
            "kurtosis": scipy.stats.kurtosis(data, fisher=False) * shrink**2 - 3,
        }
        # The GPU expands central sums from raw ones, which costs digits where the mean is large.
        for device, tolerance in (("cpu", 1e-10), ("gpu", 1e-6)):
            for order in "CF":
                results = qtx_stats.describe(numpy.array(data, order=order), device=device)
                self.assertEqual(set(results), set(expected))
                for name, values in expected.items():
                    with self.subTest(device=device, order=order, estimate=name):
                        numpy.testing.assert_allclose(results[name], values, rtol=tolerance, atol=tolerance)

    def test_random_data_in_every_combination(self):
        seed = random.SystemRandom().randrange(2**32)
        generator = numpy.random.default_rng(seed)
        for case in itertools.product(DEVICES, DTYPES, "CF", *[(False, True)] * 3):
            device, dtype, order, weighted, masked, about_mean = case
            shape = tuple(generator.integers((2, 1), (400, 6)))
            data = numpy.array(generator.normal(3, 1, shape), dtype=dtype, order=order)
            extras = {}
            if weighted:
                extras["weights"] = generator.uniform(0.5, 2, shape[0]).astype(dtype)
            if masked:
                extras["mask"] = generator.integers(0, 2, shape[1]).astype(generator.choice(["bool", "int8", "uint64"]))
            if about_mean:
                extras["mean"] = generator.uniform(2.5, 3.5, shape[1]).astype(dtype)
            words = f"{case}, shape {shape}, seed {seed}"
            described = qtx_stats.describe(data, device=device, **extras)
            single = one_by_one(data, device=device, **extras)
            self.check_exactly(described, data, device, words, **extras)
            self.assertEqual(set(single), set(described), words)
            for name, values in described.items():
                self.assertEqual((values.dtype, values.shape), (data.dtype, shape[1:]), words)
                numpy.testing.assert_array_equal(single[name], values, f"{name}; {words}")
            ends = qtx_stats.min_max(data, mask=extras.get("mask"), device=device)
            numpy.testing.assert_array_equal(ends, [described["min"], described["max"]], words)

    def test_one_axis_is_one_dimension(self):
        for device, n in itertools.product(DEVICES, (1, 5, 3000)):
            data = numpy.arange(n, dtype="float64")
            for shape in ((n,), (n, 1)):
                self.assertEqual(qtx_stats.raw_sum(data.reshape(shape), max_order=1, device=device).sum, [data.sum()])
            numpy.testing.assert_array_equal(qtx_stats.mean(data.reshape(1, n), device=device), data)

    def test_orders_that_are_not_wanted_are_none(self):
        data = numpy.arange(12.0).reshape(4, 3)
        for device, name in itertools.product(DEVICES, TUPLES[1:]):
            full = getattr(qtx_stats, name)(data, device=device)
            least = 5 - len(full)
            for most in range(least, 5):
                some = getattr(qtx_stats, name)(data, max_order=most, device=device)
                for order, (value, complete) in enumerate(zip(some, full), least):
                    if order > most:
                        self.assertIsNone(value, (name, most))
                    else:
                        numpy.testing.assert_array_equal(value, complete)

    def test_weights_that_are_not_above_zero_count_as_one(self):
        data = numpy.array([1.0, 2.0, 4.0, 8.0])
        weights = numpy.array([0.0, -3.0, numpy.nan, 2.0])
        for device in DEVICES:
            self.assertEqual(qtx_stats.raw_sum(data, weights=weights, device=device).sum, [23])

    def test_the_standard_method(self):
        data = numpy.random.default_rng(3).normal(5, 2, (100, 3))
        fast = qtx_stats.describe(data)
        for device, missing in (("cpu", set()), ("gpu", {n for n in fast if n.startswith("central")})):
            standard = qtx_stats.describe(data, device=device, method="standard")
            self.assertEqual(set(standard), set(fast) - {"min", "max"} - missing)
            for name, values in standard.items():
                numpy.testing.assert_allclose(values, fast[name], rtol=1e-9)

    def test_an_opencl_device(self):
        data = numpy.arange(20.0).reshape(10, 2)
        try:
            result = qtx_stats.min_max(data, device="opencl")
        except qtx_stats.NoDevice as error:
            missing(self, "no OpenCL device: " + str(error))
        else:
            numpy.testing.assert_array_equal(result, [[0, 1], [18, 19]])

    def test_functions_tell_their_parameters(self):
        for name in (*TUPLES, *WITHOUT_MEAN, *ABOUT_MEAN, "min", "max", "describe"):
            function = getattr(qtx_stats, name)
            for parameter in inspect.signature(function).parameters.values():
                self.assertIn(f"\n{parameter.name} : ", function.__doc__)
                if parameter.kind == parameter.KEYWORD_ONLY:
                    function(numpy.ones((3, 2)), **{parameter.name: parameter.default})


def missing(test, what):
    """Skips the test, or fails it where nothing may be missing."""
    (test.fail if os.environ.get("QTX_REQUIRE_ALL", "0") not in ("", "0") else test.skipTest)(what)


if __name__ == "__main__":
    unittest.main()
