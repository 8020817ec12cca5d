#!/usr/bin/python3
"""Writes manual pages from Doxygen's XML: one for each family of functions, with links from the
functions and types to it, and qmv, which lists them all.
Usage: manpages.py XML_DIR MAN_DIR VERSION"""
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

SECTION = "3qmv"
WIDTH = 76
LINK = "cc program.c $(pkg-config --cflags --libs libqmv)"


def escape(text):
    """Text as roff, without a control character at its beginning."""
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq").replace("`", "\\(ga")
    text = text.replace("^", "\\(ha").replace("~", "\\(ti")
    return re.sub(r"^\.", r"\\&.", text, flags=re.MULTILINE)


def plain(element):
    """All text of an element, on one line."""
    return " ".join("".join(element.itertext()).split()) if element is not None else ""


def inline(element, skip=()):
    """The text of a paragraph as roff, on one line; names of functions and types bold."""
    result = escape(element.text or "")
    for child in element:
        if child.tag not in skip:
            inner = inline(child)
            if child.tag == "ref" or child.tag == "computeroutput":
                inner = f"\\fB{inner}\\fP"
            result += inner
        result += escape(child.tail or "")
    return result


def filled(text):
    return " ".join(text.split())


def literal(text):
    return [".EX", escape(text.strip("\n")), ".EE"]


BLOCKS = ("parameterlist", "simplesect", "preformatted", "itemizedlist", "programlisting",
          "verbatim")


def code(listing):
    """A listing as text: Doxygen marks its blanks."""
    lines = []
    for line in listing.iter("codeline"):
        for blank in line.iter("sp"):
            blank.text = " "
        lines.append("".join(line.itertext()))
    return "\n".join(lines)


def items(element):
    """A list whose items begin with a key and a colon, or have none."""
    lines = []
    for item in element.findall("listitem"):
        text = filled(" ".join(inline(para) for para in item.findall("para")))
        key, colon, rest = text.partition(": ")
        if colon and len(key) <= 48:
            lines += [".TP", f"\\fB{key}\\fP", rest]
        else:
            lines += [".TP", "\\(bu", text]
    return lines


def paragraphs(element, start=".PP"):
    """Paragraphs as roff lines: text, lists, forms, and listings."""
    lines = []
    if element is None:
        return lines
    for para in element.findall("para"):
        pieces = [inline_piece(para.text)]
        for child in para:
            if child.tag in BLOCKS:
                pieces += [child, inline_piece(child.tail)]
            else:
                copy = ElementTree.Element("para")
                copy.append(child)
                pieces[-1] += inline(copy)
        for piece in pieces:
            if isinstance(piece, str):
                lines += [start, filled(piece)] if piece.strip() else []
            elif piece.tag == "preformatted":
                lines += [start, ".RS 2"] + literal("".join(piece.itertext())) + [".RE"]
            elif piece.tag == "itemizedlist":
                lines += items(piece)
    return lines


def inline_piece(text):
    return escape(text or "")


def remark(section):
    """What stands behind arguments and results."""
    title = section.findtext("title")
    if title in ("Example", "It prints"):
        return []
    lines = paragraphs(section)
    if title and len(lines) > 1:
        lines[1] = f"\\fI{title}:\\fP {lines[1]}"
    return lines


def prototype(member):
    """A declaration as lines of at most WIDTH columns, broken behind commas."""
    kind = plain(member.find("type"))
    head = kind + ("" if kind.endswith("*") else " ") + member.findtext("name")
    text = head + re.sub(r"(\w)\(\*", r"\1 (*", member.findtext("argsstring")) + ";"
    lines = [""]
    for argument in re.sub(r", ?", ",\n", text).split("\n"):
        if lines[-1] and len(lines[-1]) + len(argument) >= WIDTH:
            lines.append("    " + argument)
        else:
            lines[-1] += (" " if lines[-1] else "") + argument
    return lines


def parameters(member):
    lines = []
    for entry in member.findall("detaileddescription//parameterlist/parameteritem"):
        names = ", ".join(name.text for name in entry.iter("parametername"))
        text = " ".join(inline(para) for para in entry.findall("parameterdescription/para"))
        lines += [".TP", f"\\fI{escape(names)}\\fP", filled(text)]
    return lines


def results(member):
    section = member.find("detaileddescription//simplesect[@kind='return']")
    if section is None:
        return []
    lists = section.findall("para/itemizedlist")
    text = filled(" ".join(inline(para, skip=("itemizedlist",))
                           for para in section.findall("para")))
    lines = [".PP", "Returns" + (f" {text.rstrip('.')}." if text else ":")]
    if lists:
        lines += [".RS 4"] + [line for one in lists for line in items(one)] + [".RE"]
    return lines


def described(member):
    """What a group, a type or a function is for: its sentence and what follows it."""
    brief = paragraphs(member.find("briefdescription"))
    whole = ElementTree.Element("description")
    for para in member.findall("detaileddescription/para"):
        copy = ElementTree.SubElement(whole, "para")
        copy.text = para.text
        for child in para:
            if child.tag not in ("parameterlist", "simplesect"):
                copy.append(child)
    detail = paragraphs(whole)
    if len(detail) > 1 and detail[0] == ".PP" and not detail[1].startswith("."):
        return brief + detail[1:]
    return brief + detail


def remarks(member):
    return [line for section in member.findall("detaileddescription//simplesect")
            if section.get("kind") != "return" for line in remark(section)]


def contract(member):
    return described(member), parameters(member) + results(member) + remarks(member)


def function(member):
    before, behind = contract(member)
    declaration = [f"\\fB{escape(line)}\\fP" for line in prototype(member)]
    return [f".SS {member.findtext('name')}()", ".nf"] + declaration + [".fi"] + before + behind


def type_section(one):
    before, behind = contract(one)
    return [f".SS {type_name(one)}"] + before + [".PP"] + literal(declared(one)) + behind


class Reference:
    """What Doxygen read."""

    def __init__(self, directory):
        self.groups = {}
        self.compounds = {}
        for path in sorted(directory.glob("*.xml")):
            for compound in ElementTree.parse(path).iter("compounddef"):
                self.compounds[compound.get("id")] = compound
                if compound.get("kind") == "group":
                    self.groups[compound.findtext("compoundname")] = compound

    def functions(self, group):
        return group.findall("sectiondef[@kind='func']/memberdef")

    def types(self, group):
        """Records, enumerations and callbacks, in the order of the header."""
        found = [self.compounds[record.get("refid")] for record in group.findall("innerclass")]
        found += [member for member in group.findall("sectiondef/memberdef")
                  if member.get("kind") in ("enum", "typedef")]
        return sorted(found, key=lambda one: int(one.find("location").get("line")))

    def header(self, name):
        """The header group of a family."""
        for group in self.groups.values():
            for inner in group.findall("innergroup"):
                if self.compounds[inner.get("refid")].findtext("compoundname") == name:
                    return group
        return self.groups[name]

    def families(self):
        return [name for name in self.groups if self.functions(self.groups[name])]


def type_name(one):
    return one.findtext("name") or one.findtext("compoundname")


def declared(one):
    """The declaration of a type as it stands in its header."""
    place = one.find("location")
    lines = pathlib.Path(place.get("file")).read_text().splitlines()
    first = int(place.get("line")) - 1
    last = first
    while not lines[last].endswith(";") or lines[last].startswith(" "):
        last += 1
    return "\n".join(lines[first:last + 1]).replace("///<", "//")


def lower(title):
    """A title inside a sentence; one that begins with an abbreviation stays."""
    return title if title[1:2].isupper() else title[0].lower() + title[1:]


def page(name, summary, version, body):
    """A page; words are not broken, since most that are long are names."""
    lines = [f'.TH {name} {SECTION} "" "libqmv {version}" "libqmv"', ".ad l", ".SH NAME", summary]
    unbroken = [re.sub(r"^(\.S[HS] .*)", r"\1\n.nh", line) for line in lines + body if line]
    return "\n".join(unbroken) + "\n"


def family_page(reference, name, version):
    group = reference.groups[name]
    title = group.findtext("title")
    functions = reference.functions(group)
    names = [member.findtext("name") for member in functions]
    header = reference.header(name)
    file_name = functions[0].find("location").get("file").removeprefix("include/")
    body = [".SH SYNOPSIS", ".nf", f"\\fB#include <{file_name}>\\fP", ".PP"]
    for member in functions:
        body += [f"\\fB{escape(line)}\\fP" for line in prototype(member)]
    body += [".PP", escape(LINK), ".fi", ".SH DESCRIPTION"]
    body += described(group)
    if header is not group:
        body += described(header)
    types = reference.types(group)
    if types:
        body.append(".SH TYPES")
    body += [line for one in types for line in type_section(one)]
    body.append(".SH FUNCTIONS")
    for member in functions:
        body += function(member)
    listing = group.find("detaileddescription//programlisting")
    printed = group.find("detaileddescription//verbatim")
    if listing is not None and printed is not None:
        body += [".SH EXAMPLE"] + literal(code(listing))
        body += [".PP", "It prints:", ".PP", ".RS 4"] + literal(printed.text or "") + [".RE"]
    related = [f"qmv({SECTION})", f"qmv_types({SECTION})"]
    related += [f"{other}({SECTION})" for other in reference.families()
                if other != name and reference.header(other) is header]
    body += [".SH SEE ALSO", ",\n".join(f"\\fB{one}\\fP" for one in related)]
    summary = f"{', '.join([name] + names)} \\- {escape(lower(title))}"
    return page(name, summary, version, body), names + [type_name(one) for one in types]


def types_page(reference, version):
    group = reference.groups["qmv_types"]
    body = [".SH SYNOPSIS", "\\fB#include <qmv/types.h>\\fP", ".SH DESCRIPTION"]
    body += described(group)
    body.append(".SH TYPES")
    types = reference.types(group)
    names = [type_name(one) for one in types]
    body += [line for one in types for line in type_section(one)]
    body += [".SH SEE ALSO", f"\\fBqmv({SECTION})\\fP"]
    summary = f"{', '.join(['qmv_types'] + names)} \\- {escape(lower(group.findtext('title')))}"
    return page("qmv_types", summary, version, body), names


def overview(reference, version):
    body = [".SH SYNOPSIS", ".nf", "\\fB#include <qmv.h>\\fP", ".PP", escape(LINK), ".fi",
            ".SH DESCRIPTION",
            escape("A library for the CGI programs of a router's web interface. Its functions are "
                   "described family by family; the name of a function leads to the page of its "
                   "family.")]
    body += described(reference.groups["qmv_types"])
    body.append(".SH FAMILIES")
    seen = None
    for name in sorted(reference.families(), key=lambda one: (place(reference, one))):
        header = reference.header(name)
        if header is not seen:
            body.append(f".SS {escape(header.findtext('title'))}")
            seen = header
        names = [member.findtext("name") for member in reference.functions(reference.groups[name])]
        body += [".TP", f"\\fB{name}\\fP({SECTION})", escape(", ".join(names))]
    body += [".SH SEE ALSO", f"\\fBqmv_types({SECTION})\\fP"]
    return page("qmv", "qmv \\- web interface library", version, body)


def place(reference, name):
    location = reference.functions(reference.groups[name])[0].find("location")
    return location.get("file"), int(location.get("line"))


def main():
    reference = Reference(pathlib.Path(sys.argv[1]))
    directory = pathlib.Path(sys.argv[2]) / "man3"
    version = sys.argv[3]
    directory.mkdir(parents=True)
    pages = {name: family_page(reference, name, version) for name in reference.families()}
    pages["qmv_types"] = types_page(reference, version)
    (directory / f"qmv.{SECTION}").write_text(overview(reference, version))
    for name, (text, names) in pages.items():
        (directory / f"{name}.{SECTION}").write_text(text)
        for link in names:
            (directory / f"{link}.{SECTION}").write_text(f".so man3/{name}.{SECTION}\n")


main()
