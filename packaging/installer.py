"""The installer of one architecture: its description for wixl, and the package made of it.

What belongs to one architecture (files, classes, interfaces) are components of its own, so that both can be installed
beside each other. What both have in common in the registry is one component with one identifier in either package: the
system counts who uses it, and it goes with the last. It counts those only that have the component in the same place, so
the place must not depend on the architecture.
"""

from __future__ import annotations

import hashlib
import os
import re
import struct
import subprocess
import tempfile
import time
import uuid
import xml.etree.ElementTree as xml
from pathlib import Path, PurePosixPath

import registration
from contents import LIBRARY, PRODUCT, PUBLISHER, Item, resource_version
from registration import Part
from type_library import TypeLibrary

# Every identifier of the packages comes from this one; never change it, or upgrades no longer find older versions.
_NAMESPACE = uuid.UUID("6d0bd1b5-0d3c-4a30-9d32-5b1f2a6b7c41")

BITS = {"x64": "64-bit", "x86": "32-bit"}
_PROGRAMS_FOLDER = {"x64": "ProgramFiles64Folder", "x86": "ProgramFilesFolder"}
_FOLDER = "INSTALLFOLDER"
# The same one for every package of a machine, and always there.
_COMMON_FOLDER = "WindowsFolder"
_COMMON = "registration"
_64_BITS = 0x100  # attribute of a component

# Where the machine's registry notes what is installed.
_NOTES = f"Software\\{PUBLISHER}\\Defaults"

_NOTED_FOLDER = "NOTEDFOLDER"
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
        self.architecture = architecture
        self.version = version
        self._ids: set[str] = set()
        self._short_names: set[tuple[str, str]] = set()
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
        self._publisher = self._add(system, "Directory", Id="PUBLISHERFOLDER", Name=PUBLISHER)
        self._folders = {".": self._add(self._publisher, "Directory", Id=_FOLDER, Name="Defaults")}
        self._common = self._add(target, "Directory", Id=_COMMON_FOLDER)
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
            Description=f"{product_name(self.architecture)} {version}",
            Comments=f"Configuration options of Tovo shops, for {BITS[self.architecture]} programs",
        )
        add(product, "Media", Id="1", Cabinet="product.cab", EmbedCab="yes")
        # There are no dialogs in which a user could change what is installed.
        add(product, "Property", Id="ARPNOMODIFY", Value="1")
        # Silent installations would close the programs that use the library, in the middle of their work, or
        # restart the machine. What is in use is replaced at its next start instead.
        add(product, "Property", Id="MSIRESTARTMANAGERCONTROL", Value="DisableShutdown")
        add(product, "Property", Id="REBOOT", Value="ReallySuppress")
        upgrade = add(product, "Upgrade", Id=upgrade_code(self.architecture))
        older = add(upgrade, "UpgradeVersion", Property=_OLDER, Minimum="0.0.0", IncludeMinimum="yes")
        older.attrib.update(Maximum=version, IncludeMaximum="no")
        add(upgrade, "UpgradeVersion", Property=_NEWER, Minimum=version, IncludeMinimum="no", OnlyDetect="yes")
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
            name = self._file_name(path.parent.as_posix(), path.name)
            self._folders[key] = self._add(parent, "Directory", Id=self._unique("folder." + _id(key)), Name=name)
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

    def component(
        self, feature: str, name: str, folder: xml.Element, shared: bool = False, for_32_bits: bool = False
    ) -> xml.Element:
        """The identifier of a shared one is that of the other architecture's package."""
        made = self._add(
            folder,
            "Component",
            Id=self._unique("component." + name),
            Guid=identifier("component", "both" if shared else self.architecture, name),
            Win64="yes" if self.architecture == "x64" and not for_32_bits else "no",
        )
        self._add(self._features[feature], "ComponentRef", Id=made.attrib["Id"])
        return made

    def file(self, feature: str, item: Item) -> xml.Element:
        path = PurePosixPath(item.path)
        name = _id(item.path)
        made = self.component(feature, name, self._folder(path.parent))
        file_name = self._file_name(path.parent.as_posix(), path.name)
        self._add(made, "File", Id=name, Name=file_name, Source=item.path, KeyPath="yes")
        return made

    def register(self, feature: str, library_component: xml.Element) -> None:
        folder = self._folders["."]
        components = {
            Part.OWN: library_component,
            Part.COMMON: self.component(feature, _COMMON, self._common, shared=True),
            Part.INTERFACES_OF_32_BITS: self.component(feature, "interfaces", folder, shared=True, for_32_bits=True),
        }
        entries = registration.entries(self._library, self.architecture, f"[#{LIBRARY}]", f"[{_FOLDER}]")
        for number, entry in enumerate(entries, 1):
            component = components[entry.part]
            value = self._add(
                component,
                "RegistryValue",
                Id=f"registry.{number}",
                Root="HKLM",
                Key=f"Software\\Classes\\{entry.key}",
                Type="string",
                Value=entry.value,
            )
            if entry.name is not None:
                value.set("Name", entry.name)
            if component.find("*[@KeyPath]") is None:
                value.set("KeyPath", "yes")

    def _note(self, component: xml.Element, name: str) -> None:
        """A component without a file is there when its entry is."""
        self._add(
            component,
            "RegistryValue",
            Id=f"registry.{name}",
            Root="HKLM",
            Key=_NOTES,
            Name=name,
            Type="string",
            Value=f"[{_FOLDER}]",
            KeyPath="yes",
        )

    def location(self, feature: str) -> None:
        """Tells where the product is, for upgrades too. It stands in the publisher's folder, so that this goes with the product."""
        self._note(self.component(feature, "location", self._publisher), "InstallFolder")

    def search_path(self, feature: str) -> None:
        """The part on the search path itself is none that wixl knows: see _changes."""
        self._note(self.component(feature, "path", self._folders["."]), "SearchPath")

    def folders(self) -> list[str]:
        """The identifiers of all folders that are made."""
        return sorted(folder.attrib["Id"] for folder in self._folders.values()) + ["PUBLISHERFOLDER"]

    def _file_name(self, folder: str, name: str) -> str:
        """As the tables have it: for a long name, a short one of its own in front."""
        stem, dot, kind = name.upper().rpartition(".") if "." in name else (name.upper(), "", "")
        if re.fullmatch(r"[A-Z0-9_]{1,8}", stem) and len(kind) <= 3 and "." not in stem:
            return name
        for number in range(1, 100):
            start = re.sub(r"[^A-Z0-9_]", "", stem)[: 7 - len(str(number))]
            short = f"{start}~{number}{dot}{kind[:3]}"
            if (folder, short) not in self._short_names:
                self._short_names.add((folder, short))
                return f"{short}|{name}"
        raise ValueError(f"{name}: too many files with names like it in one folder")

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
    made.location("Library")
    made.search_path("SearchPath")
    for item in parts["documents"] + parts["samples"]:
        made.file("Documentation", item)
    return made


