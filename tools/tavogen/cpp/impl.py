"""<Class>.impl.h: the object itself with its storage, accessors, hooks and the operations written by hand."""

from __future__ import annotations

from ..schema import Class, Feature, Kind
from .facade import base_name
from .literals import initializer
from .members import field_name, hidden_in_impl, hook_signature, impl_feature, impl_operations
from .text import banner, includes, render
from .types import Speller, cpp_namespace, header_of, storage_size


def impl_header(cls: Class) -> str:
    return "tavo/meta/MetaRegistry.h" if cls.is_builtin else header_of(cls, ".impl")


def render_impl(cls: Class) -> str:
    spell = Speller(cls.namespace)
    body = _class_body(cls, spell)
    before, inside = spell.forward_declarations(known=[cls, *cls.ancestors()])
    assert cls.base
    return render([
        *banner(cls.place.file.name), "#pragma once", "",
        *includes({*spell.headers, impl_header(cls.base), header_of(cls), "tavo/meta/MetaRegistry.h"}), *before,
        f"namespace {cpp_namespace(cls.namespace)} {{", "", *inside, *body, "",
        f"}} // namespace {cpp_namespace(cls.namespace)}"])


def _class_body(cls: Class, spell: Speller) -> list[str]:
    base = base_name(cls, spell)
    lines = [f"class {cls.package.export} {cls.name}::Impl : public {base}::Impl {{", "public:",
             f"  using Base = {base}::Impl;", *_storage(cls, spell), *_index(cls), "  class BuilderImpl;", "",
             "  using Base::Base;", f"  {cls.name} This() {{ return {cls.name}(this); }}"]
    lines += [f"  using Base::{name};" for name in hidden_in_impl(cls)]
    if cls.features:
        lines.append("")
    for feature in cls.features:
        for member in impl_feature(feature, spell):
            lines += member.signature.declaration(body=member.inline)
    hooks = [hook_signature(feature, spell) for feature in cls.features if feature.hook]
    for heading, group in (("  // Run before the setters write; raise to refuse the value.", hooks),
                           ("", impl_operations(cls, spell))):
        if group:
            lines += ["", heading] if heading else [""]
        for signature in group:
            lines += signature.declaration()
    return [*lines, *_private_part(cls), "};"]


def _storage(cls: Class, spell: Speller) -> list[str]:
    stored = sorted((feature for feature in cls.features if feature.is_stored), key=storage_size, reverse=True)
    if not stored:
        return ["  struct Storage : Base::Storage {};"]
    return ["  struct Storage : Base::Storage {", *(f"    {_field(feature, spell)};" for feature in stored), "  };"]


def _field(feature: Feature, spell: Speller) -> str:
    name = field_name(feature)
    if feature.holds_value:
        return f"{spell.value(feature.type)} {name}{initializer(feature, spell)}"
    if feature.is_many:
        return f"tavo::ListField {name}"
    kind = "ChildField" if feature.kind is Kind.CONTAINS else "LinkField"
    return f"tavo::{kind} {name} = nullptr"


def _index(cls: Class) -> list[str]:
    lines = []
    if cls.features:
        lines.append("  struct Index {")
        for offset, feature in enumerate(cls.features):
            value = f"Base::propertyCount + {offset}"
            lines.append(f"    static constexpr tavo::PropertyIndex {field_name(feature)} = {value};")
        lines.append("  };")
    lines.append(f"  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + {len(cls.features)};")
    return lines


def _private_part(cls: Class) -> list[str]:
    lines = []
    if any(feature.is_stored for feature in cls.features):
        lines += ["  Storage& storage() { return storageAs<Storage>(); }",
                  "  const Storage& storage() const { return storageAs<Storage>(); }"]
    if cls.features:
        lines.append("  const tavo::MetaProperty& at(tavo::PropertyIndex index) const { "
                     "return objectClass().at(index); }")
    return ["", "private:", *lines] if lines else []
