"""A member function, written once and rendered as declaration, definition and call."""

from __future__ import annotations

from dataclasses import dataclass, field

from .text import WIDTH, comment, fill


@dataclass(frozen=True)
class Parameter:
    type: str
    name: str
    default: str = ""


@dataclass(frozen=True)
class Signature:
    result: str
    name: str
    parameters: tuple[Parameter, ...] = ()
    is_const: bool = False
    is_static: bool = False
    is_virtual: bool = False
    is_override: bool = False
    is_abstract: bool = False
    doc: str = field(default="", compare=False)

    def declaration(self, indent: int = 2, body: str = "") -> list[str]:
        """With its doc; with a body, defined in the class."""
        lead = " " * indent
        result = ("static " if self.is_static else "") + ("virtual " if self.is_virtual else "") + self.result
        tail = ")" + (" const" if self.is_const else "") + (" override" if self.is_override else "")
        end = " = 0;" if self.is_abstract else " {" if body else ";"
        parameters = [f"{parameter.type} {parameter.name}" + (f" = {parameter.default}" if parameter.default else "")
                      for parameter in self.parameters]
        lines = fill(f"{lead}{result} {self.name}(", parameters, tail + end)
        if any(len(line) > WIDTH for line in lines):
            lines = [lead + result, *fill(f"{lead}{self.name}(", parameters, tail + end)]
        if body:
            one_line = f"{lines[-1]} {body} }}"
            lines = [*lines[:-1], one_line] if len(lines) == 1 and len(one_line) <= WIDTH else [
                *lines, f"{lead}  {body}", f"{lead}}}"]
        return comment(self.doc, indent) + lines

    def definition(self, scope: str, body: list[str], result: str = "") -> list[str]:
        """`result` where the result must be spelled otherwise outside the class."""
        head = f"{result or self.result} {scope}::{self.name}("
        tail = ")" + (" const" if self.is_const else "") + " {"
        parameters = [f"{parameter.type} {parameter.name}".rstrip() for parameter in self.parameters]
        first = fill(head, parameters, tail)
        if any(len(line) > WIDTH for line in first):
            first = [result or self.result, *fill(f"{scope}::{self.name}(", parameters, tail)]
        if len(body) == 1 and len(first) == 1 and len(first[0]) + len(body[0]) + 3 <= WIDTH:
            return [f"{first[0]} {body[0]} }}"]
        return [*first, *("  " + line for line in body), "}"]

    def call(self) -> str:
        """The call with the parameters' own names."""
        return f"{self.name}({', '.join(parameter.name for parameter in self.parameters)})"
