#!/usr/bin/env python3
"""The messages of docs/messages.md and what to do about them, as a table for the programs.

    messagecures.py PAGE SOURCE

Reads each row of the page's tables whose first cell quotes messages, as tests/tree/messages.pl does, and writes the
array messageCures, a row a message: its text without what varies at its ends, in which what varies is the character 1,
and the last cell as plain text.
"""

import pathlib
import re
import sys

VARIES = re.compile(r"\*[^*]+\*|…")
WILDCARD = "\x01"
LEAST = 150  # messages; fewer mean that the page isn't read as it is written


def plain(cell):
    """Without the marks of Markdown."""
    cell = re.sub(r"\[([^\]]+)\]\([^)]*\)", r"\1", cell)
    return re.sub(r"\*([^*]+)\*", r"\1", cell).replace("`", "'").strip()


def rows(page):
    """(message, cure) of every message; "The same." is that of the row before."""
    before = ""
    lines = page.splitlines()
    for line, below in zip(lines, lines[1:] + [""]):
        if re.match(r"\| *-{3}", below) or "](#" in line:
            continue  # a title, or a row that leads to another table
        cells = [cell.replace("\\|", "|").strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
        messages = re.findall(r'"([^"]+)"', cells[0]) if len(cells) > 1 else []
        cure = plain(cells[-1]) if messages else ""
        if cure.startswith("The same"):
            cure = before + cure[len("The same."):].lstrip(" ;")
        if messages:
            before = cure
        for message in messages:
            pattern = VARIES.sub(WILDCARD, message).strip(WILDCARD + " ")
            if cure and re.search(r"[^\W\d_]{2}", pattern):
                yield pattern, cure


def literal(text):
    quoted = text.replace("\\", "\\\\").replace('"', '\\"').replace(WILDCARD, "\\001")
    return f'"{quoted}"'


def main():
    page, source = sys.argv[1:3]
    table = list(dict.fromkeys(rows(pathlib.Path(page).read_text(encoding="utf-8"))))
    if len(table) < LEAST:
        sys.exit(f"'{page}' has {len(table)} messages only: are its tables as they were?")
    lines = ",\n".join(f"    {{{literal(message)}, {literal(cure)}}}" for message, cure in table)
    pathlib.Path(source).write_text(
        "// Made of docs/messages.md by cmake/messagecures.py.\n\n"
        '#include "tools/manage/messagecures.h"\n\n'
        "namespace tool {\nnamespace {\n\n"
        f"constexpr MessageCure table[] = {{\n{lines}}};\n\n"
        "}  // namespace\n\nconst std::span<const MessageCure> messageCures(table);\n\n}  // namespace tool\n",
        encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
