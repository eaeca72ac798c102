# SPDX-License-Identifier: MIT
"""Text and Markdown as roff, for man pages."""
import pathlib
import re

WIDE = 70  # columns that a table may have to be set as one
TEXT = 7  # the column where text begins
TERMINAL = 80  # columns

# Documents that are man pages as well, by the name of their file.
LINKS = {
    "dfdctl": ("dfdctl", 1), "virtual-chassis": ("vchassis", 1), "eeprom-layouts": ("dfd-eeprom", 1),
    "README": ("dfd.cfg", 5), "format": ("dfd.cfg", 5), "files": ("dfd.cfg", 5),
}


def escape(text):
    """Prose: what roff would take for its own is escaped, and a sign that is no hyphen kept as typed."""
    text = text.replace("\\", "\\e")
    text = re.sub(r"(?<![A-Za-z])-|-(?![A-Za-z])", r"\\-", text)
    return text.replace("'", "\\(aq").replace("`", "\\(ga").replace("^", "\\(ha").replace("~", "\\(ti")


def code(text):
    """The same for what is typed as it stands."""
    return escape(text).replace("\\-", "-").replace("-", "\\-")


def bold(text):
    return f"\\fB{code(text)}\\fP"


def line(text):
    """A line of text must not begin as a request does."""
    text = text.strip()
    return "\\&" + text if text.startswith((".", "\\(aq")) else text


def argument(text):
    """An argument of a macro."""
    return '"' + text.replace('"', "\\(dq") + '"'


def paragraph(text):
    return [".PP", line(text)]


def code_lines(text):
    return ["\\&" + code(each) for each in text.split("\n")]


def literal(lines):
    """Lines as they are: four columns inside the text, or what their length leaves of a terminal."""
    indent = min(TEXT + 4, max(0, TERMINAL - max(map(len, lines), default=0)))
    return [".PP", ".nf", f".in {indent}n"] + code_lines("\n".join(lines)) + [".in", ".fi"]


def title(name, section, version):
    return [f".TH {argument(code(name.upper()))} {section} \"\" {argument('libdfd ' + version)} \"libdfd\"", ".ad l"]


def installed(text):
    """Programs are not run from a build directory."""
    return re.sub(r"\bbuild/(?=dfdctl|vchassis|dfd-eeprom)", "", text)


def link(match):
    """The text of a link, or the man page that it leads to."""
    text, stem = match[1], pathlib.PurePath(match[2].split("#")[0]).stem
    page = "**{}**({})".format(*LINKS[stem]) if stem in LINKS else None
    same = page and text.lower().removesuffix(".md") in (stem.lower(), LINKS[stem][0].removeprefix("dfd-"))
    return text if not page else page if same else f"{text}, {page}"


def inline(text):
    """Code, emphasis and links of Markdown. What only points elsewhere on a page goes."""
    text = re.sub(r" \(\[[^\]]*\]\(#[^)]*\)\)", "", text)
    text = re.sub(r"\[([^\]]*)\]\(([^)]*)\)", link, text)
    parts = re.split(r"(`[^`]+`)", installed(text))
    out = ""
    for part in parts:
        if part.startswith("`") and len(part) > 1:
            out += bold(part[1:-1])
        else:
            out += re.sub(r"\*\*([^*]+)\*\*", r"\\fB\1\\fP", escape(part))
    return out


