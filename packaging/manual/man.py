# SPDX-License-Identifier: MIT
"""man.py VERSION SOURCES OUTPUT [TREE...]: writes the man pages below OUTPUT.

Section 3 comes from the headers, 5 and 7 from docs, 1 from what the programs tell of their commands and
options ("PROGRAM __tree"), with the parts of docs about them.
"""
import json
import pathlib
import re
import shutil
import sys
import textwrap

import headers
import roff

LONGEST = 90  # columns of the summary in NAME
WIDEST = 72  # columns of code


class Pages:
    def __init__(self, version, sources, output):
        self.version, self.sources, self.output = version, pathlib.Path(sources), pathlib.Path(output)

    def write(self, name, section, lines, preprocessed=False):
        text = (["'\\\" t"] if preprocessed else []) + roff.title(name, section, self.version) + lines
        self.put(name, section, "\n".join(text) + "\n")

    def link(self, name, section, target):
        self.put(name, section, f".so man{section}/{target}.{section}\n")

    def put(self, name, section, text):
        path = self.output / f"man{section}" / f"{name}.{section}"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def document(self, path):
        return (self.sources / path).read_text()


def name_section(names, summary):
    return [".SH NAME", f"{', '.join(roff.code(each) for each in names)} \\- {roff.escape(summary)}"]


def see_also(references):
    return [".SH SEE ALSO"] + [
        f".BR {roff.code(name)} ({section})" + ("" if i + 1 == len(references) else " ,")
        for i, (name, section) in enumerate(references)]


# ---- Section 3 ---------------------------------------------------------------------------------------


def summary_of(text):
    """The first sentence, as far as it fits a line."""
    text = text.replace("`", "")
    if re.match(r"-?\d", text):
        text = "returns " + text.replace(": ", ", ", 1)
    summary = re.split(r"(?<=[^.])\. |\.$|: ", text, maxsplit=1)[0]
    while len(summary) > LONGEST and re.search(r"[,;(]", summary):
        summary = summary[:max(summary.rfind(each) for each in ",;(")].rstrip()
    words = summary.split()
    while len(" ".join(words)) > LONGEST:
        words.pop()
    return " ".join(words) or text[:LONGEST]


def narrow(definition):
    """A definition in lines that fit: remarks that do not stand above what they are about."""
    out = []
    text = definition
    if text.startswith("/*"):
        comment, text = text[:text.index("*/") + 2], text[text.index("*/") + 2:].lstrip("\n")
        words = " ".join(headers.comment_lines(comment))
        out += ["/* " + each if not i else " * " + each for i, each in enumerate(textwrap.wrap(words, WIDEST - 6))]
        out[-1] += " */"
    for each in text.split("\n"):
        match = re.match(r"( *)(.*?) */\* (.*) \*/$", each)
        if match and len(each) > WIDEST:
            remark = textwrap.wrap(match[3], WIDEST - 6 - len(match[1]))
            out += [match[1] + ("/* " if not i else " * ") + part for i, part in enumerate(remark)]
            out[-1] += " */"
            each = match[1] + match[2]
        out.append(each)
    return "\n".join(out)


