#!/usr/bin/env python3
"""Fails on an #include that climbs: every folder of src/ may include from itself and from the floors that
cmake/floors.cmake lists behind its name. docs/architecture.md shows the same list, and that is checked as well."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def floors():
    text = (ROOT / "cmake/floors.cmake").read_text()
    return {name: set(below.split()) for name, below in re.findall(r'"([a-z]+):([a-z ]*)"', text)}


def main():
    allowed = floors()
    faults = []
    for folder in sorted((ROOT / "src").iterdir()):
        if folder.is_dir() and folder.name not in allowed:
            faults.append(f"src/{folder.name}: is no floor of cmake/floors.cmake")
    for path in sorted((ROOT / "src").rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        floor = path.relative_to(ROOT / "src").parts[0]
        for number, line in enumerate(path.read_text().splitlines(), 1):
            found = re.match(r'\s*#\s*include\s+"([^"/]+)/', line)
            if found and found[1] != floor and found[1] not in allowed.get(floor, set()):
                faults.append(f"{path.relative_to(ROOT)}:{number}: {floor} must not include {found[1]}")
            if re.match(r'\s*#\s*include\s+"[^/"]+"', line):
                faults.append(f'{path.relative_to(ROOT)}:{number}: include as "folder/name.h"')
    document = (ROOT / "docs/architecture.md").read_text()
    for name, below in allowed.items():
        listed = re.search(rf"^\| `{name}/` \|.*\| ([a-z, ]*|nothing) \|$", document, re.M)
        shown = set() if not listed or listed[1] == "nothing" else set(listed[1].split(", "))
        if not listed or shown != below:
            faults.append(f"docs/architecture.md: the row of `{name}/` does not list {sorted(below) or 'nothing'}")
    print("\n".join(faults) if faults else f"includes: {len(allowed)} floors, every arrow runs downwards")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
