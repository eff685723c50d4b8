"""package.h and package.gen.cpp: the one registration of a package, with its enumerations and structs."""

from __future__ import annotations

from ..schema import Foreign, Package, Primitive
from .datatypes import datatypes_of, enumeration_definitions, qualified, struct_definitions
from .text import banner, comment, fill, includes, render, string_literal
from .types import Speller, cpp_namespace, header_of, package_header


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
        "} // namespace", "", "const tavo::PackageDecl& package() {", "  static const tavo::PackageDecl declared{",
        f"      .name = {string_literal(package.name)},", f"      .version = {string_literal(package.version)},",
        f"      .uri = {string_literal(package.uri)},",
        f"      .depends = {'dependencies' if package.depends else '{}'},",
        f"      .namespaces = {'namespaces' if package.namespaces else '{}'},",
        f"      .datatypes = {'datatypes' if _declared(package) else '{}'},",
        f"      .classes = {'classes' if package.classes else '{}'},", "  };", "  return declared;", "}", "",
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
