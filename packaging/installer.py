"""The installer of one architecture: its description for wixl, and the package made of it.

What belongs to one architecture (files, classes, interfaces) are components of its own, so that both can be installed
beside each other. What both have in common in the registry is one component with one identifier in either package: the
system counts who uses it, and it goes with the last.
"""

from __future__ import annotations

import hashlib
import os
import re
import subprocess
import tempfile
import uuid
import xml.etree.ElementTree as xml
from pathlib import Path, PurePosixPath

import registration
from contents import LIBRARY, PRODUCT, PUBLISHER, Item, resource_version
from type_library import TypeLibrary

# Every identifier of the packages comes from this one; never change it, or upgrades no longer find older versions.
_NAMESPACE = uuid.UUID("6d0bd1b5-0d3c-4a30-9d32-5b1f2a6b7c41")

BITS = {"x64": "64-bit", "x86": "32-bit"}
_PROGRAMS_FOLDER = {"x64": "ProgramFiles64Folder", "x86": "ProgramFilesFolder"}
_FOLDER = "INSTALLFOLDER"

_NEWER = "NEWERVERSIONINSTALLED"
_OLDER = "OLDERVERSIONINSTALLED"
_SUPPORTED = "VersionNT >= 601"


def identifier(*parts: str) -> str:
    """The same for the same parts, whenever and wherever it is asked for."""
    return "{" + str(uuid.uuid5(_NAMESPACE, "/".join(parts))).upper() + "}"


def upgrade_code(architecture: str) -> str:
    return identifier("upgrade", architecture)


def product_code(version: str, architecture: str) -> str:
    return identifier("product", version, architecture)


def product_name(architecture: str) -> str:
    return f"{PRODUCT} ({BITS[architecture]})"


def check_version(version: str) -> None:
    """Upgrades compare three numbers, of which the first two have eight bits."""
    if not re.fullmatch(r"\d+\.\d+\.\d+", version):
        raise ValueError(f"version {version}: major.minor.revision is needed")
    numbers = [int(number) for number in version.split(".")]
    if numbers[0] > 255 or numbers[1] > 255 or numbers[2] > 65535:
        raise ValueError(f"version {version}: an installer's version goes up to 255.255.65535")


def _id(path: str) -> str:
    """A table's identifier for a path."""
    return re.sub(r"[^A-Za-z0-9_.]", "_", path)


