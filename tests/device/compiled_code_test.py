"""Device code keeps to its arithmetic: no contraction, and no double in a float kernel."""

import json
import re
import subprocess
import sys

DOUBLE = re.compile(
    r"\bv?(?:(?:add|sub|mul|div|sqrt|min|max)[sp]d|cvt(?:ss2sd|sd2ss|sd2si|tsd2si|si2sd|ps2pd|pd2ps)\w?|u?comisd|f(?:n?m)\w*d)\b"
)
FORBIDDEN_FLAGS = re.compile(r"-ffast-math|-Ofast|-funsafe-math-optimizations|-fassociative-math|-ffp-contract=(?!off)")


def sources_that_may_contract(compile_commands, sources):
    entries = [e for e in json.load(open(compile_commands)) if e["file"].startswith(sources)]
    assert entries, f"{compile_commands} has no entry for {sources}"
    for entry in entries:
        command = entry.get("command") or " ".join(entry["arguments"])
        if "-ffp-contract=off" not in command or FORBIDDEN_FLAGS.search(command):
            yield entry["file"]


def functions(library):
    """Name and instructions of every function, from the disassembly."""
    listing = subprocess.Popen(
        ["objdump", "-d", "-C", "--no-show-raw-insn", library], stdout=subprocess.PIPE, text=True
    )
    name, body = None, []
    for line in listing.stdout:
        header = re.match(r"[0-9a-f]+ <(.*)>:$", line)
        if header:
            if name:
                yield name, body
            name, body = header.group(1), []
        elif "\t" in line:
            body.append(line.split("\t", 1)[1].strip())
    if name:
        yield name, body
    assert listing.wait() == 0


def main(compile_commands, sources, library):
    faults = [f"may contract: {source}" for source in sources_that_may_contract(compile_commands, sources)]
    kernels = 0
    for name, body in functions(library):
        if not re.search(r"detail::gpu::(minmax|basic)_kernel_", name) or "double" in name or "float" not in name:
            continue
        kernels += "run_item" in name or "operator()" in name
        faults += [f"double in {name}: {line}" for line in body if DOUBLE.search(line)]
    if kernels < 64:
        faults.append(f"only {kernels} float kernels were found in {library}")
    print("\n".join(faults[:20]))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
