"""Default values of attributes in C++."""

from __future__ import annotations

import uuid
from typing import Any

from ..schema import Builtin, Enumeration, Feature, Primitive, Shape, Type
from .text import string_literal
from .types import Speller


def initializer(feature: Feature, spell: Speller) -> str:
    """What stands behind the field of a Storage: every plain value starts as something."""
    if feature.default is not None:
        return f" = {literal(feature.type, feature.default, spell)}"
    return field_initializer(feature.type, spell)


def field_initializer(type_: Type, spell: Speller) -> str:
    if type_.shape is not Shape.ONE:
        return ""
    entity = _root(type_)
    if isinstance(entity, Enumeration):
        return f" = {spell.value(type_)}{{}}"
    if not isinstance(entity, Builtin):
        return ""
    if entity.name == "uuid":
        return "{}"
    return {"bool": " = false", "string": ""}.get(entity.name, " = 0")


def literal(type_: Type, value: Any, spell: Speller) -> str:
    entity = _root(type_)
    if isinstance(entity, Enumeration):
        inner = Type(type_.spelling, type_.name, Shape.ONE, False, type_.entity)
        return f"{spell.value(inner)}::{value}"
    if entity.name == "string":
        return string_literal(value, "u")
    if entity.name == "bool":
        return "true" if value else "false"
    if entity.name == "uuid":
        parts = ", ".join(f"0x{byte:02x}" for byte in uuid.UUID(value).bytes)
        return f"tavo::Uuid{{{{{parts}}}}}"
    if entity.name == "double":
        return _double(float(value))
    if entity.name == "int64" and value == -2**63:
        return "std::numeric_limits<std::int64_t>::min()"
    return f"{value}{'u' if entity.name.startswith('u') else ''}"


def _double(value: float) -> str:
    if value != value:
        return "std::numeric_limits<double>::quiet_NaN()"
    if value in (float("inf"), float("-inf")):
        return ("-" if value < 0 else "") + "std::numeric_limits<double>::infinity()"
    return repr(value)


def _root(type_: Type):
    entity = type_.entity
    return entity.type.entity if isinstance(entity, Primitive) and entity.type else entity
