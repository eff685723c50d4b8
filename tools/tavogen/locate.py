"""Line numbers of keys, which tomllib does not tell: a light scan of the text for table headers and keys."""

from __future__ import annotations

import re

_HEADER = re.compile(r"^\s*\[([^\[\]]+)\]\s*(#.*)?$")
_KEY = re.compile(r"""^\s*("[^"]*"|'[^']*'|[A-Za-z0-9_-]+)\s*=""")
_SEGMENT = re.compile(r"""\s*("[^"]*"|'[^']*'|[^.\s]+)\s*(?:\.|$)""")


class Lines:
    """Finds the line of a table or key by its path: ("class", "Value", "features", "units")."""

    def __init__(self, text: str) -> None:
        self._lines: dict[tuple[str, ...], int] = {}
        table: tuple[str, ...] = ()
        in_text = False
        for number, line in enumerate(text.splitlines(), start=1):
            starts_in_text = in_text
            if line.count('"""') % 2:
                in_text = not in_text
            if starts_in_text:
                continue
            if header := _HEADER.match(line):
                table = tuple(segment.strip("\"'") for segment in _SEGMENT.findall(header[1]))
                self._lines.setdefault(table, number)
            elif key := _KEY.match(line):
                self._lines.setdefault((*table, key[1].strip("\"'")), number)

    def find(self, *path: str) -> int | None:
        """The line of the path, or of the nearest table around it."""
        for length in range(len(path), 0, -1):
            if line := self._lines.get(path[:length]):
                return line
        return None
