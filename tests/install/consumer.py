"""Builds the programs of tests/consumer against an installed library, and says what is wrong with what they print."""

import shlex

EXTREMA = "0 to 9 about 3.5, 16 to 49 about 31.5"
ESTIMATES = f"""GPU: {EXTREMA}
CPU: {EXTREMA}
aurelo::qtx::stats::mean: invalid argument: mean array length is 0
"""
OFFLOAD = "offload: 12 and 15, status 0\n"
# Some systems' linkers leave out libraries that a program does not call itself, as the service functions'.
LINK = "-Wl,--as-needed"


def build_with_cmake(run, source, build, *options):
    """run(*command) runs a command where the library is installed, and returns its standard output."""
    run("cmake", "-S", source, "-B", build, "-DCMAKE_BUILD_TYPE=Release", f"-DCMAKE_EXE_LINKER_FLAGS={LINK}",
        *options)
    run("cmake", "--build", build)


def build_with_pkg_config(run, source, build, compiler):
    """The programs search their libraries in the library folder that pkg-config names."""
    run("mkdir", "-p", build)
    for package, unit, program in (
        ("qtx_sycl_stats", "estimates.cpp", "consumer"),
        ("qtx_omp_offload", "offload.cpp", "offload_consumer"),
    ):
        flags = shlex.split(run("pkg-config", "--cflags", "--libs", package))
        (libraries,) = shlex.split(run("pkg-config", "--variable=libdir", package))
        run(compiler, "-std=c++17", f"{source}/{unit}", "-o", f"{build}/{program}", LINK, *flags,
            f"-Wl,-rpath,{libraries}")


def faults_of_runs(run, build):
    for program, wanted in (("consumer", ESTIMATES), ("offload_consumer", OFFLOAD)):
        printed = run(f"{build}/{program}")
        if printed != wanted:
            yield f"{program} printed:\n{printed}instead of:\n{wanted}"
