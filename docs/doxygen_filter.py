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
OPENS = re.compile(r"^\s*((template <.*> )?(class|struct|union|enum)\b|namespace|extern \" *\").*\{\s*$")
CLOSES = re.compile(r"^\s*\}.*;?\s*$")
ENDS = re.compile(r"[;}]\s*$|^\s*\w+( = .*)?,\s*$")  # a declaration, or a value of an enumeration
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


class Converter:
    """Goes through the lines of one header, and gives for each what Doxygen is to read in its place."""

    def __init__(self, about_class, stem):
        self.first = f"/// \\class {stem}" if about_class else "/// \\file"
        self.opening = True  # the comment that the header opens with isn't over
        self.fresh = False  # the line before was a comment
        self.words = None  # of the comment that the declarations go by, or None
        self.depth = 0  # of parentheses and braces within one declaration
        self.begins = True  # a declaration begins in this line
        self.hidden = False  # within one that needs no words

    def convert(self, line):
        comment = COMMENT.match(line)
        if line == "#pragma once":
            return self.first
        if comment and self.depth == 0:
            return self.comment(line, comment.group(1) or "")
        if line.startswith("#define ") and self.words:
            # Behind it, since what is in front of a directive makes it none.
            told = self.fresh and not self.opening
            self.opening = self.fresh = False
            return line if told else f"{line} /**< {escape(' '.join(self.words))} */"
        if not line.strip() or LABEL.match(line) or line.startswith("#") or (self.fresh and self.opening):
            self.opening = self.opening and not self.fresh
            self.words, self.fresh = None, False
            return line
        return self.code(line)

    def comment(self, line, text):
        self.words = (self.words or []) if self.fresh else []
        self.words.append(text)
        self.fresh = True
        return (line[: line.index("//")] + "/// " + escape(text)).rstrip()

    def code(self, line):
        code = STRING.sub(lambda text: '"' + " " * (len(text.group()) - 2) + '"', line)
        trailing = TRAILING.match(code)
        if trailing:
            code = trailing.group(1)
            line = line[: len(code)] + "///< " + escape(line[len(code) + 3 :])
        if OPENS.match(code) or (CLOSES.match(code) and self.depth == 0):
            self.words, self.fresh, self.begins, self.depth = None, False, True, 0
            return line
        if self.begins and not self.fresh:
            if is_special(code):
                line = "/** \\cond */" + line
                self.hidden = True
            elif self.words is not None and not trailing:
                indent = len(line) - len(line.lstrip())
                line = line[:indent] + "/** " + escape(" ".join(self.words)) + " */ " + line[indent:]
        self.depth += sum(code.count(c) for c in "({") - sum(code.count(c) for c in ")}")
        self.begins = self.depth == 0 and ENDS.search(code) is not None
        if self.begins and self.hidden:
            line += "/** \\endcond */"
            self.hidden = False
        self.fresh = False
        return line


def convert(lines, stem):
    """The lines of a header as Doxygen wants them."""
    about_class = any(re.match(rf"^(class|struct) (TARVANI_EXPORT )?{stem}\b.*[^;]$", line) for line in lines)
    converter = Converter(about_class, stem)
    # Functions and macros of a file are shown only where the file itself is told of.
    return [converter.convert(line) for line in lines] + (["/** \\file */"] if about_class else [])


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        text = file.read()
    if not text.startswith("#pragma once"):  # the one header that is C as well
        print(text.replace("/* ", "/** \\file\n", 1).replace("/* ", "/** "))
        return
    stem = re.sub(r"^.*/|\.h$", "", sys.argv[1])
    print("\n".join(convert(text.splitlines(), stem)))


main()
