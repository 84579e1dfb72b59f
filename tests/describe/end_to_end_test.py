"""Runs qtx-describe and compares what it prints with exact statistics of the same file."""

import argparse
import itertools
import json
import os
import pty
import subprocess
import sys
import tempfile
import time
import unittest

import oracle

EXTREMES = ["min", "max"]
MOMENTS = (
    "mean sum raw_sum2 raw_sum3 raw_sum4 raw_moment2 raw_moment3 raw_moment4 central_sum2 central_sum3 central_sum4 "
    "central_moment2 central_moment3 central_moment4 variation skewness kurtosis"
).split()
CENTRAL = [name for name in MOMENTS if name.startswith("central")]
ABOUT_MEAN = CENTRAL + ["variation", "skewness", "kurtosis"]
KEYS = "device path type layout form method columns n_dims n_observations estimates".split()

settings = argparse.Namespace()


def run(*arguments, text=None, environment=None):
    return subprocess.run(
        [settings.program, *arguments],
        input=text,
        capture_output=True,
        text=True,
        timeout=300,
        env={**os.environ, **(environment or {})},
    )


def data_file(name):
    return os.path.join(settings.data, name)


def all_estimates():
    return EXTREMES + MOMENTS


class Run:
    """One run with --json and the file it read, or `pieces` of that file."""

    def __init__(self, test, file, device, *options, environment=None, pieces=None):
        self.arguments = [*(pieces or [data_file(file)]), "--json", "--device", device, *options]
        result = run(*self.arguments, environment=environment)
        test.assertEqual((result.returncode, result.stderr), (0, ""), self.arguments)
        self.answer = json.loads(result.stdout)
        self.file, self.device, self.test = file, device, test

    def check(self, element_type="double", masked=(), weights=None, mean=None, names=None):
        """Compares every number with its exact value; returns how many were compared."""
        header, columns = oracle.read_columns(data_file(self.file))
        dimensions = [name for name in header if name != weights]
        self.test.assertEqual([key for key in self.answer if key != "chunks"], KEYS)
        self.test.assertEqual(self.answer["columns"], dimensions, self.arguments)
        self.test.assertEqual(self.answer["n_dims"], len(dimensions))
        self.test.assertEqual(self.answer["n_observations"], len(columns[0]))
        self.test.assertEqual(self.answer["type"], element_type)
        self.test.assertEqual(list(self.answer["estimates"]), names or all_estimates(), self.arguments)
        cells = {name: [oracle.stored(c, element_type) for c in column] for name, column in zip(header, columns)}
        row_weights = cells[weights] if weights else [1.0] * len(columns[0])
        return sum(
            self._check_dimension(d, name, cells[name], row_weights, element_type, mean and mean[d])
            if name not in masked
            else self._check_masked(d, name)
            for d, name in enumerate(dimensions)
        )

    def _check_masked(self, d, name):
        for estimate, values in self.answer["estimates"].items():
            self.test.assertIsNone(values[d], (estimate, name, self.arguments))
        return 0

    def _check_dimension(self, d, name, values, weights, element_type, mean):
        extremes_only = set(self.answer["estimates"]) <= set(EXTREMES)
        exact = oracle.Column(values, weights, element_type, self.device, mean, extremes_only, "chunks" in self.answer)
        checked = 0
        for estimate, results in self.answer["estimates"].items():
            if estimate in ("variation", "skewness", "kurtosis") and not exact.resolvable:
                continue
            result = oracle.stored(results[d], element_type)
            error = abs(oracle.Fraction(result) - oracle.Fraction(exact.value[estimate]))
            self.test.assertLessEqual(
                float(error),
                exact.bound[estimate],
                f"{estimate} of {name}: {result}, exactly {float(exact.value[estimate])}; {self.arguments}",
            )
            checked += 1
        return checked


