"""What the packages contain: the programs, the documentation and the samples, in the folders of the repository."""

from __future__ import annotations

import re
import struct
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

PRODUCT = "Tovo Defaults"
PUBLISHER = "Tovo"
LIBRARY = "tdefault.dll"
PROGRAM = "tovocfg.exe"

# Links between the pages stay valid, because every page keeps its place.
DOCUMENTS = ("README.md", "CHANGELOG.md", "docs/**/*.md", "docs/**/*.png", "hosts/*/README.md", "packaging/README.md")
SAMPLES = ("samples/**/*", "hosts/*/*.vbs")  # the self-check for Windows lies where its page says
# How the samples are made and tested is for those who build the product.
NOT_SAMPLES = re.compile(r"\.pyc?$|/CMakeLists\.txt$")
# Texts get the line ends of Windows; everything else is as it is.
TEXTS = {".md", ".txt", ".vbs", ".js", ".cpp", ".h"}


@dataclass(frozen=True)
class Item:
    path: str  # in the package, with slashes
    data: bytes


def windows_text(data: bytes) -> bytes:
    return re.sub(rb"\r?\n", b"\r\n", data)


def product_version() -> str:
    found = re.search(r"^project\(tdefault VERSION (\d+\.\d+\.\d+)[ )]", (ROOT / "CMakeLists.txt").read_text(), re.MULTILINE)
    if not found:
        raise ValueError("CMakeLists.txt: no line project(tdefault VERSION major.minor.revision")
    return found[1]


def file_version(version: str) -> str:
    """As the version resource of the library has it."""
    major, minor, revision = version.split(".")
    return f"{major}.{minor}.0.{revision}"


def resource_version(data: bytes) -> str | None:
    """The file version in a program's version resource; None when it has none."""
    at = data.find(struct.pack("<II", 0xFEEF04BD, 0x00010000))
    if at < 0:
        return None
    high, low = struct.unpack_from("<II", data, at + 8)
    return f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"


def programs(build: Path, version: str) -> list[Item]:
    """The library and the host program, refused when they are not of the project's version."""
    found = []
    for name in (LIBRARY, PROGRAM):
        path = build / name
        if not path.is_file():
            raise FileNotFoundError(f"{path} is not there; build the target product first")
        item = Item(name, path.read_bytes())
        built = resource_version(item.data)
        if built != file_version(version):
            raise ValueError(f"{path} is of version {built}, the project of {file_version(version)}; build it again")
        found.append(item)
    return found


def _files(patterns: tuple[str, ...], without: re.Pattern[str] | None = None) -> list[Item]:
    paths = {path for pattern in patterns for path in ROOT.glob(pattern) if path.is_file()}
    found = []
    for path in sorted(paths, key=lambda path: path.relative_to(ROOT).as_posix()):
        name = path.relative_to(ROOT).as_posix()
        if without is not None and without.search(name):
            continue
        data = path.read_bytes()
        found.append(Item(name, windows_text(data) if path.suffix in TEXTS else data))
    return found


def documents() -> list[Item]:
    return _files(DOCUMENTS)


def samples() -> list[Item]:
    return _files(SAMPLES, NOT_SAMPLES)