class Functions:
    """All declarations; a page for each comment, links for the other names of its group."""

    def __init__(self, pages):
        self.pages = pages
        self.headers = [headers.parse(path) for path in sorted((pages.sources / "include/dfd").glob("*.h"))]
        self.groups = {name: group for header in self.headers for group in header.groups
                       for name in group.names()}
        self.types = {name: text for header in self.headers for name, text in header.types.items()}

    def prose(self, text, own):
        """Names of functions are references."""
        def mark(match):
            name = match[0]
            if name in own or name not in self.groups:
                return name
            return f"\2{name}\3"

        text = re.sub(r"`([^`]+)`", "\4\\1\5", text)
        marked = roff.escape(re.sub(r"\b[a-z]\w+\b", mark, text))
        marked = re.sub("\4([^\5]+)\5", r"\\fI\1\\fP", marked)
        return re.sub("\2(\\w+)\3", r"\\fB\1\\fP(3)", marked)

    def body(self, lines, own):
        """Description and what is said of the result."""
        description, result = [], []
        for kind, content in headers.paragraphs_of(lines):
            if kind == "code":
                description += roff.literal(content)
            elif kind == "item":
                description += [f".IP {content[0]}. 4", roff.line(self.prose(content[1], own))]
            else:
                before, returned = headers.split_result(content)
                if before:
                    description += roff.paragraph(self.prose(before, own))
                if returned:
                    result += roff.paragraph(self.prose(returned, own))
        return description, result

    def referred_to(self, group):
        """The functions that a comment begins with as its own: a function by name, or "the same"."""
        text = " ".join(group.comment)
        if text.startswith("The same"):
            all_groups = next(each.groups for each in self.headers if group in each.groups)
            return [all_groups[all_groups.index(group) - 1].names()[0]]
        sentence = re.split(r"\. |[;:]", text)[0]
        names = re.findall(r"\w+", sentence) if group.header == "driver.h" else []
        if not names or names[0] not in self.groups:
            return []
        return [each for each in dict.fromkeys(names) if each in self.groups and each not in group.names()]

    def described(self, group):
        """Description, result, summary; what stands in a comment that this one refers to is said, too."""
        own = group.names()
        text = " ".join(group.comment)
        description, result = self.body(group.comment, own)
        summary = summary_of(text)
        for i, name in enumerate(self.referred_to(group)):
            if i == 0 and not text.startswith("The same"):
                description[1] = "As " + description[1]
            more, told, others = self.described(self.groups[name])
            description += [f".SS {roff.argument(name + '(3)')}"] + more
            result = result or told
            summary = others if i == 0 else summary
        return description, result, summary

    def definitions(self, text):
        """Types and constants that the text names, each once."""
        found = []
        for name in re.findall(r"\w+", text):
            definition = self.types.get(name)
            if definition is not None and definition not in found and len(definition.split("\n")) < 40:
                found.append(definition)
        return [narrow(each) for each in found]

    def page(self, header, group):
        names = group.names()
        if not group.comment:
            group.comment = [", ".join(re.findall(r"/\* *(.*?) *\*/", " ".join(group.declarations)))]
        description, result, summary = self.described(group)
        out = name_section(names, summary)
        out += [".SH SYNOPSIS", ".nf", f".B #include <dfd/{header.name}>", ".PP"]
        for each in group.declarations:
            each, *remark = each.split("  /*")
            # Lines break between parameters only.
            indent = " " * (each.find("(") + 1)
            each = re.sub(r"(?<!,) ", "\2", each)
            lines = textwrap.wrap(each, WIDEST, subsequent_indent=indent, break_long_words=False)
            out += [f"\\fB{roff.code(part)}\\fP".replace("\2", " ") for part in lines]
            out[-1] += roff.escape("  /*" + remark[0]) if remark else ""
        out += [".fi", ".SH DESCRIPTION"] + description
        if result:
            out += [".SH RETURN VALUE"] + result
        definitions = self.definitions(" ".join(group.comment + group.declarations))
        if definitions:
            out += [".SH TYPES"] + [".nf"] + roff.code_lines("\n\n".join(definitions)) + [".fi"]
        notes = [line for note in group.notes for line in self.body(note, names)[0]]
        about = [header.name] if group.header != "driver.h" else []
        about += [self.groups[each].header for each in self.referred_to(group)]
        out += [".SH NOTES"] if about else []
        for name in dict.fromkeys(about):
            comment = next(each.comment for each in self.headers if each.name == name)
            out += [f".SS dfd/{name}"] + self.flat(comment, names)
        out += notes
        text = " ".join(group.comment)
        others = [each for each in dict.fromkeys(re.findall(r"\w+", text)) if each in self.groups and each not in names]
        out += see_also([(each, 3) for each in others] + [("libdfd", 3), ("dfd.cfg", 5)])
        self.pages.write(names[0], 3, out)
        for each in names[1:]:
            self.pages.link(each, 3, names[0])

    def flat(self, comment, own):
        description, result = self.body(comment, own)
        return description + result

    def overview(self):
        conventions = next(each for each in self.headers if each.name == "types.h")
        out = name_section(["libdfd"], "board-support library for modular switch chassis")
        out += [".SH SYNOPSIS", ".nf", ".B #include <dfd/dfd.h>", ".PP",
                roff.bold("cc app.c $(pkg-config --cflags --libs libdfd)"), ".fi", ".SH DESCRIPTION"]
        out += self.flat(conventions.comment, [])
        out += [".SH RESULT CODES", ".nf"] + roff.code_lines(narrow(self.types["dfd_result"])) + [".fi"]
        out += [".SH FUNCTIONS"]
        for header in self.headers:
            if not header.groups:
                continue
            out += [f".SS dfd/{header.name}"] + self.flat(header.comment, [])
            for group in header.groups:
                names = [f"\\fB{each}\\fP(3)" for each in group.names()]
                out += [".TP", ", ".join(names), roff.line(roff.escape(self.described(group)[2]))]
        out += see_also([("dev_drv_init", 3), ("dfd.cfg", 5), ("dfd", 7), ("dfdctl", 1)])
        self.pages.write("libdfd", 3, out)

    def write(self):
        for header in self.headers:
            for group in header.groups:
                self.page(header, group)
        self.overview()


