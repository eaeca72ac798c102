# SPDX-License-Identifier: MIT
"""The published headers: what is declared, and the comments that document it."""
import dataclasses
import re

EXPORTED = re.compile(r"(extern )?DFD_API ")
NAME = re.compile(r"(\w+)\s*(?:\(|\[|;)")


@dataclasses.dataclass
class Group:
    """Declarations that share a comment: those under it without an empty line between."""

    header: str
    comment: list  # lines
    declarations: list  # without the export macro
    notes: list  # comments about the part of the header that the group stands in

    def names(self):
        return [name_of(each) for each in self.declarations]


@dataclasses.dataclass
class Header:
    name: str  # "fan.h"
    comment: list
    groups: list
    types: dict  # name or enumerator -> text of the definition
    parts: list  # all of it in order: groups, and comments with what is no declaration


def name_of(declaration):
    return NAME.search(re.sub(r"/\*.*?\*/", "", declaration))[1]


def comment_lines(text):
    """The lines of a comment without its frame."""
    body = text.strip()[2:-2]
    lines = [re.sub(r"^ \*(?: |$)", "", each) for each in body.split("\n")]
    lines[0] = lines[0].lstrip()
    # A wrapped line of a comment may have lost its star.
    lines = [lines[0]] + [each if each.startswith("   ") else each.strip() for each in lines[1:]]
    while lines and not lines[0].strip():
        lines.pop(0)
    while lines and not lines[-1].strip():
        lines.pop()
    return lines


def paragraphs_of(lines):
    """Comment lines as blocks: ("text"|"code"|"item", text or lines)."""
    found = []
    for each in lines + [""]:
        item = re.match(r" ?(\d+)\. +(.*)", each)
        kind, last = ("end", None) if not found else found[-1]
        if not each.strip():
            found.append(("end", ""))
        elif item:
            found.append(("item", [item[1], item[2]]))
        elif kind == "item":
            last[1] += " " + each.strip()
        elif each.startswith("  "):
            if kind != "code":
                found.append(("code", []))
            found[-1][1].append(each[2:] if each.startswith("  ") else each)
        elif kind == "text":
            found[-1] = ("text", f"{last} {each.strip()}")
        else:
            found.append(("text", each.strip()))
    return [each for each in found if each[0] != "end"]


def split_result(text):
    """A paragraph, and what it says of the result: from the sentence that begins with "Returns" on."""
    found = re.search(r"(?:^|(?<=[.;] ))Returns? ", text)
    return (text[:found.start()].strip(), text[found.start():]) if found else (text.strip(), "")


def tokens(text):
    """Comments, declarations and empty lines, in order, with whether one stands behind the last on its line."""
    pattern = re.compile(
        r"(?P<comment>/\*.*?\*/)|(?P<directive>#(?:[^\n]*\\\n)*[^\n]*)|(?P<blank>\n[ \t]*\n)|"
        r"(?P<type>(?:typedef )?(?:enum|struct)[^;{]*\{.*?\n?\}[^;]*;)|(?P<declaration>[^\s#/][^;]*;)|\s+|DFD_\w+_DECLS",
        re.S)
    place, end = 0, 0
    while place < len(text):
        found = pattern.match(text, place)
        if found is None:
            place += 1
            continue
        place = found.end()
        # An empty line may begin where another token ends.
        if found.lastgroup != "blank" and text[place:place + 1] == "\n" and text[place - 1] == "\n":
            place -= 1
        if found.lastgroup:
            yield found.lastgroup, found[0], "\n" not in text[end:found.start()]
            end = found.end()


def type_names(definition):
    """The names that a definition introduces, enumerators included."""
    text = re.sub(r"/\*.*?\*/", "", definition, flags=re.S)
    names = re.findall(r"(?:enum|struct) (\w+)", text.split("{")[0]) + re.findall(r"\}\s*(\w+)", text)
    names += re.findall(r"\(\*(\w+)\)", text) if "typedef" in text and "{" not in text else []
    if "enum" in text.split("{")[0]:
        names += re.findall(r"^\s*(\w+)\s*(?:=|,|$)", text.split("{")[1].split("}")[0], re.M)
        names += re.findall(r"[{,]\s*(\w+)\s*=", text)
    return names


def parse(path):
    text = path.read_text()
    text = text[text.index("*/") + 2:]  # behind the licence
    header = Header(path.name, None, [], {}, [])
    comment, notes, group = None, [], None
    is_used = False  # the comment is that of a type
    for kind, token, same_line in tokens(text.replace("DFD_BEGIN_DECLS", "").replace("DFD_END_DECLS", "")):
        if kind == "comment":
            if header.comment is None:
                header.comment = comment_lines(token)
            elif same_line and group is not None:
                group.declarations[-1] += f"  {token}"
            else:
                comment, group, is_used = token, None, False
        elif kind == "blank":
            if comment is not None and group is None and not is_used:
                if "----" in comment:
                    notes = []
                elif not comment.startswith("/* clang"):
                    notes = notes + [comment_lines(comment)]
            comment, group = None, None
        elif kind == "directive":
            header.parts.append(("" if is_used else comment or "", token))
            is_used = True
        elif kind in ("type", "declaration") and not EXPORTED.match(token):
            definition = (comment + "\n" if comment else "") + token
            header.parts.append((comment or "", token))
            for name in type_names(token):
                header.types.setdefault(name, definition)
            is_used = True
        elif kind == "declaration":
            if group is None:
                group = Group(path.name, comment_lines(comment) if comment else [], [], notes)
                header.groups.append(group)
                header.parts.append(group)
            group.declarations.append(re.sub(r"\s+", " ", EXPORTED.sub(lambda m: m[1] or "", token)))
    return header
