"""Makes the Debian packages, installs them in a Debian 12 of its own, and builds and runs tests/consumer in there.

Needs root and a package mirror. The Debian goes when the test ends, or if it was killed, when it runs again.
"""

import os
import pathlib
import shutil
import unittest

import consumer
import packages
from command import run

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = SOURCE / "build" / "package"  # of the preset
RELEASE = "bookworm"
# What the users of the packages have besides them.
TOOLS = "g++,cmake,make,pkgconf,ca-certificates"


def mirror():
    """The one of this machine's own package lists."""
    lists = run("apt-get", "indextargets", "--format", "$(CODENAME) $(REPO_URI)", "Created-By: Packages", "Origin: Debian")
    addresses = [address for name, address in map(str.split, lists.splitlines()) if name == RELEASE]
    if not addresses:
        raise AssertionError(f"the package lists of this machine name no mirror of {RELEASE}")
    return addresses[0]


def make_packages():
    run("cmake", "--preset", "package", "-S", SOURCE)
    run("cmake", "--build", BUILD)
    return packages.make(run, BUILD, BUILD / "packages")


def remove_root(root):
    """With what debootstrap has mounted in there, should it have been killed."""
    mounted = [line.split()[1] for line in pathlib.Path("/proc/mounts").read_text().splitlines()]
    for place in reversed([place for place in mounted if place.startswith(f"{root}/")]):
        run("umount", place)
    run("rm", "-rf", "--one-file-system", root)


class DebianPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if os.geteuid() != 0 or not shutil.which("debootstrap"):
            if os.environ.get("QTX_REQUIRE_ALL", "0") == "0":
                raise unittest.SkipTest("no root or no debootstrap, so that the Debian packages are not installed")
        cls.packages = make_packages()
        cls.root = BUILD / "root"
        remove_root(cls.root)
        cls.addClassCleanup(remove_root, cls.root)
        run("debootstrap", "--variant=minbase", f"--include={TOOLS}", RELEASE, cls.root, mirror())
        here = cls.root / "packages"
        here.mkdir()
        for package in cls.packages:
            shutil.copy(package, here)
        shutil.copytree(SOURCE / "tests" / "consumer", cls.root / "source")
        shutil.copy(SOURCE / "data" / "iris.csv", cls.root)
        shutil.copy("/etc/resolv.conf", cls.root / "etc")
        cls.inside("apt-get", "update", "-qq")
        cls.inside("apt-get", "install", "-y", "-qq", "--no-install-recommends",
                   *(f"/packages/{package.name}" for package in cls.packages))

    @classmethod
    def inside(cls, *command):
        return run("chroot", cls.root, "env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "HOME=/root",
                   "DEBIAN_FRONTEND=noninteractive", "LC_ALL=C", *command)

    def test_packages_say_what_they_are_and_need(self):
        self.assertEqual([*packages.faults(run, self.packages)], [])
        terms = (self.root / "usr/share/doc/libqtx-sycl-stats4/copyright").read_text()
        self.assertIn("Apache-2.0", terms)

    def test_libraries_are_known_to_the_loader(self):
        known = self.inside("ldconfig", "-p")
        for library in ("libqtx_sycl_stats.so.4", "libsycl.so.7", "libqtx_services.so.1"):
            self.assertIn(library, known)

    def test_program_built_by_cmake(self):
        consumer.build_with_cmake(self.inside, "/source", "/by_cmake")
        self.assertEqual([*consumer.faults_of_runs(self.inside, "/by_cmake")], [])

    def test_program_built_by_pkg_config(self):
        consumer.build_with_pkg_config(self.inside, "/source", "/by_pkg_config", "g++")
        self.assertEqual([*consumer.faults_of_runs(self.inside, "/by_pkg_config")], [])

    def test_command_line_tool(self):
        self.assertIn("7.9", self.inside("qtx-describe", "/iris.csv", "--estimates", "max"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
