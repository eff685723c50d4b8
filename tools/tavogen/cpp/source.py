"""<Class>.gen.cpp: the tables of a class and all generated functions that are not in headers."""

from __future__ import annotations

from dataclasses import replace

from ..schema import Class
from .builder import builder_feature
from .members import create_signature, facade_members, hook_signature, impl_feature, operation_signature
from .query import constrainables, constructor
from .tables import class_declaration, feature_table, operation_table
from .text import banner, includes, render, string_literal
from .types import Speller, cpp_namespace, datatype_headers, header_of, package_header


def package_function(cls: Class) -> str:
    return f"{cls.package.name}::package"


def render_source(cls: Class) -> str:
    spell = Speller(cls.namespace)
    tables = [*feature_table(cls, spell), *operation_table(cls, spell)]
    body = [*(["namespace {", "", *tables, "} // namespace", ""] if tables else []),
            *class_declaration(cls, package_function(cls), spell), "",
            f"const tavo::MetaClass& {cls.name}::metaClass() {{",
            "  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());",
            "  return known;", "}", "",
            *_section("The handle", _facade_functions(cls, spell)),
            *_section("The object", _impl_functions(cls, spell)),
            *_section("Not written yet", _functions_to_come(cls, spell)),
            *_section("Builders", _builder_functions(cls, spell)),
            *_section("Queries", _query_functions(cls, spell))]
    headers = {*spell.headers, *_needed_headers(cls, spell), header_of(cls, ".builder"), header_of(cls, ".query"),
               package_header(cls.package), "cstddef"}
    if cls.features or cls.operations:
        headers.add("tavo/meta/GeneratedCalls.h")
    if any(operation.later for operation in cls.operations):
        headers.add("tavo/core/Errors.h")
    lines = [*banner(cls.place.file.name), *includes(headers, first=header_of(cls, ".impl"))]
    if any(feature.is_stored for feature in cls.features):
        lines += ["// Storages derive from each other, which offsetof supports conditionally; both compilers do.",
                  '#pragma GCC diagnostic ignored "-Winvalid-offsetof"', ""]
    namespace = cpp_namespace(cls.namespace)
    return render([*lines, f"namespace {namespace} {{", *([] if tables else [""]), *body, "", f"}} // namespace {namespace}"])


def _section(heading: str, lines: list[str]) -> list[str]:
    return [f"// {heading}", "", *lines, ""] if lines else []


def _needed_headers(cls: Class, spell: Speller) -> set[str]:
    """The facades of all classes that the functions here handle, and the tables of foreign types."""
    headers = {header_of(other) for other in spell.mentioned}
    types = [feature.type for feature in cls.features]
    for operation in cls.operations:
        types += [argument.type for argument in operation.args]
        if operation.returns:
            types.append(operation.returns)
    for type_ in types:
        headers |= datatype_headers(type_)
        if type_.holds_objects:
            headers.add(header_of(type_.entity))
    for feature in cls.features:
        if feature.by and feature.by.owner is not cls:
            headers.add(header_of(feature.by.owner, ".impl"))
    return headers


def _facade_functions(cls: Class, spell: Speller) -> list[str]:
    lines = []
    if not cls.abstract:
        lines += create_signature(cls).definition(cls.name, [f"return model.create<{cls.name}>(uuid);"])
    for group in facade_members(cls, spell):
        for member in group:
            if member.target:
                keyword = "" if member.signature.result == "void" else "return "
                lines += member.signature.definition(cls.name, [f"{keyword}impl<Impl>().{member.target};"])
    return lines


def _impl_functions(cls: Class, spell: Speller) -> list[str]:
    lines = []
    for feature in cls.features:
        for member in impl_feature(feature, spell):
            if member.body:
                lines += member.signature.definition(f"{cls.name}::Impl", list(member.body))
    return lines


def _functions_to_come(cls: Class, spell: Speller) -> list[str]:
    """The operations whose logic is to be written later: each says so when it is called."""
    lines = []
    for feature in cls.features:
        if cls.later and feature.hook:
            lines += hook_signature(feature, spell).definition(f"{cls.name}::Impl", [])
    for operation in cls.operations:
        if not operation.later or operation.is_abstract:
            continue
        name = string_literal(f"{cls.qualified_name}.{operation.name}")
        body = ["Base::aboutToDestroy();" if operation.name == "aboutToDestroy"
                else f"tavo::raise(tavo::FrameworkError::NotAvailable, {name});"]
        signature = operation_signature(operation, spell, on_facade=False)
        unnamed = replace(signature, parameters=tuple(replace(each, name="") for each in signature.parameters))
        lines += unnamed.definition(cls.name if operation.is_static else f"{cls.name}::Impl", body)
    return lines


def _builder_functions(cls: Class, spell: Speller) -> list[str]:
    lines = []
    for feature in cls.features:
        for member in builder_feature(feature, spell):
            lines += member.signature.definition(f"{cls.name}::Impl::BuilderImpl", list(member.body))
    return lines


def _query_functions(cls: Class, spell: Speller) -> list[str]:
    lines = constructor(cls)
    for member in constrainables(cls, spell):
        lines += member.signature.definition(f"{cls.name}::Constrainables", list(member.body))
    return lines
