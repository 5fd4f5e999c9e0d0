#!/usr/bin/env python3
"""faults.py TARVANI LIBRARY [OPERATION]

Lets each call to the system and for memory fail that an operation of the command makes: the first, the second, and so on, a
sample where there are many. LIBRARY is faults.cpp, built to be preloaded; the command is best built with AddressSanitizer.
It must fail with a message and leave what was there, or do the work whole: no crash, no report of a sanitizer, no descriptor
left open, no temporary file left that the message doesn't name."""
import collections, concurrent.futures, http.server, os, shutil, subprocess, sys, tempfile, threading
from crash import LARGE, content, pack

OPERATIONS = ["cp big c.idx?a", "cp big c.idx?in?x", "cp small new.idx?in?x", "rm c.idx?big",
              "index create new.idx big small", "index expand c.idx out",
              "index collapse dir c.idx", "recent add GEO /p/q/r.geo", "cat http://127.0.0.1:PORT/x", "cpp main.c",
              "pathfile --cat menu/*.txt", "pathfile menu/* ^menu/a*", "index create c.idx big small", "cat c.idx?in?x c.idx?big"]
FILES = {"big": LARGE, "small": b"few bytes", "dir/file": LARGE, "dir/in/file": b"1", "dir/in/Sections.list": b"\nfile\ty\n",
         "dir/Sections.list": b"text\nfile\tname\nin\tx\n", "c.idx": pack(("a", b"old"), ("big", LARGE[::-1]), ("in", pack(("x", b"1"), ("y", b"")))),
         "home/file.history": b"GEO\n{\n\t/a/b.geo\n}\n", "home/dir.history": b"GEO\n{\n\t/a/\n}\n", "home/menu/a.txt": b"line of a\n",
         "site/menu/a.txt.append": b"more of a\n", "site/menu/b.txt": b"line of b\n" * 9000,
         "main.c": b'#include "one.h"\n#if defined(ONE)\nTWO(a, b)\n#endif\n' + b"ONE TWO(ONE, x)\n" * 2000,
         "one.h": b'#include "two.h"\n#define ONE one(__LINE__, __FILE__)\n', "two.h": b"#define TWO(x, y) x ## y #x ONE\n"}
LASTING = ("open", "read", "pread", "write", "mkostemps", "memory")
SHORT = ("read", "pread", "write", "send", "recv", "copy_file_range")
INTERRUPTED = (*SHORT, "poll", "flock", "fallocate", "ftruncate", "close")
MOST = 6  # of the calls of one kind that an operation makes, so many fail
NOT_THERE = "as if it weren't there, which was only asked to choose the way"
PASSES = {"close": "of what was only read or is given up", "unlink": "the temporary stays, the work is done", "copy_file_range": "bytes go by write",
          "opendir": "a directory that can't be listed counts as empty", "readdir": "a directory that can't be listed counts as empty",
          "flock": "two that save at once aren't kept apart", "mkdir": "it is there", "memory": "done without"}


