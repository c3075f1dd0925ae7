#!/usr/bin/python3
"""Makes the packages of one architecture from programs that are built; scripts/package.sh builds them first.

    make_packages.py x64|x86 BUILD_FOLDER OUTPUT_FOLDER [--installer-version VERSION]

BUILD_FOLDER holds tdefault.dll and tovocfg.exe. Writes tdefault-VERSION-ARCHITECTURE.msi and .zip and prints their
names. With --installer-version, writes the installer alone, of another version than what is in it: what upgrades are
tested with.

The same sources give the same bytes. The date of every file in the packages is that of the environment variable
SOURCE_DATE_EPOCH, else that of the last commit.
"""

from __future__ import annotations

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path

sys.dont_write_bytecode = True

import contents
import installer
import manifests
import type_library
from contents import ROOT, Item

IDL = ROOT / "src" / "interface" / "tdefault.idl"
# The program of the example manifest; its readers put their own name in its place.
EXAMPLE = "host"
# Where a 64-bit Windows has its programs of either bitness.
SYSTEM_FOLDERS = {"x64": "C:\\Windows\\System32", "x86": "C:\\Windows\\SysWOW64"}


def source_date() -> int:
    """Seconds since 1970."""
    given = os.environ.get("SOURCE_DATE_EPOCH", "")
    if not given:
        asked = subprocess.run(
            ["git", "-C", str(ROOT), "log", "-1", "--format=%ct"], capture_output=True, text=True, check=False
        )
        given = asked.stdout.strip()
    if not given.isdigit():
        raise ValueError("the date of the sources is not known; set SOURCE_DATE_EPOCH to seconds since 1970")
    return int(given)


def write_stage(stage: Path, items: list[Item], date: int) -> None:
    """The files as they are packed, in a folder of their own."""
    for item in items:
        path = stage / item.path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(item.data)
        path.chmod(0o644)
        os.utime(path, (date, date))


def write_zip(target: Path, folder: str, items: list[Item], date: int) -> None:
    when = time.gmtime(date)[:6]
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for item in sorted(items, key=lambda item: item.path):
            entry = zipfile.ZipInfo(f"{folder}/{item.path}", when)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 0  # the same on every system
            archive.writestr(entry, item.data)


def registration_free(architecture: str, version: str) -> list[Item]:
    """What a program needs besides the library to use it without its registration."""
    library = type_library.read(IDL)
    assembly_version = contents.file_version(version)
    text = (ROOT / "packaging" / "registration-free.txt").read_text(encoding="utf-8")
    values = {
        "VERSION": version,
        "BITS": installer.BITS[architecture],
        "ASSEMBLY": library.name,
        "ASSEMBLY_VERSION": assembly_version,
        "PROCESSOR": manifests.PROCESSORS[architecture],
        "PROGRAM": EXAMPLE,
        "SCRIPT_HOST": SYSTEM_FOLDERS[architecture] + "\\cscript.exe",
        "REGISTER": SYSTEM_FOLDERS[architecture] + "\\regsvr32.exe",
    }
    for name, value in values.items():
        text = text.replace(f"@{name}@", value)
    files = {
        "README.txt": text,
        f"{library.name}.manifest": manifests.assembly(library, architecture, assembly_version, contents.LIBRARY),
        f"{EXAMPLE}.exe.manifest": manifests.application(library, architecture, assembly_version, EXAMPLE),
    }
    return [Item(name, contents.windows_text(text.encode("ascii"))) for name, text in files.items()]


def main() -> int:
    parser = argparse.ArgumentParser(description="Makes the packages of one architecture.")
    parser.add_argument("architecture", choices=sorted(installer.BITS))
    parser.add_argument("build", type=Path)
    parser.add_argument("output", type=Path)
    parser.add_argument("--installer-version")
    arguments = parser.parse_args()
    version = contents.product_version()
    installer_version = arguments.installer_version or version
    installer.check_version(installer_version)
    date = source_date()

    architecture, output = arguments.architecture, arguments.output.resolve()
    output.mkdir(parents=True, exist_ok=True)
    parts = {
        "programs": contents.programs(arguments.build, version),
        "documents": contents.documents(),
        "samples": contents.samples(),
    }
    name = f"tdefault-{installer_version}-{architecture}"
    stage = Path(tempfile.mkdtemp(prefix="stage-", dir=output))
    try:
        write_stage(stage, [item for items in parts.values() for item in items], date)
        library = type_library.read(IDL)
        package = output / f"{name}.msi"
        installer.make(library, architecture, installer_version, date, stage, parts, package)
        print(package)
    finally:
        shutil.rmtree(stage)
    if arguments.installer_version is None:
        documents = [item for item in parts["documents"] if item.path.startswith("docs/")]
        items = parts["programs"] + documents + parts["samples"] + registration_free(architecture, version)
        archive = output / f"{name}.zip"
        write_zip(archive, name, items, date)
        print(archive)
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (OSError, ValueError) as error:
        print(f"make_packages.py: {error}", file=sys.stderr)
        sys.exit(1)
