"""Where programs and libraries look for the libraries that they need.

    search_paths.py BUILD      the files of a build; prints those with a bad search path
"""

import pathlib
import re
import sys

from command import run


def is_elf(path):
    with path.open("rb") as file:
        return file.read(4) == b"\x7fELF"


def elf_files(folder):
    """The programs and shared libraries below a folder."""
    named = (p for p in sorted(folder.rglob("*")) if not re.search(r"\.(o|a|py)$", p.name))
    return [path for path in named if path.is_file() and not path.is_symlink() and is_elf(path)]


def search_path(path):
    """RPATH and RUNPATH with their kinds, as they stand in the file."""
    return re.findall(r"\((RUNPATH|RPATH)\).*\[(.*)\]", run("readelf", "-dW", path))


def faults(folder):
    """Elements that depend on the working directory, as empty ones do."""
    for path in elf_files(folder):
        for _, places in search_path(path):
            for place in places.split(":"):
                if not re.match(r"/|\$ORIGIN(/|$)", place):
                    yield f"{path}: '{place}' in '{places}'"


def main(build):
    # Not the folders of CMake, ccache or other tools: what is built lies in these, as in the prefix.
    folders = [build / "bin", build / "lib"]
    if not all(map(elf_files, folders)):
        sys.exit(f"nothing is built in {build}")
    found = [fault for folder in folders for fault in faults(folder)]
    print(*found, sep="\n")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
