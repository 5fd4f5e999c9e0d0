#!/usr/bin/env python3
"""What programs that are built against the library rely on: its names, and the sizes of its classes.

    packaging/abi.py LIBRARY            compares libtarvani.so with packaging/abi.symbols; fails where they differ
    packaging/abi.py LIBRARY --write    writes packaging/abi.symbols anew

What is gone breaks programs, and so does a class that has another size or another number of virtual functions: that wants a new
major version. A name that is new goes into the list. The list holds the sizes of the public classes, those of the tables of their
virtual functions ("vtable for"), and the names that the library defines and shows (nm), less

- what is weak: inline functions, templates, tables of virtual functions and the like are made again by each compiler as it sees fit;
- thunks, which follow from the functions that they lead to;
- private members, unless code in the header uses them: nothing outside can name them.
"""
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LIST = ROOT / "packaging" / "abi.symbols"
STRONG = "TDBR"  # code, data, data that begins as zero, constants


def private_names(header):
    """Class::name of each private member of a header's classes that nothing else in the header names."""
    text = re.sub(r"//.*", "", header.read_text(encoding="utf-8"))
    classes = []  # [name, depth outside, whether what comes is private]
    depth = 0
    names = set()
    for line in text.splitlines():
        begins = re.match(r"^\s*(class|struct) (?:TARVANI_EXPORT )?([\w:]+)[^;(]*\{", line)
        label = re.match(r"^\s*(public|protected|private):", line)
        if begins:
            classes.append([begins.group(2), depth, begins.group(1) == "class"])
        elif label and classes:
            classes[-1][2] = label.group(1) == "private"
        elif classes and classes[-1][2]:
            outer = "::".join(name for name, _, _ in classes)
            # A class without its body is of no use to what stands in a header, however often that names it.
            names.update(f"{outer}::{name}" for name in re.findall(r"^\s*(?:struct|class) (\w+);", line))
            for name in re.findall(r"(?:static [^;(]*\b)?(\w+)(?:\(| =.*;|;)", line):
                if len(re.findall(rf"\b{name}\b", text)) == 1:
                    names.add(f"{outer}::{name}")
        depth += line.count("{") - line.count("}")
        while classes and depth <= classes[-1][1]:
            classes.pop()
    return names


def sizes():
    """A line for each class of the public headers, in bytes."""
    headers, names = [], []
    for header in sorted((ROOT / "src").glob("*/*.h")):
        text = header.read_text(encoding="utf-8")
        if header.parent.name == "platform" or re.match(r"(#pragma once\n+)?// Private:", text):
            continue
        headers.append(header.relative_to(ROOT / "src"))
        names += re.findall(r"(?<!>\n)^(?:class|struct) (?:TARVANI_EXPORT )?(\w+)[^;{]*\{", text, re.MULTILINE)
    code = "#include <cstdio>\n" + "".join(f"#include <{header}>\n" for header in headers)
    code += "int main() {\n" + "".join(f'std::printf("sizeof {n}: %zu\\n", sizeof({n}));\n' for n in names) + "}\n"
    with tempfile.TemporaryDirectory() as folder:
        command = [os.environ.get("CXX", "c++"), "-std=c++17", "-I", str(ROOT / "src"), "-x", "c++", "-", "-o", f"{folder}/sizes"]
        subprocess.run(command + ["-L", folder, "-Wl,--unresolved-symbols=ignore-all"], input=code, text=True, check=True)
        return subprocess.run([f"{folder}/sizes"], check=True, capture_output=True, text=True).stdout.splitlines()


def shown(library):
    """The names that a library shows and that the list is to hold, in order."""
    private = set()
    for header in (ROOT / "src").glob("*/*.h"):
        private |= private_names(header)
    listing = subprocess.run(["nm", "-DCS", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    names = set(sizes())
    for line in listing.splitlines():
        _, size, kind, name = line.split(" ", 3)
        if re.match(r"vtable for (FS_|UT_|CPP_)\w+$", name):
            names.add(f"{name}: {int(size, 16)}")
        plain = re.sub(r"\(.*|\[abi:.*", "", name)
        within = any(plain[: at.start()] in private for at in re.finditer("::|$", plain))
        if kind in STRONG and not within and " thunk to " not in name:
            names.add(name)
    return sorted(names)


def main():
    names = shown(sys.argv[1])
    if "--write" in sys.argv:
        LIST.write_text("".join(name + "\n" for name in names), encoding="utf-8")
        return 0
    listed = LIST.read_text(encoding="utf-8").splitlines()
    gone = sorted(set(listed) - set(names))
    new = sorted(set(names) - set(listed))
    for name in gone:
        print(f"gone: {name}")
    for name in new:
        print(f"new: {name}")
    if gone:
        print("Programs that use what is gone don't run any more: keep it as it was, or raise the major version.")
    if gone or new:
        print(f"packaging/abi.py {sys.argv[1]} --write brings the list up to date.")
    return 1 if gone or new else 0


sys.exit(main())
