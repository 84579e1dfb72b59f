"""What the two Debian packages say of themselves."""

NAMES = ["libqtx-sycl-stats-dev", "libqtx-sycl-stats4"]
LIBRARIES = ("libc6", "libstdc++6", "libgomp1", "libboost-context", "ocl-icd-libopencl1")


def make(run, build, target):
    """run(*command) runs a command and returns its standard output; the packages of the folder build go to target."""
    run("rm", "-rf", target)
    run("cpack", "--config", build / "CPackConfig.cmake", "-B", target)
    return sorted(target.glob("*.deb"))


def faults(run, packages):
    def field(package, name):
        return run("dpkg-deb", "--field", package, name).strip()

    names = {field(package, "Package"): package for package in packages}
    if sorted(names) != NAMES:
        yield f"the packages are {sorted(names)}"
        return
    development, runtime = (names[name] for name in NAMES)
    needed = field(runtime, "Depends")
    yield from (f"{library} is no dependency" for library in LIBRARIES if library not in needed)
    wanted = f"libqtx-sycl-stats4 (= {field(runtime, 'Version')})"
    if field(development, "Depends") != wanted:
        yield f"{development} depends on {field(development, 'Depends')}, not on {wanted}"
