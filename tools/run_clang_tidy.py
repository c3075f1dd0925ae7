"""Runs clang-tidy over the product's sources of a build tree: run_clang_tidy.py BUILD_FOLDER.

One process per core. A file whose last clean run saw the same text of the file, of every header of
the project and of the settings is not looked at again. Findings are errors.
"""

from __future__ import annotations

import concurrent.futures
import hashlib
import json
import os
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


def digest_of_headers() -> bytes:
    digest = hashlib.sha256((ROOT / ".clang-tidy").read_bytes())
    for header in sorted((ROOT / "src").rglob("*.h")) + sorted((ROOT / "hosts").rglob("*.h")):
        digest.update(header.read_bytes())
    return digest.digest()


def main() -> int:
    build = Path(sys.argv[1])
    stamps = build / "clang-tidy"
    stamps.mkdir(exist_ok=True)
    headers = digest_of_headers()
    commands = json.loads((build / "compile_commands.json").read_text())
    folders = (str(ROOT / "src"), str(ROOT / "hosts"))
    sources = sorted({entry["file"] for entry in commands if entry["file"].startswith(folders)})

    def check(source: str) -> str:
        stamp = stamps / (hashlib.sha256(source.encode()).hexdigest() + ".clean")
        wanted = hashlib.sha256(headers + Path(source).read_bytes()).hexdigest()
        if stamp.exists() and stamp.read_text() == wanted:
            return ""
        run = subprocess.run(
            ["clang-tidy", "-p", str(build), "--quiet", source], capture_output=True, text=True
        )
        if run.returncode == 0:
            stamp.write_text(wanted)
            return ""
        return run.stdout + run.stderr

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        findings = [text for text in pool.map(check, sources) if text]
    print("\n".join(findings) if findings else f"clang-tidy: {len(sources)} files clean")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
