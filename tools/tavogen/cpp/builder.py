"""<Class>.builder.h: the feature values of an object that does not exist yet, and the public builder."""

from __future__ import annotations

from ..names import names_of
from ..schema import Class, Feature, Kind
from .facade import base_name
from .members import ImplMember, field_name
from .signature import Parameter, Signature
from .text import WIDTH, banner, includes, render
from .types import Speller, cpp_namespace, header_of

_CHILD = Parameter("tavo::ModelElement::Impl::BuilderImpl", "child")


def builder_header(cls: Class) -> str:
    return "tavo/meta/Builder.h" if cls.is_builtin else header_of(cls, ".builder")


def render_builder(cls: Class) -> str:
    spell = Speller(cls.namespace)
    assert cls.base
    body = _class_bodies(cls, spell)
    before, inside = spell.forward_declarations(known=[cls, *cls.ancestors()])
    return render([
        *banner(cls.place.file.name), "#pragma once", "",
        *includes({*spell.headers, builder_header(cls.base), header_of(cls, ".impl")}), *before,
        f"namespace {cpp_namespace(cls.namespace)} {{", "", *inside, *body, "",
        f"}} // namespace {cpp_namespace(cls.namespace)}"])


def _class_bodies(cls: Class, spell: Speller) -> list[str]:
    base = base_name(cls, spell)
    lines = [f"class {cls.package.export} {cls.name}::Impl::BuilderImpl : public {base}::Impl::BuilderImpl {{",
             "public:", "  using Base::BuilderImpl::BuilderImpl;"]
    signatures = [member.signature for feature in cls.features for member in builder_feature(feature, spell)]
    if signatures:
        lines.append("")
    for signature in signatures:
        lines += signature.declaration()
    lines.append("};")
    if cls.abstract:
        return lines
    name = cls.name
    head = f"class {name}::Builder"
    base = f": public tavo::BuilderBase<{name}::Impl::BuilderImpl, {name}, {name}::Builder> {{"
    return [*lines, "", *([f"{head} {base}"] if len(head) + 1 + len(base) <= WIDTH else [head, f"    {base}"]),
            "public:", "  using BuilderBase::BuilderBase;", "};"]


def builder_feature(feature: Feature, spell: Speller) -> list[ImplMember]:
    """What a builder can set of a feature: not what is computed or the business of the other end."""
    names = names_of(feature)
    at = f"metaClass().at(Index::{field_name(feature)})"
    if feature.kind in (Kind.CONTAINER, Kind.DERIVED):
        return []
    clear = ImplMember(Signature("void", names.do_clear), (f"clear({at});",))
    if feature.kind is Kind.CONTAINS:
        return [ImplMember(Signature("void", names.do_add, (_CHILD,)), (f"setOrAdd({at}, std::move(child));",)), clear]
    parameter = Parameter(spell.parameter(feature.type), "value")
    if feature.holds_value:
        index, type_ = f"Index::{field_name(feature)}", spell.value(feature.type)
        return [ImplMember(Signature("void", names.do_set, (parameter,)), (f"setValue<{type_}>({index}, value);",)),
                ImplMember(Signature(type_, names.getter, is_const=True), (f"return value<{type_}>({index});",))]
    put = f"setOrAdd({at}, tavo::Value::of<tavo::ModelElement>(value));"
    target = spell.class_name(feature.type.entity)
    if feature.is_many:
        spell.headers.add("vector")
        return [ImplMember(Signature("void", names.do_add, (parameter,)), (put,)), clear,
                ImplMember(Signature(f"std::vector<{target}>", names.getter, is_const=True),
                           (f"return targets<{target}>(Index::{field_name(feature)});",))]
    return [ImplMember(Signature("void", names.do_set, (parameter,)), (put,)),
            ImplMember(Signature(target, names.getter, is_const=True),
                       (f"return target(Index::{field_name(feature)}).as<{target}>();",))]
