"""Installs the build into a prefix, moves it, and uses the library from there: no program may need the first place."""

import argparse
import glob
import os
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

import consumer
import search_paths
from command import run

SOURCE = pathlib.Path(__file__).resolve().parents[2]
options = argparse.Namespace()


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="qtx install ")  # a blank, as people have them
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.first = cls.folder / "first place"
        cls.prefix = cls.folder / "moved"
        run("cmake", "--install", options.build, "--prefix", cls.first)
        cls.first.rename(cls.prefix)
        cls.source = cls.folder / "source"
        shutil.copytree(SOURCE / "tests" / "consumer", cls.source)

    def installed(self):
        return [path for path in self.prefix.rglob("*") if path.is_file() and not path.is_symlink()]

    def build_with_cmake(self):
        build = self.folder / "by_cmake"
        if not build.exists():
            consumer.build_with_cmake(
                run, self.source, build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}",
                f"-DCMAKE_CXX_COMPILER={options.compiler}")
        return build

    def check_libraries_of(self, program):
        """Only the prefix may serve libraries that it has."""
        ours = {path.name for path in self.prefix.rglob("*.so*")}
        found = dict(re.findall(r"(\S+) => (.*) \(0x", run("ldd", program)))
        self.assertIn("libqtx_sycl_stats.so.4", found)
        for name in ours & set(found):
            self.assertEqual(pathlib.Path(found[name]).resolve().parent, (self.prefix / options.libdir).resolve(), name)

    def test_files_name_no_place_of_the_build(self):
        for path in self.installed():
            content = path.read_bytes()
            for place in (options.build, SOURCE, self.first):
                self.assertNotIn(str(place).encode(), content, path)

    def test_libraries_are_searched_beside_what_needs_them(self):
        programs_and_libraries = search_paths.elf_files(self.prefix)
        self.assertTrue(programs_and_libraries)
        for path in programs_and_libraries:
            wanted = "$ORIGIN/" + os.path.relpath(self.prefix / options.libdir, path.parent)
            self.assertEqual(search_paths.search_path(path), [("RUNPATH", wanted.removesuffix("/."))], path)

    def test_program_built_by_cmake(self):
        build = self.build_with_cmake()
        self.assertEqual([*consumer.faults_of_runs(run, build)], [])
        self.check_libraries_of(build / "consumer")

    def test_program_built_by_pkg_config(self):
        build = self.folder / "by_pkg_config"
        packages = self.prefix / options.libdir / "pkgconfig"

        def run_there(*command):
            return run(*command, PKG_CONFIG_PATH=str(packages))

        consumer.build_with_pkg_config(run_there, self.source, build, options.compiler)
        self.assertEqual([*consumer.faults_of_runs(run, build)], [])
        self.check_libraries_of(build / "consumer")

    @unittest.skipUnless("--opencl" in sys.argv, "this build has no device images")
    def test_program_on_an_opencl_device(self):
        """Needs the images in the library, and the translator that the run-time opens."""
        if not glob.glob("/etc/OpenCL/vendors/*.icd") and os.environ.get("QTX_REQUIRE_ALL", "0") == "0":
            self.skipTest("no OpenCL device")
        printed = run(self.build_with_cmake() / "consumer", "opencl", SYCL_OPENCL_DEVICE_TYPE="gpu")
        self.assertEqual(printed, consumer.ESTIMATES)

    @unittest.skipUnless("--opencl" in sys.argv, "this build has no device images")
    def test_translator_that_cannot_be_loaded(self):
        translator = self.prefix / options.libdir / "libsycl_translator.so"
        aside = self.folder / "translator"
        translator.rename(aside)
        self.addCleanup(aside.replace, translator)
        tool = (self.prefix / "bin" / "qtx-describe", "--json", SOURCE / "data" / "iris.csv", "--device")
        nothing_kept = {"SYCL_OPENCL_DEVICE_TYPE": "gpu", "POCL_CACHE_DIR": str(self.folder / "empty cache")}
        for contents, words in ((None, "cannot open"), ("no library", "file too short")):
            if contents is not None:
                translator.write_text(contents)
            with self.assertRaisesRegex(AssertionError, f"no translator: .*libsycl_translator.so: {words}"):
                run(*tool, "opencl", **nothing_kept)
            self.assertIn('"min":[4.3,', run(*tool, "gpu").replace(" ", ""))

    def test_command_line_tool(self):
        arguments = (SOURCE / "data" / "iris.csv", "--json")
        tool = self.prefix / "bin" / "qtx-describe"
        self.assertEqual(run(tool, *arguments), run(f"{options.build}/bin/qtx-describe", *arguments))
        self.check_libraries_of(tool)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    parser.add_argument("--libdir", required=True, help="relative to the prefix")
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--opencl", action="store_true", help="the library has device images")
    parser.parse_args(namespace=options)
    unittest.main(argv=sys.argv[:1], verbosity=2)
