"""Writes generated files, and only those that differ, so that what uses the others is not built again."""

from __future__ import annotations

from pathlib import Path


def write(folder: Path, files: dict[str, str]) -> None:
    """`files`: path below `folder` -> text."""
    for name, text in files.items():
        path = folder / name
        data = text.encode("utf-8")
        if path.is_file() and path.read_bytes() == data:
            continue
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
