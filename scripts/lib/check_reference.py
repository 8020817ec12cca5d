"""Checks the comments of the headers against the headers themselves and the tests; see
scripts/check-reference. Usage: check_reference.py FUNCTIONS XML_DIR"""
import ctypes
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree
from fnmatch import fnmatch

# Results that a test compares where this check does not see it: a helper takes the function, the
# expected result, or both as arguments. The test that does; "*" stands for any end of the name.
EXCEPTIONS = {
    ("textbox_filter_*", "0"): "TextboxFilter.AnswersEveryCodeAtTheBeginning",
    ("textbox_filter_*", "1"): "TextboxFilter.AnswersEveryCodeAtTheBeginning",
    ("dsl_api_get_datarate", "nullptr"): "DslNumbers.RefuseNullBufferAndNullRecord",
    ("dsl_api_get_interleave_delay", "nullptr"): "DslNumbers.RefuseNullBufferAndNullRecord",
    ("dsl_api_get_latn", "nullptr"): "DslNumbers.RefuseNullBufferAndNullRecord",
    ("dsl_api_get_max_datarate", "nullptr"): "DslNumbers.RefuseNullBufferAndNullRecord",
    ("dsl_api_get_snr", "nullptr"): "DslNumbers.RefuseNullBufferAndNullRecord",
    ("full_line_read_fd", "0"): "FullLineReadFd.ReturnsZeroWhenTheInputEndsInsideALine",
    ("get_interface", "0"): "GetInterface.ReadsTheLoopbackInterface",
    ("get_ovpn_cipher", "-1"): "OvpnCipher.RefusesIndexFromThirteenOnAndLeavesTheRecordAlone",
    ("get_ovpn_hash", "-1"): "OvpnHash.RefusesIndexFromSevenOnAndLeavesTheRecordAlone",
    ("get_textarea_file", "0"): "GetTextareaFile.MissingFileGivesZeroAndAnEmptyTextToFree",
    ("getcgivars", "0"): "GetCgiVars.CallsNothingForAnEmptyQueryString",
    ("read_uboot_env", "2"): "ReadUbootEnv.Accepts5To65536Bytes",
    ("scan_time", "-1"): "ScanTime.EmptyOrBlankTextGivesMinusOneAndOneOClock",
}

# Names in comments that belong to others: the environment of a CGI program, the kernel's and the C
# library's constants and fields, a driver's texts, the page's own script.
FOREIGN = {
    "ARPHRD_ETHER", "CONTENT_LENGTH", "CONTENT_TYPE", "DSL_G997_PMS_L0", "IFF_UP", "QUERY_STRING",
    "REMOTE_USER", "REQUEST_METHOD", "fl_time", "if_inet6", "main", "sa_data",
}

LITERAL = r"-?\d+|'.'|[A-Z]+_[A-Z0-9_]+"

failures = []


def fail(message):
    failures.append(message)


def text_of(element):
    return " ".join("".join(element.itertext()).split()) if element is not None else ""


class Function:
    def __init__(self, member):
        self.name = member.findtext("name")
        self.type = text_of(member.find("type"))
        self.params = [param.findtext("declname") or "..." for param in member.findall("param")
                       if text_of(param.find("type")) != "void"]
        self.documented = [name.text for name in member.iter("parametername")]
        self.brief = text_of(member.find("briefdescription"))
        self.results = member.find("detaileddescription//simplesect[@kind='return']")

    def check(self):
        if not self.brief:
            fail(f"{self.name} has no comment")
        for param in self.params:
            if self.documented.count(param) != 1:
                fail(f"{self.name}: {param} is documented {self.documented.count(param)} times")
        for param in set(self.documented) - set(self.params):
            fail(f"{self.name} has no argument {param}")
        if self.type != "void" and not text_of(self.results):
            fail(f"{self.name} has no @return")
        if self.type == "void" and self.results is not None:
            fail(f"{self.name} returns nothing and has a @return")

    def entries(self):
        """The entries of the list of results, or its only sentence."""
        entries = [text_of(item) for item in self.results.iter("listitem")]
        return entries or [text_of(self.results)]

    def literals(self):
        """The numbers and constants that are documented as results."""
        if self.results is None:
            return set()
        listed = self.results.find(".//listitem") is not None
        found = set()
        for entry in self.entries():
            if listed:
                # "0 or more", "1 to 0xFFFF" and "above 0" are no single results.
                key = entry.split(":")[0]
                if not re.search(r"\b(to|above|more|below)\b", key):
                    found |= set(re.findall(rf"(?<![\w+-])({LITERAL})(?!\w)", key))
            else:
                begin = r"(?:^|[,;] |\belse |\bor |\breturns )"
                end = r"(?= when| for|,|;|$| or | to [a-z])(?! or more)"
                found |= set(re.findall(rf"{begin}({LITERAL}){end}", entry))
        null = re.search(r"\bnull (when|for)\b|or null$", text_of(self.results))
        if null and self.type.endswith("*"):
            found.add("nullptr")
        return found