# ---- Section 1 ---------------------------------------------------------------------------------------


def usage_of(command):
    """Its own words and options, in one line."""
    words = ["[\\fIOPTION\\fP...]"] if len(command["options"]) > 1 else []
    words += [f"\\fI{roff.code(each['usage'])}\\fP" for each in command["arguments"]]
    return " ".join(words + (["\\fICOMMAND\\fP ..."] if command["commands"] else []))


def options_of(command, with_help=False):
    out = []
    for each in command["arguments"] + command["options"]:
        if each["name"] == "-h,--help" and not with_help:
            continue
        is_option = each in command["options"]
        tag = ", ".join(roff.bold(name) for name in each["name"].split(",")) if is_option else ""
        value = f"\\fI{roff.code(each['usage'])}\\fP" if each["usage"] else ""
        separator = "" if value.startswith("\\fI[=") or not tag or not value else " "
        out += [".TP", tag + separator + value, roff.line(roff.escape(each["description"])) or "\\&"]
    return out


def footer_of(command):
    """"Example:" and "Exit status:" of a help, as sections; the rest as text."""
    out = []
    for block in command["footer"].split("\n\n"):
        head, *lines = block.split("\n")
        if head == "Example:":
            out += [".SH EXAMPLES"] + roff.literal([each.strip() for each in lines])
        elif "xit status" in head and "--help" not in head:
            # As in the docs, where they are longer.
            continue
    return out


def documented(sections, name):
    """What the docs say of a command: the parts whose heading names it; of the controls one for all."""
    def names(heading):
        return [each.split()[0] for each in re.findall(r"`([^`]+)`", heading)]

    found = [text for level, heading, text in sections if level == 3 and name in names(heading)]
    if found:
        return found
    controls = next(text for level, heading, text in sections if level == 3 and heading == "Control")
    # The table has a row for each command of the group.
    return [re.sub(rf"^\| `(?!{name}[ `]).*\n", "", controls, flags=re.M)]


STATUS = re.compile(r"(?:^\| *Status *\|.*\n)(?:^\|.*\n)+", re.M)


def command_page(pages, program, command, sections):
    name = f"{program}-{command['name']}"
    summary = command["description"][0].lower() + command["description"][1:]
    out = name_section([name], summary)
    leaves = command["commands"] or [None]
    out += [".SH SYNOPSIS"]
    for leaf in leaves:
        words = " ".join([program, command["name"]] + ([leaf["name"]] if leaf else []))
        out += [".PP", f"{roff.bold(words)} {usage_of(leaf or command)}"]
    out += [".SH DESCRIPTION"]
    texts = documented(sections, command["name"])
    for text in texts:
        out += roff.markdown(STATUS.sub("", text), 1)
    options = options_of(command)
    for leaf in command["commands"]:
        out += [f".SS {program} {roff.code(command['name'])} {roff.code(leaf['name'])}",
                roff.line(roff.escape(leaf["description"])) + "."] + options_of(leaf)
    out += ([".SH OPTIONS"] + options if options else [])
    examples = dict.fromkeys("\n".join(footer_of(each)) for each in (command["commands"] or [command]))
    lines = [line for text in examples for line in text.split("\n") if line and line != ".SH EXAMPLES"]
    out += ([".SH EXAMPLES"] + lines if lines else [])
    statuses = [table[0] for text in texts for table in [STATUS.search(text)] if table]
    out += [".SH EXIT STATUS"] + (roff.markdown(statuses[0]) if statuses else [f"See \\fB{program}\\fP(1)."])
    out += see_also([(program, 1), ("dfd.cfg", 5), ("dfd", 7)])
    pages.write(name, 1, out, True)


def program_page(pages, tree, document, leave_out, references, with_commands):
    """The page of a program, with its documentation; of commands that have pages of their own a list."""
    sections = roff.sections(pages.document(document))
    about = re.sub(r" \(.*\)", "", tree["description"].split("\n")[0].split(". ")[0].rstrip("."))
    out = name_section([tree["name"]], about[0].lower() + about[1:])
    out += [".SH SYNOPSIS", f"{roff.bold(tree['name'])} {usage_of(tree)}"]
    intro = next(text for level, heading, text in sections if level == 1)
    out += [".SH DESCRIPTION"] + roff.markdown(intro.split("\n| ")[0])
    out += [".SH OPTIONS"] + options_of(tree, True)
    out += [".SH COMMANDS"] if tree["commands"] else []
    for each in tree["commands"]:
        out += [".TP", f"\\fB{tree['name']} {roff.code(each['name'])}\\fP {usage_of(each)}",
                roff.line(roff.escape(each["description"])) + "."]
        out += ([".RS"] + options_of(each) + [".RE"]) if with_commands else []
    section = None
    for level, heading, text in sections:
        if level == 2:
            section = heading
            if heading == "Commands" and heading not in leave_out:
                # The tables of the page name them again.
                text = re.sub(r"^\|.*\n", "", text, flags=re.M)
            elif heading not in leave_out:
                name = "THE DESCRIPTION" if heading == "Description" else heading.upper()
                out += [f".SH {roff.argument(roff.escape(name))}"]
        if level >= 2 and section not in leave_out:
            if level > 2:
                out += [f".SS {roff.argument(roff.inline(heading))}"]
            out += roff.markdown(text)
    out += footer_of(tree)
    out += see_also(references)
    pages.write(tree["name"], 1, out, True)
    return sections


