"""From schema files to the texts of all generated files."""

from __future__ import annotations

from pathlib import Path

from . import reference
from .check import check
from .link import link
from .load import load
from .schema import Model


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
        files[f"docs/{package.name}.md"] = reference.render(package)
    return files
