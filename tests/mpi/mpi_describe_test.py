"""What ranks of an MPI program find together is what qtx-describe finds alone, and a failing rank ends all of them."""

import argparse
import json
import math
import os
import subprocess
import tempfile
import unittest

settings = argparse.Namespace()

# Estimates of the test's data are well conditioned: results differ by the rounding of sums, whose terms here are no
# more than a few hundred times the sum.
SLACK = 1e-12


def ranks(count, *arguments):
    command = [settings.mpirun, "--allow-run-as-root", "--oversubscribe", "-n", str(count), settings.program, *arguments]
    return subprocess.run(command, capture_output=True, text=True, timeout=120)


def data_file(name):
    return os.path.join(settings.data, name)


class Ranks(unittest.TestCase):
    def compare(self, count, *arguments, device="cpu"):
        """With one process on the CPU, whose central sums keep all digits."""
        with self.subTest(ranks=count, arguments=arguments):
            together = ranks(count, *arguments, "--json", "--device", device)
            self.assertEqual(together.returncode, 0, together.stderr)
            found = json.loads(together.stdout)
            alone = [settings.describe, *arguments, "--json"]
            wanted = json.loads(subprocess.run(alone, check=True, capture_output=True, text=True, timeout=120).stdout)
            self.assertEqual((found.pop("chunks"), found["path"]), (count, device))
            for name, values in wanted["estimates"].items():
                for column, value, result in zip(found["columns"], values, found["estimates"][name]):
                    same = value == result or math.isclose(value, result, rel_tol=SLACK, abs_tol=SLACK)
                    self.assertTrue(same, (name, column, value, result))
            for key in ("layout", "form", "method", "columns", "n_dims", "n_observations"):
                self.assertEqual(found[key], wanted[key])

    def test_the_whole_is_the_same_on_any_number_of_ranks(self):
        for count in (1, 2, 5):
            self.compare(count, data_file("diamonds.csv"), "--mask", "table")
            self.compare(count, data_file("iris.csv"), "--weights", "Petal.Width", "--form", "buffer", device="gpu")

    def test_more_ranks_than_rows(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "three.csv")
            with open(path, "w") as file:
                file.write("a,w\n1,2\n5,1\n9,0.5\n")
            self.compare(5, path, "--weights", "w", "--mean", "4")

    def test_bad_input_ends_all_ranks(self):
        result = ranks(2, "/no/such.csv")
        self.assertEqual(result.returncode, 2)
        self.assertIn("rank ", result.stderr)
        self.assertIn("/no/such.csv: cannot be opened", result.stderr)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for name in ("mpirun", "program", "describe", "data"):
        parser.add_argument(f"--{name}", required=True)
    settings, rest = parser.parse_known_args(namespace=settings)
    unittest.main(argv=["mpi_describe_test.py", *rest], verbosity=2)
