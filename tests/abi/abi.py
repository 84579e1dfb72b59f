"""Compares the interface of a shared object with a recorded one by abidiff, or records it (abidw).

usage: abi.py check|record BASELINE OBJECT [TYPES]

What was added is compatible; all else fails. TYPES is the object that has to tell the types of all C entries of OBJECT.
"""

import shutil
import subprocess
import sys

# Nothing that depends on where the tree lies.
RECORDED = ("--no-corpus-path", "--no-comp-dir-path", "--no-elf-needed", "--no-show-locs", "--no-parameter-names")


def exported(library):
    listing = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1].split("@")[0] for line in listing.splitlines()}


def entries_without_type(library, types):
    told = {name.removeprefix("type_of_") for name in exported(types)}
    return sorted(name for name in exported(library) - told if name.startswith("qtx_"))


def record(baseline, interface):
    return subprocess.run(["abidw", *RECORDED, "--out-file", baseline, interface]).returncode


def check(baseline, interface, *types):
    unknown = entries_without_type(interface, *types) if types else []
    for name in unknown:
        print(f"{name} is exported, and interface_types.cpp does not tell its type")
    changed = subprocess.run(["abidiff", "--no-added-syms", baseline, interface]).returncode
    if changed:
        print("The interface is not the one that programs were built for. Where that is meant, raise the number in the "
              "library's name, and record the new one: scripts/record-abi")
    return 1 if unknown or changed else 0


if __name__ == "__main__":
    if not shutil.which("abidiff"):
        sys.exit("abidiff was not found: install abigail-tools")
    sys.exit({"check": check, "record": record}[sys.argv[1]](*sys.argv[2:]))
