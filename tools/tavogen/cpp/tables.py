"""The tables of a class: its features and operations as the framework reads them, and the declaration over them.

Tables are constexpr: packages register while libraries are loaded, before any initialiser of another source has run."""

from __future__ import annotations

from ..names import lower_first
from ..schema import Class, Collection, Enumeration, Feature, Kind, Operation, Shape
from .literals import literal
from .members import field_name, is_overloaded, operation_signature, setter_signature
from .text import WIDTH, split_literal, string_literal
from .types import Speller, feature_kind


def feature_table(cls: Class, spell: Speller) -> list[str]:
    if not cls.features:
        return []
    lines: list[str] = []
    for feature in cls.features:
        if has_default(feature):
            lines += _default_function(feature, spell)
    lines.append(f"constexpr tavo::PropertyDecl {lower_first(cls.name)}Properties[] = {{")
    for feature in cls.features:
        lines += _record(_feature_fields(feature, spell))
    return [*lines, "};", ""]


def has_default(feature: Feature) -> bool:
    """Whether the default differs from what its type starts as."""
    value = feature.default
    if isinstance(feature.type.entity, Enumeration) and value is not None:
        value = feature.type.entity.values[value]
    return value is not None and (bool(value) or bool(feature.type.shape.value))


def _default_name(feature: Feature) -> str:
    return f"{lower_first(feature.owner.name)}{field_name(feature)[:1].upper()}{field_name(feature)[1:]}Default"


def _default_function(feature: Feature, spell: Speller) -> list[str]:
    value = literal(feature.type, feature.default, spell)
    return [f"const void* {_default_name(feature)}() {{",
            f"  static const {spell.value(feature.type)} value = {value};", "  return &value;", "}", ""]


def _record(fields: list[tuple[str, str]]) -> list[str]:
    """One element of a table: designated initialisers, one a line."""
    lines = []
    for number, (name, value) in enumerate(fields):
        lead = "    {" if number == 0 else "     "
        tail = "}," if number == len(fields) - 1 else ","
        lines.append(f"{lead}.{name} = {value}{tail}".replace(" = \n", " =\n"))
    return lines


def _doc(text: str, column: int) -> str:
    """A literal, in pieces below each other where it takes more than a line."""
    return ("\n" + " " * column).join(split_literal(text, column))


def _feature_fields(feature: Feature, spell: Speller) -> list[tuple[str, str]]:
    cls = feature.owner
    impl = f"{cls.name}::Impl"
    fields = [("name", string_literal(feature.name)), ("id", string_literal(feature.id)),
              ("kind", f"tavo::FeatureKind::{feature_kind(feature)}")]
    if flags := _feature_flags(feature):
        fields.append(("flags", _flags("PropertyFlag", flags)))
    if feature.is_stored:
        fields.append(("offset", f"offsetof({impl}::Storage, {field_name(feature)})"))
    if feature.type.holds_objects:
        fields.append(("target", f"&{_target(feature, spell)}::declaration"))
    else:
        fields.append(("datatype", f"&tavo::datatypeOf<{spell.value(feature.type)}>"))
    if feature.collection is not Collection.SEQUENCE:
        fields.append(("collection", f"tavo::CollectionKind::{feature.collection.value}"))
    if feature.opposite:
        fields.append(("opposite", string_literal(feature.opposite.name)))
    for name, key in zip(("key", "secondKey"), feature.keys):
        fields.append((name, string_literal(key.name)))
    if has_default(feature):
        fields.append(("defaultValue", f"&{_default_name(feature)}"))
    if feature.by:
        fields.append(("derive", f"&tavo::detail::deriveFeature<{_operation_pointer(feature.by, spell)}>"))
    if feature.hook or feature.virtual:
        fields.append(("set", f"&tavo::detail::callSetter<{_setter_pointer(feature, spell)}>"))
    if feature.since:
        fields.append(("since", string_literal(feature.since)))
    if feature.doc:
        fields.append(("doc", _doc(feature.doc, len("     .doc = "))))
    return fields


def _flags(kind: str, flags: list[str]) -> str:
    """Joined by "|", aligned behind ".flags = " where they take more than a line."""
    lines = [""]
    for number, flag in enumerate(flags):
        piece = f"tavo::{kind}::{flag}" + (" |" if number < len(flags) - 1 else "")
        if lines[-1] and len("     .flags = ") + len(lines[-1]) + 1 + len(piece) + 1 > WIDTH:
            lines.append("")
        lines[-1] += (" " if lines[-1] else "") + piece
    return ("\n" + " " * len("     .flags = ")).join(lines)


def _target(feature: Feature, spell: Speller) -> str:
    return "tavo::ModelElement" if feature.type.entity.is_builtin else spell.class_name(feature.type.entity)


def _feature_flags(feature: Feature) -> list[str]:
    """Those that do not follow from the rest of the record."""
    derives_objects = feature.kind is Kind.DERIVED and feature.type.holds_objects
    return [flag for flag, holds in (
        ("ordered", derives_objects and feature.type.shape is Shape.MANY), ("readOnly", feature.readonly),
        ("transient", not feature.saved), ("publicAccessor", not feature.getter_hidden),
        ("publicMutator", feature.setter_public), ("hidden", feature.hidden)) if holds]


