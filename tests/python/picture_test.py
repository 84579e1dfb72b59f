"""The example prints what SciPy finds and draws a picture with a panel for each column."""

import os
import pathlib
import subprocess
import sys
import unittest

import matplotlib.image
import numpy
import scipy.stats

script, picture = map(pathlib.Path, sys.argv[1:3])
diamonds = script.parents[2] / "data" / "diamonds.csv"


class Picture(unittest.TestCase):
    def test_table_and_picture(self):
        picture.unlink(missing_ok=True)
        command = [sys.executable, "-B", script, diamonds, picture]
        result = subprocess.run(command, capture_output=True, text=True, timeout=250)
        self.assertEqual(result.returncode, 0, result.stderr)
        price = numpy.loadtxt(diamonds, delimiter=",", skiprows=1, usecols=3)
        row = next(line.split() for line in result.stdout.splitlines() if line.startswith("price"))
        expected = [price.min(), price.mean(), price.max(), price.std(ddof=1), scipy.stats.skew(price)]
        numpy.testing.assert_allclose([float(word) for word in row[1:6]], expected, rtol=1e-3)
        pixels = matplotlib.image.imread(os.fspath(picture))[:, :, :3]
        # The bars' blue in both rows of panels and in all columns of them but the empty last one.
        blue = numpy.abs(pixels - [0x7A / 255, 0x9C / 255, 0xC6 / 255]).max(axis=2) < 0.02
        quarters = [part.any() for half in numpy.array_split(blue, 2) for part in numpy.array_split(half, 4, axis=1)]
        self.assertEqual(quarters, [True] * 7 + [False])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
