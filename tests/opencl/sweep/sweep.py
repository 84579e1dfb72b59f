#!/usr/bin/env python3
"""Runs opencl_sweep in child processes with a time limit, two at a time.

    sweep.py PROGRAM --share one-of-each|all [--jobs N] [--seconds-per-kernel S]

one-of-each takes one kernel of every functor and element type, so that the kinds of kernels take turns. A child that
hangs or dies costs the kernel it was at; another one goes on behind it. Failing kernels are printed with the command
that repeats them.
"""
import argparse
import concurrent.futures
import queue
import subprocess
import sys
import threading

BATCH = 12


def read_cases(program):
    listing = subprocess.run([program, "--list"], check=True, capture_output=True, text=True).stdout
    return [line.split(" ", 2) for line in listing.splitlines()]


def one_of_each(cases):
    groups = {}
    for number, _, group in cases:
        groups.setdefault(group, []).append(number)
    # A stride that shares no factor with the 4 kinds, 2 layouts and 2 or 3 forms of a functor's kernels.
    return [numbers[(5 * i) % len(numbers)] for i, numbers in enumerate(groups.values())]


def run_batch(program, numbers, seconds):
    """Yields (number, outcome) for the kernels of one child, the one it failed at included."""
    child = subprocess.Popen([program, *numbers], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    lines = queue.Queue()

    def read():
        for line in child.stdout:
            lines.put(line)
        lines.put(None)

    threading.Thread(target=read, daemon=True).start()
    for number in numbers:
        try:
            line = lines.get(timeout=seconds)
        except queue.Empty:
            child.kill()
            line, reason = None, f"no result after {seconds} seconds"
        else:
            reason = f"the process ended with status {child.wait()}" if line is None else ""
        if line is None:
            yield number, reason
            break
        yield number, line.split(" ", 1)[1].strip()
    child.wait()


def run_all(program, numbers, seconds):
    outcomes = {}
    while len(outcomes) < len(numbers):
        rest = [number for number in numbers if number not in outcomes]
        outcomes.update(run_batch(program, rest, seconds))
    return outcomes


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--share", choices=["one-of-each", "all"], default="one-of-each")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--seconds-per-kernel", type=float, default=120)
    options = parser.parse_args()
    cases = read_cases(options.program)
    numbers = one_of_each(cases) if options.share == "one-of-each" else [case[0] for case in cases]
    batches = [numbers[i:i + BATCH] for i in range(0, len(numbers), BATCH)]
    outcomes = {}
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for part in pool.map(lambda batch: run_all(options.program, batch, options.seconds_per_kernel), batches):
            outcomes.update(part)
    names = {number: name for number, name, _ in cases}
    failed = {number: text for number, text in outcomes.items() if text != "ok"}
    for number, text in failed.items():
        print(f"{names[number]}\n    {text}\n    repeat with: {options.program} {number}")
    print(f"{len(outcomes)} of {len(cases)} kernels launched, {len(failed)} failed")
    return 1 if failed or not outcomes else 0


if __name__ == "__main__":
    sys.exit(main())
