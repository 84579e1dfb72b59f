"""Kept translations of kernels as a program sees them; tests/sycl has the cases of the cache by itself."""

import argparse
import json
import os
import pathlib
import subprocess
import tempfile
import unittest

settings = argparse.Namespace()


class TranslationCache(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.cache = pathlib.Path(folder.name) / "cache"
        self.translations = self.cache / "sycl_translations"

    def describe(self, **environment):
        """What the program says on stderr."""
        ended = subprocess.run(
            [settings.describe, "--json", "--device", "opencl", "--estimates", "min", settings.data],
            capture_output=True, text=True, timeout=300,
            env=os.environ | {"POCL_CACHE_DIR": str(self.cache), "SYCL_OPENCL_DEVICE_TYPE": "gpu"} | environment)
        self.assertEqual(ended.returncode, 0, ended.stderr)
        self.assertEqual(json.loads(ended.stdout)["estimates"]["min"][0], 0.2)
        return ended.stderr

    def entries(self):
        return {file: file.read_bytes() for file in self.translations.glob("*-*")}

    def test_damaged_entry_is_reported_if_wanted_and_replaced(self):
        self.assertEqual(self.describe(SYCL_OPENCL_CACHE_REPORT="1"), "")
        sound = self.entries()
        self.assertTrue(sound)
        for wanted, lines in (("0", 0), ("1", len(sound))):
            for file, contents in sound.items():
                file.write_bytes(contents[:-1])
            told = self.describe(SYCL_OPENCL_CACHE_REPORT=wanted).splitlines()
            self.assertEqual(len([line for line in told if line.endswith(": is damaged")]), lines)
            self.assertEqual(len(told), lines)
            self.assertEqual(self.entries(), sound)

    def test_limit(self):
        self.assertEqual(self.describe(SYCL_OPENCL_CACHE_MIB="0"), "")
        self.assertFalse(self.translations.exists())


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("describe")
    parser.add_argument("data")
    parser.parse_args(namespace=settings)
    unittest.main(argv=[__file__, "--verbose"])
