"""package.h and package.gen.cpp: the one registration of a package, with its enumerations and structs."""

from __future__ import annotations

from ..schema import Class, Feature, Foreign, Kind, Package, Primitive
from .datatypes import datatypes_of, enumeration_definitions, qualified, struct_definitions
from .text import banner, comment, fill, includes, render, string_literal
from .types import Speller, cpp_namespace, feature_kind, header_of, package_header


def render_package_header(package: Package) -> str:
    return render([
        *banner(package.place.file.name), "#pragma once", "", *includes({package.export_header}),
        "namespace tavo {", "struct PackageDecl;", "}", "",
        *comment(package.doc), f"namespace {package.name} {{", "",
        f"{package.export} const tavo::PackageDecl& package();", "", f"}} // namespace {package.name}"])


def render_package_source(package: Package) -> str:
    enumerations, structs = datatypes_of(package)
    headers = {"tavo/meta/MetaRegistry.h", "cstddef"}
    headers |= {header_of(thing) for thing in (*package.classes, *enumerations, *structs)}
    headers |= {package_header(other) for other in package.depends}
    body: list[str] = []
    for enumeration in enumerations:
        body += enumeration_definitions(enumeration)
    for struct in structs:
        body += struct_definitions(struct)
    return render([
        *banner(package.place.file.name), *includes(headers, first=package_header(package)), *body,
        f"namespace {package.name} {{", "namespace {", "",
        *_function_list("constexpr const tavo::PackageDecl& (*dependencies[])()",
                        [f"&{other.name}::package" for other in package.depends]),
        *_namespaces(package), *_datatypes(package),
        *_function_list("constexpr const tavo::ClassDecl& (*classes[])()",
                        [f"&{cpp_namespace(cls.namespace)}::{cls.name}::declaration" for cls in package.classes]),
        *_history(package),
        "} // namespace", "", "const tavo::PackageDecl& package() {", "  static const tavo::PackageDecl declared{",
        f"      .name = {string_literal(package.name)},", f"      .version = {string_literal(package.version)},",
        f"      .uri = {string_literal(package.uri)},",
        f"      .depends = {'dependencies' if package.depends else '{}'},",
        f"      .namespaces = {'namespaces' if package.namespaces else '{}'},",
        f"      .datatypes = {'datatypes' if _declared(package) else '{}'},",
        f"      .classes = {'classes' if package.classes else '{}'},",
        f"      .versions = {'versions' if _has_history(package) else '{}'},",
        f"      .history = {'history' if _changes(package) else '{}'},", "  };", "  return declared;", "}", "",
        "namespace {", "", "// Loading the library makes its classes known, before anybody asks for one by name.",
        "[[maybe_unused]] const bool registered = tavo::MetaRegistry::instance().registerWhenLoaded(package());", "",
        "} // namespace", f"}} // namespace {package.name}"])


def _function_list(head: str, functions: list[str]) -> list[str]:
    if not functions:
        return []
    lines = fill(f"{head} = {{", functions, "};")
    if len(lines) > 1:
        lines = [f"{head} = {{", *(f"    {function}," for function in functions), "};"]
    return [*lines, ""]


def _namespaces(package: Package) -> list[str]:
    if not package.namespaces:
        return []
    lines = ["constexpr tavo::NamespaceDecl namespaces[] = {"]
    for namespace in package.namespaces:
        lines += [f"    {{.name = {string_literal(namespace.name)},",
                  f"     .uri = {string_literal(f'{package.uri}/{namespace.name}')},",
                  f"     .doc = {string_literal(namespace.doc)}}},"]
    return [*lines, "};", ""]


def _declared(package: Package) -> list:
    return [datatype for datatype in package.datatypes if not isinstance(datatype, Foreign)]


def _datatypes(package: Package) -> list[str]:
    if not _declared(package):
        return []
    lines = ["constexpr tavo::DatatypeDecl datatypes[] = {"]
    for datatype in _declared(package):
        is_primitive = isinstance(datatype, Primitive) and datatype.type
        cpp = Speller("").value(datatype.type) if is_primitive else qualified(datatype)
        lines += [f"    {{.qualifiedName = {string_literal(datatype.name)},",
                  f"     .id = {string_literal(datatype.id)},",
                  f"     .datatype = &tavo::datatypeOf<{cpp}>,", f"     .doc = {string_literal(datatype.doc)}}},"]
    return [*lines, "};", ""]


# The history: a table of its own, so that nothing is compiled again when only the past is written down better.


_SAVED = (Kind.ATTRIBUTE, Kind.CONTAINS, Kind.REFERS)


def _has_history(package: Package) -> bool:
    return len(package.versions) > 1


def _changes(package: Package) -> list[Class | Feature]:
    """The classes and saved features that were not always there, or not under the name that they have now."""
    things = [thing for cls in package.all_classes for thing in (cls, *(each for each in cls.all_features if
                                                                        each.kind in _SAVED and each.saved))]
    return [thing for thing in things if thing.since or thing.removed or thing.was or
            isinstance(thing, Feature) and thing.owner.removed]


def _history(package: Package) -> list[str]:
    lines: list[str] = []
    if _has_history(package):
        lines += fill("constexpr std::string_view versions[] = {",
                      [string_literal(version) for version in package.versions], "};") + [""]
    changes = _changes(package)
    for thing in changes:
        if thing.was:
            lines.append(f"constexpr tavo::FormerName {_names(thing)}[] = {{")
            lines += [f"    {{{string_literal(version)}, {string_literal(name)}}},"
                      for version, name in sorted(thing.was.items(), key=lambda item: package.versions.index(item[0]))]
            lines += ["};", ""]
    if not changes:
        return lines
    lines.append("constexpr tavo::HistoryDecl history[] = {")
    for thing in changes:
        fields = _class_history(thing) if isinstance(thing, Class) else _feature_history(thing)
        fields += [(key, string_literal(value)) for key, value in (("since", thing.since), ("removed", thing.removed))
                   if value]
        if thing.was:
            fields.append(("names", _names(thing)))
        for number, (name, value) in enumerate(fields):
            lines.append(f"    {'{' if number == 0 else ' '}.{name} = {value}{'},' if number == len(fields) - 1 else ','}")
    return [*lines, "};", ""]


def _names(thing: Class | Feature) -> str:
    return "namesOf" + "".join(part[:1].upper() + part[1:] for part in thing.qualified_name.split("."))


def _class_history(cls: Class) -> list[tuple[str, str]]:
    fields = [("metaClass", string_literal(cls.qualified_name)), ("id", string_literal(cls.id))]
    if cls.removed:
        assert cls.base
        fields.append(("base", string_literal(cls.base.qualified_name)))
        if cls.derived_identity:
            fields.append(("derivedIdentity", "true"))
    return fields


def _feature_history(feature: Feature) -> list[tuple[str, str]]:
    fields = [("metaClass", string_literal(feature.owner.qualified_name)), ("id", string_literal(feature.id)),
              ("feature", string_literal(feature.name))]
    if feature.removed or feature.owner.removed:
        fields.append(("kind", f"tavo::FeatureKind::{feature_kind(feature)}"))
        if feature.kind in (Kind.CONTAINS, Kind.REFERS):
            fields.append(("target", string_literal(feature.type.entity.qualified_name)))
    return fields