class Values(unittest.TestCase):
    """Numbers against exact ones, in every combination of form, layout and type."""

    @staticmethod
    def each_combination():
        choices = (settings.devices, ["double", "float"], ["by_dimension", "by_observation"], ["usm", "buffer"])
        for device, element_type, layout, form in itertools.product(*choices):
            yield device, element_type, ("--type", element_type, "--layout", layout, "--form", form)

    def test_every_combination(self):
        for device, element_type, options in self.each_combination():
            answer = Run(self, "iris.csv", device, *options)
            self.assertGreater(answer.check(element_type), 0)
            self.assertEqual([answer.answer["layout"], answer.answer["form"]], [options[3], options[5]])
            self.assertEqual([answer.answer["path"], answer.answer["method"]], [device, "fast"])

    def test_masked_columns_are_null(self):
        masked = ["Sepal.Length", "Petal.Length"]
        for device, element_type, options in self.each_combination():
            answer = Run(self, "iris.csv", device, *options, "--mask", ",".join(masked))
            self.assertGreater(answer.check(element_type, masked=masked), 0)

    def test_weights_with_a_masked_first_column(self):
        for device, element_type, options in self.each_combination():
            answer = Run(self, "iris.csv", device, *options, "--weights", "Petal.Width", "--mask", "Sepal.Length")
            self.assertGreater(answer.check(element_type, masked=["Sepal.Length"], weights="Petal.Width"), 0)

    def test_weights_that_are_not_above_zero_count_as_one(self):
        texts = ["a,w\n1,0\n2,-3\n4,nan\n8,2\n", "a,w\n1,1\n2,1\n4,1\n8,2\n"]
        for device, form in itertools.product(settings.devices, ["usm", "buffer"]):
            arguments = ("-", "--json", "--device", device, "--form", form, "--weights", "w")
            odd, plain = (json.loads(run(*arguments, text=text).stdout) for text in texts)
            self.assertEqual(odd, plain)
            self.assertEqual(odd["estimates"]["sum"], [23])

    def test_a_given_mean(self):
        mean = [5.5, 3.25, 4.0, 1.5]
        for device, element_type, options in self.each_combination():
            words = ",".join(map(str, mean))
            answer = Run(self, "iris.csv", device, *options, "--mean", words, "--estimates", ",".join(ABOUT_MEAN))
            self.assertGreater(answer.check(element_type, mean=mean, names=ABOUT_MEAN), 0)

    def test_everything_masked_and_one_estimate_alone(self):
        for device, name in itertools.product(settings.devices, all_estimates()):
            with self.subTest(device=device, estimate=name):
                self.assertEqual(Run(self, "iris.csv", device, "--estimates", name).check(names=[name]), 4)
        header = oracle.read_columns(data_file("iris.csv"))[0]
        for device in settings.devices:
            Run(self, "iris.csv", device, "--mask", ",".join(header)).check(masked=header)

    def test_many_rows(self):
        for device in settings.devices:
            for element_type, layout, form in (("double", "by_dimension", "usm"), ("float", "by_observation", "buffer")):
                with self.subTest(device=device, type=element_type):
                    options = ("--type", element_type, "--layout", layout, "--form", form)
                    self.assertGreater(Run(self, "diamonds.csv", device, *options).check(element_type), 0)

    def test_small_work_groups_make_many_passes(self):
        gpu = {"BASALT_DEVICES": "gpu:wg=4"}
        for form in ("usm", "buffer"):
            self.assertGreater(Run(self, "iris.csv", "gpu", "--form", form, environment=gpu).check(), 0)
        table = run(data_file("iris.csv"), "--device", "gpu", "--estimates", "max", environment=gpu).stdout
        self.assertIn("work-group limit 4, 4 passes", table)

    def test_the_standard_method(self):
        for device in settings.devices:
            names = MOMENTS if device == "cpu" else [name for name in MOMENTS if name not in CENTRAL]
            answer = Run(self, "iris.csv", device, "--method", "standard")
            self.assertGreater(answer.check(names=names), 0)

    def test_values_that_are_no_numbers_are_words(self):
        text = "a,b,c,d\n1,1,1,1\ninf,-inf,nan,2\n"
        for device in settings.devices:
            result = run("-", "--json", "--device", device, "--estimates", "mean,sum", text=text)
            answer = json.loads(result.stdout)["estimates"]
            self.assertEqual(answer, {"mean": ["inf", "-inf", "nan", 1.5], "sum": ["inf", "-inf", "nan", 3]})


