"""From schema files to the texts of all generated files."""

from __future__ import annotations

from pathlib import Path

from . import reference
from .check import check
from .cpp.builder import render_builder
from .cpp.datatypes import datatypes_of, render_enumeration, render_struct
from .cpp.facade import render_facade
from .cpp.impl import render_impl
from .cpp.package import render_package_header, render_package_source
from .cpp.query import render_query
from .cpp.source import render_source
from .cpp.types import header_of
from .link import link
from .load import load
from .schema import Model, Package

CHUNK = 8  # sources compiled together: several times faster than one by one


def read(files: list[Path], dependencies: list[Path]) -> Model:
    """The checked model of the schemas; raises SchemaError with all that is wrong."""
    model = load(files, dependencies)
    link(model)
    check(model)
    return model


def generate(model: Model) -> dict[str, str]:
    """Path below the output folder -> text."""
    files: dict[str, str] = {}
    for package in model.emitted():
        files |= _package_files(package)
    return files


def _package_files(package: Package) -> dict[str, str]:
    files = {f"docs/{package.name}.md": reference.render(package),
             f"{package.header_folder}/package.h": render_package_header(package),
             f"{package.header_folder}/package.gen.cpp": render_package_source(package)}
    enumerations, structs = datatypes_of(package)
    files |= {header_of(enumeration): render_enumeration(enumeration) for enumeration in enumerations}
    files |= {header_of(struct): render_struct(struct) for struct in structs}
    for cls in package.classes:
        files[header_of(cls)] = render_facade(cls)
        files[header_of(cls, ".impl")] = render_impl(cls)
        files[header_of(cls, ".builder")] = render_builder(cls)
        files[header_of(cls, ".query")] = render_query(cls)
        files[f"{cls.folder}/{cls.name}.gen.cpp"] = render_source(cls)
    return files


def chunks(files: dict[str, str], name: str) -> dict[str, str]:
    """Sources that include the generated ones, a few each: these are what is compiled."""
    sources = sorted(path for path in files if path.endswith(".cpp"))
    return {f"{name}.{number // CHUNK + 1}.chunk.cpp":
            "".join(f'#include "{source}"\n' for source in sources[number:number + CHUNK])
            for number in range(0, len(sources), CHUNK)}