def read_functions(directory):
    functions = {}
    for path in directory.glob("group__*.xml"):
        for member in ElementTree.parse(path).iter("memberdef"):
            if member.get("kind") == "function":
                functions[member.findtext("name")] = Function(member)
    return functions


def check_names(functions):
    """Every name in a comment exists: as f(), as a constant, or as any name with "_"."""
    headers = {path: path.read_text() for path in pathlib.Path("include/qmv").glob("*.h")}
    comment = re.compile(r"/\*.*?\*/|//[^\n]*", re.DOTALL)
    code = " ".join(comment.sub(" ", text) for text in headers.values())
    known = set(re.findall(r"\b\w+\b", code)) | FOREIGN
    libc = ctypes.CDLL(None)
    for path, text in headers.items():
        for match in comment.finditer(text):
            line = text.count("\n", 0, match.start()) + 1
            words = match.group()
            for name in re.findall(r"\b([A-Za-z_]\w*)\(\)", words):
                if name not in functions and name not in FOREIGN and not hasattr(libc, name):
                    fail(f"{path}:{line}: {name}() does not exist")
            for name in re.findall(r"(?<![\w<>\]])[A-Za-z]+_\w+(?![\w<])", words):
                if name not in known and not hasattr(libc, name):
                    fail(f"{path}:{line}: {name} does not exist")


def split(text, separator):
    """Splits at separators that stand in no parenthesis, brace or quotation mark. A closing one
    that was not opened ends the text."""
    pieces = [""]
    depth = 0
    for token in re.findall(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])+\'|.', text, re.DOTALL):
        depth += (token in "([{") - (token in ")]}")
        if depth < 0:
            break
        if token == separator and depth == 0:
            pieces.append("")
        else:
            pieces[-1] += token
    return [" ".join(piece.split()) for piece in pieces]


def read_constants():
    """The constants of the headers and their values."""
    text = "".join(path.read_text() for path in pathlib.Path("include/qmv").glob("*.h"))
    return {name: int(value, 0) for name, value in re.findall(r"\b([A-Z_0-9]+) = (0?\w+)", text)}


def value_of(text, constants):
    """A literal as a number where it is one: uint32_t{PW_VALID}, 3, 3u and 0x3 are the same."""
    text = re.sub(r"^(?:static_cast<)?[a-z_:0-9]+>?[({](.*)[)}]$", r"\1", text)
    if text in constants:
        return constants[text]
    number = re.fullmatch(r"(-?)(0x[0-9A-Fa-f]+|\d+)[uU]?", text)
    return int(number[1] + number[2], 0) if number else text


