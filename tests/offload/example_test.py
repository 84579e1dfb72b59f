"""The example's table holds the figures that qtx-describe computes of the same file, waiting and not."""

import argparse
import functools
import json
import math
import os
import re
import subprocess
import unittest

settings = argparse.Namespace()

# The table shows 12 digits.
SHOWN = 1e-11

# The device of qtx-describe that computes as the run-time's: other devices add in another order.
DEVICES = {"basalt": "gpu", "sycl": "gpu", "opencl": "opencl"}


@functools.cache
def described(device):
    command = [settings.describe, "--json", "--device", device, settings.data]
    environment = os.environ | ({"SYCL_OPENCL_DEVICE_TYPE": "gpu"} if device == "opencl" else {})
    text = subprocess.run(command, check=True, capture_output=True, text=True, timeout=300, env=environment).stdout
    answer = json.loads(text)
    return {name: dict(zip(answer["columns"], values)) for name, values in answer["estimates"].items()}


def tabled(text):
    """Estimate -> column -> value, from blocks whose first line names columns."""
    table, columns = {}, []
    for line in text.splitlines():
        words = line.split()
        if words and words[0] == "estimate":
            columns = words[1:]
        elif len(words) == len(columns) + 1 and re.fullmatch(r"[a-z_]+\d?", words[0]):
            table.setdefault(words[0], {}).update(zip(columns, map(float, words[1:])))
    return table


class Example(unittest.TestCase):
    def check(self, runtime, *flags):
        command = [settings.example, settings.data, "--runtime", runtime, *flags]
        result = subprocess.run(command, capture_output=True, text=True, timeout=900)
        self.assertEqual((result.returncode, result.stderr), (0, ""), command)
        shown, wanted = tabled(result.stdout), described(DEVICES[runtime])
        self.assertEqual(set(shown), set(wanted))
        for name, values in wanted.items():
            self.assertEqual(set(shown[name]), set(values))
            for column, value in values.items():
                self.assertTrue(
                    math.isclose(shown[name][column], value, rel_tol=SHOWN),
                    f"{runtime} {name} {column}: {shown[name][column]}, qtx-describe {value}",
                )

    def test_no_such_file(self):
        command = [settings.example, settings.data + ".none"]
        result = subprocess.run(command, capture_output=True, text=True, timeout=60)
        self.assertEqual(result.returncode, 2)
        self.assertIn(".none", result.stderr)


def add_case(runtime, *flags):
    name = "_".join(["test", runtime, *(flag.strip("-") for flag in flags)])
    setattr(Example, name, lambda self: self.check(runtime, *flags))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("--example", "--describe", "--data", "--runtimes"):
        parser.add_argument(option, required=True)
    settings, rest = parser.parse_known_args()
    for runtime in settings.runtimes.split(","):
        add_case(runtime)
        add_case(runtime, "--nowait")
    unittest.main(argv=["example_test", *rest])
