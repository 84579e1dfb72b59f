#!/usr/bin/env python3
"""Joins what split_images made of several translation units into the sources of one object.

    join_images.py OUT.S OUT.inc UNIT...

A UNIT stands for UNIT.spv and UNIT.txt. OUT.S places the modules in a read-only section, OUT.inc is the list
that descriptor.cpp reads. A kernel that several units define gets one image, of the unit named first.
"""
import sys


def images_of(unit):
    with open(unit + ".txt", encoding="ascii") as index:
        for line in index:
            name, offset, size, *traits = line.split()
            yield name, (unit + ".spv", offset, size), traits


def join(assembly_path, list_path, units):
    known = {}
    for unit in units:
        for name, place, traits in images_of(unit):
            known.setdefault(name, (place, traits))
    with open(assembly_path, "w", encoding="ascii") as assembly, open(list_path, "w", encoding="ascii") as names:
        assembly.write('.section .note.GNU-stack,"",@progbits\n.section .device_images,"a",@progbits\n')
        for number, (name, (place, traits)) in enumerate(sorted(known.items())):
            path, offset, size = place
            start, end = f"device_image_{number}", f"device_image_end_{number}"
            assembly.write(
                f'.balign 8\n.globl {start}, {end}\n.hidden {start}, {end}\n'
                f'{start}:\n.incbin "{path}", {offset}, {size}\n{end}:\n')
            names.write(f'IMAGE({number}, "{name}", {", ".join(traits)})\n')


if __name__ == "__main__":
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    join(sys.argv[1], sys.argv[2], sys.argv[3:])
