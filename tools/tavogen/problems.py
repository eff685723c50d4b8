"""Errors in schemas: where, what, and what was probably meant."""

from __future__ import annotations

import difflib
from collections.abc import Iterable
from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Place:
    """Where something is declared, in the words of its author."""

    file: Path
    line: int | None = None
    subject: str = ""  # "class Value, feature units"

    def __str__(self) -> str:
        where = self.file.name if self.line is None else f"{self.file.name}:{self.line}"
        return f"{where}: {self.subject}" if self.subject else where


class SchemaError(Exception):
    """The schemas cannot be used; the text names every fault, one per line."""


class Problems:
    """Collects faults, so that one run reports all of those that do not follow from each other."""

    def __init__(self) -> None:
        self._found: list[tuple[Place, str]] = []

    def report(self, place: Place, message: str) -> None:
        self._found.append((place, message))

    def raise_if_any(self) -> None:
        if not self._found:
            return
        ordered = sorted(self._found, key=lambda found: (str(found[0].file), found[0].line or 0))
        raise SchemaError("\n".join(f"{place}: {message}" for place, message in ordered))


def suggestion(name: str, known: Iterable[str]) -> str:
    """"; did you mean 'string'?", or nothing when no known name is near."""
    near = difflib.get_close_matches(name, sorted(known), n=1, cutoff=0.6)
    return f"; did you mean '{near[0]}'?" if near else ""
