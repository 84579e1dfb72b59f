"""What the module refuses, in which words, and how failures below it arrive."""

import os
import subprocess
import sys
import unittest

import numpy

import qtx_stats

failing_component = sys.argv[1]
MEAN_OF_ONES = "import numpy, qtx_stats; qtx_stats.mean(numpy.ones((9, 2)), device={!r})"


class Refusals(unittest.TestCase):
    def refused(self, error, message, *arguments, function=qtx_stats.central_moment, **keywords):
        with self.subTest(message=message):
            with self.assertRaises(error) as caught:
                function(*arguments, **keywords)
            self.assertIs(type(caught.exception), error)
            self.assertIn(message, str(caught.exception))

    def test_data(self):
        plain = numpy.ones((4, 3))
        odd = numpy.frombuffer(bytes(8 * 4 + 1), dtype="uint8")[1:].view("float64")
        for error, message, data in (
            (TypeError, "data: a plain NumPy array is wanted, list is given", [[1.0, 2.0]]),
            (TypeError, "data: a plain NumPy array is wanted, MaskedArray is given", numpy.ma.ones((4, 3))),
            (TypeError, "data: float32 or float64 is wanted, int64 is given", plain.astype("int64")),
            (TypeError, "data: float32 or float64 is wanted, float16 is given", plain.astype("float16")),
            (TypeError, "float64 of foreign byte order is given", plain.astype(">f8")),
            (ValueError, "shape (0, 3) is given", plain[:0]),
            (ValueError, "shape (4, 0) is given", plain[:, :0]),
            (ValueError, "shape () is given", numpy.array(1.0)),
            (ValueError, "shape (1, 4, 3) is given", plain[None]),
            (ValueError, "an array of shape (4, 2) and strides (24, 8) is given", plain[:, :2]),
            (ValueError, "an array of shape (2,) and strides (-48,) is given", plain[::-2, 0]),
            (ValueError, "an array of shape (4,) and strides (8,) is given", odd),
        ):
            self.refused(error, message, data)

    def test_weights_mean_and_mask(self):
        data = numpy.ones((4, 3), dtype="float32")
        many = numpy.ones((4, 4), dtype="float32")
        for error, message, keywords in (
            (TypeError, "weights: a plain NumPy array is wanted, list is given", {"weights": [1] * 4}),
            (TypeError, "weights: float32, as in data, is wanted, float64 is given", {"weights": numpy.ones(4)}),
            (ValueError, "weights: shape (4,), one value per observation, is wanted, shape (3,)", {"weights": many[0, :3]}),
            (ValueError, "weights: shape (4,), one value per observation, is wanted, shape (4, 1)", {"weights": many[:, :1]}),
            (ValueError, "weights: an aligned array without gaps", {"weights": many[:, 0]}),
            (TypeError, "mean: float32, as in data, is wanted, float64 is given", {"mean": numpy.ones(3)}),
            (ValueError, "mean: shape (3,), one value per dimension, is wanted, shape (4,)", {"mean": many[0]}),
            (TypeError, "mask: bool or integers 0 and 1 is wanted, float64 is given", {"mask": numpy.ones(3)}),
            (ValueError, "mask: shape (3,), one value per dimension, is wanted, shape (4,)", {"mask": numpy.ones(4, bool)}),
            (ValueError, "mask: 0 or 1 is wanted, -1 at 2 is given", {"mask": numpy.array([1, 0, -1])}),
        ):
            self.refused(error, message, data, **keywords)

    def test_words_and_numbers(self):
        data = numpy.ones((4, 3))
        for error, message, keywords in (
            (TypeError, "device: one of 'cpu', 'gpu', 'opencl', 'accelerator' is wanted, int is given", {"device": 1}),
            (ValueError, "is wanted, 'GPU' is given", {"device": "GPU"}),
            (ValueError, "method: one of 'fast', 'standard' is wanted, 'slow' is given", {"method": "slow"}),
            (ValueError, "method: 'fast', which alone takes a mean,", {"method": "standard", "mean": data[0]}),
            (TypeError, "max_order: an integer from 2 to 4 is wanted, bool is given", {"max_order": True}),
            (ValueError, "max_order: an integer from 2 to 4 is wanted, 5 is given", {"max_order": 5}),
            (ValueError, f"2 to 4 is wanted, {-10**30} is given", {"max_order": -10**30}),
            (TypeError, "central_moment: there is no parameter 'weight', it takes data weights", {"weight": data[0]}),
        ):
            self.refused(error, message, data, **keywords)
        self.refused(ValueError, "from 1 to 4 is wanted, 0 is given", data, function=qtx_stats.raw_sum, max_order=0)
        self.refused(TypeError, "max: there is no parameter 'weights'", data, function=qtx_stats.max, weights=data)


class Failures(unittest.TestCase):
    def fails(self, kind, fragment, program, **variables):
        """A new process: what the variables say is read once."""
        environment = {**os.environ, **variables}
        command = [sys.executable, "-B", "-c", program]
        result = subprocess.run(command, env=environment, capture_output=True, text=True, timeout=120)
        self.assertEqual(result.returncode, 1, result.stderr)
        last = result.stderr.splitlines()[-1]
        self.assertTrue(last.startswith(f"qtx_stats.{kind}: "), result.stderr)
        self.assertIn(fragment, last)

    def test_devices_that_cannot(self):
        on = MEAN_OF_ONES.format
        self.fails("NoDevice", "no 'accelerator' device", on("accelerator"), BASALT_DEVICES="gpu")
        self.fails("UnsupportedDevice", "unsupported device: slab", on("accelerator"), BASALT_DEVICES="accelerator:name=slab")
        self.fails("DeviceError", "fp64", on("gpu"), BASALT_DEVICES="gpu:fp64=0")
        self.fails("InvalidArgument", "n_observations is 9, must be 1", on("gpu"), BASALT_DEVICES="gpu:wg=1")

    def test_errors_of_commands_that_were_submitted(self):
        on = MEAN_OF_ONES.format
        self.fails("ComputationError", "computation error", on("cpu"), LD_PRELOAD=failing_component)

    def test_methods_that_a_device_lacks(self):
        with self.assertRaisesRegex(qtx_stats.Unimplemented, "central_sum: unimplemented functionality"):
            qtx_stats.central_sum(numpy.ones((4, 2)), device="gpu", method="standard")

    def test_the_hierarchy(self):
        for name, kind in (
            ("NoDevice", LookupError),
            ("InvalidArgument", ValueError),
            ("UnsupportedDevice", RuntimeError),
            ("Unimplemented", NotImplementedError),
            ("DeviceBadAlloc", MemoryError),
            ("ComputationError", RuntimeError),
            ("DeviceError", RuntimeError),
        ):
            self.assertTrue(issubclass(getattr(qtx_stats, name), (qtx_stats.Error, kind)), name)
            self.assertEqual(getattr(qtx_stats, name).__mro__[1:3], (qtx_stats.Error, kind))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