class Chunks(unittest.TestCase):
    """Statistics of chunks, merged: the exact values in the bounds that hold for one piece."""

    def test_every_combination(self):
        for device, element_type, options in Values.each_combination():
            answer = Run(self, "iris.csv", device, *options, "--chunk", "40")
            self.assertGreater(answer.check(element_type), 0)
            self.assertEqual(answer.answer["chunks"], 4)

    def test_options_that_change_the_arrays(self):
        mean = [5.5, 3.25, 4.0, 1.5]
        for device, form in itertools.product(settings.devices, ["usm", "buffer"]):
            options = ("--form", form, "--chunk", "7")
            weighted = Run(self, "iris.csv", device, *options, "--weights", "Petal.Width", "--mask", "Sepal.Length")
            self.assertGreater(weighted.check(masked=["Sepal.Length"], weights="Petal.Width"), 0)
            names = ["max"] + ABOUT_MEAN
            about = ("--mean", ",".join(map(str, mean)), "--estimates", ",".join(names))
            self.assertGreater(Run(self, "iris.csv", device, *options, *about).check(mean=mean, names=names), 0)

    def test_several_files_are_one_table(self):
        with open(data_file("iris.csv")) as file:
            header, *rows = file.readlines()
        with tempfile.TemporaryDirectory() as folder:
            pieces = [os.path.join(folder, f"{i}.csv") for i in range(3)]
            for i, path in enumerate(pieces):
                with open(path, "w") as file:
                    file.writelines([header, *rows[i * 60 : (i + 1) * 60]])
            for device in settings.devices:
                for options in ((), ("--chunk", "50"), ("--chunk", "1000")):
                    self.assertGreater(Run(self, "iris.csv", device, *options, pieces=pieces).check(), 0)
                whole, joined = (run(*files, "--json", "--device", device) for files in ([data_file("iris.csv")], pieces))
                self.assertEqual(whole.stdout, joined.stdout)

    def test_many_numbers_are_cut_without_being_asked(self):
        header, row = ",".join(f"c{i}" for i in range(64)), ",".join(["3"] * 64)
        answers = []
        for n_rows in (1 << 16, (1 << 16) + 1):
            text = "\n".join([header] + [row] * n_rows)
            answers.append(json.loads(run("-", "--json", "--estimates", "sum", text=text).stdout))
            self.assertEqual(set(answers[-1]["estimates"]["sum"]), {3 * n_rows})
        self.assertEqual([answer.get("chunks") for answer in answers], [None, 2])

    def test_progress_is_shown_on_a_terminal_only(self):
        with open(data_file("iris.csv"), encoding="utf-8") as file:
            text = file.read()
        command = [settings.program, "-", "--chunk", "50", "--estimates", "sum"]
        terminal, other_side = pty.openpty()
        with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=other_side,
                              text=True) as process:
            os.close(other_side)
            time.sleep(1)  # what takes less shows nothing
            table, _ = process.communicate(text)
        shown = b""
        try:
            while piece := os.read(terminal, 4096):
                shown += piece
        except OSError:  # how a terminal ends on Linux
            pass
        os.close(terminal)
        self.assertRegex(shown, rb"\d+ rows")
        self.assertTrue(shown.endswith(b"\r\x1b[K"), shown[-20:])
        self.assertIn("merged from 3 chunks", table)
        self.assertEqual(run(*command[1:], text=text).stderr, "")


