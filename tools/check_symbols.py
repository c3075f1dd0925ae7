"""Fails when an object of the portable layers calls the system directly: check_symbols.py BUILD_FOLDER.

Looks at the undefined symbols of the layers' static libraries, so that a call hidden behind a macro
or an inline function is found as well.
"""

from __future__ import annotations

import re
import subprocess
import sys
from pathlib import Path

LAYERS = ["base", "sql", "foxpro", "tables", "support", "records", "reports", "search", "catalogue"]
BANNED = re.compile(
    r"^(f?open(64)?|creat|fopen64|fread|fwrite|read|write|unlink|remove|rename|mkdir|opendir|stat(64)?|"
    r"getenv|secure_getenv|time|clock_gettime|gettimeofday|localtime(_r)?|rand|srand|random|getrandom|"
    r"setlocale|newlocale|system|popen|exec[lv]p?e?|fork|usleep|nanosleep|socket|"
    r"_ZNSt13basic_(f|if|of)stream.*|_ZNSt10filesystem.*|_ZNSt13random_device.*|_ZNSt6chrono.*3nowEv)$"
)


def main() -> int:
    build = Path(sys.argv[1])
    found = []
    seen = 0
    for layer in LAYERS:
        for library in build.rglob(f"libtdefault_{layer}.a"):
            seen += 1
            listing = subprocess.run(
                ["nm", "--undefined-only", "-A", str(library)], check=True, capture_output=True, text=True
            ).stdout
            for line in listing.splitlines():
                name = line.split()[-1].split("@")[0]
                if BANNED.match(name):
                    found.append(line)
    if seen == 0:
        found.append(f"no library of the project under {build}")
    print("\n".join(found) if found else f"symbols: {seen} libraries reach the system through ports only")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
