"""Pieces of C++ text: comments, literals, lists, includes."""

from __future__ import annotations

import textwrap
from collections.abc import Iterable

WIDTH = 120


def comment(text: str, indent: int = 0, mark: str = "///") -> list[str]:
    """A doc as comment lines; none for an empty one."""
    lead = " " * indent + mark + " "
    return textwrap.wrap(text, WIDTH, initial_indent=lead, subsequent_indent=lead, break_long_words=False,
                         break_on_hyphens=False)


def banner(source: str) -> list[str]:
    return [f"// Made by tavogen from {source}; edit that instead."]


def string_literal(text: str, prefix: str = "") -> str:
    escaped = "".join(_escape(character) for character in text)
    return f'{prefix}"{escaped}"'


def _escape(character: str) -> str:
    if character in "\\\"":
        return "\\" + character
    if character == "\n":
        return "\\n"
    if character.isprintable() and ord(character) < 128:
        return character
    return f"\\u{ord(character):04x}" if ord(character) < 0x10000 else f"\\U{ord(character):08x}"


def split_literal(text: str, indent: int, prefix: str = "") -> list[str]:
    """A long text as adjacent literals, one a line."""
    room = WIDTH - indent - len(prefix) - 4
    pieces = textwrap.wrap(text, room, drop_whitespace=False, break_on_hyphens=False) or [""]
    return [string_literal(piece, prefix) for piece in pieces]


def fill(head: str, items: list[str], tail: str, hanging: int | None = None) -> list[str]:
    """`head` + items joined by ", " + `tail`, over as many lines as needed, aligned behind `head`."""
    one_line = head + ", ".join(items) + tail
    if len(one_line) <= WIDTH or not items:
        return [one_line]
    column = len(head) if hanging is None else hanging
    lines = [head]
    for number, item in enumerate(items):
        is_last = number == len(items) - 1
        piece = item + (tail if is_last else ",")
        glue = "" if lines[-1] == head or not lines[-1].strip() else " "
        if number and len(lines[-1]) + len(glue) + len(piece) > WIDTH:
            lines.append(" " * column + piece)
        else:
            lines[-1] += glue + piece
    return lines


def includes(headers: Iterable[str], first: str = "") -> list[str]:
    """Include lines: `first`, then quoted headers, then those of the standard library, each block sorted."""
    wanted = set(headers) - {first}
    quoted = sorted(header for header in wanted if "/" in header or header.endswith(".h"))
    standard = sorted(wanted - set(quoted))
    lines = [f'#include "{first}"', ""] if first else []
    for block, form in ((quoted, '#include "{}"'), (standard, "#include <{}>")):
        if block:
            lines += [form.format(header) for header in block] + [""]
    return lines


def render(lines: list[str]) -> str:
    """Lines to a file's text: never two blank ones in a row, one line break at the end."""
    kept: list[str] = []
    for line in lines:
        if line or (kept and kept[-1]):
            kept.append(line)
    while kept and not kept[-1]:
        kept.pop()
    return "\n".join(kept) + "\n"