def _run(command: list[str], folder: Path) -> str:
    # Archives hold local times.
    environment = os.environ | {"TZ": "UTC", "LC_ALL": "C.UTF-8"}
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, env=environment, check=False)
    if done.returncode != 0 or done.stderr.strip():
        raise ValueError(f"{command[0]} failed:\n{done.stdout}{done.stderr}".rstrip())
    return done.stdout


# An upgrade goes where the older version is, unless its user says where, and a removal where the product is: the note of
# the folder is read, and taken over before the folders are settled.
_FIND_FOLDER = [
    ("AppSearch", 50, ""),
    ("TakeNotedFolder", 60, f"NOT {_FOLDER} AND {_NOTED_FOLDER}"),
]
# Shown in the list of installed programs: behind CostFinalize, which settles the folders.
_TELL_FOLDER = ("TellFolder", 1010, "")


def _folder_actions(architecture: str) -> list[str]:
    raw_value, in_64_bits, machine, set_property = 2, 16, 2, 51
    kind = raw_value + (in_64_bits if architecture == "x64" else 0)
    return [
        # Taken over by the part of the system that installs, whoever started it.
        f"UPDATE `Property` SET `Value` = '{_OLDER};{_NEWER};{_FOLDER};{_NOTED_FOLDER}' "
        "WHERE `Property` = 'SecureCustomProperties'",
        f"INSERT INTO `AppSearch` (`Property`, `Signature_`) VALUES ('{_NOTED_FOLDER}', 'noted.folder')",
        "INSERT INTO `RegLocator` (`Signature_`, `Root`, `Key`, `Name`, `Type`) "
        f"VALUES ('noted.folder', {machine}, '{_NOTES}', 'InstallFolder', {kind})",
        "INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) "
        f"VALUES ('TakeNotedFolder', {set_property}, '{_FOLDER}', '[{_NOTED_FOLDER}]')",
        "INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) "
        f"VALUES ('TellFolder', {set_property}, 'ARPINSTALLLOCATION', '[{_FOLDER}]')",
    ]


def _sequence(table: str, action: str, number: int, condition: str) -> str:
    return (
        f"INSERT INTO `{table}` (`Action`, `Condition`, `Sequence`) "
        f"VALUES ('{action}', '{condition}', {number})"
    )


