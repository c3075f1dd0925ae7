"""The registry entries that make the library known to hosts, as an installer writes them.

They are those that DllRegisterServer writes (src/interface/registration.cpp); a test of the packages compares the
registry after both.
"""

from __future__ import annotations

from dataclasses import dataclass
from enum import Enum

from type_library import TypeLibrary

# The system's own marshallers: by type library for dual interfaces, plain dispatch for event interfaces.
DUAL_PROXY = "{00020424-0000-0000-C000-000000000046}"
DISPATCH_PROXY = "{00020420-0000-0000-C000-000000000046}"

THREADING_MODEL = "Apartment"
SYSTEM_KEYS = {"x64": "win64", "x86": "win32"}


class Part(Enum):
    """To whom an entry belongs: what the libraries of both bitnesses write goes with the later of the two."""

    OWN = "own"
    COMMON = "common"
    # The system lets 32-bit and 64-bit programs have interfaces of their own, and either library writes both.
    INTERFACES_OF_32_BITS = "interfaces of 32 bits"


@dataclass(frozen=True)
class Entry:
    key: str  # below the classes of the machine
    name: str | None  # None: the key's own value
    value: str
    part: Part = Part.OWN


def proxy_of(dual: bool) -> str:
    return DUAL_PROXY if dual else DISPATCH_PROXY


def entries(library: TypeLibrary, architecture: str, file: str, folder: str) -> list[Entry]:
    """The entries for the library `file` in `folder`, which ends with a backslash."""
    found: list[Entry] = []
    for published in library.classes:
        key = f"CLSID\\{published.id}"
        name = library.prog_id(published)
        found += [
            Entry(key, None, name),
            Entry(f"{key}\\InprocServer32", None, file),
            Entry(f"{key}\\InprocServer32", "ThreadingModel", THREADING_MODEL),
            Entry(f"{key}\\TypeLib", None, library.id),
            Entry(f"{key}\\Version", None, library.version),
        ]
        if published.creatable:
            found += [
                Entry(f"{key}\\ProgID", None, name),
                Entry(f"{key}\\Programmable", None, ""),
                Entry(name, None, name, Part.COMMON),
                Entry(f"{name}\\CLSID", None, published.id, Part.COMMON),
            ]
    version = f"TypeLib\\{library.id}\\{library.registry_version}"
    found += [
        Entry(version, None, library.description, Part.COMMON),
        Entry(f"{version}\\FLAGS", None, "0", Part.COMMON),
        Entry(f"{version}\\HELPDIR", None, folder, Part.COMMON),
    ]
    # Its own language, and the neutral one for systems in another language.
    for language in (f"{library.locale:x}", "0"):
        found.append(Entry(f"{version}\\{language}\\{SYSTEM_KEYS[architecture]}", None, file))
    if architecture == "x64":
        found += _interface_entries(library, Part.OWN)
    return found + _interface_entries(library, Part.INTERFACES_OF_32_BITS)


def _interface_entries(library: TypeLibrary, part: Part) -> list[Entry]:
    found: list[Entry] = []
    for interface in library.interfaces:
        key = f"Interface\\{interface.id}"
        found += [
            Entry(key, None, interface.name, part),
            Entry(f"{key}\\ProxyStubClsid", None, proxy_of(interface.dual), part),
            Entry(f"{key}\\ProxyStubClsid32", None, proxy_of(interface.dual), part),
            Entry(f"{key}\\TypeLib", None, library.id, part),
            Entry(f"{key}\\TypeLib", "Version", library.registry_version, part),
        ]
    return found
