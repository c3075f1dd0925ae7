"""What the type library publishes, read from its IDL: the names, identifiers and kinds that hosts find it by.

Understands the form that src/interface/tdefault.idl is written in: a block of attributes in brackets in front of each
library, interface, dispinterface and coclass.
"""

from __future__ import annotations

import re
from dataclasses import dataclass
from pathlib import Path

# Attributes may hold texts, and texts brackets.
_ATTRIBUTES = r'\[((?:"(?:[^"\\]|\\.)*"|[^\]"])*)\]'
_COMMENT = re.compile(r'("(?:[^"\\]|\\.)*")|//[^\n]*|/\*.*?\*/', re.DOTALL)


@dataclass(frozen=True)
class Interface:
    name: str
    id: str  # with braces, in capitals
    dual: bool  # False: a dispatch interface, for events


@dataclass(frozen=True)
class Class:
    name: str
    id: str
    creatable: bool
    description: str


@dataclass(frozen=True)
class TypeLibrary:
    name: str
    id: str
    locale: int
    major: int
    minor: int
    description: str
    classes: list[Class]
    interfaces: list[Interface]

    @property
    def version(self) -> str:
        return f"{self.major}.{self.minor}"

    @property
    def registry_version(self) -> str:
        """The system writes a library's version in hexadecimal digits."""
        return f"{self.major:x}.{self.minor:x}"

    def prog_id(self, published: Class) -> str:
        return f"{self.name}.{published.name}"


def _find(pattern: str, attributes: str, what: str) -> re.Match[str]:
    found = re.search(pattern, attributes)
    if not found:
        raise ValueError(f"{what}: no attribute {pattern.split('(')[0]} in its block")
    return found


def _id(attributes: str, what: str) -> str:
    return "{" + _find(r"uuid\(\s*([0-9A-Fa-f-]{36})\s*\)", attributes, what)[1].upper() + "}"


def _description(attributes: str, what: str) -> str:
    text = _find(r'helpstring\("((?:[^"\\]|\\.)*)"\)', attributes, what)[1]
    return re.sub(r"\\(.)", r"\1", text)


def _words(attributes: str) -> set[str]:
    """The attributes, without the texts in them."""
    return set(re.findall(r"\w+", re.sub(r'"(?:[^"\\]|\\.)*"', '""', attributes)))


def read(path: Path) -> TypeLibrary:
    text = _COMMENT.sub(lambda found: found[1] or " ", path.read_text(encoding="utf-8"))
    library: dict[str, object] = {}
    classes: list[Class] = []
    interfaces: list[Interface] = []
    blocks = re.finditer(_ATTRIBUTES + r"\s*(library|interface|dispinterface|coclass)\s+(\w+)\s*[{:]", text)
    for attributes, kind, name in (block.groups() for block in blocks):
        if kind == "library":
            version = _find(r"version\((\d+)\.(\d+)\)", attributes, name)
            library = {
                "name": name,
                "id": _id(attributes, name),
                "locale": int(_find(r"lcid\((\w+)\)", attributes, name)[1], 0),
                "major": int(version[1]),
                "minor": int(version[2]),
                "description": _description(attributes, name),
            }
        elif kind == "coclass":
            creatable = "noncreatable" not in _words(attributes)
            classes.append(Class(name, _id(attributes, name), creatable, _description(attributes, name)))
        else:
            dual = kind == "interface"
            if dual and "dual" not in _words(attributes):
                raise ValueError(f"{path}: interface {name} is not dual, which registration does not know")
            interfaces.append(Interface(name, _id(attributes, name), dual))
    if not library or not classes or not interfaces:
        raise ValueError(f"{path}: no library with classes and interfaces in it")
    return TypeLibrary(classes=classes, interfaces=interfaces, **library)  # type: ignore[arg-type]
