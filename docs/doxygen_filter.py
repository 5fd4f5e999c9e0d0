#!/usr/bin/env python3
"""Gives Doxygen a header of the project as it wants to read one.

    doxygen_filter.py HEADER

The headers have plain comments, written for who opens them. Their rules are these, and no line moves:

- The opening comment is of the class that is named like the file, or else of the file.
- A comment is of the declaration behind it, and of those that follow without a blank line, a comment or a label between.
- Copying, moving and destruction need no words where there is nothing to tell: the opening comment says what copies are.
- In comments, words in backticks and lines indented by four blanks are code; nothing else is markup.
"""
import re
import sys

COMMENT = re.compile(r"^\s*//(?: (.*)|)$")
LABEL = re.compile(r"^\s*(public|protected|private):")
TRAILING = re.compile(r"^(.*[;,{}\w)]\s+)// (.*)$")
STRING = re.compile(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])\'')


def escape(text):
    """The text with nothing left that Doxygen or Markdown would take for a command, but code in backticks."""
    if text.startswith("    "):
        return text
    parts = text.split("`")
    for i in range(0, len(parts), 2):
        parts[i] = re.sub(r"([\\@<>#%*\"&|])", r"\\\1", parts[i])
    return "`".join(parts)


def is_special(line):
    """True for a destructor, and for a constructor or an assignment that copies or moves."""
    return bool(
        re.match(r"^\s*(virtual )?~\w+\(", line)
        or re.match(r"^\s*(?:explicit )?(\w+)\((?:const \1&|\1&&)[^,]*\)", line)
        or re.match(r"^\s*(\w+)& operator=\((?:const \1&|\1&&)", line)
    )


def convert(lines, stem):
    """The lines of a header as Doxygen wants them, as many as there were."""
    about_class = any(re.match(rf"^(class|struct) (TARVANI_EXPORT )?{stem}\b.*[^;]$", line) for line in lines)
    out = []
    words = None  # of the comment that the declarations go by, or None
    fresh = False  # the line before was a comment
    depth = 0  # of open parentheses, and of braces of one declaration
    begins = True  # a declaration begins in this line
    hidden = False  # within one that needs no words
    opening = True
    for line in lines:
        if line == "#pragma once":
            out.append(f"/// \\class {stem}" if about_class else "/// \\file")
            continue
        comment = COMMENT.match(line)
        if comment and depth == 0:
            words = (words or []) if fresh else []
            words.append(comment.group(1) or "")
            out.append(re.sub(r"//.*", "", line) + ("/// " + escape(words[-1])).rstrip())
            fresh = True
            continue
        if fresh and opening and not line.startswith("#define"):
            out.append(line)
            opening, fresh, words = False, False, None
            continue
        if line.startswith("#define ") and words:  # what is in front of a directive would make it none
            told = fresh and not opening
            out.append(line if told else f"{line} /**< {escape(' '.join(words))} */")
            opening, fresh = False, False
            continue
        if not line.strip() or LABEL.match(line) or line.startswith("#"):
            out.append(line)
            words, fresh = None, False
            continue
        code = STRING.sub('""', line)
        trailing = TRAILING.match(code)
        if trailing:
            code = trailing.group(1)
            note = line[len(code) :][3:]
            line = line[: len(code)] + "///< " + escape(note)
        opens = re.match(r"^\s*((template <.*> )?(class|struct|union|enum)\b|namespace|extern \"\").*\{\s*$", code)
        if opens or re.match(r"^\s*\}.*;?\s*$", code) and depth == 0:
            words, fresh, begins, depth = None, False, True, 0
            out.append(line)
            continue
        if begins and not fresh and is_special(code):
            line = "/** \\cond */" + line
            hidden = True
        elif begins and not fresh and words is not None and not trailing:
            indent = len(line) - len(line.lstrip())
            line = line[:indent] + "/** " + escape(" ".join(words)) + " */ " + line[indent:]
        depth += sum(code.count(c) for c in "({") - sum(code.count(c) for c in ")}")
        begins = depth == 0 and re.search(r"[;}]\s*$|^\s*\w+( = .*)?,\s*$", code) is not None
        if begins and hidden:
            line += "/** \\endcond */"
            hidden = False
        out.append(line)
        fresh = False
    # Functions and macros of a file are shown only where the file itself is told of.
    return out + ["/** \\file */"] if about_class else out


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        text = file.read()
    if not text.startswith("#pragma once"):  # the one header that is C as well
        print(text.replace("/* ", "/** \\file\n", 1).replace("/* ", "/** "))
        return
    stem = re.sub(r"^.*/|\.h$", "", sys.argv[1])
    print("\n".join(convert(text.splitlines(), stem)))


main()
