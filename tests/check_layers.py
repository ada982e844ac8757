#!/usr/bin/env python3
"""Fails on any include that runs up or sideways between the folders.

Usage: check_layers.py ROOT FOLDER=USES[,USES...][:qt] ...

Each argument names a folder, the folders its library links (the arrows its
CMakeLists.txt states; the check follows them down transitively) and whether
the library itself links Qt. A quoted include "X/..." in FOLDER is allowed when
X is FOLDER or lies below it; an include of a Qt header <Q...> only where the
folder's own library links Qt."""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)


def parse(args):
    uses, qt = {}, {}
    for arg in args:
        folder, _, rest = arg.partition("=")
        rest, _, flag = rest.partition(":")
        uses[folder] = {u for u in rest.split(",") if u}
        qt[folder] = flag == "qt"
    return uses, qt


def below(folder, uses):
    seen, todo = set(), [folder]
    while todo:
        for u in uses.get(todo.pop(), ()):
            if u not in seen:
                seen.add(u)
                todo.append(u)
    return seen


def main():
    root, uses, qt = sys.argv[1], *parse(sys.argv[2:])
    faults = []
    for folder in uses:
        allowed = below(folder, uses) | {folder}
        for dirpath, _, files in os.walk(os.path.join(root, folder)):
            for name in sorted(files):
                if not name.endswith((".h", ".cpp")):
                    continue
                path = os.path.join(dirpath, name)
                with open(path, encoding="utf-8") as f:
                    text = f.read()
                for kind, target in INCLUDE.findall(text):
                    shown = os.path.relpath(path, root)
                    if kind == '"':
                        top = target.split("/")[0]
                        if top in uses and top not in allowed:
                            faults.append(f"{shown}: includes {target}, but {folder}/ may not use {top}/")
                    elif re.match(r"Q[A-Za-z]", target) and not qt[folder]:
                        faults.append(f"{shown}: includes <{target}>, but {folder}/ does not link Qt")
    for fault in faults:
        print(fault)
    checked = ", ".join(f"{f} -> {' '.join(sorted(below(f, uses))) or '-'}" for f in uses)
    print(f"{len(faults)} wrong includes; layers: {checked}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