class Refusals(unittest.TestCase):
    """Exit codes, and one line on standard error that says what is wrong and where."""

    def refused(self, code, fragment, *arguments, text=None, environment=None):
        with self.subTest(arguments=arguments, text=text):
            result = run(*arguments, text=text, environment=environment)
            self.assertEqual(result.returncode, code, result.stderr)
            self.assertEqual(result.stdout, "")
            self.assertRegex(result.stderr, r"\Aqtx-describe: [^\n]+\n\Z")
            self.assertIn(fragment, result.stderr)

    def test_bad_files(self):
        for text, fragment in (
            ("", "standard input: line 1, column 1: the file is empty"),
            ("a,b\n", "standard input: line 2, column 1: no rows"),
            ("a,b\n1,2\n3\n", "standard input: line 3, column 2: the row has 1 cell"),
            ("a,b\n1,x\ty\n", "standard input: line 2, column 2: 'x\\x09y' is not a number in column 'b'"),
            ("a\n1\n1e39\n", "standard input: line 3, column 1: '1e39' is out of the range"),
        ):
            self.refused(2, fragment, "-", "--device", "gpu", "--type", "float", text=text)
        # The last chunk and the second file are checked as the first ones.
        late = "a\n" + "1\n" * 9 + "x\n"
        self.refused(2, "standard input: line 11, column 1: 'x' is not a number", "-", "--chunk", "2", text=late)
        iris = data_file("iris.csv")
        for header, fragment in (
            ("Sepal.Length,b\n1,2\n", "line 1, column 2: the column is 'b', but"),
            ("Sepal.Length\n1\n", "line 1, column 2: the header names 1 column, but that of"),
            ("", "line 1, column 1: the file is empty"),
        ):
            self.refused(2, "standard input: " + fragment, iris, "-", text=header)
        self.refused(2, "/no/such.csv: cannot be opened", "/no/such.csv", "--device", "gpu")
        with tempfile.TemporaryDirectory() as folder:
            self.refused(2, "is a directory", folder, "--device", "gpu")

    def test_bad_options(self):
        iris = data_file("iris.csv")
        for fragment, *options in (
            ("--mask: 'depth' is no column of", "--mask", "depth"),
            ("--weights: 'depth' is no column of", "--weights", "depth"),
            ("--estimates: 'median' is no estimate", "--estimates", "min,median"),
            ("--mean: cannot be used with --method standard", "--mean", "1,2,3,4", "--method", "standard"),
            ("--mean: none of the estimates", "--mean", "1,2,3,4", "--estimates", "min,max"),
            ("'min' does not exist for --method standard", "--method", "standard", "--estimates", "min"),
            ("--layout: sideways", "--layout", "sideways"),
            ("--device: 'accelerator' cannot be used", "--device", "accelerator"),
        ):
            device = () if "--device" in options else ("--device", "gpu")
            self.refused(2, fragment, iris, *device, *options, environment={"BASALT_DEVICES": "gpu"})
        wrong = ("--device", "gpu", "--mean", "1,2,3")
        self.refused(2, "--mean: 3 values are given, but", iris, *wrong)
        self.refused(2, "--mean: value 2: 'two' is not", iris, "--device", "gpu", "--mean", "1,two,3,4")

    def test_failures_of_the_library(self):
        iris = data_file("iris.csv")
        accelerator = {"BASALT_DEVICES": "accelerator:name=slab"}
        self.refused(1, "unsupported device: slab", iris, "--device", "accelerator", environment=accelerator)
        for form in ("usm", "buffer"):
            single = {"BASALT_DEVICES": "gpu:fp64=0"}
            self.refused(1, "fp64", iris, "--device", "gpu", "--form", form, environment=single)
            lonely = {"BASALT_DEVICES": "gpu:wg=1"}
            self.refused(1, "work-group", iris, "--device", "gpu", "--form", form, environment=lonely)
        standard = ("--device", "gpu", "--method", "standard", "--estimates", "central_sum2")
        self.refused(1, "central_sum: unimplemented functionality: for this method", iris, *standard)

    def test_output_that_cannot_be_written(self):
        with open("/dev/full", "w") as full:
            command = [settings.program, "--help"]
            result = subprocess.run(command, stdout=full, stderr=subprocess.PIPE, text=True, timeout=60)
        self.assertEqual((result.returncode, result.stderr), (1, "qtx-describe: standard output cannot be written\n"))


class Tables(unittest.TestCase):
    """What a person reads."""

    def test_the_table_of_seven_columns(self):
        options = ("--device", "gpu", "--mask", "table")
        result = run(data_file("diamonds.csv"), *options, environment={"BASALT_DEVICES": "gpu:wg=64,name=Desk GPU"})
        self.assertEqual(result.returncode, 0, result.stderr)
        lines = result.stdout.splitlines()
        self.assertIn("diamonds.csv: 53,940 rows, 7 columns", lines[0])
        self.assertEqual(lines[1], "Desk GPU")
        self.assertEqual(lines[2], "gpu path, double, by_dimension, usm, fast; work-group limit 64, 3 passes")
        self.assertLessEqual(max(map(len, lines)), 100)
        self.assertNotIn("\x1b", result.stdout)
        cells = {line.split()[0]: line.split()[1:3] for line in lines[5:12]}
        self.assertEqual(cells["price"], ["326", "18823"])
        self.assertEqual(cells["table"], ["-", "-"])

    def test_the_list_of_devices(self):
        devices = "gpu:wg=48,local=2048,fp64=0,name=Small;accelerator:name=Slab"
        result = run("--list-devices", environment={"BASALT_DEVICES": devices})
        self.assertEqual(result.returncode, 0, result.stderr)
        lines = {line.split()[-1]: line.split() for line in result.stdout.splitlines()}
        self.assertEqual(lines["Small"][:5], ["gpu", "48", "2", "KiB", "no"])
        self.assertEqual(lines["Slab"][0], "accelerator")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--data", required=True)
    parser.add_argument("--devices", required=True, type=lambda text: text.split(","))
    settings, rest = parser.parse_known_args(namespace=settings)
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)
