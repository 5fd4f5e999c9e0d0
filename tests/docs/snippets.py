#!/usr/bin/env python3
"""snippets.py PAGE ROOT CXX: the C++ blocks of a page are true.

A block is a piece of the program below ROOT/examples that the page named last before it, line for line, so that what a page shows
is what is built and run; it may stand further to the left than it does there. A block with no program named before it compiles with
the public headers, as it stands or as the body of a function, where use() takes anything."""
import re
import subprocess
import sys
import textwrap
from pathlib import Path


def pieces(page):
    """(number of the line, example named last, text) of each block."""
    example = begin = None
    for number, line in enumerate(page.splitlines(), 1):
        if begin is None:
            named = re.findall(r"examples/[\w/]+\.(?:cpp|h)\b", line)
            example = named[-1] if named else example
            if line == "```cpp":
                begin, block = number, []
        elif line == "```":
            yield begin, example, "\n".join(block) + "\n"
            begin = None
        else:
            block.append(line)


def shows(program, piece):
    """True if the program has the lines of the piece, one behind the other."""
    lines, wanted = program.splitlines(), piece.splitlines()
    windows = (lines[i : i + len(wanted)] for i in range(len(lines) - len(wanted) + 1))
    return any(textwrap.dedent("\n".join(window)) == textwrap.dedent("\n".join(wanted)) for window in windows)


def compiles(piece, source, compiler):
    headers = [path for path in source.glob("*/*.h") if path.parent.name != "platform"]
    public = [path for path in headers if not re.match(r"(#pragma once\n+)?// Private:", path.read_text(encoding="utf-8"))]
    start = "".join(f"#include <{path.relative_to(source)}>\n" for path in sorted(public))
    start += "template <class... Any> void use(const Any&...) {}\n"
    for code in (piece, f"void page() {{\n{piece}}}\n"):
        command = [compiler, "-std=c++20", "-fsyntax-only", "-I", str(source), "-x", "c++", "-"]
        done = subprocess.run(command, input=start + code, text=True, stderr=subprocess.PIPE, check=False)
        if done.returncode == 0:
            return True
    print(done.stderr)
    return False


def main():
    page, root, compiler = sys.argv[1], Path(sys.argv[2]), sys.argv[3]
    count = wrong = 0
    for number, example, piece in pieces(Path(page).read_text(encoding="utf-8")):
        count += 1
        if example and not shows((root / example).read_text(encoding="utf-8"), piece):
            print(f"{page}:{number}: not a piece of {example}")
            wrong += 1
        elif not example and not compiles(piece, root / "src", compiler):
            print(f"{page}:{number}: doesn't compile")
            wrong += 1
    print(f"{count} pieces, {wrong} wrong")
    return 0 if count and not wrong else 1


sys.exit(main())
