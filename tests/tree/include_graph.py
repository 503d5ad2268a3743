#!/usr/bin/env python3
"""The rooms include each other downwards only, and by their names.

    include_graph.py TREE

Reads the `#include "..."` lines of all sources below src, library and tools, and fails, with file and line, on
one that points up or across the list below, that doesn't name its room and file ("goal/render/renderer.h"),
or that stands in a folder which the list doesn't have. A source includes the header of its own name first: so
each of those is compiled with nothing before it, and the build needs no unit of its own for it. Of tests, benches and fuzz targets, which may see all,
only the names are checked.
"""

import pathlib
import re
import sys

# Lowest first, as docs/architecture.md has them. Rooms of one line don't see each other.
LEVELS = [
    ["slib"],
    ["numeric/kernels"],
    ["numeric"],
    ["platform"],
    ["pipe"],
    ["orb3core/store"],
    ["orb3core/speakers"],
    ["orb3core/settings"],
    ["orb3core/transform"],
    ["orb3core/acoustics"],
    ["orb3core/library"],
    ["orb3core/decoder"],
    ["orb3core/setup"],
    ["goal/sound"],
    ["goal/state"],
    ["goal/dsp"],
    ["goal/fx"],
    ["goal/render"],
    ["goal"],
    ["app/goaldll"],
    ["app/recording"],
    ["app/recorder", "app/replay"],
    ["library"],
    ["library/check"],
    ["tools/support", "tools/presets", "tools/sounds"],
    ["tools/manage"],
    ["tools/library", "tools/config", "tools/run", "tools/demo", "tools/info", "tools/replay"],
    ["tools/page/api"],
    ["tools/page/server"],
    ["tools/page"],
    ["tools/library/maker"],
]
LEVEL_OF = {room: level for level, rooms in enumerate(LEVELS) for room in rooms}
FREE = ("tests", "bench", "fuzz")  # see everything
OUTSIDE = {"hwy": ("numeric/kernels",) + FREE}  # other people's headers that are written in quotes, and where
ANY_INCLUDE = re.compile(r"\s*#\s*include\b")
INCLUDE = re.compile(r'\s*#\s*include\s*"([^"]+)"')


def room_of(path):
    """The room of a path below src, or below the tree for what isn't in src."""
    return str(path.parent)


def fault_of(tree, room, included):
    """What is wrong with an include in `room`; None for nothing."""
    target = pathlib.PurePosixPath(included)
    if ".." in target.parts or len(target.parts) < 2:
        return f'"{included}" doesn\'t name its room; write it as "room/file.h"'
    if target.parts[0] in OUTSIDE:
        return None if room.startswith(OUTSIDE[target.parts[0]]) else f'"{included}" is for the kernels only'
    if target.parts[0] == "AL":
        root = tree / "include"
    elif target.parts[0] in ("library", "tools") + FREE:
        root = tree
    else:
        root = tree / "src"
    if not (root / target).is_file():
        return f'there is no file "{included}" in any room'
    if target.parts[0] == "AL" or room.split("/")[0] in FREE:
        return None
    other = room_of(target)
    if other not in LEVEL_OF:
        return f"'{other}' is no room that a room may see"
    if other != room and LEVEL_OF[other] >= LEVEL_OF[room]:
        return f"'{room}' may not see '{other}', which isn't below it (\"{included}\")"
    return None


def own_header(room, file):
    """As it is included, where a source has one and isn't free to do as it likes; else None."""
    header = file.with_suffix(".h")
    is_bound = file.suffix == ".cpp" and header.is_file() and room.split("/")[0] not in FREE
    return f"{room}/{header.name}" if is_bound else None


def sources(tree):
    """(room, file) of every source."""
    for top in ("src", "library", "tools") + FREE:
        for file in sorted((tree / top).rglob("*")):
            if file.suffix in (".h", ".cpp", ".c"):
                yield room_of(file.relative_to(tree / "src" if top == "src" else tree)), file


def check(tree):
    """Prints each fault; returns their count and that of the includes."""
    faults = includes = 0
    for room, file in sources(tree):
        if room not in LEVEL_OF and room.split("/")[0] not in FREE:
            print(f"{file.relative_to(tree)}: '{room}' isn't in the list of rooms")
            faults += 1
            continue
        own = own_header(room, file)
        for number, line in enumerate(file.read_text().splitlines(), 1):
            match = INCLUDE.match(line)
            if own and ANY_INCLUDE.match(line):
                if not match or match.group(1) != own:
                    print(f'{file.relative_to(tree)}:{number}: "{own}" has to be the first include')
                    faults += 1
                own = None
            if not match:
                continue
            includes += 1
            fault = fault_of(tree, room, match.group(1))
            if fault:
                print(f"{file.relative_to(tree)}:{number}: {fault}")
                faults += 1
    return faults, includes


def main():
    faults, includes = check(pathlib.Path(sys.argv[1]))
    if includes == 0:
        print("There are no sources here.")
        return 1
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
