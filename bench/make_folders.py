"""Makes a tree of folders with files to search: make_folders.py FOLDER COUNT.

COUNT folders, up to ten in each, with 20 files each. What stands under the name FOLDER goes first.
"""

from __future__ import annotations

import shutil
import sys
from pathlib import Path

SUBFOLDERS, FILES = 10, 20


def main() -> None:
    root, count = Path(sys.argv[1]), int(sys.argv[2])
    shutil.rmtree(root, ignore_errors=True)
    folders: list[Path] = []
    for number in range(count):
        folder = folders[(number - 1) // SUBFOLDERS] / f"folder {number}" if number else root
        folder.mkdir(parents=not number)
        folders.append(folder)
        for file in range(FILES):
            (folder / f"file {file}.dbf").touch()


if __name__ == "__main__":
    main()
