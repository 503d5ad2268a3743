#!/usr/bin/env python3
"""Runs clang-tidy over the sources that changed since they were last found clean.

    tidy.py BUILD_TREE [--all] [--deep] [--times] [SOURCE...]

For ./dev lint, which has built BUILD_TREE before: from there come the command of each source and the headers that
it read. Checked are src, library, tools and fuzz by all of .clang-tidy; benches, which no other gate compiles,
by clang's own warnings alone. A source that was clean leaves a stamp in the build tree: the digest of all that
decided, which is clang-tidy's version, the rules, the command, and the source with its headers. --all looks at no stamp.
The analyser works in its shallow mode, which takes half the time of all; with --deep it follows all paths.
--times lists how long each group took, the longest first. SOURCE, by its path in the tree, limits all of it to these.

Most of the time goes into the headers of others, so sources are checked as one text, one behind the other
(cmake/together.py), with other names for those that two of them declare for themselves. Where that text has a finding,
or doesn't compile, each half of its sources is, down to single ones, and they decide.
"""

import argparse
import functools
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor

import together

CHECKED = ("src", "library", "tools", "fuzz")
COMPILED_ONLY = ("bench",)
# Fuzz targets look into guarded state from the only thread there is.
LOCKS_CHECKED = ("src", "library", "tools")
# The analyser follows the designer's matrices into Eigen, and takes blocks of it for leaked or not set.
NOT_ANALYSED = ("library",)
TOGETHER = 32
# Options that lead to no other text: of code that isn't made here, and include roots, which lead to other names each.
NO_MATTER = re.compile(r"-(O\d|fPI[CE]|falign-loops=\d+|ftls-model=[\w-]+|I.*|isystem .*)$")
SHALLOW = [f"--extra-arg={word}" for word in ("-Xclang", "-analyzer-config", "-Xclang", "mode=shallow")]


def commands(build, tree):
    """{source relative to the tree: its compile command}, one for each source."""
    entries = json.loads((build / "compile_commands.json").read_text())
    found = {}
    for entry in entries:
        file = pathlib.Path(entry["file"])
        if not file.is_relative_to(tree) or file.suffix != ".cpp":
            continue
        name = str(file.relative_to(tree))
        if name.split("/")[0] in CHECKED + COMPILED_ONLY:
            found.setdefault(name, entry["command"])
    return found


def dependencies(build):
    """{object: files that it was made of}, of the objects that are up to date, as the build noted them."""
    text = subprocess.run(["ninja", "-C", str(build), "-t", "deps"], check=True, capture_output=True, text=True).stdout
    resolved = functools.cache(lambda line: (build / line).resolve())
    found = {}
    files = None
    for line in text.splitlines():
        if line and not line.startswith(" "):
            target, _, rest = line.partition(": #deps")
            files = found.setdefault(target, []) if "(VALID)" in rest else None
        elif line.strip() and files is not None:
            files.append(resolved(line.strip()))
    return found


class Digests:
    """Of files, each read once: by content in the tree, by size and time outside of it."""

    def __init__(self, tree):
        self.tree = tree
        self.known = {}

    def of(self, file):
        if file not in self.known:
            if file.is_relative_to(self.tree):
                self.known[file] = hashlib.sha256(file.read_bytes()).hexdigest()
            else:
                status = file.stat()
                self.known[file] = f"{status.st_size} {status.st_mtime_ns}"
        return self.known[file]


def checker(build, tree, name, command, is_deep):
    """The command that checks a source, and the folder to run it in."""
    words = shlex.split(command)
    compiler = next(i for i, word in enumerate(words) if word.startswith("-"))  # behind the compiler and its cache
    output = words.index("-o")
    if name.startswith(COMPILED_ONLY):
        return ["clang++", "-fsyntax-only", *words[compiler:output], *words[output + 2:]], build
    options = ["--extra-arg=-Wthread-safety"] if name.startswith(LOCKS_CHECKED) else []
    if name.startswith(NOT_ANALYSED):
        options.append("--checks=-clang-analyzer-*")
    elif not is_deep:
        options += SHALLOW
    return ["clang-tidy", "--quiet", *options, str(tree / name), "--", *words[compiler:output]], build


def options_of(check_command):
    """The words of a command; an include root of others is one with its option."""
    words = iter(check_command)
    return [f"{word} {next(words)}" if word == "-isystem" else word for word in words]


def weight_of(files, tree):
    """The bytes of others that a source reads."""
    return sum(file.stat().st_size for file in set(files or []) if not file.is_relative_to(tree))


def groups_of(due, tree, made_of):
    """The due sources that may be checked as one text: of one command but for what doesn't matter, and for macros of which
    no two have different values. Those that read as much of others are together, so that few texts read the most."""
    order = sorted(due, key=lambda name: weight_of(made_of.get((tree / name).resolve()), tree))
    options = {tree / name: options_of(due[name][2]) for name in order}
    values = {}
    for word in {word for words in options.values() for word in words if word.startswith("-D")}:
        values.setdefault(word.partition("=")[0], []).append(word)
    common = {words[0] for words in values.values() if len(words) == 1}

    def kind(source):
        is_of_targets = "foreach_target" in source.read_text()
        return is_of_targets, [word for word in options[source]
                               if word != str(source) and not NO_MATTER.match(word) and word not in common]

    benches = [source for source in options if source.is_relative_to(tree / "bench")]
    others = [source for source in options if source not in benches]
    found = together.groups(benches, kind, TOGETHER) + together.groups(others, kind, TOGETHER, may_meet=True)
    return [[str(source.relative_to(tree)) for source in group] for group in found]


