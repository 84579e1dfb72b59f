#!/usr/bin/env python3
"""Takes the programs out of Markdown files: each block of type cpp, and the block of type text after it as its output.

usage: snippets.py OUT FILE...     writes OUT/STEM_N.cpp and OUT/STEM_N.txt, prints the names STEM_N
"""
import pathlib
import re
import sys

BLOCK = re.compile(r"^```cpp\n(.*?)^```\n+^```text\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def main():
    out = pathlib.Path(sys.argv[1])
    out.mkdir(parents=True, exist_ok=True)
    for path in map(pathlib.Path, sys.argv[2:]):
        text = path.read_text(encoding="utf-8")
        found = BLOCK.findall(text)
        if len(found) != text.count("```cpp"):
            sys.exit(f"{path}: a block of type cpp is not followed by a block of type text with its output")
        for number, (program, output) in enumerate(found, 1):
            stem = out / f"{path.stem.lower()}_{number}"
            for ending, content in ((".cpp", program), (".txt", output)):
                target = stem.with_suffix(ending)
                if not target.exists() or target.read_text(encoding="utf-8") != content:
                    target.write_text(content, encoding="utf-8")
            print(stem.name)


if __name__ == "__main__":
    main()
