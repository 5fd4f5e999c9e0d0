#!/usr/bin/env python3
"""snippets.py PAGE ROOT: each C++ block of a page is a piece of the program below ROOT/examples that the page named last before it,
line for line, so that what a page shows is what is compiled and run. A piece may stand further to the left than it does there."""
import re
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


def main():
    page, root = sys.argv[1], Path(sys.argv[2])
    found = list(pieces(Path(page).read_text(encoding="utf-8")))
    wrong = [(n, e) for n, e, piece in found if not e or not shows((root / e).read_text(encoding="utf-8"), piece)]
    for number, example in wrong:
        print(f"{page}:{number}: not a piece of {example}")
    print(f"{len(found)} pieces, {len(wrong)} wrong")
    return 0 if found and not wrong else 1


sys.exit(main())