def _changes(description: _Description, parts: dict[str, list[Item]]) -> list[str]:
    """What wixl cannot express, as statements."""
    code, version = upgrade_code(description.architecture), description.version
    bits = _64_BITS if description.architecture == "x64" else 0
    changes = [
        # An entry would be another place in either view of the registry: the folder is the place.
        f"UPDATE `Component` SET `KeyPath` = '' WHERE `Component` = 'component.{_COMMON}'",
        f"UPDATE `Component` SET `Attributes` = {bits} WHERE `Component` = 'component.{_COMMON}'",
        # The features of the older version are kept. An attribute is part of the row's key.
        f"DELETE FROM `Upgrade` WHERE `ActionProperty` = '{_OLDER}'",
        "INSERT INTO `Upgrade` (`UpgradeCode`, `VersionMin`, `VersionMax`, `Attributes`, `ActionProperty`) "
        f"VALUES ('{code}', '0.0.0', '{version}', 257, '{_OLDER}')",
        "UPDATE `Feature` SET `Attributes` = 8",  # cannot be advertised
        "UPDATE `Feature` SET `Attributes` = 24 WHERE `Feature` = 'Library'",  # nor left out
        "CREATE TABLE `Environment` (`Environment` CHAR(72) NOT NULL, `Name` CHAR(255) NOT NULL LOCALIZABLE, "
        "`Value` CHAR(255) LOCALIZABLE, `Component_` CHAR(72) NOT NULL PRIMARY KEY `Environment`)",
        # "=" sets it, "-" takes it back, "*" for all users; "[~]" is the value so far.
        "INSERT INTO `Environment` (`Environment`, `Name`, `Value`, `Component_`) "
        f"VALUES ('path', '=-*PATH', '[~];[{_FOLDER}]', 'component.path')",
    ]
    actions = [("RemoveEnvironmentStrings", 3300, ""), ("WriteEnvironmentStrings", 5200, "")]
    for action, number, condition in actions + _FIND_FOLDER + [_TELL_FOLDER]:
        changes.append(_sequence("InstallExecuteSequence", action, number, condition))
    changes += [_sequence("InstallUISequence", *action) for action in _FIND_FOLDER]
    changes += _folder_actions(description.architecture)
    for number, folder in enumerate(description.folders(), 1):
        # Folders go when they are empty, also those that hold folders only.
        changes.append(
            "INSERT INTO `RemoveFile` (`FileKey`, `Component_`, `DirProperty`, `InstallMode`) "
            f"VALUES ('remove.{number}', 'component.{LIBRARY}', '{folder}', 2)"
        )
    for item in parts["programs"]:
        # A file with a version is replaced by a higher one; without it, by its hash.
        changes += [
            f"UPDATE `File` SET `Version` = '{resource_version(item.data)}', `Language` = '1033' "
            f"WHERE `File` = '{_id(item.path)}'",
            f"DELETE FROM `MsiFileHash` WHERE `File_` = '{_id(item.path)}'",
        ]
    return changes


# The summary of a package is a set of properties: the identifier of their kind at byte 28, then where the section
# begins; in the section, size, count, and number and place of each property; each with its type in front.
_SUMMARY = uuid.UUID("f29f85e0-4ff9-1068-ab91-08002b27b3d9").bytes_le
_PACKAGE_CODE, _CREATED, _SAVED = 9, 12, 13
_TEXT, _TIME = 30, 64


def _settle_summary(package: Path, code: str, date: int) -> None:
    """Puts the package's identifier and date in place of those that wixl made up."""
    data = bytearray(package.read_bytes())
    found = data.find(_SUMMARY)
    if found < 0 or data.find(_SUMMARY, found + 1) >= 0:
        raise ValueError(f"{package}: there is not one summary in it")
    section = found - 28 + struct.unpack_from("<I", data, found + 16)[0]
    count = struct.unpack_from("<I", data, section + 4)[0]
    places = dict(struct.unpack_from("<II", data, section + 8 + 8 * index) for index in range(count))
    system_time = (date + 11644473600) * 10_000_000
    values = {
        _PACKAGE_CODE: (_TEXT, struct.pack("<I", len(code) + 1) + code.encode("ascii")),
        _CREATED: (_TIME, struct.pack("<Q", system_time)),
        _SAVED: (_TIME, struct.pack("<Q", system_time)),
    }
    for number, (kind, value) in values.items():
        at = section + places[number]
        if struct.unpack_from("<I", data, at)[0] != kind:
            raise ValueError(f"{package}: property {number} of the summary is of another type")
        data[at + 4 : at + 4 + len(value)] = value
    package.write_bytes(data)
    summary = _run(["msiinfo", "suminfo", str(package)], package.parent)
    saved = time.strftime("%a %b %d %H:%M:%S %Y", time.gmtime(date))
    if f": {code}\n" not in summary or summary.count(f": {saved}\n") != 2:
        raise ValueError(f"{package}: its summary could not be set:\n{summary}")


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
    text, changes = description.text(), _changes(description, parts)
    digest = hashlib.sha256(text)
    digest.update("\n".join(changes).encode())
    for items in parts.values():
        for item in items:
            digest.update(hashlib.sha256(item.data).digest())
    try:
        with tempfile.NamedTemporaryFile(suffix=".wxs") as file:
            file.write(text)
            file.flush()
            _run(["wixl", "--arch", architecture, "--output", str(package), file.name], stage)
        _run(["msibuild", str(package)] + [word for change in changes for word in ("-q", change)], stage)
        _settle_summary(package, identifier("package", digest.hexdigest(), str(date)), date)
    except BaseException:
        package.unlink(missing_ok=True)
        raise