def key_of(check_command, command, files, digests, common):
    """The digest of all that decides what is said of a source; None when the build doesn't know its headers."""
    if not files:
        return None
    parts = [common, command, *check_command]
    parts += [f"{file} {digests.of(file)}" for file in sorted(set(files))]
    return hashlib.sha256("\n".join(parts).encode()).hexdigest()


def check(name, check_command, folder, is_told=True):
    """Runs the command and prints what it finds; true for nothing."""
    run = subprocess.run(check_command, capture_output=True, text=True, cwd=folder)
    errors = [line for line in run.stderr.splitlines() if not line.endswith(("warnings generated.", "warning generated."))
              and not line.startswith(("Suppressed ", "Use -header-filter"))]
    report = "\n".join([run.stdout.strip()] + errors).strip()
    if run.returncode != 0 and is_told:
        print(f"{name}:\n{report}", flush=True)
    return run.returncode == 0


def one_text(texts, unit):
    """The texts end to end, for that file. What an earlier one includes isn't included again; what one includes twice stays
    a finding. What is read once for each vector target is the whole file."""
    included = set()
    result = []
    for text in texts:
        lines = text.splitlines()
        own = {line for line in lines if line.startswith("#include")}
        result += ["" if line in own & included else line for line in lines]
        included |= own
    return re.sub('(?<=^#define HWY_TARGET_INCLUDE )".*"', f'"{unit}"', "\n".join(result), flags=re.MULTILINE) + "\n"


def check_together(members, due, tree, stamps):
    """Checks sources of a group as one text. True for nothing found."""
    _, _, check_command, folder = due[members[0]]
    wanted = dict.fromkeys(option for name in members for option in options_of(due[name][2])
                           if option.startswith(("-I", "-isystem", "-D")))
    check_command = check_command + [word for option in wanted for word in option.split(" ", 1)]
    unit = stamps / ("unit__" + members[0].replace("/", "__"))
    unit.write_text(one_text(together.apart([(tree / name).read_text() for name in members]), unit))
    source = str(tree / members[0])
    is_clean = check(members[0], [str(unit) if word == source else word for word in check_command], folder, is_told=False)
    unit.unlink()
    return is_clean


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--deep", action="store_true")
    parser.add_argument("--times", action="store_true")
    parser.add_argument("sources", nargs="*")
    arguments = parser.parse_intermixed_args()
    tree = pathlib.Path(__file__).resolve().parent.parent
    build = arguments.build.resolve()
    stamps = build / "lint"
    stamps.mkdir(exist_ok=True)

    version = subprocess.run(["clang-tidy", "--version"], check=True, capture_output=True, text=True).stdout
    common = version + (tree / ".clang-tidy").read_text()
    objects = dependencies(build)
    made_of = {}  # by source, which is the first of the files
    for files in objects.values():
        if files:
            made_of[files[0]] = files
    digests = Digests(tree)
    due = {}
    known = commands(build, tree)
    unknown = [name for name in arguments.sources if name not in known]
    if unknown:
        parser.error(f"The build has no source '{unknown[0]}' that is to be checked.")
    for name, command in sorted(known.items()):
        if arguments.sources and name not in arguments.sources:
            continue
        check_command, folder = checker(build, tree, name, command, arguments.deep)
        key = key_of(check_command, command, made_of.get((tree / name).resolve()), digests, common)
        stamp = stamps / name.replace("/", "__")
        if arguments.all or key is None or not stamp.is_file() or stamp.read_text() != key:
            due[name] = (stamp, key, check_command, folder)

    told = set()

    def clean_of(members):
        """Those in which nothing is found."""
        if len(members) == 1:
            return members if check(members[0], *due[members[0]][2:]) else []
        if check_together(members, due, tree, stamps):
            return members
        half = len(members) // 2
        clean = clean_of(members[:half]) + clean_of(members[half:])
        if clean == members and not told & set(members):
            told.update(members)
            print(f"Clean in two halves, but not as one text: {' '.join(members)}", file=sys.stderr, flush=True)
        return clean

    times = []

    def run(members):
        start = time.monotonic()
        clean = clean_of(members)
        times.append(f"{time.monotonic() - start:6.1f} s  {members[0]} and {len(members) - 1} more")
        for name in clean:
            stamp, key, _, _ = due[name]
            if key is not None:
                stamp.write_text(key)
        return len(clean) == len(members)

    groups = groups_of(due, tree, made_of)[::-1]  # the longest first
    print(f"lint looks at {len(due)} sources, in {len(groups)} groups.", file=sys.stderr, flush=True)
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(run, groups))
    if arguments.times:
        print("\n".join(sorted(times, reverse=True)))
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
