"""The shared library offers exactly the documented instances of its estimates, its exceptions, and C entries."""

import itertools
import re
import subprocess
import sys

FAST, STANDARD = 1, 2
# Estimate: number of outputs, methods, whether there are forms with a caller's mean.
ESTIMATES = {
    "max": (1, [FAST], False),
    "min": (1, [FAST], False),
    "min_max": (2, [FAST], False),
    "mean": (1, [FAST, STANDARD], False),
    "raw_sum": (4, [FAST, STANDARD], False),
    "raw_moment": (4, [FAST, STANDARD], False),
    "central_sum": (3, [FAST, STANDARD], True),
    "central_moment": (3, [FAST, STANDARD], True),
    "variation": (1, [FAST, STANDARD], True),
    "skewness": (1, [FAST, STANDARD], True),
    "kurtosis": (1, [FAST, STANDARD], True),
}
EXCEPTIONS = "exception invalid_argument unsupported_device computation_error unimplemented device_bad_alloc".split()
OFFLOAD = [
    f"qtx_tsb_{name}"
    for t in "ds"
    for name in (
        f"{t}SSCompute_omp_offload_ilp64",
        f"{t}SSCompute_omp_offload_lp64",
        f"{t}sscompute_omp_offload",
        f"{t}sscompute_omp_offload_lp64",
    )
]
EVENTS = "std::vector<sycl::event, std::allocator<sycl::event>> const&"


def documented_instances():
    for name, (outputs, methods, with_mean) in ESTIMATES.items():
        for kind, (scalar, layout) in itertools.product(
            ("buffer", "usm"), itertools.product(("float", "double"), (0x10000, 0x20000))
        ):
            array = f"sycl::buffer<{scalar}>" if kind == "buffer" else f"{scalar}*"
            result = "void" if kind == "buffer" else "sycl::event"
            data = f"aurelo::qtx::stats::dataset<(aurelo::qtx::stats::layout){layout}, {array}> const&"
            last = [EVENTS] if kind == "usm" else []
            forms = [(m, []) for m in methods] + ([(FAST, [array])] if with_mean else [])
            for method, mean in forms:
                arguments = ", ".join(["sycl::queue&", *mean, data, *[array] * outputs, *last])
                yield (
                    f"{result} aurelo::qtx::stats::{name}<(aurelo::qtx::stats::method){method}, {scalar}, "
                    f"(aurelo::qtx::stats::layout){layout}>({arguments})"
                )


def exported(library):
    listing = subprocess.run(
        ["nm", "-D", "-C", "--defined-only", library], check=True, capture_output=True, text=True
    ).stdout
    for line in listing.splitlines():
        yield line.split(maxsplit=2)[2] if line[0] != " " else line.split(maxsplit=1)[1]


def without_allocator(symbol):
    symbol = re.sub(r"> (?=>)", ">", symbol)
    return re.sub(r"sycl::buffer<(\w+), 1, std::allocator<[^<>]*(?:<\w+>::type)?>>", r"sycl::buffer<\1>", symbol)


def is_of_an_exception(symbol):
    return any(re.search(rf"aurelo::qtx::{name}(::|$)", symbol) for name in EXCEPTIONS)


def main(library):
    symbols = {without_allocator(symbol) for symbol in exported(library)}
    wanted = set(documented_instances())
    assert len(wanted) == 3 * 8 + 3 * 16 + 5 * 24
    other = {
        s for s in symbols - wanted if not (is_of_an_exception(s) or re.match(r"qtx_|aurelo::qtx::gpu::lookup_and_cache_", s))
    }
    missing = (wanted | set(OFFLOAD)) - symbols
    for symbol in sorted(missing):
        print("missing:", symbol)
    for symbol in sorted(other):
        print("not documented:", symbol)
    for name in EXCEPTIONS:
        assert f"typeinfo for aurelo::qtx::{name}" in symbols, name
    return 1 if missing or other else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
