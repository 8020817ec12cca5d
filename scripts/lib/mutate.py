"""Makes changes to the library's sources, one by one, and counts those that a unit test notices.

See scripts/mutate, which runs it.
"""

import collections
import concurrent.futures
import os
import pathlib
import queue
import random
import re
import shutil
import subprocess
import sys

FOLDERS = ["accounts", "cgi", "html", "items", "system", "util", "widgets", "xml"]
GOAL = 95  # percent
SECONDS = 60  # that a run of tests may take; scripts/lib/sandboxed limits its processor time
TREE = pathlib.Path.cwd()
BUILD = TREE / "build-mutate"
LIBRARY = "libqmv.so.1.0.0"

Change = collections.namedtuple("Change", "file start end text")
Token = collections.namedtuple("Token", "kind text start end")

# ---- Which changes there are --------------------------------------------------------------------

TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ ]*\#(?:\\\n|[^\n])*)
      | (?P<string>"(?:\\.|[^"\\])*")
      | (?P<char>'(?:\\.|[^'\\])+')
      | (?P<number>(?:0[xX][0-9a-fA-F]+|[0-9]+)[uUlL]*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<operator><<=|>>=|\.\.\.|->|::|\+\+|--|<<|>>|&&|\|\||[-+*/%&|^<>=!]=|.)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

# Between spaces: binary operators. Those of pointers and templates stand beside a name.
BINARY = {
    "<": ["<=", ">"],
    "<=": ["<", ">="],
    ">": [">=", "<"],
    ">=": [">", "<="],
    "==": ["!="],
    "!=": ["=="],
    "&&": ["||"],
    "||": ["&&"],
    "+": ["-"],
    "-": ["+"],
    "*": ["/"],
    "/": ["*"],
    "%": ["*"],
    "&": ["|"],
    "|": ["&"],
    "^": ["|"],
    "<<": [">>"],
    ">>": ["<<"],
    "=": [],
    "+=": ["-="],
    "-=": ["+="],
    "*=": ["/="],
    "/=": ["*="],
    "%=": ["*="],
    "&=": ["|="],
    "|=": ["&="],
    "^=": ["|="],
    "<<=": [">>="],
    ">>=": ["<<="],
}
UNARY = {"!": "", "~": "", "++": "--", "--": "++"}
WORDS = {"true": "false", "false": "true"}
NO_CALLS = {"if", "while", "for", "switch", "return", "sizeof", "decltype", "alignof", "defined"}
NO_BODY = {"namespace", "struct", "class", "enum", "="}
SYMMETRIC = {"strcmp", "strcasecmp", "strncmp", "strncasecmp", "memcmp", "min", "max"}
OPENING = {"(": ")", "[": "]", "{": "}"}


