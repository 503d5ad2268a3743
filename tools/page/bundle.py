"""Writes the page's modules as one, so that a browser loads them by one request: bundle.py MAIN OUT

Each module becomes a function's body that returns what it exports, those that it imports before it. It takes the
forms that the modules are written in: imports by name, a line each, and exports of functions, classes and constants.
"""
import re
import sys
from pathlib import Path

IMPORT = re.compile(r"^import \{ ([\w, ]+) \} from '\./(\w+)\.js';$", re.MULTILINE)
EXPORT = re.compile(r"^export ((?:async )?function|class|const) (\w+)", re.MULTILINE)
OTHER = re.compile(r"^(?:import|export)\b.*$", re.MULTILINE)


class Bundle:
    def __init__(self, folder):
        self.folder = folder
        self.begun = set()
        self.texts = {}

    def add(self, name):
        """Adds a module behind those that it imports, once."""
        if name in self.begun:
            return
        self.begun.add(name)
        text = (self.folder / f"{name}.js").read_text(encoding="utf-8")
        for _, other in IMPORT.findall(text):
            if other in self.begun and other not in self.texts:
                sys.exit(f"{name}.js and {other}.js import each other.")
            self.add(other)
        exported = [exported for _, exported in EXPORT.findall(text)]
        text = IMPORT.sub(r"const { \1 } = \2Module;", text)
        text = EXPORT.sub(r"\1 \2", text)
        if left := OTHER.search(text):
            sys.exit(f"{name}.js has a form that isn't known: {left.group()}")
        self.texts[name] = f"const {name}Module = (() => {{\n{text}\nreturn {{ {', '.join(exported)} }};\n}})();\n"


def main():
    source, out = map(Path, sys.argv[1:])
    bundle = Bundle(source.parent)
    bundle.add(source.stem)
    out.write_text("\n".join(bundle.texts.values()), encoding="utf-8")


main()
