"""Fails, naming the places, when a header of the core uses a name that windows.h has a macro for:
check_windows_names.py COMPILER. The macro would rename it in the files that include both.

A header that takes the macro away (#undef) has dealt with it.
"""

from __future__ import annotations

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SYSTEM_HEADERS = ("windows.h", "objbase.h", "oleauto.h", "commctrl.h", "secext.h")
SYSTEM_FOLDERS = ("automation/", "platform/win32/", "search/window/", "tables/ado/", "interface/")
# Text that is no name of ours: comments, directives, literals.
NOISE = re.compile(r'//[^\n]*|/\*.*?\*/|^[ \t]*#[^\n]*|"(?:\\.|[^"\\])*"', re.DOTALL | re.MULTILINE)


def macros(compiler: str) -> set[str]:
    """The macros of the system's headers that the language alone does not have."""

    def defined(text: str) -> set[str]:
        run = subprocess.run(
            [compiler, "-DUNICODE", "-D_UNICODE", "-DNOMINMAX", "-DSECURITY_WIN32", "-dM", "-E", "-x", "c++", "-"],
            input=text, check=True, capture_output=True, text=True,
        )
        return set(re.findall(r"^#define (\w+)", run.stdout, re.MULTILINE))

    return defined("".join(f"#include <{header}>\n" for header in SYSTEM_HEADERS)) - defined("")


def main() -> int:
    names = macros(sys.argv[1])
    breaches = []
    source = ROOT / "src"
    for header in sorted(source.rglob("*.h")):
        place = header.relative_to(source).as_posix()
        if place.startswith(SYSTEM_FOLDERS):
            continue
        text = header.read_text(encoding="utf-8")
        removed = set(re.findall(r"^#undef (\w+)", text, re.MULTILINE))
        used = set(re.findall(r"[A-Za-z_]\w*", NOISE.sub(" ", text)))
        breaches += [f"src/{place}: {name} is a macro of windows.h" for name in sorted(used & names - removed)]
    print("\n".join(breaches) if breaches else f"{len(names)} macros, no name of the core among them")
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main())
