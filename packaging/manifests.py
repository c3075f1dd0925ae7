"""The manifests through which programs use the library without its registration."""

from __future__ import annotations

from xml.sax.saxutils import quoteattr

from registration import THREADING_MODEL, proxy_of
from type_library import TypeLibrary

PROCESSORS = {"x64": "amd64", "x86": "x86"}
DISPATCH = "{00020400-0000-0000-C000-000000000046}"

_START = """<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
"""


def _identity(name: str, version: str, architecture: str) -> str:
    return (
        f'<assemblyIdentity type="win32" name="{name}" version="{version}" '
        f'processorArchitecture="{PROCESSORS[architecture]}"/>'
    )


def assembly(library: TypeLibrary, architecture: str, version: str, file: str) -> str:
    """Of the library: what it would be registered with. Lies beside it as NAME.manifest."""
    lines = [f"  {_identity(library.name, version, architecture)}", f'  <file name="{file}">']
    for published in library.classes:
        lines.append(f'    <comClass clsid="{published.id}" threadingModel="{THREADING_MODEL}"')
        name = f' progid="{library.prog_id(published)}"' if published.creatable else ""
        lines.append(f'              tlbid="{library.id}"{name}')
        lines.append(f"              description={quoteattr(published.description)}/>")
    lines.append(f'    <typelib tlbid="{library.id}" version="{library.version}" helpdir=""/>')
    lines.append("  </file>")
    for interface in library.interfaces:
        lines.append(f'  <comInterfaceExternalProxyStub name="{interface.name}" iid="{interface.id}"')
        lines.append(f'                                 proxyStubClsid32="{proxy_of(interface.dual)}"')
        lines.append(f'                                 baseInterface="{DISPATCH}" tlbid="{library.id}"/>')
    return _START + "\n".join(lines) + "\n</assembly>\n"


def application(library: TypeLibrary, architecture: str, version: str, program: str) -> str:
    """Of a program that uses the library. Lies beside it as PROGRAM.exe.manifest or is built into it."""
    return f"""{_START}  {_identity(program, "1.0.0.0", architecture)}
  <dependency>
    <dependentAssembly>
      {_identity(library.name, version, architecture)}
    </dependentAssembly>
  </dependency>
</assembly>
"""
