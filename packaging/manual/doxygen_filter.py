# SPDX-License-Identifier: MIT
"""doxygen_filter.py FILE: prints a header or a page of docs as Doxygen wants it.

A comment of a header becomes one of Doxygen's, once for each name of its group. Headings of a page get
names, and links between pages go to these.
"""
import pathlib
import re
import sys

import headers

SOURCES = pathlib.Path(__file__).resolve().parents[2]


# ---- Headers -----------------------------------------------------------------------------------------


def all_names():
    return {name for path in (SOURCES / "include/dfd").glob("*.h")
            for group in headers.parse(path).groups for name in group.names()}


def prose(text, names):
    """Signs that mean something to Doxygen are taken as they are; functions become links."""
    text = re.sub(r"([\\\\@<>#*&$%|~])", r"\\\1", text).replace("`", "")
    text = re.sub(r"(?<![\w])_", r"\\_", text)
    return re.sub(r"\b([a-z]\w+)\b(?!\()", lambda m: m[1] + "()" if m[1] in names else m[1], text)


def comment(lines, names):
    out, results = [], []
    for kind, content in headers.paragraphs_of(lines):
        if kind == "code":
            out += ["@verbatim"] + content + ["@endverbatim", ""]
        elif kind == "item":
            out += [f"{content[0]}. {prose(content[1], names)}"]
        else:
            before, result = headers.split_result(content)
            out += [prose(before, names), ""] if before else []
            results += [result] if result else []
    if results and not out:
        out.append(prose(results.pop(0), names))
    out += ["@return " + prose(re.sub(r"^Returns? ", "", each), names) for each in results]
    return "\n".join(["/**"] + out + ["*/"])


def type_text(text, names):
    """Remarks behind members."""
    return re.sub(r"/\* (.*?) \*/", lambda m: f"/**< {prose(m[1], names)} */", text, flags=re.S)


def print_header(path):
    header, names = headers.parse(path), all_names()
    print("/** @file\n")
    print(comment(header.comment or [], names).removeprefix("/**"))
    for part in header.parts:
        if isinstance(part, headers.Group):
            for declaration in part.declarations:
                plain, *remark = declaration.split("  /*")
                text = comment(part.comment or [remark[0].removesuffix("*/")], names)
                print(text, "\n" + plain + "\n")
            continue
        above, text = part
        if above:
            print(comment(headers.comment_lines(above), names))
        print(type_text(text, names) if "{" in text else text)


# ---- Pages -------------------------------------------------------------------------------------------


def slug(heading):
    return re.sub(r"[^a-z0-9_\n-]", "", heading.lower().replace(" ", "-"))


def page_name(path):
    return "page_" + str(path.relative_to(SOURCES).with_suffix("")).replace("/", "_").replace("-", "_")


def print_page(path):
    # A page begins with its heading.
    text = re.sub(r"\A<!--.*?-->\n", "", path.read_text())
    known, fenced, out = set(), False, []

    def link(match):
        label, target = match[1], match[2]
        file, _, anchor = target.partition("#")
        other = (path.parent / file).resolve() if file else path
        if re.match(r"[a-z]+:", target) or other.suffix != ".md" and not other.is_dir():
            return match[0] if re.match(r"[a-z]+:", target) else label
        other = other / "README.md" if other.is_dir() else other
        return f"[{label}](@ref {page_name(other)}{'__' + slug(anchor) if anchor else ''})"

    for each in text.split("\n"):
        fenced ^= each.startswith("```")
        heading = None if fenced else re.match(r"(#+) (.*)", each)
        if heading:
            name = page_name(path) + ("" if len(heading[1]) == 1 else "__" + slug(heading[2]))
            title = heading[2].replace("`", "")
            out.append(f"{heading[1]} {title}" + ("" if name in known else f" {{#{name}}}"))
            known.add(name)
        elif fenced or each.startswith("    "):
            out.append(each)
        else:
            # Inside of code Doxygen keeps the sign that escapes a bar of a table.
            each = re.sub(r"`([^`]*\\\|[^`]*)`", lambda m: m[0].replace("\\|", "`\\|`"), each)
            out.append(re.sub(r"\[([^\]]*)\]\(([^)]*)\)", link, each))
    print("\n".join(out))


def main():
    path = pathlib.Path(sys.argv[1]).resolve()
    (print_header if path.suffix == ".h" else print_page)(path)


if __name__ == "__main__":
    main()
