#!/usr/bin/env python3
"""Says which sources of a target can be compiled as one text, one behind the other.

    together.py SOURCE...

Most of the time of a compiler goes into the headers, which such a text reads once. Prints a line for each group,
its sources parted by "|". Sources that declare the same name for themselves stay apart, and so does a source
that is read once for each vector target.
"""

import pathlib
import re
import sys

# More would leave a processor idle at the end.
MOST = 8


def own_names(text):
    """{name that a source declares in its unnamed namespace, in that of a vector target, or for a program's entry: the
    line, of an alias or what comes from another namespace, or None}. Our format sets such names at the start of a line."""
    names = dict.fromkeys(re.findall(r'^(?:extern "C" )?int (main|LLVMFuzzerTestOneInput)\(', text, re.MULTILINE))
    for part in re.findall(r"^namespace (?:[\w:]+HWY_NAMESPACE )?\{$(.*?)^\}  // namespace", text, re.DOTALL | re.MULTILINE):
        for line in part.splitlines():
            if found := re.match(r"using (\w+) =.*;|using [\w:]+::(\w+);", line):
                names[found[1] or found[2]] = line
            elif found := re.match(r"(?:struct|class|enum class|enum) (\w+)", line):
                names[found[1]] = None
            elif found := re.match(r"(?!using)(?:\[\[.*?\]\] )?[\w:][^=;({]*?(?<!:)\b(\w+)(?:\[\w*\])?(?: =|[({;])", line):
                names |= dict.fromkeys([found[1], *re.findall(r", (\w+)(?: =|\{)", line)])
    return names


def meet(names, others, may_meet):
    """Whether a name would be declared twice. The same alias may be. With `may_meet` so may all but what comes from another
    namespace, which can't have another name."""
    def clash(line, other):
        is_taken_over = any(each and "=" not in each for each in (line, other))
        return (line is None or line != other) and (is_taken_over or not may_meet)

    return any(clash(names[name], others[name]) for name in names.keys() & others.keys())


def apart(texts):
    """The texts with another name for each that an earlier one declares for itself too. For a reader that is asked again, of
    fewer at a time, where that doesn't come out right."""
    seen = {}
    result = []
    for number, text in enumerate(texts):
        own = own_names(text)
        taken = {name for name in own if name in seen and (own[name] is None or own[name] != seen[name])}
        # An alias of such a name is another one too.
        while more := {name for name in own if name in seen and own[name] and name not in taken
                       and taken & set(re.findall(r"\w+", own[name]))}:
            taken |= more
        seen |= own
        if taken:
            home = re.search(r"^namespace ([\w:]+) \{$", text, re.MULTILINE)
            names = re.compile(r'(R"\((?:.|\n)*?\)"|"(?:[^"\\\n]|\\.)*")|(?<![\w.:>])((?:%s::)?(?:%s))\b'
                               % (home[1] if home else "(?!)", "|".join(sorted(taken))))
            text = names.sub(lambda found: found[1] or f"{found[2]}{number}", text)
        result.append(text)
    return result


def groups(sources, kind=lambda source: None, most=MOST, may_meet=False):
    """Lists of the sources, each of at most `most` of one `kind` that can be one text. Their order is kept. With `may_meet`
    names may be declared twice, and a kind has all sources or none that are read once for each vector target."""
    found = []  # [kind, names declared, sources]
    for source in sources:
        text = pathlib.Path(source).read_text()
        if "foreach_target" in text and not may_meet:
            found.append([source, {}, [source]])
            continue
        own = own_names(text)
        for other, names, members in found:
            if other == kind(source) and len(members) < most and not meet(own, names, may_meet):
                names |= own
                members.append(source)
                break
        else:
            found.append([kind(source), own, [source]])
    return [members for _, _, members in found]


if __name__ == "__main__":
    for members in groups(sys.argv[1:]):
        print("|".join(members))
