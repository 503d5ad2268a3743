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
    """{name that a source declares in its unnamed namespace: the line, of an alias, or None}. Our format sets such names
    at the start of a line."""
    names = {}
    for part in re.findall(r"^namespace \{$(.*?)^\}  // namespace$", text, re.DOTALL | re.MULTILINE):
        for line in part.splitlines():
            if found := re.match(r"using (\w+) =.*;", line):
                names[found[1]] = line
            elif found := re.match(r"(?:struct|class|enum class) (\w+)", line):
                names[found[1]] = None
            elif found := re.match(r"(?!using)[\w:\[][^=;({]*?\b(\w+)(?:\[\w*\])?(?: =|[({;])", line):
                names[found[1]] = None
    return names


def meet(names, others):
    """Whether a name would be declared twice. The same alias may be."""
    return any(names[name] is None or names[name] != others[name] for name in names.keys() & others.keys())


def apart(texts):
    """The texts with another name for each that an earlier one declares for itself too, `main` among them. For a reader
    that is asked again, one by one, where that doesn't come out right."""
    seen = {}
    result = []
    for number, text in enumerate(texts):
        own = own_names(text)
        if re.search(r"^int main\(", text, re.MULTILINE):
            own["main"] = None
        taken = [name for name in own if name in seen and (own[name] is None or own[name] != seen[name])]
        seen |= own
        if taken:
            names = re.compile(r'(R"\((?:.|\n)*?\)"|"(?:[^"\\\n]|\\.)*")|(?<![\w.:>])(%s)\b' % "|".join(taken))
            text = names.sub(lambda found: found[1] or f"{found[2]}{number}", text)
        result.append(text)
    return result


def groups(sources, kind=lambda source: None, most=MOST, may_meet=False):
    """Lists of the sources, each of at most `most` of one `kind` that can be one text. Their order is kept. With `may_meet`
    names may be declared twice."""
    found = []  # [kind, names declared, sources]
    for source in sources:
        text = pathlib.Path(source).read_text()
        if "foreach_target" in text:
            found.append([source, {}, [source]])
            continue
        own = own_names(text)
        for other, names, members in found:
            if other == kind(source) and len(members) < most and (may_meet or not meet(own, names)):
                names |= own
                members.append(source)
                break
        else:
            found.append([kind(source), own, [source]])
    return [members for _, _, members in found]


if __name__ == "__main__":
    for members in groups(sys.argv[1:]):
        print("|".join(members))
