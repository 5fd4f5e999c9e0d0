#!/usr/bin/env python3
"""fuzz/coverage.py BUILD: how many lines of each parser the corpora run, of a coverage build in which they were replayed.

fuzz/parsers.txt names the parsers, their sources, and what isn't counted. Prints a table with the lines that were missed. Ends with 1 if
a parser has less than 95 %, or a rule fits nothing."""
import json
import pathlib
import subprocess
import sys

WANTED = 95.0
ROOT = pathlib.Path(__file__).resolve().parent.parent


def read_parsers():
    """Names with their sources, and the rules as (source, beginning of a line)."""
    parsers, rules = {}, []
    for line in (ROOT / "fuzz/parsers.txt").read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        kind, _, rest = line.partition(" ")
        if kind == "parser":
            sources = parsers.setdefault(rest, [])
        elif kind == "source":
            sources.append(rest)
        elif kind == "without":
            rules.append((sources[-1], rest))
        else:
            sys.exit(f"fuzz/parsers.txt: {line}")
    return parsers, rules


def blocks(lines, text):
    """The numbers of the lines that begin so, and of what each opens, up to the line that closes it."""
    found = set()
    for start, line in enumerate(lines):
        if not line.strip().startswith(text):
            continue
        indent = line[: len(line) - len(line.lstrip())]
        end = start
        while not lines[end].rstrip().endswith(("{", ";", "}", ":")):
            end += 1
        if lines[end].endswith(":"):  # a case
            inside = indent + "    "
            while lines[end + 1].startswith(inside):
                end += 1
        if lines[end].endswith("{"):
            end = next(i for i in range(end, len(lines)) if lines[i] in (indent + "}", indent + "};"))
        found.update(range(start + 1, end + 2))
    return found


def main():
    build = sys.argv[1]
    report = subprocess.run(
        ["gcovr", "-r", str(ROOT), "--filter", str(ROOT / "src") + "/", "--json", "-", build],
        check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    counts = {}
    for source in json.loads(report.stdout)["files"]:
        counts[source["file"]] = {
            line["line_number"]: line["count"] for line in source["lines"] if not line["gcovr/noncode"]}

    parsers, rules = read_parsers()
    good = True
    left_out = {}
    for source, text in rules:
        found = blocks((ROOT / source).read_text().splitlines(), text)
        if not any(counts.get(source, {}).get(number) == 0 for number in found):
            print(f"{source}: the rule fits nothing that was missed: {text}")
            good = False
        left_out.setdefault(source, set()).update(found)
    print(f"{'':44}{'lines':>6}{'run':>8}  missed")
    for name, sources in parsers.items():
        print(name)
        for source in sources:
            lines = {n: c for n, c in counts.get(source, {}).items() if n not in left_out.get(source, ())}
            missed = sorted(n for n, c in lines.items() if c == 0)
            share = 100.0 * (len(lines) - len(missed)) / len(lines) if lines else 0.0
            good = good and share >= WANTED
            print(f"  {source:42}{len(lines):6}{share:7.1f}%  {' '.join(map(str, missed))}")
    return 0 if good else 1


sys.exit(main())