# Where the docs tell of a program, and their parts that are no matter of its page.
PROGRAMS = {
    "dfdctl": ("docs/dfdctl.md", ["Commands"]),
    "vchassis": ("docs/virtual-chassis.md", ["In tests", "Adding a model"]),
    "dfd-eeprom": ("docs/eeprom-layouts.md", []),
}


def programs(pages, trees):
    for tree in trees:
        document, leave_out = PROGRAMS[tree["name"]]
        has_pages = "Commands" in leave_out  # one for each command
        commands = [f"{tree['name']}-{each['name']}" for each in tree["commands"]] if has_pages else []
        others = [each for each in PROGRAMS if each != tree["name"]] + commands
        references = [(each, 1) for each in others] + [("dfd.cfg", 5), ("dfd", 7)]
        sections = program_page(pages, tree, document, leave_out, references, not has_pages)
        for each in tree["commands"] if has_pages else []:
            command_page(pages, tree["name"], each, sections)


# ---- Sections 5 and 7 --------------------------------------------------------------------------------


def family_paths(pages):
    """A document for each family of items; what they have in common is on one page."""
    paths = sorted((pages.sources / "docs/configuration").glob("*.md"))
    return [each for each in paths if each.stem not in ("README", "format", "files")]


def families(pages):
    return [(f"dfd-{each.stem}", 5) for each in family_paths(pages)]


def configuration(pages):
    out = name_section(["dfd.cfg"], "configuration of a board for libdfd")
    for i, page in enumerate(["README.md", "format.md", "files.md"]):
        sections = roff.sections(pages.document(f"docs/configuration/{page}"))
        out += [".SH DESCRIPTION" if i == 0 else f".SH {sections[1][1].upper()}"]
        for level, heading, text in sections[1:]:
            out += ([f".SS {roff.argument(roff.inline(heading))}"] if level > 1 else []) + roff.markdown(text)
    others = families(pages)
    out += see_also(others + [("dfdctl-lint", 1), ("dfdctl-explain", 1), ("libdfd", 3), ("dfd", 7)])
    pages.write("dfd.cfg", 5, out, True)
    for path, (name, section) in zip(family_paths(pages), others):
        top, *sections = roff.sections(path.read_text())[1:]
        out = name_section([name], f"{top[1]}: configuration items of libdfd") + [".SH DESCRIPTION"] + roff.markdown(top[2])
        for level, heading, text in sections:
            request = ".SH " + roff.argument(roff.inline(heading).upper()) if level == 2 else ".SS " + roff.argument(roff.inline(heading))
            out += [request] + roff.markdown(text)
        pages.write(name, section, out + see_also([("dfd.cfg", 5), ("dfdctl-lint", 1), ("dfdctl-explain", 1)]), True)


def overview(pages):
    out = name_section(["dfd"], "board support for modular switch chassis")
    leave_out = ["Try it", "Where to go next"]
    for level, heading, text in roff.sections(pages.document("README.md"))[1:]:
        if heading not in leave_out:
            out += [".SH DESCRIPTION" if level == 1 else f".SH {roff.argument(roff.escape(heading.upper()))}"]
            out += roff.markdown(text)
    for level, heading, text in roff.sections(pages.document("docs/architecture.md")):
        if heading == "How a request travels":
            out += [f".SH {roff.argument(heading.upper())}"] + roff.markdown(text)
    out += see_also([("dfdctl", 1), ("vchassis", 1), ("libdfd", 3), ("dfd.cfg", 5)])
    pages.write("dfd", 7, out, True)


def main():
    version, sources, output, *given = sys.argv[1:]
    pages = Pages(version, sources, output)
    trees = [json.loads(pathlib.Path(each).read_text()) for each in given]
    shutil.rmtree(output, ignore_errors=True)
    roff.LINKS.update(zip((each.stem for each in family_paths(pages)), families(pages)))
    Functions(pages).write()
    configuration(pages)
    overview(pages)
    programs(pages, trees)


if __name__ == "__main__":
    main()
