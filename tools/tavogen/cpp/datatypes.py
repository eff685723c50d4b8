"""<Name>.h of an enumeration or struct, and what its table of operations needs in the package's source."""

from __future__ import annotations

from ..names import raise_first
from ..schema import Enumeration, Package, Struct
from .literals import field_initializer
from .signature import Parameter, Signature
from .text import WIDTH, banner, comment, includes, render, string_literal
from .types import Speller, cpp_namespace


def qualified(datatype: Enumeration | Struct) -> str:
    return f"{cpp_namespace(datatype.namespace)}::{datatype.short_name}"


def _datatype_of(datatype: Enumeration | Struct) -> list[str]:
    return ["template <>", f"struct {datatype.package.export} tavo::DatatypeOf<{qualified(datatype)}> {{",
            "  static const Datatype& get();", "};"]


def render_enumeration(enumeration: Enumeration) -> str:
    namespace = cpp_namespace(enumeration.namespace)
    return render([
        *banner(enumeration.place.file.name), "#pragma once", "",
        *includes({"tavo/meta/Datatype.h", enumeration.package.export_header, "cstdint"}),
        f"namespace {namespace} {{", "", *comment(enumeration.doc),
        f"enum class {enumeration.short_name} : std::int32_t {{",
        *(f"  {literal} = {value}," for literal, value in enumeration.values.items()), "};", "",
        f"}} // namespace {namespace}", "", *_datatype_of(enumeration)])


def _setter(struct: Struct, name: str, spell: Speller) -> Signature:
    parameter = Parameter(spell.parameter(struct.fields[name]), "value")
    return Signature(f"{struct.short_name}&", f"set{raise_first(name)}", (parameter,))


def render_struct(struct: Struct) -> str:
    spell = Speller(struct.namespace)
    name = struct.short_name
    fields = [f"  {spell.value(type_)} {field}{field_initializer(type_, spell)};"
              for field, type_ in struct.fields.items()]
    setters = [line for field in struct.fields for line in _setter(struct, field, spell).declaration()]
    namespace = cpp_namespace(struct.namespace)
    return render([
        *banner(struct.place.file.name), "#pragma once", "",
        *includes({*spell.headers, "tavo/meta/Datatype.h", struct.package.export_header, "cstddef", "functional"}),
        f"namespace {namespace} {{", "", *comment(struct.doc), f"struct {struct.package.export} {name} {{", *fields, "",
        *setters, "",
        "  /// By the fields in their order; -1, 0 or 1.", f"  int compareWith(const {name}& other) const;",
        "  std::size_t hash() const;", f"  friend bool operator==(const {name}&, const {name}&) = default;",
        f"  friend bool operator<(const {name}& a, const {name}& b) {{ return a.compareWith(b) < 0; }}", "};", "",
        f"}} // namespace {namespace}", "",
        "template <>", f"struct std::hash<{qualified(struct)}> {{",
        f"  std::size_t operator()(const {qualified(struct)}& value) const {{ return value.hash(); }}", "};", "",
        *_datatype_of(struct)])


def _get(datatype: Enumeration | Struct, table: str, rows: list[str], make: str) -> list[str]:
    """The function that specialises tavo::DatatypeOf, with its table."""
    head, call = "  static const Datatype type =", f"{make}<{qualified(datatype)}>({string_literal(datatype.name)}, "
    name = table.rpartition(" ")[2]
    made = f"{head} {call}{name});"
    return [f"const tavo::Datatype& tavo::DatatypeOf<{qualified(datatype)}>::get() {{",
            f"  static constexpr {table}[] = {{", *rows, "  };",
            *([made] if len(made) <= WIDTH else [head, f"      {call}{name});"]), "  return type;", "}", ""]


def enumeration_definitions(enumeration: Enumeration) -> list[str]:
    rows = [f"      {{{string_literal(literal)}, {value}}}," for literal, value in enumeration.values.items()]
    return _get(enumeration, "DatatypeLiteral literals", rows, "makeEnumerationDatatype")


def struct_definitions(struct: Struct) -> list[str]:
    spell = Speller(struct.namespace)
    name = struct.short_name
    namespace = cpp_namespace(struct.namespace)
    lines = [f"namespace {namespace} {{", ""]
    for field in struct.fields:
        lines += _setter(struct, field, spell).definition(name, [f"{field} = value;", "return *this;"],
                                                          result=f"{name}&")
    compare = [f"if (const int order = tavo::detail::compareValues({field}, other.{field}))" for field in struct.fields]
    lines += ["", f"int {name}::compareWith(const {name}& other) const {{",
              *(line for head in compare for line in (f"  {head}", "    return order;")), "  return 0;", "}", "",
              f"std::size_t {name}::hash() const {{", "  std::size_t sum = 0;",
              *(f"  tavo::detail::combineHash(sum, {field});" for field in struct.fields), "  return sum;", "}", "",
              f"}} // namespace {namespace}", ""]
    rows = [f"      {{{string_literal(field)}, offsetof({qualified(struct)}, {field}), "
            f"&datatypeOf<{Speller('').value(type_)}>}}," for field, type_ in struct.fields.items()]
    return lines + _get(struct, "DatatypeField fields", rows, "makeStructDatatype")


def datatypes_of(package: Package) -> tuple[list[Enumeration], list[Struct]]:
    return ([datatype for datatype in package.datatypes if isinstance(datatype, Enumeration)],
            [datatype for datatype in package.datatypes if isinstance(datatype, Struct)])