def cells(row):
    return [cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", row.strip().strip("|"))]


def plain(text):
    return re.sub(r"[`*]|\]\([^)]*\)|\[", "", text)


def narrow_table(rows):
    """Of short cells a table, in columns."""
    columns = len(rows[0])
    out = [".PP", ".TS", "nokeep;", " ".join(["lb"] * columns), " ".join(["l"] * columns) + "."]
    for row in rows:
        out.append("\t".join(("\\&" if cell.startswith((".", "'")) else "") + inline(cell) for cell in row))
    return out + [".TE"]


def table(rows):
    """A table that is too wide becomes a list of its first column; further ones name themselves."""
    head, body = rows[0], [row + [""] * (len(rows[0]) - len(row)) for row in rows[1:]]
    widths = [max(len(plain(row[i])) for row in [head] + body) for i in range(len(head))]
    if sum(widths) + 3 * (len(widths) - 1) <= WIDE:
        return narrow_table([head] + body)
    out = []
    for row in body:
        tag = inline(row[0])
        out += [".TP", line(tag if "\\fB" in tag else f"\\fB{tag}\\fP")]
        filled = [(name, cell) for name, cell in zip(head[1:], row[1:]) if cell]
        if len(head) == 2:
            out.append(line(inline(filled[0][1])) if filled else "\\&")
            continue
        for i, (name, cell) in enumerate(filled):
            out += ([".br"] if i else []) + [line(f"{inline(name)}: {inline(cell)}" if name else inline(cell))]
        if not filled:
            out.append("\\&")
    return out


def blocks(text):
    """Markdown as blocks: (kind, lines)."""
    text = re.sub(r"<!--.*?-->\n?", "", text, flags=re.S)
    lines, i, found = text.split("\n"), 0, []

    def take(condition):
        nonlocal i
        taken = []
        while i < len(lines) and condition(lines[i]):
            taken.append(lines[i])
            i += 1
        return taken

    item = re.compile(r"(- |\d+\. )")
    while i < len(lines):
        if not lines[i].strip():
            i += 1
        elif lines[i].startswith("```"):
            i += 1
            found.append(("code", take(lambda each: not each.startswith("```"))))
            i += 1
        elif lines[i].startswith("#"):
            found.append(("heading", take(lambda each: each.startswith("#"))[:1]))
        elif lines[i].startswith("|"):
            found.append(("table", take(lambda each: each.startswith("|"))))
        elif lines[i].startswith("    "):
            taken = take(lambda each: each.startswith("    ") or not each.strip())
            while not taken[-1].strip():
                taken.pop()
            found.append(("code", [each[4:] for each in taken]))
        elif item.match(lines[i]):
            first = [lines[i]]
            i += 1
            found.append(("item", first + take(lambda each: each.startswith("  "))))
        else:
            found.append(("text", take(
                lambda each: each.strip() and not re.match(r"\||```|#|    ", each) and not item.match(each))))
    return found


def markdown(text, level=2):
    """Markdown below a heading: headings of that level are .SS, deeper ones stand above their text."""
    out = []
    for kind, lines in blocks(text):
        if kind == "heading":
            depth = len(lines[0]) - len(lines[0].lstrip("#"))
            name = inline(lines[0].lstrip("# "))
            out += [f".SS {argument(name)}"] if depth <= level else [".PP", f"\\fB{name}\\fP"]
        elif kind == "text":
            out += paragraph(inline(" ".join(each.strip() for each in lines)))
        elif kind == "code":
            out += literal([installed(each) for each in lines])
        elif kind == "item":
            mark, rest = re.match(r"(-|\d+\.) +(.*)", lines[0]).groups()
            text = " ".join([rest] + [each.strip() for each in lines[1:]])
            mark = "\\(bu" if mark == "-" else mark
            out += [f".IP {mark} 4", line(inline(text))]
        else:
            out += table([cells(each) for each in lines if not re.match(r"\|[-| :]+\|$", each)])
    return out


def sections(text):
    """(level, heading, text below it) in order; the text in front of the first one has level 0."""
    found = [(0, "", "")]
    fenced = False
    for each in text.split("\n"):
        fenced ^= each.startswith("```")
        heading = None if fenced else re.match(r"(#+) (.*)", each)
        if heading:
            found.append((len(heading[1]), heading[2], ""))
        else:
            found[-1] = (*found[-1][:2], found[-1][2] + each + "\n")
    return found
