#!/usr/bin/env python3
"""Runs qtx-describe in every form, layout and type and tells whether all agree.

usage: compare_forms.py QTX_DESCRIBE FILE ESTIMATES
Values of type float are compared with the double results rounded to float.
"""
import itertools
import json
import struct
import subprocess
import sys


def as_float(value):
    return struct.unpack("f", struct.pack("f", value))[0]


def describe(tool, path, estimates, form, layout, element):
    command = [tool, path, "--device", "gpu", "--json", "--estimates", estimates,
               "--form", form, "--layout", layout, "--type", element]
    return json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)


def main():
    tool, path, estimates = sys.argv[1:]
    runs = 0
    reference = describe(tool, path, estimates, "buffer", "by_dimension", "double")["estimates"]
    for form, layout, element in itertools.product(("buffer", "usm"), ("by_dimension", "by_observation"),
                                                   ("double", "float")):
        found = describe(tool, path, estimates, form, layout, element)["estimates"]
        for name, values in reference.items():
            rounded = float if element == "double" else as_float
            if [rounded(v) for v in found[name]] != [rounded(v) for v in values]:
                sys.exit(f"{name} differs with {form}, {layout}, {element}: {found[name]} against {values}")
        runs += 1
    print(f"\nBuffer and USM form, both layouts, both types: {runs} runs, all agree to the last bit.")


if __name__ == "__main__":
    main()
