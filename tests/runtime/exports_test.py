"""The C entries and cache functions that the shared library exports, what it needs, and its order of initialisation."""

import re
import subprocess
import sys
from pathlib import Path

OTHER_ENTRIES = """
    qtx_cl_load_lib qtx_cl_init
    qtx_omp_load_lib qtx_tgt_ocl_use_usm
    qtx_tgt_get_interop_property qtx_fp_tgt_get_interop_property
    qtx_omp_get_interop_int qtx_fp_omp_get_interop_int
    qtx_omp_get_interop_ptr qtx_fp_omp_get_interop_ptr
    qtx_omp_get_interop_str qtx_fp_omp_get_interop_str
""".split()
OFFLOAD_ENTRIES = [
    f"qtx_tsb_{name}_omp_offload{width}"
    for name, width in [(f"{t}SSCompute", w) for t in "ds" for w in ("_ilp64", "_lp64")]
    + [(f"{t}sscompute", w) for t in "ds" for w in ("", "_lp64")]
]
CACHE_FUNCTIONS = [
    "lookup_and_cache_nerva_context(void*, void*, qtx_gpu_backend_t, sycl::device*)",
    "lookup_and_cache_nerva_queue(void*, qtx_gpu_backend_t, sycl::context, void*)",
    "lookup_and_cache_nerva_queue_and_context(void*)",
]
SERVICES = {
    f"qtx_serv_{name}"
    for name in "lock unlock libc_is_static getenv strnlen_s strncpy_s strncat_s fprintf_s print exit iface_exit".split()
}
# Kernels compiled for the host call the software GPU's group operations themselves.
NEEDED = r"lib(basalt\.so\.1|sycl\.so\.7|OpenCL\.so\.1|tsb_summary_statistics\.so\.1|(stdc\+\+|gcc_s|c|m|asan|ubsan|tsan)\.so\.\d+)|ld-linux.*"
ORDER = ["_Init_QTX_Loader", "_GLOBAL__sub_I.00103_qtx_sycl_context_cache.cpp"]


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def dynamic(library, *options):
    """Names in the dynamic symbol table, without versions."""
    return {line.split()[-1].split("@")[0] for line in output("nm", "-D", *options, library).splitlines()}


def exports_faults(library, entries):
    exported = dynamic(library, "--defined-only")
    expected = {f"{prefix}{name}" for name in entries for prefix in ("qtx_", "qtx_fp_")} | set(OTHER_ENTRIES)
    unmangled = {name for name in exported if not name.startswith("_Z")}
    if unmangled & set(OFFLOAD_ENTRIES):
        expected |= set(OFFLOAD_ENTRIES)
    yield from (f"missing: {name}" for name in sorted(expected - unmangled))
    yield from (f"not documented: {name}" for name in sorted(unmangled - expected))
    demangled = output("nm", "-DC", "--defined-only", library)
    for function in CACHE_FUNCTIONS:
        if f"aurelo::qtx::gpu::{function}\n" not in demangled:
            yield f"missing: {function}"


def dependency_faults(library):
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", output("readelf", "-d", library))
    yield from (f"needs {name}" for name in needed if not re.fullmatch(NEEDED, name))
    if "libsycl.so.7" not in needed:
        yield "does not need libsycl.so.7"
    wanted = dynamic(library, "--undefined-only")
    if any(name.startswith("cl") for name in wanted) != ("libOpenCL.so.1" in needed):
        yield "needs libOpenCL.so.1 without calling it, or calls it without needing it"
    weak = {line.split()[-1].split("@")[0] for line in output("nm", "-D", library).splitlines() if line.split()[-2] in "wv"}
    found = re.findall(r"=> (/\S+)|^\s(/\S+)", output("ldd", library), re.MULTILINE)
    provided = set().union(*(dynamic(a or b, "--defined-only") for a, b in found))
    from_process = wanted - weak - provided
    yield from (f"left to the process: {name}" for name in sorted(from_process - SERVICES))
    yield from (f"a needed library provides {name}" for name in sorted(wanted & provided & SERVICES))
    if "qtx_serv_lock" not in from_process:
        yield "the services are not taken from the process"


def functions_of(library, section):
    """The functions of an array section in its order, by the relocations that fill it."""
    place = re.search(rf"\s\.{section}\s+\S+\s+([0-9a-f]+) [0-9a-f]+ ([0-9a-f]+)", output("readelf", "-SW", library))
    start, size = (int(text, 16) for text in place.groups())
    names = {int(a, 16): n for a, n in re.findall(r"^([0-9a-f]+) [tTwW] (\S+)$", output("nm", library), re.MULTILINE)}
    relocated = re.findall(r"^([0-9a-f]+)\s+\S+ R_X86_64_RELATIVE\s+([0-9a-f]+)", output("readelf", "-rW", library), re.MULTILINE)
    slots = sorted((int(at, 16), int(to, 16)) for at, to in relocated)
    return [names.get(to, "?") for at, to in slots if start <= at < start + size]


def order_faults(library):
    at_load = functions_of(library, "init_array")
    places = [at_load.index(name) if name in at_load else -1 for name in ORDER]
    if -1 in places or places != sorted(places):
        yield f"order at load: {at_load}"
    if "sycl.descriptor_reg" not in at_load:
        return  # a build without device images
    if at_load.index("sycl.descriptor_reg") > places[0]:
        yield f"images are registered late: {at_load}"
    # Runs from its end; the caches are destroyed by the compiler's own function.
    at_unload = functions_of(library, "fini_array")
    if at_unload != ["sycl.descriptor_unreg", "__do_global_dtors_aux"]:
        yield f"order at unload, the last first: {at_unload}"


def main(library, entries_file):
    entries = [line.split()[0] for line in Path(entries_file).read_text().splitlines()]
    faults = [*exports_faults(library, entries), *dependency_faults(library), *order_faults(library)]
    if faults:
        print(*faults, sep="\n")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
