"""<Class>.query.h: the constrainables, from which terms of queries are made."""

from __future__ import annotations

from ..names import names_of
from ..schema import Class, Feature, Foreign, Kind, Shape
from .facade import base_name
from .members import ImplMember, field_name
from .signature import Signature
from .text import banner, includes, render
from .types import Speller, cpp_namespace, header_of


def query_header(cls: Class) -> str:
    return "tavo/query/Query.h" if cls.is_builtin else header_of(cls, ".query")


def render_query(cls: Class) -> str:
    spell = Speller(cls.namespace)
    assert cls.base
    base = base_name(cls, spell)
    lines = [f"class {cls.package.export} {cls.name}::Constrainables : public {base}::Constrainables {{", "public:",
             f"  using Base = {base}::Constrainables;", "  using Base::Base;",
             "  explicit Constrainables(const tavo::Query& query);"]
    members = constrainables(cls, spell)
    if members:
        lines.append("")
    for member in members:
        lines += member.signature.declaration()
    namespace = cpp_namespace(cls.namespace)
    return render([
        *banner(cls.place.file.name), "#pragma once", "",
        *includes({*spell.headers, query_header(cls.base), header_of(cls)}),
        f"namespace {namespace} {{", "", *lines, "};", "", f"}} // namespace {namespace}"])


def constrainables(cls: Class, spell: Speller) -> list[ImplMember]:
    """One for each feature that the facade shows and that can be compared."""
    members = []
    for feature in cls.features:
        if not _can_be_asked(feature):
            continue
        if not feature.type.holds_objects:
            result = f"tavo::AttributeTerms<{spell.value(feature.type)}>"
        else:
            result = "tavo::CollectionTerms" if feature.is_many else "tavo::ObjectTerms"
        signature = Signature(result, names_of(feature).accessor, is_const=True)
        members.append(ImplMember(signature, (f"return {result}(at(Impl::Index::{field_name(feature)}));",)))
    return members


def _can_be_asked(feature: Feature) -> bool:
    if feature.getter_hidden or feature.kind is Kind.RUNTIME or isinstance(feature.type.entity, Foreign):
        return False
    return not (feature.type.holds_objects and feature.type.shape is Shape.MANY)


def constructor(cls: Class) -> list[str]:
    return [f"{cls.name}::Constrainables::Constrainables(const tavo::Query& query)",
            f"    : Constrainables(query, {cls.name}::metaClass(), tavo::ClassMatch::withSubclasses) {{}}"]
