"""Reference pages in Markdown, one per package."""

from __future__ import annotations

from .schema import Class, Collection, Enumeration, Feature, Foreign, Kind, Operation, Package, Primitive, Struct


def render(package: Package) -> str:
    parts = [f"# {package.name} {package.version}\n\n{package.doc}\n\n`{package.uri}`\n"]
    for namespace in package.namespaces:
        parts.append(f"## {namespace.name}\n\n{namespace.doc}\n")
        parts += [_datatype(datatype) for datatype in package.datatypes if datatype.namespace == namespace.name]
        parts += [_class(cls) for cls in package.classes if cls.namespace == namespace.name]
    foreign = [datatype for datatype in package.datatypes if isinstance(datatype, Foreign)]
    if foreign:
        rows = "".join(f"| `{datatype.name}` | `{datatype.cpp}` | {_cell(datatype.doc)} |\n" for datatype in foreign)
        parts.append(f"## Types of other libraries\n\n| name | C++ | |\n|---|---|---|\n{rows}")
    return "\n".join(parts)


def _cell(text: str) -> str:
    return text.replace("|", "\\|")


def _datatype(datatype) -> str:
    head = f"### {datatype.short_name}\n\n"
    if isinstance(datatype, Enumeration):
        rows = "".join(f"| `{literal}` | {value} |\n" for literal, value in datatype.values.items())
        return f"{head}Enumeration. {datatype.doc}\n\n| literal | value |\n|---|---|\n{rows}"
    if isinstance(datatype, Struct):
        rows = "".join(f"| `{name}` | `{type_.spelling}` |\n" for name, type_ in datatype.fields.items())
        return f"{head}Struct. {datatype.doc}\n\n| field | type |\n|---|---|\n{rows}"
    if isinstance(datatype, Primitive) and datatype.type:
        return f"{head}Another name of `{datatype.type.spelling}`. {datatype.doc}\n"
    return ""


def _class(cls: Class) -> str:
    bases = " → ".join(f"`{base.qualified_name}`" for base in cls.ancestors())
    words = [word for word, holds in (("abstract", cls.abstract), ("may stand at the top of a model", cls.root),
                                      ("identity derived from the owner", cls.derived_identity),
                                      (f"since {cls.since}", cls.since)) if holds]
    text = f"### {cls.name}\n\n{cls.doc}\n\nBases: {bases}" + (f" · {', '.join(words)}" if words else "") + "\n"
    if cls.features:
        rows = "".join(_feature_row(feature) for feature in cls.features)
        text += f"\n| feature | kind | type | | |\n|---|---|---|---|---|\n{rows}"
    if cls.operations:
        rows = "".join(_operation_row(operation) for operation in cls.operations)
        text += f"\n| operation | | |\n|---|---|---|\n{rows}"
    return text


def _feature_row(feature: Feature) -> str:
    flags = []
    if feature.collection is Collection.MAP:
        flags.append("by " + " and ".join(f"`{name}`" for name in feature.key_names))
    if feature.collection is Collection.SET:
        flags.append("unique")
    if feature.opposite:
        flags.append(f"opposite `{feature.opposite.owner.name}.{feature.opposite.name}`")
    if feature.by:
        flags.append(f"computed by `{feature.by.name}`")
    if feature.default is not None:
        flags.append(f"default `{feature.default}`")
    flags += [word for word, holds in (
        ("not saved", not feature.saved and feature.kind is not Kind.RUNTIME), ("read-only", feature.readonly),
        ("hidden from scripts", feature.hidden), ("settable", feature.setter_public),
        (f"since {feature.since}", feature.since)) if holds]
    return (f"| `{feature.name}` | {feature.kind.value} | `{feature.type.spelling}` | {', '.join(flags)} | "
            f"{_cell(feature.doc)} |\n")


def _operation_row(operation: Operation) -> str:
    args = ", ".join(f"{argument.name}: {argument.type.spelling}" for argument in operation.args)
    returns = f" → {operation.returns.spelling}" if operation.returns else ""
    words = [word for word, holds in (
        ("static", operation.is_static), ("abstract", operation.is_abstract),
        ("virtual", operation.is_virtual and not operation.is_abstract), ("override", operation.is_override),
        ("const", operation.is_const), ("event", operation.is_event), ("internal", not operation.is_public)) if holds]
    return f"| `{operation.name}({args}){returns}` | {', '.join(words)} | {_cell(operation.doc)} |\n"
