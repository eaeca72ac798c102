#!/bin/sh
# SPDX-License-Identifier: MIT
# html.sh SOURCES: the HTML manual is made without a warning, tells of each exported name, and each link
# in it leads somewhere.
set -eu
command -v doxygen > /dev/null || { echo "doxygen is not installed"; exit 77; }
cd "$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
{ cat packaging/manual/Doxyfile; echo "OUTPUT_DIRECTORY = $work"; } | doxygen -

python3 - "$work/html" include/dfd docs <<'END'
import html
import pathlib
import re
import sys

manual, headers, docs = map(pathlib.Path, sys.argv[1:])
text = {each.name: each.read_text() for each in manual.glob("*.html")}
marks = {name: set(re.findall(r'(?:id|name)="([^"]+)"', page)) for name, page in text.items()}
faults = []
links = 0
for name, page in text.items():
    for link in map(html.unescape, re.findall(r'href="([^"]+)"', page)):
        file, _, mark = link.partition("#")
        if re.match(r"[a-z]+:", link):
            continue
        links += 1
        target = file or name
        if target not in marks and not (manual / target).exists():
            faults.append(f"{name}: no file behind {link}")
        elif mark and mark not in marks.get(target, {mark}):
            faults.append(f"{name}: no mark behind {link}")

# A name is told of where its heading stands with its comment, not in a list alone.
declared = set(re.findall(r"^(?:extern )?DFD_API [^;(\[]*?(\w+)(?= ?[;(\[])", "".join(
    each.read_text() for each in headers.glob("*.h")), re.M))
told = set()
for page in text.values():
    for part in page.split('<h2 class="memtitle">')[1:]:
        heading = re.sub(r"<[^>]+>", "", part.split("</h2>")[0])
        if re.search(r'<div class="memdoc">\s*<p>', part):
            told.update(re.findall(r"\w+", heading))
faults += [f"not told of: {name}" for name in sorted(declared - told)]
pages = [each for each in docs.rglob("*.md")]
if len(declared) < 300 or len(text) < len(pages) or links < 1000:
    faults.append(f"only {len(declared)} names, {len(text)} pages, {links} links")
for each in faults:
    print(each)
sys.exit(bool(faults))
END