class _Description:
    """The text that wixl reads."""

    def __init__(self, library: TypeLibrary, architecture: str, version: str):
        self._library = library
        self._architecture = architecture
        self._ids: set[str] = set()
        self._root = xml.Element("Wix", xmlns="http://schemas.microsoft.com/wix/2006/wi")
        self._product = self._add(
            self._root,
            "Product",
            Id=product_code(version, architecture),
            Name=product_name(architecture),
            Language="1033",
            Codepage="1252",
            Version=version,
            Manufacturer=PUBLISHER,
            UpgradeCode=upgrade_code(architecture),
        )
        self._head(version)
        target = self._add(self._product, "Directory", Id="TARGETDIR", Name="SourceDir")
        system = self._add(target, "Directory", Id=_PROGRAMS_FOLDER[architecture])
        publisher = self._add(system, "Directory", Id="PUBLISHERFOLDER", Name=PUBLISHER)
        self._folders = {".": self._add(publisher, "Directory", Id=_FOLDER, Name="Defaults")}
        self._features: dict[str, xml.Element] = {}

    @staticmethod
    def _add(parent: xml.Element, tag: str, **attributes: str) -> xml.Element:
        return xml.SubElement(parent, tag, attributes)

    def _head(self, version: str) -> None:
        add, product = self._add, self._product
        add(
            product,
            "Package",
            InstallerVersion="200",
            Compressed="yes",
            InstallScope="perMachine",
            Description=f"{product_name(self._architecture)} {version}",
            Comments=f"Configuration options of Tovo shops, for {BITS[self._architecture]} programs",
        )
        add(product, "Media", Id="1", Cabinet="product.cab", EmbedCab="yes")
        # There are no dialogs in which a user could change what is installed.
        add(product, "Property", Id="ARPNOMODIFY", Value="1")
        older = add(product, "Upgrade", Id=upgrade_code(self._architecture))
        add(
            older,
            "UpgradeVersion",
            Property=_OLDER,
            Minimum="0.0.0",
            IncludeMinimum="yes",
            Maximum=version,
            IncludeMaximum="no",
            MigrateFeatures="yes",
        )
        add(older, "UpgradeVersion", Property=_NEWER, Minimum=version, IncludeMinimum="no", OnlyDetect="yes")
        newer = add(
            product,
            "Condition",
            Message="A newer version of [ProductName] is installed. Remove it first if you want version "
            "[ProductVersion] in its place; nothing was changed.",
        )
        newer.text = f"NOT {_NEWER}"
        system = add(product, "Condition", Message="[ProductName] needs Windows 7 or later; nothing was changed.")
        system.text = f"Installed OR {_SUPPORTED}"
        sequence = add(product, "InstallExecuteSequence")
        # Inside the transaction: when the newer version cannot be installed, the older one comes back.
        add(sequence, "RemoveExistingProducts", After="InstallInitialize")

    def _folder(self, path: PurePosixPath) -> xml.Element:
        key = path.as_posix()
        if key not in self._folders:
            parent = self._folder(path.parent)
            self._folders[key] = self._add(parent, "Directory", Id=self._unique("folder." + _id(key)), Name=path.name)
        return self._folders[key]

    def _unique(self, name: str) -> str:
        if name in self._ids or len(name) > 72:
            raise ValueError(f"{name}: two paths with one identifier, or a path too long for one")
        self._ids.add(name)
        return name

    def feature(self, name: str, title: str, description: str, required: bool = False) -> None:
        self._features[name] = self._add(
            self._product,
            "Feature",
            Id=name,
            Title=title,
            Description=description,
            Level="1",
            Absent="disallow" if required else "allow",
            AllowAdvertise="no",
        )

    def component(self, feature: str, name: str, folder: xml.Element, shared: bool = False) -> xml.Element:
        """The identifier of a shared one is that of the other architecture's package."""
        made = self._add(
            folder,
            "Component",
            Id=self._unique("component." + name),
            Guid=identifier("component", "both" if shared else self._architecture, name),
            # Both installers must reach it in the same way.
            Win64="yes" if self._architecture == "x64" and not shared else "no",
        )
        self._add(self._features[feature], "ComponentRef", Id=made.attrib["Id"])
        return made

    def file(self, feature: str, item: Item) -> xml.Element:
        path = PurePosixPath(item.path)
        name = _id(item.path)
        made = self.component(feature, name, self._folder(path.parent))
        file = self._add(
            made, "File", Id=name, Name=path.name, Source=item.path, KeyPath="yes"
        )
        version = resource_version(item.data)
        if version is not None and path.suffix in (".dll", ".exe"):
            file.set("DefaultVersion", version)
        return made

    def register(self, feature: str, library_component: xml.Element) -> None:
        shared = self.component(feature, "registration", self._folders["."], shared=True)
        entries = registration.entries(self._library, self._architecture, f"[#{LIBRARY}]", f"[{_FOLDER}]")
        for number, entry in enumerate(entries, 1):
            value = self._add(
                shared if entry.shared else library_component,
                "RegistryValue",
                Id=f"registry.{number}",
                Root="HKLM",
                Key=f"Software\\Classes\\{entry.key}",
                Type="string",
                Value=entry.value,
            )
            if entry.name is not None:
                value.set("Name", entry.name)
            if entry.shared and shared.find("RegistryValue[@KeyPath]") is None:
                value.set("KeyPath", "yes")

    def search_path(self, feature: str) -> None:
        made = self.component(feature, "path", self._folders["."])
        self._add(
            made,
            "Environment",
            Id="path",
            Name="PATH",
            Action="set",
            Part="last",
            System="yes",
            Permanent="no",
            Value=f"[{_FOLDER}]",
        )
        self._add(made, "CreateFolder")

    def folders(self) -> list[str]:
        """The identifiers of all folders that are made."""
        return sorted(folder.attrib["Id"] for folder in self._folders.values()) + ["PUBLISHERFOLDER"]

    def text(self) -> bytes:
        xml.indent(self._root)
        return xml.tostring(self._root, encoding="utf-8", xml_declaration=True)


def _describe(
    library: TypeLibrary, architecture: str, version: str, parts: dict[str, list[Item]]
) -> _Description:
    made = _Description(library, architecture, version)
    made.feature("Library", "Library and tovocfg", "The library, registered, and its command-line program.", True)
    made.feature("SearchPath", "Search path", "Lets tovocfg be started from any folder.")
    made.feature("Documentation", "Documentation and samples", "The manual, script hosts and a sample shop.")
    for item in parts["programs"]:
        component = made.file("Library", item)
        if item.path == LIBRARY:
            made.register("Library", component)
    made.search_path("SearchPath")
    for item in parts["documents"] + parts["samples"]:
        made.file("Documentation", item)
    return made


def _run(command: list[str], folder: Path) -> None:
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
    if done.returncode != 0 or done.stderr.strip():
        raise ValueError(f"{command[0]} failed:\n{done.stdout}{done.stderr}".rstrip())


def make(
    library: TypeLibrary,
    architecture: str,
    version: str,
    date: int,
    stage: Path,
    parts: dict[str, list[Item]],
    package: Path,
) -> None:
    """parts: the programs, the documents and the samples, which lie in the folder `stage` with their dates."""
    description = _describe(library, architecture, version, parts)
    text = description.text()
    with tempfile.NamedTemporaryFile(suffix=".wxs") as file:
        file.write(text)
        file.flush()
        _run(["wixl", "--arch", architecture, "--output", str(package), file.name], stage)
    changes = [
        # Folders go when they are empty, also those that hold folders only.
        f"INSERT INTO `RemoveFile` (`FileKey`, `Component_`, `FileName`, `DirProperty`, `InstallMode`) "
        f"VALUES ('remove.{number}', 'component.{LIBRARY}', '', '{folder}', 2)"
        for number, folder in enumerate(description.folders(), 1)
    ]
    for change in changes:
        _run(["msibuild", str(package), "-q", change], stage)
