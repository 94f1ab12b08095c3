#!/usr/bin/env python3
"""Checks which folder includes which: fails on an include that the table does not allow, on one that climbs with "..",
and on files that need each other, a header and its source counting as one."""

import pathlib
import re
import sys

# What a folder may include besides itself and the public headers. The arrows point down, from a house's roof to its ground.
ALLOWED = {
    "include/zelapi": [],
    "src/api": ["src/connection", "src/runtime", "src/message"],
    "src/connection": [
        "src/runtime", "src/handlers", "src/handlers/sms", "src/handlers/pnd", "src/handlers/calendar",
        "src/handlers/base", "src/message",
    ],
    "src/runtime": ["src/message"],
    "src/handlers": [
        "src/handlers/sms", "src/handlers/pnd", "src/handlers/calendar", "src/handlers/base", "src/message",
    ],
    "src/handlers/sms": ["src/handlers/base", "src/message"],
    "src/handlers/pnd": ["src/handlers/base", "src/message"],
    "src/handlers/calendar": ["src/handlers/base", "src/message"],
    "src/handlers/base": ["src/message"],
    "src/message": [],
    "simulator": ["simulator/com", "simulator/phone", "simulator/scenario"],
    "simulator/com": ["simulator/phone", "simulator/scenario"],
    "simulator/phone": ["simulator/scenario"],
    "simulator/scenario": [],
    "tools": ["tools/commands", "tools/shell"],
    "tools/commands": ["tools/shell"],
    "tools/shell": [],
}
PUBLIC = "include/zelapi"
# These may include whatever they need; nobody else includes them.
OUTSIDE = ["bench", "examples", "tests"]

# Where the compiler looks for a name in quotes, after the folder of the file.
ROOTS = ["include", "src", "simulator", "tools", "tests", "tests/host/include"]
GENERATED = {"vorlan_service.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<(zelapi/[^>]+)>)')


def is_outside(folder):
    return folder.split("/")[0] in OUTSIDE


def folder_of(path):
    return path.parent.as_posix()


def is_allowed(source, target):
    if is_outside(source) or target in (source, PUBLIC):
        return True
    return not is_outside(target) and target in ALLOWED.get(source, [])


def resolve(root, path, name):
    for folder in [path.parent, *map(pathlib.Path, ROOTS)]:
        if (root / folder / name).is_file():
            return folder / name
    return None


def includes_of(root, path):
    """Line number and name of every include of a project file."""
    for number, line in enumerate((root / path).read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            yield number, match.group(1) or match.group(2)


def unit_of(path):
    """A header and its source are one."""
    return path.with_suffix("").as_posix()


def find_cycle(graph):
    """A cycle of units as a list, or None. `graph` names for each unit those that it needs."""
    done, trail = set(), []

    def visit(unit):
        if unit in trail:
            return trail[trail.index(unit):] + [unit]
        if unit in done:
            return None
        trail.append(unit)
        for needed in sorted(graph.get(unit, ())):
            cycle = visit(needed)
            if cycle:
                return cycle
        trail.pop()
        done.add(unit)
        return None

    return next(filter(None, map(visit, sorted(graph))), None)


def check(root):
    faults, graph, count = [], {}, 0
    tops = {name.split("/")[0] for name in ALLOWED} | set(OUTSIDE)
    paths = [file.relative_to(root) for top in sorted(tops) for file in sorted((root / top).rglob("*"))
             if file.suffix in (".c", ".cpp", ".h")]
    for path in paths:
        source = folder_of(path)
        if not is_outside(source) and source not in ALLOWED:
            faults.append(f"{path}: the folder is not in the table")
        for number, name in includes_of(root, path):
            count += 1
            target = resolve(root, path, name)
            if ".." in pathlib.PurePath(name).parts:
                faults.append(f"{path}:{number}: {name} climbs")
            elif target is None:
                if name not in GENERATED:
                    faults.append(f"{path}:{number}: {name} is not found")
            elif not is_allowed(source, folder_of(target)):
                faults.append(f"{path}:{number}: {source} may not include {target}")
            elif unit_of(target) != unit_of(path):
                graph.setdefault(unit_of(path), set()).add(unit_of(target))
    cycle = find_cycle(graph)
    if cycle:
        faults.append("these files need each other: " + " -> ".join(cycle))
    return faults, len(paths), count


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent).resolve()
    faults, files, includes = check(root)
    for fault in faults:
        print(fault, file=sys.stderr)
    if faults:
        return 1
    print(f"{includes} includes in {files} files, all arrows point down")
    return 0


if __name__ == "__main__":
    sys.exit(main())