class Place:
    """Where the command runs, anew each time."""

    def __init__(self, program, library, port, options=""):
        self.program, self.port, self.top = program, port, tempfile.mkdtemp(prefix="faults-")
        self.work, self.temporary, self.report = (f"{self.top}/{name}" for name in ("work", "tmp", "report"))
        self.env = {"TMPDIR": self.temporary, "HOME": self.work, "TARVANI_HOME": self.work + "/home", "LD_PRELOAD": library,
                    "TARVANI_PATH": f"{self.work}/home:{self.work}/site", "FAULT_REPORT": self.report,
                    "ASAN_OPTIONS": "verify_asan_link_order=0:" + options}

    def tree(self):
        found = {}
        for directory, _, names in os.walk(self.work):
            for path in (f"{directory}/{name}" for name in names):
                with open(path, "rb") as file:
                    data = file.read()
                try:
                    found[os.path.relpath(path, self.work)] = content(data)
                except Exception:  # a container that is torn
                    found[os.path.relpath(path, self.work)] = data
        return found

    def run(self, words, call="", at=0, how=""):
        shutil.rmtree(self.top)
        os.makedirs(self.temporary)
        for name, data in FILES.items():
            os.makedirs(os.path.dirname(f"{self.work}/{name}"), exist_ok=True)
            with open(f"{self.work}/{name}", "wb") as file:
                file.write(data)
        done = subprocess.run([self.program, *words.replace("PORT", str(self.port)).split()], cwd=self.work, stdin=subprocess.DEVNULL,
                              env={**self.env, "FAULT_CALL": call, "FAULT_AT": str(at), "FAULT_HOW": how}, capture_output=True, timeout=60)
        self.status, self.out, self.words = done.returncode, done.stdout, done.stderr.decode(errors="replace")
        self.told = {}
        if os.path.exists(self.report):
            with open(self.report) as report:
                self.told = {name: int(value) for name, value in map(str.split, report)}

    def verdict(self, words, call, how, old, new, out):
        """"failed", "passed", or what is wrong."""
        files = self.tree()
        stray = [name for name in [*os.listdir(self.temporary), *(files.keys() - old.keys() - new.keys())] if name not in self.words]
        asFile = "expand" in words and files.get("out/in") == old["c.idx"][1][2][1]
        # An expansion that failed leaves what it has written, and tells which file is incomplete.
        changed = [name for name in old.keys() | files.keys()
                   if name not in stray and not name.startswith("out/") and files.get(name) not in (old.get(name), new.get(name))]
        if len(changed) == 1 and "the new content is whole in" in self.words and len(os.listdir(self.temporary)) == 1:
            with open(f"{self.temporary}/{os.listdir(self.temporary)[0]}", "rb") as file:
                changed *= content(file.read()) != new[changed[0]]
        if self.status not in (0, 1) or "Sanitizer" in self.words or "runtime error" in self.words or not self.told:
            return f"crash, {self.status}: {self.words[:4000]}"
        if "descriptor" in self.told:
            return f"descriptor {self.told['descriptor']} is left open"
        if stray and call != "unlink" and not asFile:
            return f"{stray} is left"
        if self.status == 0:
            whole = {**files, **dict.fromkeys(stray)} == {**new, **dict.fromkeys(stray)} and self.out == out
            listed = call in ("opendir", "readdir") and "pathfile" in words
            # A section that can't be looked at becomes a file, which is collapsed to the same bytes.
            return "passed" if whole or listed or asFile else "tells of success, a lie: " + self.words
        if how in ("short", "interrupt"):
            return "fails without need: " + self.words
        if not self.words or changed:
            return f"leaves {changed} neither old nor new: {self.words}"
        return "failed"


def strike(words, place):
    """Runs the operation with each fault. Gives for each call how often it failed, how often nothing was wrong, and what was."""
    place.run("--version")
    old = place.tree()
    place.run(words)
    new, out, made = place.tree(), place.out, place.told
    if place.status != 0 or (new == old and not out):
        sys.exit(f"{words}: has done nothing: {place.words}")
    counts = {call: collections.Counter() for call, most in made.items() if call != "struck"}
    for call in counts:
        for how in ("once", *["always"] * (call in LASTING), *["short"] * (call in SHORT), *["interrupt"] * (call in INTERRUPTED)):
            for at in sorted({1 + i * made[call] // MOST for i in range(MOST)} if made[call] > MOST else range(1, made[call] + 1)):
                place.run(words, call, at, how)
                if place.told.get("struck") != 0:
                    word = place.verdict(words, call, how, old, new, out)
                    counts[call][word if word in ("failed", "passed") else f"{how}, {at}: {word}"] += 1
    shutil.rmtree(place.top)
    return words, counts


class Server(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Length", len(LARGE))
        self.end_headers()
        self.wfile.write(LARGE)

    def log_message(self, *_):
        pass


def main(program, library, *chosen):
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Server)
    server.handle_error = lambda *_: None
    threading.Thread(target=server.serve_forever, daemon=True).start()
    probe = Place(program, library, 0)
    probe.run("--version")
    options = "detect_leaks=0" if "LeakSanitizer has encountered" in probe.words else ""
    if options:
        print("skipped: leaks, for which a process must be traced, and nothing can be here")
    if not probe.told:
        sys.exit("nothing can be preloaded: " + probe.words)
    wrong = 0
    print(f"{'':32}{'':17}faults failed passed wrong")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for words, counts in pool.map(lambda each: strike(each, Place(program, library, server.server_port, options)), chosen or OPERATIONS):
            for call, n in counts.items():
                bad = [word for word in n if word not in ("failed", "passed")]
                wrong += len(bad)
                reason = PASSES.get(call, "goes on" if call in INTERRUPTED else NOT_THERE) if n["passed"] else ""
                print(f"{words:32}{call:17}{n.total():6}{n['failed']:7}{n['passed']:7}{len(bad):6}  {reason}", *bad, sep="\n    ", flush=True)
    sys.exit(wrong > 0)


if __name__ == "__main__":
    main(os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2]), *sys.argv[3:])