class Source:
    """A source of tests."""

    def __init__(self, text, constants):
        self.text = text
        self.constants = constants
        self.records = {name: self.fields(body) for name, body in
                        re.findall(r"^ *struct (\w+) \{\n(.*?)\n *\};", text, re.M | re.S)}
        self.helpers = self.find_helpers()

    @staticmethod
    def fields(body):
        body = re.sub(r"//[^\n]*", "", body)
        parts = [re.sub(r" = .*", "", part) for part in body.split(";") if part.strip()]
        return [(re.findall(r"\w+", part) or [""])[-1] for part in parts]

    def find_helpers(self):
        """Functions and lambdas that hand on, or put into a record, what another call returned."""
        helpers = {}
        functions = re.findall(r"^[A-Za-z][^;\n]*?\b(\w+)\([^;{]*\{\n(.*?)^\}", self.text,
                               re.M | re.S)
        lambdas = re.findall(r"^( *)auto (\w+) = \[[^\n]*\{\n(.*?)^\1\};",
                             re.sub(r"\bconst (?=auto)", "", self.text), re.M | re.S)
        for name, body in functions + [found[1:] for found in lambdas]:
            returned = " ".join(re.findall(r"return ([^;]*);", body))
            for variable, call in re.findall(r"\b(\w+) = ([^;]*);", body):
                if re.search(rf"\b{variable}\b", returned):
                    returned += " " + call
            helpers.setdefault(name, set()).update(re.findall(r"\b(\w+)\(", returned))
        return helpers

    def column(self, variable, field, body):
        """The values of a field in the tables whose rows a variable can be."""
        argument = re.search(rf"const (\w+) &{variable}[,)]", body)
        loop = re.search(rf"for \([^;]*\b{variable} : (\w+)\)", body)
        if loop:
            where, name, of_type = body, loop[1], r"\w+"
        elif argument:
            where, name, of_type = self.text, r"\w+", argument[1]
        else:
            return set()
        values = set()
        record = rf"(?:struct \w* ?\{{([^}}]*)\}}|({of_type}))"
        for table in re.finditer(rf"{record} {name}\[\] = \{{", where):
            fields = self.fields(table[1]) if table[1] else self.records.get(table[2], [])
            if field not in fields:
                continue
            for row in split(where[table.end():], ","):
                columns = split(re.sub(r"^(//[^\n]*)?\w*\{", "", row), ",")
                index = fields.index(field)
                values.add(columns[index] if index < len(columns) else "0")
        return values

    def literals(self, side, body):
        """The values that one side of a comparison can have."""
        column = re.fullmatch(r"(\w+)\.(\w+)", side)
        record = re.fullmatch(r"\(?\w+\{(.*)\}\)?", side)
        texts = {side}
        if column:
            texts = self.column(column[1], column[2], body)
        elif record:
            texts = {side, split(record[1], ",")[0]}
        return {value_of(text, self.constants) for text in texts}

    def called(self, side, body):
        """The functions whose result one side of a comparison can be."""
        returned = r"\breturn " if re.search(r"\[[^]]*\] \{", side) else ""
        calls = set(re.findall(returned + r"\b(\w+)\(", side))
        variable = re.fullmatch(r"(\w+)(?:\.\w+)?", side)
        if variable:
            name = rf"(?:\b{variable[1]}|\[[^]\n]*\b{variable[1]}\b[^]\n]*\])"
            for assigned in re.findall(rf"{name} =\s([^;]*);", body):
                calls |= set(re.findall(r"\b(\w+)\(", assigned))
        return calls.union(*(self.helpers[name] for name in calls if name in self.helpers))

    def comparisons(self):
        """Pairs of sides, and the body they stand in: EXPECT_EQ(call, value),
        EXPECT_TRUE(prints(text, value, call)), EXPECT_TRUE(prints("", call)) for the value 0."""
        for body in re.split(r"^(?=\S[^\n]*\{$)", self.text, flags=re.M):
            for match in re.finditer(r"\b(?:EXPECT|ASSERT)_(?:(?:STR)?EQ\(|TRUE\(prints\()", body):
                sides = split(body[match.end():], ",")
                if match.group().endswith("prints("):
                    nothing = "0" if sides[0] == '""' else ""
                    sides = sides[1:] if len(sides) == 3 else [nothing] + sides[1:]
                if len(sides) == 2:
                    yield sides[0], sides[1], body
                    yield sides[1], sides[0], body


def seen_results(names):
    """Pairs of a function and a value with which a test compares what it returned."""
    constants = read_constants()
    seen = set()
    for path in sorted(pathlib.Path("tests").rglob("*_test.cpp")):
        source = Source(path.read_text(), constants)
        for call, value, body in source.comparisons():
            for name in source.called(call, body) & names:
                seen |= {(name, literal) for literal in source.literals(value, body)}
    return seen, constants


def check_results(functions):
    seen, constants = seen_results(set(functions))
    used = set()
    for name, function in sorted(functions.items()):
        for literal in sorted(function.literals()):
            if (name, value_of(literal, constants)) in seen:
                continue
            excepted = [key for key in EXCEPTIONS if key[1] == literal and fnmatch(name, key[0])]
            used |= set(excepted)
            if not excepted:
                fail(f"{name}: no test compares its result {literal}")
    tests = {f"{suite}.{case}" for path in pathlib.Path("tests").rglob("*_test.cpp")
             for suite, case in re.findall(r"^TEST\((\w+), (\w+)\)", path.read_text(), re.M)}
    for key, test in EXCEPTIONS.items():
        if key not in used:
            fail(f"{key[0]}: the result {key[1]} needs no exception")
        if test not in tests:
            fail(f"{key[0]}: the test {test} of its result {key[1]} does not exist")


def main():
    exported = pathlib.Path(sys.argv[1]).read_text().split()
    functions = read_functions(pathlib.Path(sys.argv[2]))
    for name in exported:
        if name not in functions:
            fail(f"{name} is in no family of the reference")
    for function in functions.values():
        function.check()
    check_names(functions)
    check_results(functions)
    for message in failures:
        print(message, file=sys.stderr)
    return 1 if failures else 0


sys.exit(main())