class Source:
    """The tokens of a file, and the changes that can be made to it."""

    def __init__(self, file, chance):
        self.file = file
        self.chance = chance
        self.text = (TREE / file).read_text()
        self.tokens = [
            Token(match.lastgroup, match.group(), match.start(), match.end())
            for match in TOKEN.finditer(self.text)
            if match.lastgroup != "skip"
        ]
        self.partner = self.match_brackets()
        self.left_out = self.find_left_out()
        self.in_body = self.find_bodies()
        self.changes = []
        for index in range(len(self.tokens)):
            if index not in self.left_out:
                self.change_token(index)
                self.negate(index)
                if self.in_body[index]:
                    self.swap_arguments(index)
                    self.delete_statement(index)

    def match_brackets(self):
        partner, open_ones = {}, []
        for index, token in enumerate(self.tokens):
            if token.text in OPENING:
                open_ones.append(index)
            elif token.text in OPENING.values():
                partner[index] = open_ones.pop()
                partner[partner[index]] = index
        return partner

    def word(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def find_left_out(self):
        """Indices of tokens that say nothing about what a program does."""
        left_out = set()
        for index, token in enumerate(self.tokens):
            end = index
            if token.text in {"static_assert", "alignas", "__attribute__", "QMV_PRINTF"}:
                end = self.partner.get(index + 1, index)
            elif token.text == "[" and self.word(index + 1) == "[":
                end = self.partner[index]
            elif token.text in {"extern", "operator"}:
                end = index + 1
            elif token.text == "<" and self.is_template_bracket(token):
                depth = 0
                for end in range(index, len(self.tokens)):
                    text = self.tokens[end].text
                    depth += (text == "<") - (text == ">") - 2 * (text == ">>")
                    if depth <= 0:
                        break
            else:
                continue
            left_out.update(range(index, end + 1))
        return left_out

    def is_template_bracket(self, token):
        return not self.text[token.end].isspace() and not self.text[token.end] == "="

    def is_binary(self, token):
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def find_bodies(self):
        """Tells for each token whether it stands within the braces of a function."""
        in_body, state, begin = [], [False], 0
        for index, token in enumerate(self.tokens):
            in_body.append(state[-1])
            if token.text == "{":
                head = {other.text for other in self.tokens[begin:index]}
                of_function = "(" in head and not head & NO_BODY
                state.append(state[-1] or of_function)
            elif token.text == "}":
                state.pop()
            if token.text in {"{", "}", ";"}:
                begin = index + 1
        return in_body

    def add(self, start, end, text):
        self.changes.append(Change(self.file, start, end, text))

    def replace(self, token, text):
        self.add(token.start, token.end, text)

    def change_token(self, index):
        token = self.tokens[index]
        if token.text in BINARY and self.is_binary(token):
            for text in BINARY[token.text]:
                self.replace(token, text)
        elif token.text in UNARY:
            self.replace(token, UNARY[token.text])
        elif token.text == "-" and not self.text[token.end].isspace():
            self.replace(token, "")
        elif token.text in WORDS:
            self.replace(token, WORDS[token.text])
        elif token.kind == "number":
            self.change_number(token)
        elif token.kind == "char":
            character = token.text[1:-1]
            self.replace(token, "'%s'" % ("x" if character[0] == "\\" else chr(ord(character) ^ 1)))
        elif token.kind == "string" and token.text != '""':
            self.change_string(token)

    def change_number(self, token):
        digits = token.text.rstrip("uUlL")
        suffix = token.text[len(digits) :]
        value = int(digits, 16 if digits[:2] in {"0x", "0X"} else 8 if digits[0] == "0" else 10)
        for other in {value + 1, max(value - 1, 0)} - {value}:
            self.replace(token, ("0x%X" if digits[:2] == "0x" else "%d") % other + suffix)

    def change_string(self, token):
        self.replace(token, '""')
        escapes = re.compile(r"\\(x[0-9a-fA-F]+|[0-7]+|.)|%[-*.#0-9lzh]*[A-Za-z%]")
        plain = re.sub(escapes, lambda match: "\\" * len(match.group()), token.text[1:-1])
        places = [place for place, character in enumerate(plain) if character != "\\"]
        if places:
            place = token.start + 1 + self.chance.choice(places)
            self.add(place, place + 1, "x" if self.text[place] != "x" else "y")

    def negate(self, index):
        """Negates the condition that belongs to an if, while, for or ?."""
        begin = end = None
        if self.word(index) in {"if", "while"} and self.word(index + 1) == "(":
            begin, end = index + 2, self.partner[index + 1] - 1
        elif self.word(index) == "for":
            semicolons = self.at_depth_0(index + 2, self.partner[index + 1], {";"})
            if len(semicolons) == 2 and semicolons[0] + 1 < semicolons[1]:
                begin, end = semicolons[0] + 1, semicolons[1] - 1
        elif self.word(index) == "?":
            begin, end = index, index - 1
            ends = {"=", "return", "(", "[", "{", ",", ";", "?", ":", "+=", "-=", "|=", "&="}
            while self.word(begin - 1) not in ends:
                begin = self.partner.get(begin - 1, begin - 1)
        if begin is None:
            return
        words = {token.text for token in self.tokens[begin : end + 1]}
        if not words & {"==", "!=", "!"} or words & {"&&", "||"}:  # which change_token() negates
            start, stop = self.tokens[begin].start, self.tokens[end].end
            self.add(start, stop, "!(%s)" % self.text[start:stop])

    def at_depth_0(self, begin, end, wanted):
        """Indices of the wanted tokens, outside of any brackets, between two indices."""
        found, index = [], begin
        while index < end:
            if self.word(index) in wanted:
                found.append(index)
            index = max(self.partner.get(index, index), index) + 1
        return found

    def swap_arguments(self, index):
        if self.word(index) != "(" or self.tokens[index - 1].kind != "word":
            return
        if self.word(index - 1) in NO_CALLS:
            return
        commas = self.at_depth_0(index + 1, self.partner[index], {","})
        bounds = [index, *commas, self.partner[index]]
        for left, middle, right in zip(bounds, bounds[1:], bounds[2:]):
            start, end = self.tokens[left + 1].start, self.tokens[right - 1].end
            first = self.text[start : self.tokens[middle].start]
            second = self.text[self.tokens[middle + 1].start : end]
            symmetric = left == index and self.word(index - 1) in SYMMETRIC
            if first != second and not symmetric:
                self.add(start, end, second + ", " + first)

    def delete_statement(self, index):
        """Deletes the call, assignment or early end that begins here."""
        before = self.word(index - 1)
        begins = before in {";", "{", "}", "else"}
        if before == ")":
            begins = self.word(self.partner[index - 1] - 1) in {"if", "while", "for", "switch"}
        elif before == ":":
            begins = self.word(index - 2) == "default" or self.word(index - 3) == "case"
        if not begins or self.word(index) in {"{", "}", ";", "case", "default", "else", "using"}:
            return
        ends = self.at_depth_0(index, len(self.tokens), {";", "}", ":", ")"})
        if self.word(ends[0]) != ";" or self.in_head(ends[0]):
            return
        start, end = self.tokens[index].start, self.tokens[ends[0]].end
        text = self.text[start:end]
        if text.startswith(("if ", "for ", "while ", "do ", "switch ", "return")):
            # The last one of a function cannot be missing.
            if not text.startswith("return") or self.ends_body(ends[0] + 1):
                return
        elif re.match(r"(constexpr|static|const|auto|[\w:]+(<[^=;(]*>)?) +[*&]*\w", text):
            return  # a declaration
        self.add(start, end, ";")

    def in_head(self, index):
        """Tells whether a semicolon stands within the brackets of a for."""
        while self.word(index) != "{":
            index = self.partner[index] if self.word(index) in OPENING.values() else index
            index -= 1
            if self.word(index) == "(":
                return True
        return False

    def ends_body(self, index):
        return self.word(index) == "}" and not self.in_body[self.partner[index]]


def choose(sources, count, chance):
    """Takes changes from all files, in proportion to their numbers of tokens."""
    total = sum(len(source.tokens) for source in sources.values())
    chosen, due = [], 0.0
    for source in sources.values():
        due += count * len(source.tokens) / total
        wanted = min(max(round(due) - len(chosen), 0), len(source.changes))
        chosen += chance.sample(source.changes, wanted)
    chance.shuffle(chosen)
    return chosen


# ---- What tests say to a change -----------------------------------------------------------------


def run(command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    return done.returncode, done.stdout.decode(errors="replace")


def must(command):
    status, output = run(command)
    if status != 0:
        sys.exit(output)


def run_tests(library, test_filter):
    """Runs tests with a library. Returns the exit status, and what they wrote in the end."""
    process = subprocess.Popen(
        ["timeout", "-s", "KILL", str(SECONDS)]
        + ["scripts/lib/sandboxed", TREE, BUILD / LIBRARY, library, BUILD / "tests/qmv_unit"]
        + ["--gtest_fail_fast", "--gtest_brief=1", "--gtest_filter=" + test_filter],
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
    )
    output = process.stdout.readline()
    ready = output == b"ready\n"
    while chunk := process.stdout.read1(65536):
        output = (output + chunk)[-65536:]
    if not ready:
        raise RuntimeError(output.decode())
    return process.wait(), output.decode(errors="replace")


def filter_of(folder):
    suites = set()
    for file in (TREE / "tests" / folder).glob("*_test.cpp"):
        suites.update(re.findall(r"^TEST\w*\((\w+),", file.read_text(), re.MULTILINE))
    return ":".join(suite + ".*" for suite in sorted(suites))


class Worker:
    """A copy of the sources, and a build of the library from it."""

    def __init__(self, name):
        self.tree = BUILD / name
        self.build = self.tree / "build"
        shutil.rmtree(self.tree, ignore_errors=True)
        for entry in [*FOLDERS, "include", "cmake", "CMakeLists.txt"]:
            copy = shutil.copytree if (TREE / entry).is_dir() else shutil.copy
            self.tree.mkdir(parents=True, exist_ok=True)
            copy(TREE / entry, self.tree / entry)
        configure(self.tree, self.build, "-DBUILD_TESTING=OFF")
        must(["ninja", "-C", self.build, "-j1", "qmv"])
        self.objects = {}
        for file in self.build.rglob("*.o"):
            self.objects[file] = (file.read_bytes(), file.stat().st_mtime_ns)

    def try_change(self, change):
        """Returns what came of it, and what the tests wrote."""
        file = self.tree / change.file
        text, time = file.read_text(), file.stat().st_mtime_ns
        file.write_text(text[: change.start] + change.text + text[change.end :])
        try:
            return self.outcome(change)
        finally:
            # The times make ninja take the objects for those of the restored source.
            file.write_text(text)
            os.utime(file, ns=(time, time))
            for name, (content, time) in self.objects.items():
                if not name.exists() or name.stat().st_mtime_ns != time:
                    name.write_bytes(content)
                    os.utime(name, ns=(time, time))

    def outcome(self, change):
        status, output = run(["ninja", "-C", self.build, "-j1", "qmv"])
        if status != 0:
            return "not compiled", output
        if all(name.read_bytes() == content for name, (content, _) in self.objects.items()):
            return "equivalent", ""
        own_tests = filter_of(change.file.split("/")[0])
        for test_filter in [own_tests, "-" + own_tests]:
            status, output = run_tests(self.build / LIBRARY, test_filter)
            if status != 0:
                return "noticed", output
        return "survived", output


def configure(tree, build, *options):
    must(
        ["cmake", "-S", tree, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug"]
        + ["-DCMAKE_CXX_FLAGS_DEBUG=-O2", "-DQMV_BUILD_EXAMPLES=OFF", "-DQMV_UNIT_ONLY=ON"]
        + ["-DQMV_BUILD_FUZZERS=OFF", "-DCMAKE_CXX_FLAGS=-Werror=return-type", *options]
    )


def check_unchanged():
    """The tests of the unchanged library have to pass in the sandbox, none left out."""
    for folder in FOLDERS:
        status, output = run_tests(BUILD / LIBRARY, filter_of(folder))
        if status != 0 or "SKIPPED" in output or "PASSED" not in output:
            sys.exit("%sThe tests in tests/%s do not pass without a change." % (output, folder))


# ---- What is told -------------------------------------------------------------------------------

OUTCOMES = ["equivalent", "not compiled", "noticed", "survived"]


def describe(change, text):
    """The place of a change, and its lines before and after."""
    begin = text.rfind("\n", 0, change.start) + 1
    end = text.find("\n", change.end)
    before = text[begin:end]
    after = text[begin : change.start] + change.text + text[change.end : end]
    line = text.count("\n", 0, change.start) + 1
    before, after = " ".join(before.split()), " ".join(after.split())
    return "%s:%d: %s -> %s" % (change.file, line, before, after)


def percent(counts):
    return 100.0 * counts["noticed"] / max(counts["noticed"] + counts["survived"], 1)


def print_table(counts):
    row = "%-9s" + " %12s" * 6
    print(row % ("folder", "changes", *OUTCOMES, "percent"))
    total = sum(counts.values(), collections.Counter())
    for folder, of_folder in [*sorted(counts.items()), ("all", total)]:
        numbers = [of_folder[outcome] for outcome in OUTCOMES]
        print(row % (folder, sum(numbers), *numbers, "%.1f" % percent(of_folder)))


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 500
    files = sys.argv[2:] or sorted(
        str(file) for folder in FOLDERS for file in pathlib.Path(folder).glob("*.[ch]*")
    )
    chance = random.Random(int(os.environ.get("MUTATE_SEED", "1")))
    sources = {file: Source(file, chance) for file in files}
    chosen = choose(sources, count, chance)
    possible = sum(len(source.changes) for source in sources.values())
    print("%d of %d changes" % (len(chosen), possible), flush=True)

    BUILD.mkdir(exist_ok=True)
    configure(TREE, BUILD)
    must(["ninja", "-C", BUILD, "qmv_unit"])
    check_unchanged()
    threads = len(os.sched_getaffinity(0))
    workers = queue.SimpleQueue()
    for number in range(threads):
        workers.put(Worker("worker%d" % number))

    def try_one(change):
        worker = workers.get()
        try:
            return change, *worker.try_change(change)
        finally:
            workers.put(worker)

    counts = collections.defaultdict(collections.Counter)
    log = open(BUILD / "changes.txt", "w")
    with concurrent.futures.ThreadPoolExecutor(threads) as pool:
        for done in concurrent.futures.as_completed([pool.submit(try_one, one) for one in chosen]):
            change, outcome, output = done.result()
            counts[change.file.split("/")[0]][outcome] += 1
            line = describe(change, sources[change.file].text)
            failed = re.findall(r"^\[ +FAILED +\] (\w+\.\w+)", output, re.MULTILINE)
            print("%s: %s %s" % (outcome, line, " ".join(failed[:1])), file=log, flush=True)
            if outcome == "survived":
                print(line, flush=True)
    print_table(counts)
    total = sum(counts.values(), collections.Counter())
    counted = total["noticed"] + total["survived"]
    print("noticed: %d of %d, %.1f %%" % (total["noticed"], counted, percent(total)))
    sys.exit(0 if percent(total) >= GOAL else 1)


main()
