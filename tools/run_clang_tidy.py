"""Runs clang-tidy over the product's sources of a build tree: run_clang_tidy.py BUILD_FOLDER.

A native tree has the portable sources; of a cross build only those are checked that see windows.h.
One process per core. Sources that the tree builds together are looked at together. What was clean with
the same text of the sources, of every header of the project and of the settings is not looked at
again. Findings are errors.
"""

from __future__ import annotations

import concurrent.futures
import hashlib
import json
import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# The compile commands are g++'s, with warning options of its own.
WARNINGS = ("--extra-arg=-Wno-unknown-warning-option", "--extra-arg=-Wreserved-identifier")
# The sources that a generated file includes; no other file includes sources, which tidy.py checks.
SOURCES_OF_UNITY = re.compile(r'^#include "(.*\.cpp)"', re.MULTILINE)
UNITY_CHECKS = "--checks=-bugprone-suspicious-include"
WINDOWS_FOLDERS = ("src/automation", "src/interface", "src/platform/win32", "src/search/window",
                   "src/tables/ado", "hosts")


def cross_arguments(compiler: str) -> list[str]:
    """What clang needs to read sources with the headers of the mingw compiler."""
    name = Path(compiler).name
    if "-w64-mingw32-" not in name:
        return []
    triplet = name[: name.index("-w64-mingw32-")] + "-w64-mingw32"
    library = subprocess.run(
        [compiler, "-print-libgcc-file-name"], check=True, capture_output=True, text=True
    ).stdout.strip()
    headers = Path(library).parent / "include" / "c++"
    arguments = [f"--target={triplet}", "-nostdinc++"]
    for folder in (headers, headers / triplet, headers / "backward", Path("/usr") / triplet / "include"):
        arguments += ["-isystem", str(folder)]
    return [f"--extra-arg={argument}" for argument in arguments]


def digest_of_headers() -> bytes:
    digest = hashlib.sha256((ROOT / ".clang-tidy").read_bytes())
    for header in sorted((ROOT / "src").rglob("*.h")) + sorted((ROOT / "hosts").rglob("*.h")):
        digest.update(header.read_bytes())
    return digest.digest()


def sources_of(file: str) -> list[str]:
    return [file] if Path(file).suffix == ".cpp" else SOURCES_OF_UNITY.findall(Path(file).read_text())


def main() -> int:
    build = Path(sys.argv[1])
    stamps = build / "clang-tidy"
    stamps.mkdir(exist_ok=True)
    headers = digest_of_headers()
    commands = json.loads((build / "compile_commands.json").read_text())
    # The precompiled header and what steers its memory are g++'s own; clang reads the headers that each
    # file includes.
    for entry in commands:
        entry["command"] = re.sub(r" -Winvalid-pch| -include \S+cmake_pch\.hxx| --param=\S+", "", entry["command"])
    (stamps / "compile_commands.json").write_text(json.dumps(commands))
    compiler = next(word for word in commands[0]["command"].split() if word.endswith(("++", "++-posix")))
    extra = cross_arguments(compiler)
    folders = tuple(str(ROOT / folder) for folder in (WINDOWS_FOLDERS if extra else ("src", "hosts")))
    # What both trees build is looked at in the native one.
    files = {
        entry["file"]: sources_of(entry["file"])
        for entry in commands
        if not (extra and "/tovocfg_core.dir/" in entry["command"])
    }
    files = {file: sources for file, sources in files.items() if sources and sources[0].startswith(folders)}

    def check(file: str) -> str:
        stamp = stamps / (hashlib.sha256(file.encode()).hexdigest() + ".clean")
        texts = b"".join(Path(source).read_bytes() for source in [file, *files[file]])
        wanted = hashlib.sha256(headers + texts).hexdigest()
        if stamp.exists() and stamp.read_text() == wanted:
            return ""
        run = subprocess.run(
            ["clang-tidy", "-p", str(stamps), "--quiet", UNITY_CHECKS, *WARNINGS, *extra, file],
            capture_output=True,
            text=True,
        )
        if run.returncode == 0:
            stamp.write_text(wanted)
            return ""
        return run.stdout + run.stderr

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        findings = [text for text in pool.map(check, sorted(files)) if text]
    print("\n".join(findings) if findings else f"clang-tidy: {sum(map(len, files.values()))} files clean")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
