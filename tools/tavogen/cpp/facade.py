"""<Class>.h: the facade, a counted handle with accessors and operations."""

from __future__ import annotations

from ..schema import Class
from .members import create_signature, facade_members, hidden_in_facade, root_members_hidden
from .text import WIDTH, banner, comment, includes, render
from .types import Speller, cpp_namespace, header_of


def base_name(cls: Class, spell: Speller) -> str:
    assert cls.base
    return "tavo::ModelElement" if cls.base.is_builtin else spell.class_name(cls.base)


def render_facade(cls: Class) -> str:
    spell = Speller(cls.namespace)
    base = base_name(cls, spell)
    body = _class_body(cls, base, spell)
    before, inside = spell.forward_declarations(known=[cls, *cls.ancestors()])
    assert cls.base
    headers = {*spell.headers, cls.package.export_header, header_of(cls.base)}
    if not cls.abstract:
        headers.add("tavo/model/Model.h")
    return render([
        *banner(cls.place.file.name), "#pragma once", "", *includes(headers), *before,
        f"namespace {cpp_namespace(cls.namespace)} {{", "", *inside,
        *comment(cls.doc), *body, "", f"}} // namespace {cpp_namespace(cls.namespace)}"])


def _class_body(cls: Class, base: str, spell: Speller) -> list[str]:
    name = cls.name
    lines = [f"class {cls.package.export} {name} : public {base} {{", "public:", "  class Impl;"]
    if not cls.abstract:
        lines.append("  class Builder;")
    lines += ["  class Constrainables;", "",
              f"  {name}() noexcept = default;", *_constructor(name, base), "",
              "  static const tavo::ClassDecl& declaration();", "  static const tavo::MetaClass& metaClass();"]
    if not cls.abstract:
        lines += create_signature(cls).declaration()
    lines += [f"  using tavo::ModelElement::{member};" for member in root_members_hidden(cls)]
    lines += [f"  using {base}::{member};" for member in hidden_in_facade(cls)]
    for group in facade_members(cls, spell):
        if group:
            lines.append("")
        for member in group:
            lines += member.signature.declaration()
    return [*lines, "};"]


def _constructor(name: str, base: str) -> list[str]:
    head, initializer = f"  explicit {name}(tavo::ModelElement::Impl* object) noexcept", f": {base}(object) {{}}"
    one_line = f"{head} {initializer}"
    return [one_line] if len(one_line) <= WIDTH else [head, f"      {initializer}"]
