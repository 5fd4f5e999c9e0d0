#!/usr/bin/env python3
"""crash.py TARVANI

Kills the command at every call by which it changes a file, and looks at what is left of the container: it must be the
old one or the new one, whole, or "index recover --put" must make it the new one. Each operation runs twice: as it is, and
where the file system can't copy, reserve or rename by itself, so that the copy over the old file is many writes."""
import collections, json, os, re, shutil, struct, subprocess, sys, tempfile

CALLS = "write,pwrite64,copy_file_range,fallocate,ftruncate,rename,renameat2,link,unlink,openat,fchmod,utimensat"
REFUSED = ["copy_file_range:error=ENOSYS", "fallocate:error=EOPNOTSUPP", "renameat2:error=ENOSYS"]
OPERATIONS = ["cp big c.idx?a", "cp small c.idx?big", "rm c.idx?big", "cp big c.idx?in?x", "cp big new.idx?in?x",
              "cp big empty.idx?x", "index add many.idx new big", "index remove many.idx s7 s9", "index describe c.idx text",
              "index create many.idx big small", "index create new.idx big small", "index collapse dir c.idx",
              "index merge c.idx many.idx", "index recover --put torn.idx"]
LARGE = b"".join(struct.pack("<i", i) for i in range(150_000))


def pack(*sections):
    text = lambda words: struct.pack("<i", len(words)) + words
    table, data = b"INDX\0\0\0\0" + text(b"") + struct.pack("<i", len(sections)), b""
    for name, inside in sections:
        table += text(name.encode()) + struct.pack("<3i", len(data), len(inside), 1000)
        data += inside
    return table + data


def content(data):
    """Description and sections of a container, without the times; other bytes as they are."""
    if not data.startswith(b"INDX"):
        return data
    at = 12 + struct.unpack_from("<i", data, 8)[0]
    description, sections = data[12:at], []
    count, at = struct.unpack_from("<i", data, at)[0], at + 4
    for _ in range(count):
        end = at + 4 + struct.unpack_from("<i", data, at)[0]
        sections.append((data[at + 4 : end], *struct.unpack_from("<2i", data, end)))
        at = end + 12
    return description, [(name, content(data[at + offset : at + offset + size])) for name, offset, size in sections]


class Place:
    """Where the command runs: a directory with the files that it is for, and one for its temporary files."""

    def __init__(self, program, top):
        self.program, self.trace = program, top + "/trace"
        self.work, self.temporary = top + "/work", top + "/tmp"

    def clear(self):
        for directory in (self.work, self.temporary):
            shutil.rmtree(directory, ignore_errors=True)
            os.makedirs(directory)
        os.mkdir(self.work + "/dir")
        for name, data in {"big": LARGE, "small": b"few bytes", "empty.idx": b"", "dir/file": LARGE,
                           "c.idx": pack(("a", b"old"), ("big", LARGE[::-1]), ("in", pack(("x", b"inner"), ("y", b"")))),
                           "torn.idx": pack(("a", b"old"), ("b", LARGE[::-1])), "dir/Sections.list": b"text\nfile\tname\n",
                           "many.idx": pack(*((f"s{i}", b"%d" % i) for i in range(20_000)))}.items():
            with open(f"{self.work}/{name}", "wb") as out:
                out.write(data)

    def tarvani(self, *words, tracer=()):
        return subprocess.run([*tracer, self.program, *words], cwd=self.work, env={"TMPDIR": self.temporary},
                              stdin=subprocess.DEVNULL, capture_output=True, text=True)

    def traced(self, words, faults):
        """The names and arguments of the calls that it makes."""
        options = [word for fault in faults for word in ("-e", "inject=" + fault)]
        self.tarvani(*words.split(), tracer=["strace", "-f", "-o", self.trace, "-e", "trace=" + CALLS, *options])
        with open(self.trace, errors="replace") as trace:
            return re.findall(r"^\d+ +(\w+)\((.*)", trace.read(), re.M)

    def prepare(self, words):
        self.clear()
        if "torn.idx" in words:  # killed in the middle of the copy: at the last of its writes
            calls = self.traced("cp big torn.idx?a", REFUSED)
            self.clear()
            last = sum(name == "write" for name, _ in calls)
            self.traced("cp big torn.idx?a", [*REFUSED, f"write:signal=KILL:when={last}"])

    def read(self, file):
        try:
            with open(f"{self.work}/{file}", "rb") as opened:
                return content(opened.read())
        except (OSError, struct.error):
            return None

    def isWhole(self, file):
        return self.read(file) in (None, b"") or self.tarvani("index", "check", "-r", file).returncode == 0

    def outcome(self, file, old, new):
        left = self.read(file)
        if left in (old, new) and self.isWhole(file):
            self.tarvani("index", "recover", "--put", file)  # must do no harm
            return ("old" if left == old else "new") if self.read(file) in (old, new) else "lost"
        found = self.tarvani("index", "recover", "--json", file).stdout
        ready = [each["path"] for each in json.loads(found)["temporaries"] if each["state"] == "ready"] if found else []
        self.tarvani("index", "recover", "--put", file, *ready[1:2])  # named only where it must be
        return "recovered" if self.read(file) == new and self.isWhole(file) else "lost"


def kill(place, words, refused):
    """Kills the operation at each call that changes a file. Gives how often each outcome came."""
    file = re.search(r"\w+\.idx", words)[0]
    place.prepare(words)
    old = None if "recover" in words else place.read(file)  # what is torn can't stay so
    calls = place.traced(words, refused)
    new = place.read(file)
    outcomes, made = collections.Counter(), collections.Counter()
    for name, arguments in calls:
        made[name] += 1
        if name == "openat" and not re.search("O_WRONLY|O_RDWR", arguments):
            continue
        place.prepare(words)
        place.traced(words, [*(each for each in refused if not each.startswith(name)), f"{name}:signal=KILL:when={made[name]}"])
        word = place.outcome(file, old, new)
        outcomes[word] += 1
        if word == "lost":
            print(f"  lost: {words}, killed at {name} {made[name]}")
    if new == old or not outcomes:
        sys.exit(f"{words}: has done nothing")
    return outcomes


def main(program):
    can = subprocess.run(["strace", "-o", "/dev/null", "true"], capture_output=True, text=True)
    if can.returncode != 0:
        sys.exit(print("skipped: nothing can be traced here: " + can.stderr.strip()))
    total = collections.Counter()
    line = lambda words, n: print(f"{words:44}{n.total():5}{n['old']:7}{n['new']:7}{n['recovered']:11}{n['lost']:6}", flush=True)
    print(f"{'':44}kills    old    new  recovered  lost")
    for words in OPERATIONS:
        for refused in ([], REFUSED):
            with tempfile.TemporaryDirectory(prefix="crash-") as top:
                counts = kill(Place(program, top), words, refused)
            total += counts
            line(words + (", by writes" if refused else ""), counts)
    line("all", total)
    sys.exit(total["lost"] > 0)


if __name__ == "__main__":
    main(os.path.abspath(sys.argv[1]))
