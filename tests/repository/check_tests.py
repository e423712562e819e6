#!/usr/bin/env python3
"""Fails where a source file of a room has no test of its own: tests mirror src/.

usage: check_tests.py TOP
"""
import sys
from pathlib import Path

# Where the tests of a folder stand, and the prefix of their names there. The reader of real media is
# tested by subject through its one export, as callers see it.
PLACES = {
    "src": ("tests", ""),
    "authoring": ("tests/authoring", ""),
    "formats": ("tests/formats", ""),
    "readers/fixture": ("tests/readers", "fixture_"),
}
# Sources whose behaviour is that of another: its test is theirs.
TESTED_BY = {}
exec((Path(__file__).parent / "tested_by.py").read_text(encoding="utf-8"))


def main():
    top = Path(sys.argv[1])
    faults = []
    count = 0
    for folder, (tests, prefix) in PLACES.items():
        for source in sorted((top / folder).rglob("*.cpp")):
            path = source.relative_to(top).as_posix()
            count += 1
            below = source.relative_to(top / folder)
            expected = TESTED_BY.get(path) or (Path(tests) / below.parent / f"{prefix}{below.stem}_test.cpp").as_posix()
            if not (top / expected).is_file():
                faults.append(f"{path}: there is no {expected}")
    for path in TESTED_BY:
        if not (top / path).is_file():
            faults.append(f"tested_by.py names {path}, which is not there")
    for fault in faults:
        print(fault)
    print(f"{count} sources, {len(faults)} faults")
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
