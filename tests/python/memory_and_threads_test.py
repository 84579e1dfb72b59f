"""Arrays are used where they are, the interpreter's lock is free meanwhile, and threads may call together."""

import concurrent.futures
import re
import sys
import tempfile
import threading
import time
import unittest

import numpy

import qtx_stats

MEBIBYTE = 2**20


def memory(key):
    with open("/proc/self/status") as status:
        return int(re.search(rf"{key}:\s+(\d+) kB", status.read())[1]) * 1024


def peak_growth(call):
    """Bytes that a call adds to the process at its peak."""
    with open("/proc/self/clear_refs", "w") as reset:
        reset.write("5")
    before = memory("VmRSS")
    call()
    return memory("VmHWM") - before


class ZeroCopy(unittest.TestCase):
    def test_a_cpu_device_adds_no_copy_and_a_gpu_device_one(self):
        data = numpy.ones((64 * MEBIBYTE // 64, 8))
        weights = numpy.ones(len(data))
        for device in ("cpu", "gpu"):
            qtx_stats.describe(data[:100], device=device)
        for array in (data, data.reshape(8, -1).T, data.reshape(-1)):
            self.assertLess(peak_growth(lambda: qtx_stats.describe(array)), 16 * MEBIBYTE)
        self.assertLess(peak_growth(lambda: qtx_stats.describe(data, weights=weights)), 16 * MEBIBYTE)
        # The same measure sees the transfer to a device's memory.
        self.assertGreater(peak_growth(lambda: qtx_stats.max(data, device="gpu")), 60 * MEBIBYTE)

    def test_memory_that_cannot_be_written(self):
        with tempfile.NamedTemporaryFile() as file:
            values = numpy.arange(3000.0).reshape(1000, 3)
            values.tofile(file)
            file.flush()
            data = numpy.memmap(file.name, dtype="float64", mode="r", shape=(1000, 3))
            for device in ("cpu", "gpu"):
                results = qtx_stats.describe(data, weights=data[:334].reshape(-1)[:1000], mean=data[0], device=device)
                numpy.testing.assert_array_equal(results["max"], values[-1])

    def test_references_are_given_back(self):
        data, mask = numpy.ones((10, 2)), numpy.array([True, False])
        counts = sys.getrefcount(data), sys.getrefcount(mask)
        result = qtx_stats.describe(data, mask=mask)
        with self.assertRaises(ValueError):
            qtx_stats.mean(data, mask=mask, weights=numpy.ones(3))
        self.assertEqual((sys.getrefcount(data), sys.getrefcount(mask)), counts)
        self.assertEqual(sys.getrefcount(result["mean"]), 2)


class Threads(unittest.TestCase):
    def test_other_threads_run_while_a_call_computes(self):
        for device, rows in (("cpu", 2_500_000), ("gpu", 250_000)):
            data = numpy.ones((rows, 8))
            # The devices are looked for at the first call, without the lock.
            qtx_stats.describe(data[:2], device=device)
            began, ended = [], []

            def call():
                began.append(time.monotonic())
                qtx_stats.describe(data, device=device)
                ended.append(time.monotonic())

            caller = threading.Thread(target=call)
            caller.start()
            ticks = []
            while caller.is_alive():
                ticks.append(time.monotonic())
                time.sleep(0.001)
            caller.join()
            duration = ended[0] - began[0]
            meanwhile = [t for t in ticks if 0.1 * duration < t - began[0] < 0.9 * duration]
            # One call that held the lock would leave no time to this thread.
            self.assertGreater(len(meanwhile), 10, (device, duration, len(ticks)))

    def test_threads_call_together(self):
        generator = numpy.random.default_rng(8)
        data = generator.normal(10, 3, (5000, 4))
        expected = {device: qtx_stats.describe(data, device=device) for device in ("cpu", "gpu")}
        wrong = data[::2]

        def work(number):
            device = ("cpu", "gpu")[number % 2]
            with self.assertRaises(ValueError):
                qtx_stats.mean(wrong, device=device)
            return device, qtx_stats.describe(data, device=device)

        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            for device, results in pool.map(work, range(48)):
                for name, values in expected[device].items():
                    numpy.testing.assert_array_equal(results[name], values, f"{name} on {device}")


if __name__ == "__main__":
    unittest.main()
