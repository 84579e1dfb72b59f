"""Runs commands as somebody would who knows nothing of the build."""

import os
import subprocess

# Where programs would find other libraries than those that are tested.
FOREIGN_VARIABLES = ("LD_LIBRARY_PATH", "LIBRARY_PATH", "CPATH", "CMAKE_PREFIX_PATH", "PKG_CONFIG_PATH")


def run(*command, **environment):
    """Returns what the command prints; AssertionError if it fails."""
    inherited = {name: value for name, value in os.environ.items() if name not in FOREIGN_VARIABLES}
    done = subprocess.run([str(word) for word in command], text=True, capture_output=True, env={**inherited, **environment})
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout[-6000:]}{done.stderr[-6000:]}")
    return done.stdout