def operation_table(cls: Class, spell: Speller) -> list[str]:
    if not cls.operations:
        return []
    lines: list[str] = []
    for operation in cls.operations:
        if operation.args:
            lines.append(f"constexpr tavo::ArgumentDecl {_arguments_name(operation)}[] = {{")
            for argument in operation.args:
                fields = [("name", string_literal(argument.name)), ("id", string_literal(argument.id)),
                          ("type", string_literal(argument.type.spelling.removeprefix("out ").strip()))]
                if argument.type.is_output:
                    fields.append(("input", "false"))
                lines.append("    {" + ", ".join(f".{name} = {value}" for name, value in fields) + "},")
            lines += ["};", ""]
    lines.append(f"constexpr tavo::OperationDecl {lower_first(cls.name)}Operations[] = {{")
    for operation in cls.operations:
        lines += _record(_operation_fields(operation, spell))
    return [*lines, "};", ""]


def _arguments_name(operation: Operation) -> str:
    return f"{lower_first(operation.owner.name)}{operation.key[:1].upper()}{operation.key[1:]}Arguments"


def _operation_fields(operation: Operation, spell: Speller) -> list[tuple[str, str]]:
    fields = [("name", string_literal(operation.name)), ("id", string_literal(operation.id))]
    flags = [flag for flag, holds in (
        ("isStatic", operation.is_static), ("isPublic", operation.is_public), ("isEvent", operation.is_event),
        ("isAbstract", operation.is_abstract), ("isVirtual", operation.is_virtual or operation.is_override),
        ("isConst", operation.is_const)) if holds]
    if flags:
        fields.append(("flags", _flags("OperationFlag", flags)))
    if operation.args:
        fields.append(("arguments", _arguments_name(operation)))
    if operation.returns:
        fields.append(("returns", string_literal(operation.returns.spelling)))
    if operation.is_public:
        fields.append(("call", _call(_operation_pointer(operation, spell))))
    if operation.doc:
        fields.append(("doc", _doc(operation.doc, len("     .doc = "))))
    return fields


def _call(pointer: str) -> str:
    """The adapter for an operation; one with a cast may need a second line."""
    text = f"&tavo::detail::callOperation<{pointer}>"
    if len("     .call = ") + len(text) + 2 <= WIDTH:
        return text
    if len(" " * 9) + len(text) + 2 <= WIDTH:
        return f"\n{' ' * 9}{text}"
    head, _, tail = text.partition(">(&")
    return f"{head}>(\n{' ' * 9}&{tail}"


def _setter_pointer(feature: Feature, spell: Speller) -> str:
    impl = f"{feature.owner.name}::Impl"
    signature = setter_signature(feature, spell)
    pointer = f"&{impl}::{signature.name}"
    if any(operation.name == signature.name for operation in feature.owner.operations):
        return f"static_cast<void ({impl}::*)({signature.parameters[0].type})>({pointer})"
    return pointer


def _operation_pointer(operation: Operation, spell: Speller) -> str:
    cls = spell.class_name(operation.owner)
    scope = cls if operation.is_static else f"{cls}::Impl"
    pointer = f"&{scope}::{operation.name}"
    if not is_overloaded(operation):
        return pointer
    signature = operation_signature(operation, spell, on_facade=False)
    types = ", ".join(parameter.type for parameter in signature.parameters)
    sort = "*" if operation.is_static else f"{scope}::*"
    const = " const" if signature.is_const else ""
    return f"static_cast<{signature.result} ({sort})({types}){const}>({pointer})"


def class_declaration(cls: Class, package_function: str, spell: Speller) -> list[str]:
    assert cls.base
    base = "tavo::ModelElement" if cls.base.is_builtin else spell.class_name(cls.base)
    flags = [flag for flag, holds in (("isAbstract", cls.abstract), ("isRoot", cls.root),
                                      ("derivedIdentity", cls.derived_identity)) if holds]
    life = "nullptr" if cls.abstract else "&tavo::detail::{}<Impl>"
    lead = lower_first(cls.name)
    fields = [("name", string_literal(cls.name)), ("qualifiedName", string_literal(cls.qualified_name)),
              ("id", string_literal(cls.id)),
              ("flags", " | ".join(f"tavo::ClassFlag::{flag}" for flag in flags) or "0"),
              ("base", f"&{base}::declaration"), ("package", f"&{package_function}"),
              ("storageSize", "sizeof(Impl::Storage)"), ("builtOn", "tavo::detail::layoutOf<Impl::Base>()"),
              ("construct", life.format("constructObject")),
              ("destroyStorage", life.format("destroyStorage")),
              ("properties", f"{lead}Properties" if cls.features else "{}"),
              ("operations", f"{lead}Operations" if cls.operations else "{}")]
    if cls.since:
        fields.append(("since", string_literal(cls.since)))
    if cls.doc:
        fields.append(("doc", _doc(cls.doc, len("      .doc = "))))
    return [f"const tavo::ClassDecl& {cls.name}::declaration() {{", "  static const tavo::ClassDecl declared{",
            *(f"      .{name} = {value}," for name, value in fields), "  };", "  return declared;", "}"]
