#!/usr/bin/env python3
"""help.py COMMAND PAGES PATH_PAGE: what the command tells of itself. The manual page and the completions of three shells, as the
build made them into PAGES, know the subcommands and options of `help --json` and no others, and the parser takes these."""
import json, os, pathlib, pty, re, shlex, shutil, subprocess, sys, tempfile, unittest

COMMAND, PAGES, PATH_PAGE = (os.path.abspath(argument) for argument in sys.argv[1:4])
os.environ["PATH"] = os.path.dirname(COMMAND) + ":" + os.environ["PATH"]
os.environ["TERM"] = "xterm"
os.environ.pop("NO_COLOR", None)
scratch = tempfile.TemporaryDirectory()
os.chdir(scratch.name)

def run(*words, **how):
    return subprocess.run(words, capture_output=True, text=True, stdin=subprocess.DEVNULL, timeout=60, **how)

def page(name):
    return pathlib.Path(PAGES, name).read_text(encoding="utf-8")

def told(command, taken):
    """Subcommands, "" for the command as a whole, each with its options and subcommands."""
    words = "" if command["name"] == "tarvani" else command["name"]
    taken[words] = {name for option in command["options"] for name in option["names"]}
    taken[words] |= {below["name"].split()[-1] for below in command["subcommands"]}
    for below in command["subcommands"]:
        told(below, taken)
    return taken

def collected(text, head, **items):
    """What each of `items` finds in the lines from that with the subcommand on, which `head` finds."""
    taken, words = {}, None
    for line in text.splitlines():
        if found := re.search(head, line):
            words = found[1].replace("_", " ").strip()
        for kind, item in items.items():
            sign = {"letter": "-", "long": "--"}.get(kind, "")
            taken.setdefault(words, set()).update(sign + name for name in re.findall(item, line))
    taken.pop(None, None)
    return taken

def complete(*calls):
    """What bash offers for each list of words, the last of which is to be completed."""
    call = "COMP_WORDS=(tarvani %s); COMP_CWORD=%d; _tarvani; printf '%%s\\n' \"${COMPREPLY[@]}\" =; "
    script = f"source '{PAGES}/tarvani'\n" + "".join(call % (shlex.join(words), len(words)) for words in calls)
    answer = run("bash", "-c", script)
    return [set(part.split("\n")) - {""} for part in ("\n" + answer.stdout).split("\n=")[:-1]], answer.stderr

class Help(unittest.TestCase):
    taken = told(json.loads(run(COMMAND, "help", "--json").stdout), {})

    def test_the_manual_page_tells_of_the_same(self):
        text = page("tarvani.1").replace("\\-", "-")
        found = collected(text, r"^\.S(?:S tarvani|H OPTIONS)(.*)", option=r"(?:^|, )\\fB(--?[^\\]+)")
        for words in [words for words in found if words]:
            found[words.rpartition(" ")[0]].add(words.split()[-1])
        self.assertEqual(found, self.taken)

    def test_the_completions_offer_the_same(self):
        groups = [words for words, names in self.taken.items() if any(not name.startswith("-") for name in names)]
        bash, errors = complete(*([*words.split(), "-"] for words in self.taken), *([*words.split(), ""] for words in groups))
        bash = [options | (bash[len(self.taken) + groups.index(words)] if words in groups else set())
                for words, options in zip(self.taken, bash)]
        self.assertEqual((dict(zip(self.taken, bash)), errors), (self.taken, ""))
        zsh = collected(page("_tarvani"), r"^_tarvani(|_[a-z_]+?)(?:_subcommands)?\(\)",
                        option=r"^ +'(?:\([^)]*\))?(--?[\w-]+)\[", subcommand=r"^ +'([a-z]+):[A-Z]")
        self.assertEqual({words: names for words, names in zsh.items() if words in self.taken}, self.taken)
        fish = collected(page("tarvani.fish"), r"__tarvani_at '(.*?)'",
                         letter=r" -s (\w)\b", long=r" -l ([\w-]+)", subcommand=r" 0\" -a (\w+) -d")
        self.assertEqual(fish, self.taken)
        run(COMMAND, "cp", "-", "scene.idx?geo")
        offered, errors = complete(["cat", "scene.idx?g"], ["cp", "sc"], ["index", "remove", "scene.idx", "g"], ["help", "--completion", "z"])
        self.assertEqual(offered, [{"scene.idx?geo"}, {"scene.idx"}, {"geo"}, {"zsh"}])

    def test_the_files_are_right_for_who_reads_them(self):
        for program, *words in (["bash", "-n", "tarvani"], ["zsh", "-n", "_tarvani"], ["fish", "-n", "tarvani.fish"],
                                ["mandoc", "-T", "lint", "tarvani.1"], ["mandoc", "-T", "lint", PATH_PAGE]):
            if shutil.which(program):
                answer = run(program, *words, cwd=PAGES)
                self.assertEqual((answer.returncode, answer.stdout + answer.stderr), (0, ""), program)

    def test_the_parser_takes_what_is_told(self):
        for words, names in self.taken.items():
            self.assertIn(f"Usage: {' '.join(['tarvani', *words.split()])} [", run(COMMAND, *words.split(), "--help").stdout)
            for name in names:  # the unknown option keeps it from doing anything
                self.assertNotIn(f'no option "{name}"', run(COMMAND, *words.split(), name, "0", "--unknown").stderr, words)

    def test_a_mistake_is_told_with_what_was_meant(self):
        for line, reason in (("inex", 'no subcommand "inex"; did you mean "index"?'), ("index ad", 'did you mean "index add"?'),
                             ("create", 'did you mean "index create"?'), ("help pats", 'did you mean "paths"?'),
                             ("ls --js=1", 'did you mean "--json"?'), ("cat -x", 'stands behind "--"'), ("cp a b c", '"c" is one argument'),
                             ("index", "a subcommand is missing"), ("help --completion csh", "only for bash, zsh and fish")):
            answer = run(COMMAND, *line.split())
            self.assertEqual((answer.returncode, answer.stdout, answer.stderr.count("\n")), (2, "", 1), line)
            self.assertIn(reason, answer.stderr)
        run(COMMAND, "cp", "-", "scene.idx?geo")
        for line in ("ls -- scene.idx", "ls scene.idx -- scene.idx", "index list -- scene.idx"):
            self.assertEqual(run(COMMAND, *line.split()).stderr, "", line)

    def test_bold_words_are_for_terminals_alone(self):
        for colour, bold in (({}, True), ({"NO_COLOR": "1"}, False)):
            ours, theirs = pty.openpty()
            subprocess.run([COMMAND, "help"], stdout=theirs, env=os.environ | colour, check=True)
            self.assertEqual(b"\033[1mUsage:" in os.read(ours, 4096), bold, colour)
        self.assertNotIn("\033", run(COMMAND, "help").stdout + run(COMMAND, "frob").stderr)

if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
