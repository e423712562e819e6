#!/usr/bin/env python3
"""Fails on an include that climbs: a room includes only from floors below it, or from itself.

usage: check_includes.py TOP [--self-test]
"""
import re
import sys
from pathlib import Path

# Room: the rooms that it may include, beside itself. The order is that of the floors.
ALLOWED = {
    "src/automation": [],
    "src/platform": ["src/automation"],
    "src/foundation": ["src/platform", "src/automation"],
    "src/framework": ["src/foundation", "src/platform", "src/automation"],
    "src/fileio": ["src/foundation", "src/platform", "src/automation"],
    "src/bridges": ["src/foundation", "src/platform", "src/automation"],
}
BELOW_VIEWER = ["src/bridges", "src/fileio", "src/framework", "src/foundation", "src/platform", "src/automation"]
VIEWER = ["src/app", "src/media", "src/log", "src/search"]
for room in VIEWER:
    ALLOWED[room] = [other for other in VIEWER if other != room] + BELOW_VIEWER
ALLOWED["src/desktop"] = VIEWER + BELOW_VIEWER
ALLOWED["src/console"] = VIEWER + BELOW_VIEWER + ["authoring", "formats"]
# The formats share the contract's member tables, and readers stand on automation alone.
CONTRACT = ["src/bridges/media_interface.h", "src/bridges/log_interface.h", "src/automation"]
ALLOWED["formats"] = CONTRACT
ALLOWED["authoring"] = CONTRACT + ["formats"]
ALLOWED["readers/storage"] = ["formats", "src/automation"]
for reader in ["mediaforge", "logkit"]:
    ALLOWED[f"readers/{reader}"] = CONTRACT + ["formats", "readers/storage"]
ALLOWED["readers/fixture"] = CONTRACT

INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([^"]+)"|<([^>]+)>)')
QT_ROOM = "src/desktop"


def room_of(path):
    """The room that a path below the top belongs to, or None."""
    for room in ALLOWED:
        if path.startswith(room + "/"):
            return room
    return None


def faults_of(path, text, exists):
    """Lines that say what is wrong with the includes of one file."""
    room = room_of(path)
    for number, line in enumerate(text.splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        quoted, angled = match.groups()
        if angled is not None:
            if re.match(r"Q[A-Z]", angled) and room != QT_ROOM:
                yield f"{path}:{number}: only {QT_ROOM} knows Qt: <{angled}>"
            continue
        target = next((t for t in (quoted, "src/" + quoted) if exists(t)), None)
        if target is None:
            yield f'{path}:{number}: "{quoted}" is not written from the top or from src/'
            continue
        target_room = room_of(target)
        if target_room == room or target_room in ALLOWED[room] or target in ALLOWED[room]:
            continue
        yield f'{path}:{number}: {room} may not include "{quoted}" of {target_room or "no room"}'


def check(top):
    files = [p for folder in ("src", "readers", "authoring", "formats") for p in sorted((top / folder).rglob("*"))
             if p.suffix in (".h", ".cpp")]
    faults = []
    for file in files:
        path = file.relative_to(top).as_posix()
        if room_of(path) is None:
            faults.append(f"{path}: stands in no room")
            continue
        faults += faults_of(path, file.read_text(encoding="utf-8"), lambda t: (top / t).is_file())
    return len(files), faults


def self_test():
    """The check itself must fail on what it is for."""
    exists = {"src/app/main_frame.h", "src/framework/tree_control.h", "src/foundation/string.h",
              "src/bridges/library_cache.h"}.__contains__
    climbing = list(faults_of("src/framework/x.cpp", '#include "app/main_frame.h"\n', exists))
    window = list(faults_of("src/app/x.cpp", "#include <QWidget>\n", exists))
    reader = list(faults_of("readers/mediaforge/x.cpp", '#include "bridges/library_cache.h"\n', exists))
    unknown = list(faults_of("src/app/x.cpp", '#include "main_frame.h"\n', exists))
    good = list(faults_of("src/app/x.cpp", '#include "framework/tree_control.h"\n#include <vector>\n', exists))
    return len(climbing) == len(window) == len(reader) == len(unknown) == 1 and not good


def main():
    if not self_test():
        print("the include check does not see climbing includes")
        return 1
    count, faults = check(Path(sys.argv[1]))
    for fault in faults:
        print(fault)
    print(f"{count} files, {len(faults)} faults")
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
