"""Makes the Debian packages of a build, unpacks them, and uses the library from there."""

import argparse
import pathlib
import sys
import tempfile
import unittest

import consumer
import packages
from command import run

SOURCE = pathlib.Path(__file__).resolve().parents[2]
options = argparse.Namespace()


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="qtx_package_")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.packages = packages.make(run, pathlib.Path(options.build), cls.folder / "packages")
        cls.root = cls.folder / "root"
        for package in cls.packages:
            run("dpkg-deb", "--extract", package, cls.root)

    def test_packages_say_what_they_are_and_need(self):
        self.assertEqual([*packages.faults(run, self.packages)], [])

    def test_program_built_against_them(self):
        build = self.folder / "consumer"
        consumer.build_with_cmake(run, SOURCE / "tests" / "consumer", build, "-G", "Ninja",
                                  f"-DCMAKE_PREFIX_PATH={self.root}/usr", f"-DCMAKE_CXX_COMPILER={options.compiler}")
        self.assertEqual([*consumer.faults_of_runs(run, build)], [])
        self.assertIn(f"{self.root}/usr/{options.libdir}/libqtx_sycl_stats.so.4", run("ldd", build / "consumer"))

    def test_command_line_tool(self):
        iris = SOURCE / "data" / "iris.csv"
        self.assertIn("7.9", run(self.root / "usr" / "bin" / "qtx-describe", iris, "--estimates", "max"))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    parser.add_argument("--libdir", required=True, help="relative to the prefix")
    parser.add_argument("--compiler", required=True)
    parser.parse_args(namespace=options)
    unittest.main(argv=sys.argv[:1], verbosity=2)
