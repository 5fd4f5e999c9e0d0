#!/usr/bin/env python3
"""limits.py PAGE ROOT: the limits that a page lists are those of the sources. A row of its table ends in a file and in the words by
which that file sets the limit."""
import re
import sys
from pathlib import Path

page, root = Path(sys.argv[1]), Path(sys.argv[2])
rows = re.findall(r"\| `((?:src|tools)/[^`]+)` \| `([^`]+)` \|$", page.read_text(encoding="utf-8"), re.MULTILINE)
wrong = [row for row in rows if not (root / row[0]).exists() or row[1] not in (root / row[0]).read_text(encoding="utf-8")]
for file, words in wrong:
    print(f"{page}: {file} does not say {words}")
print(f"{len(rows)} limits, {len(wrong)} wrong")
sys.exit(0 if rows and not wrong else 1)
