#!/usr/bin/python3
"""Turns a header's plain comments into what Doxygen understands, line by line: the comment at its
head and its sections become groups, forms that are printed stand as they are, and text behind
arguments and results gets a paragraph of its own. Usage: filter.py HEADER"""
import pathlib
import re
import sys


def group(title):
    """The name of a section: its title up to the first comma or "and"."""
    return re.sub(r"[^a-z0-9]+", "_", re.split(r",| and ", title.lower())[0])


def shown(text):
    """Text that means nothing to Doxygen, but for `words` in code style."""
    parts = text.split("`")
    for i in range(0, len(parts), 2):
        part = parts[i].replace("\\", "\\\\").replace("&", "&amp;").replace("<", "&lt;")
        parts[i] = re.sub(r"([@#%*])", r"\\\1", part.replace(">", "&gt;").replace('"', "&quot;"))
    return "`".join(parts)


def preformatted(texts, is_form):
    """Puts runs of texts that are forms between <pre> and </pre>."""
    forms = [is_form(i) for i in range(len(texts))]
    result = []
    for i, text in enumerate(texts):
        begins = forms[i] and not (i and forms[i - 1])
        ends = forms[i] and not (i + 1 < len(texts) and forms[i + 1])
        result.append(("<pre>" if begins else "") + shown(text) + ("</pre>" if ends else ""))
    return result


def description(lines):
    """The lines of a comment that describes a header or a section."""
    texts = [re.sub(r"^ \* ?", "", line) for line in lines]
    inside = [False]
    for previous, text in zip(texts, texts[1:]):
        starts = not previous and re.match(r" {2,}[^ -]", text)
        inside.append(bool(text and (starts or inside[-1])))
    return [" * " + text for text in preformatted(texts, lambda i: inside[i])]


def documentation(lines):
    """The lines of one /// comment."""
    texts = [re.sub(r"^/// ?", "", line) for line in lines]
    block = next((i for i, text in enumerate(texts) if text.startswith("@")), len(texts))
    is_form = lambda i: i < block and texts[i].startswith("<")
    result = []
    behind = False
    for i, text in enumerate(preformatted(texts, is_form)):
        begun = re.match(r"\\@(param|return)", text)
        if begun:
            text = text[1:]
            behind = True
        elif text.startswith("Intended: "):
            text = "@intended " + text[len("Intended: "):]
            behind = False
        elif behind and not text.startswith(" "):
            text = "@note " + text
            behind = False
        elif i and i < block and re.search(r"[:>]$", texts[i - 1]) and not is_form(i - 1):
            text = "@details " + text
        elif i == 1 and is_form(i):
            text = "@details " + text
        result.append("/// " + text)
    return result


def main():
    path = pathlib.Path(sys.argv[1])
    lines = path.read_text().splitlines()
    sections = any(line.startswith("/* ---- ") for line in lines)
    end = lines.index(" */")
    title, rest = re.match(r" \* ([^:.]+)[:.] ?(.*)", lines[1]).groups()
    families = [] if sections or path.stem == "types" else [path.stem]
    out = [f"/** @defgroup qmv_{path.stem} {title}"]
    out += description([" * " + rest.capitalize()[:1] + rest[1:]] + lines[2:end])
    out.append(" */")
    opened = 1
    i = end + 1
    while i < len(lines):
        line = lines[i]
        section = re.match(r"/\* ---- (.*) ---- \*/", line)
        if section:
            out.append(("/** @} */ " if opened == 2 else "") +
                       f"/** @defgroup qmv_{group(section[1])} {section[1]}")
            opened = 2
            families.append(group(section[1]))
            if lines[i + 1] == "/*":
                close = lines.index(" */", i)
                out += [" *"] + description(lines[i + 2:close])
                i = close
            else:
                i += 1
            out.append(" * @{ */")
        elif line.startswith("///") and not line.startswith("///<"):
            close = next(j for j in range(i, len(lines)) if not lines[j].startswith("///"))
            out += documentation(lines[i:close])
            i = close - 1
        elif "///<" in line:
            code, comment = line.split("///<", 1)
            out.append(code + "///<" + shown(comment))
        elif line == "QMV_BEGIN_DECLS":  # an empty line follows
            out += [f"/** @addtogroup qmv_{path.stem}", " * @{ */"]
            i += 1
        elif line == "QMV_END_DECLS":
            out.append("/** @} */" * opened)
        else:
            out.append(line)
        i += 1
    for name in families:
        out += [f"/** @addtogroup qmv_{name}", " * @par Example", f" * @include {name}.c",
                " * @par It prints", f" * @verbinclude {name}.expected", " */"]
    print("\n".join(out))


main()
