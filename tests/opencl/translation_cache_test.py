"""What becomes of kept translations of kernels when a process is killed while it writes one, or a file is damaged."""

import argparse
import json
import os
import pathlib
import resource
import signal
import subprocess
import tempfile
import time
import unittest

settings = argparse.Namespace()

# Below the size of every translation.
FEW_BYTES = 2048


def describe(cache, most_bytes=None):
    """The ended process, killed by the kernel as soon as a file gets longer than \\p most_bytes."""
    limit = (lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (most_bytes, most_bytes))) if most_bytes else None
    return subprocess.run(
        [settings.describe, "--json", "--device", "opencl", "--estimates", "min", settings.data],
        capture_output=True, text=True, timeout=300, preexec_fn=limit,
        env=os.environ | {"POCL_CACHE_DIR": str(cache), "SYCL_OPENCL_DEVICE_TYPE": "gpu"})


class TranslationCache(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.cache = pathlib.Path(self.folder.name) / "cache"
        self.translations = self.cache / "sycl_translations"
        self.addCleanup(self.folder.cleanup)

    def files(self):
        return {file: file.read_bytes() for file in self.translations.iterdir()}

    def check_call(self):
        ended = describe(self.cache)
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        self.assertEqual(json.loads(ended.stdout)["estimates"]["min"][0], 0.2)

    def test_killed_in_the_middle_of_a_write(self):
        self.cache.mkdir()
        self.assertEqual(describe(self.cache, FEW_BYTES).returncode, -signal.SIGXFSZ)
        [(unfinished, contents)] = self.files().items()
        self.assertEqual(len(contents), FEW_BYTES)
        self.check_call()
        whole = self.files()
        self.assertEqual(whole.pop(unfinished), contents)
        [intended] = [file for file in whole if unfinished.name.startswith(file.name)]
        self.assertEqual(whole[intended][:FEW_BYTES], contents)

        # Another process may still be writing a young one; an old one goes with the next write.
        an_hour_ago = time.time() - 3600
        os.utime(unfinished, (an_hour_ago, an_hour_ago))
        intended.unlink()
        self.check_call()
        self.assertEqual(self.files(), whole)

    def test_damaged_file_is_replaced(self):
        self.check_call()
        sound = self.files()
        for damage in (lambda old: b"", lambda old: old[:-1], lambda old: old[:40] + b"?" + old[41:]):
            for file, contents in sound.items():
                file.write_bytes(damage(contents))
            self.check_call()
            self.assertEqual(self.files(), sound)

    def test_folder_that_cannot_be_made(self):
        self.cache.mkdir()
        self.translations.write_text("in the way")
        self.check_call()


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("describe")
    parser.add_argument("data")
    parser.parse_args(namespace=settings)
    unittest.main(argv=[__file__, "--verbose"])
