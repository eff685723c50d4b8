"""The rules of schemas that go beyond form: each function checks one, and says what is wrong in the author's words."""

from __future__ import annotations

import re
import uuid
from typing import Any

from .builtin import INTEGER_RANGES
from .cpp.members import feature_signatures
from .names import ROOT_MEMBERS, is_reserved, names_of
from .problems import Problems, suggestion
from .schema import (Builtin, Class, Enumeration, Feature, Foreign, Kind, Model, Operation, Package, Primitive,
                     Shape, Struct, Type)

_MOST_FEATURES = 65535  # their indexes have sixteen bits
_VERSION = re.compile(r"^\d+(\.\d+)*$")
_SHAPES = {
    Kind.ATTRIBUTE: (Shape.ONE, Shape.OPTIONAL, Shape.MANY),
    Kind.RUNTIME: (Shape.ONE, Shape.OPTIONAL, Shape.MANY),
    Kind.DERIVED: (Shape.ONE, Shape.OPTIONAL, Shape.MANY),
    Kind.CONTAINS: (Shape.OPTIONAL, Shape.OBJECTS),
    Kind.REFERS: (Shape.OPTIONAL, Shape.OBJECTS),
    Kind.CONTAINER: (Shape.ONE,),
}


def check(model: Model) -> None:
    """Raises SchemaError for linked schemas from which no sound code can be made."""
    problems = Problems()
    for package in model.packages:
        _check_package_versions(package, problems)
        for datatype in package.datatypes:
            if isinstance(datatype, Struct):
                _check_struct(datatype, problems)
            if isinstance(datatype, Enumeration) and 0 not in datatype.values.values():
                problems.report(datatype.place, "has no literal of value 0, which is what attributes start with")
        for cls in package.classes:
            _check_class(cls, problems)
        for cls in package.all_classes:
            _check_versions(cls, problems)
    problems.raise_if_any()


def _check_struct(struct: Struct, problems: Problems) -> None:
    for name, type_ in struct.fields.items():
        if is_reserved(name):
            problems.report(struct.place, f"field {name}: the name is reserved in C++")
        is_plain = isinstance(type_.entity, Enumeration) or (
            isinstance(type_.entity, Builtin) and type_.entity.is_attribute)
        if not is_plain or type_.shape is not Shape.ONE:
            problems.report(struct.place, f"field {name}: a struct holds built-in types and enumerations only")


def _check_class(cls: Class, problems: Problems) -> None:
    for feature in cls.features:
        _check_shape(feature, problems)
        _check_flags(feature, problems)
        _check_keys(feature, problems)
        _check_opposite(feature, problems)
        _check_default(feature, problems)
        _check_derived(feature, problems)
    for operation in cls.operations:
        _check_operation(operation, problems)
        _check_overriding(operation, problems)
    if len(cls.features) + len(cls.inherited_features()) > _MOST_FEATURES:
        problems.report(cls.place, f"has more than {_MOST_FEATURES} features, inherited ones included")
    _check_feature_names(cls, problems)
    _check_operation_names(cls, problems)
    _check_abstract_operations(cls, problems)


def _numbers(version: str) -> tuple[int, ...]:
    return tuple(int(number) for number in version.split("."))


def _check_package_versions(package: Package, problems: Problems) -> None:
    if not _VERSION.match(package.version):
        problems.report(package.place, f"'{package.version}' is no version")
    for version in package.versions:
        if package.versions.count(version) > 1:
            problems.report(package.place, f"versions: {version} stands there twice")
            break


def _check_versions(cls: Class, problems: Problems) -> None:
    for thing in (cls, *cls.all_features):
        for what, version in (("since", thing.since), ("removed", thing.removed), *(("was", name) for name in thing.was)):
            if version:
                _check_version(thing, what, version, cls.package, problems)


def _check_version(thing: Class | Feature, what: str, version: str, package: Package, problems: Problems) -> None:
    if len(package.versions) > 1:
        if version not in package.versions:
            problems.report(thing.place, f"{what}: {version} is none of the package's versions, "
                                         f"{', '.join(package.versions)}")
    elif not _VERSION.match(version):
        problems.report(thing.place, f"{what}: '{version}' is no version")
    elif _VERSION.match(package.version) and _numbers(version) > _numbers(package.version):
        problems.report(thing.place, f"{what}: {version} is later than the package's version {package.version}")


# Features


def _check_shape(feature: Feature, problems: Problems) -> None:
    shapes = _SHAPES[feature.kind]
    if feature.type.is_output:
        problems.report(feature.place, "'out' is for arguments")
    if feature.type.shape not in shapes:
        wanted = " or ".join(f"'{feature.type.name}{shape.value}'" for shape in shapes)
        problems.report(feature.place, f"{feature.kind.value}: {wanted} is wanted, not '{feature.type.spelling}'")
    entity = feature.type.entity
    if feature.holds_value:
        if isinstance(entity, Class):
            problems.report(feature.place, f"{feature.kind.value}: '{feature.type.name}' is a class; "
                                           "objects are held by 'contains' and 'refers'")
        elif isinstance(entity, Builtin) and not entity.is_attribute:
            problems.report(feature.place, f"{feature.kind.value}: '{feature.type.name}' is for operations only")
    if feature.kind is Kind.ATTRIBUTE and feature.saved and isinstance(entity, Foreign) and not entity.saved:
        problems.report(feature.place, f"foreign type {entity.name} is never saved; say saved = false")


def _check_flags(feature: Feature, problems: Problems) -> None:
    def refuse(flag: str, reason: str) -> None:
        problems.report(feature.place, f"{flag}: {reason}")

    if feature.key_names and feature.unique:
        refuse("unique", "a map has unique keys already")
    if (feature.key_names or feature.unique) and not feature.is_many:
        refuse("keys" if feature.key_names else "unique", "is for features to many")
    if feature.by_name and feature.kind is not Kind.DERIVED:
        refuse("by", "is for derived features")
    if feature.opposite_name and feature.kind not in (Kind.CONTAINS, Kind.CONTAINER, Kind.REFERS):
        refuse("opposite", "is for features that hold objects")
    if feature.default is not None and feature.kind is not Kind.ATTRIBUTE:
        refuse("default", "is for attributes")
    has_setter = feature.kind is not Kind.DERIVED and not feature.is_many
    if feature.hook and not feature.holds_value:
        refuse("hook", "is for attributes and runtime state")
    if feature.virtual and not has_setter:
        refuse("virtual", "is for features with a setter")
    if feature.setter_public and (feature.readonly or feature.kind in (Kind.DERIVED, Kind.CONTAINER)):
        refuse("setter", "the feature is read-only" if feature.readonly else f"a {feature.kind.value} feature has none")


def _check_keys(feature: Feature, problems: Problems) -> None:
    if len(feature.key_names) > 2:
        problems.report(feature.place, "keys: two at most")
    for key in feature.keys:
        entity = key.type.entity
        if isinstance(entity, Primitive) and entity.type:
            entity = entity.type.entity
        if (key.kind is not Kind.ATTRIBUTE or key.type.shape is not Shape.ONE
                or not isinstance(entity, (Builtin, Enumeration))):
            problems.report(feature.place, f"keys: {key.qualified_name} is no plain attribute")


def _check_opposite(feature: Feature, problems: Problems) -> None:
    if feature.kind is Kind.CONTAINER and not feature.opposite_name:
        problems.report(feature.place, "'opposite' is missing: it names the containment of the owner")
    opposite = feature.opposite
    if not opposite:
        return
    wanted = {Kind.CONTAINER: Kind.CONTAINS, Kind.CONTAINS: Kind.CONTAINER, Kind.REFERS: Kind.REFERS}[feature.kind]
    if opposite is feature:
        problems.report(feature.place, "opposite: a feature cannot be its own; declare the other end as a feature, too")
        return
    if opposite.kind is not wanted:
        problems.report(feature.place, f"opposite: {opposite.qualified_name} is not declared by '{wanted.value}'")
        return
    if opposite.opposite is not feature:
        leads = f"leads to {opposite.opposite.qualified_name}" if opposite.opposite else "names no opposite"
        problems.report(feature.place, f"opposite: {opposite.qualified_name} does not point back; it {leads}")
    elif not _related(feature.owner, opposite.type.entity):
        problems.report(feature.place, f"opposite: {opposite.qualified_name} holds objects of class "
                                       f"{opposite.type.entity.name}, and {feature.owner.name} is none")
    elif feature.kind is Kind.REFERS and feature.saved and opposite.saved and _is_first(feature, opposite):
        problems.report(feature.place, f"both this feature and its opposite {opposite.qualified_name} would be saved; "
                                       "say saved = false at one of them")


def _related(cls: Class, other: Class) -> bool:
    return cls.is_a(other) or other.is_a(cls)


def _is_first(feature: Feature, opposite: Feature) -> bool:
    """Of a pair, the end at which a fault of both is reported."""
    return feature.qualified_name <= opposite.qualified_name


def _check_default(feature: Feature, problems: Problems) -> None:
    if feature.default is None or feature.kind is not Kind.ATTRIBUTE:
        return
    if fault := default_fault(feature.type, feature.default):
        problems.report(feature.place, f"default: {fault}")


def default_fault(type_: Type, value: Any) -> str:
    """Why a TOML value is no default of the type, or nothing."""
    entity = type_.entity
    if isinstance(entity, Primitive) and entity.type:
        entity = entity.type.entity
    if type_.shape is Shape.MANY:
        return f"a sequence like '{type_.spelling}' starts empty"
    if isinstance(entity, Enumeration):
        if value in entity.values:
            return ""
        return f"{entity.short_name} has no literal {value!r}{suggestion(str(value), entity.values)}"
    if not isinstance(entity, Builtin):
        return f"the type {type_.name} has no defaults in schemas"
    if entity.name in INTEGER_RANGES:
        low, high = INTEGER_RANGES[entity.name]
        is_integer = isinstance(value, int) and not isinstance(value, bool)
        return "" if is_integer and low <= value <= high else f"{value!r} is no {entity.name}"
    if entity.name == "double":
        return "" if isinstance(value, (int, float)) and not isinstance(value, bool) else f"{value!r} is no double"
    if entity.name == "bool":
        return "" if isinstance(value, bool) else f"{value!r} is neither true nor false"
    if not isinstance(value, str):
        return f"{value!r} is no text"
    if entity.name == "uuid":
        try:
            uuid.UUID(value)
        except ValueError:
            return f"{value!r} is no UUID"
    return ""


def _check_derived(feature: Feature, problems: Problems) -> None:
    if feature.kind is not Kind.DERIVED:
        return
    if not feature.by_name:
        problems.report(feature.place, "'by' is missing: it names the operation that computes the feature")
    if not (operation := feature.by):
        return
    if operation.is_static or not operation.is_const or operation.args:
        problems.report(feature.place, f"by: {operation.key} is not a const operation without arguments")
    elif not operation.returns or not operation.returns.same_as(feature.type):
        returns = operation.returns.spelling if operation.returns else "nothing"
        problems.report(feature.place, f"by: {operation.key} returns {returns}, not {feature.type.spelling}")


# Operations


def _check_operation(operation: Operation, problems: Problems) -> None:
    def refuse(message: str) -> None:
        problems.report(operation.place, message)

    for name in (operation.name, *(argument.name for argument in operation.args)):
        if is_reserved(name):
            refuse(f"the name '{name}' is reserved in C++")
    seen = set()
    for argument in operation.args:
        if argument.name in seen:
            refuse(f"has two arguments '{argument.name}'")
        seen.add(argument.name)
        if argument.type.shape is Shape.OBJECTS:
            refuse(f"argument '{argument.name}': several objects are '{argument.type.name}[]' here")
    if operation.returns and operation.returns.shape is Shape.OBJECTS:
        refuse(f"returns: several objects are '{operation.returns.name}[]' here")
    if operation.returns and operation.returns.is_output:
        refuse("returns: 'out' is for arguments")
    if operation.is_static and (operation.is_virtual or operation.is_override or operation.is_const):
        refuse("a static operation is neither virtual nor const and overrides nothing")
    if operation.is_virtual and operation.is_override:
        refuse("what overrides is virtual already; say override alone")
    if operation.is_abstract and not (operation.is_virtual or operation.is_override):
        refuse("an abstract operation is virtual, too")


def _matches(a: Operation, b: Operation) -> bool:
    return (a.name == b.name and len(a.args) == len(b.args)
            and all(x.type.same_as(y.type) for x, y in zip(a.args, b.args)))


def overridden(operation: Operation) -> Operation | Feature | None:
    """The virtual operation, or the feature with the virtual setter, that an operation overrides: the nearest."""
    for cls in operation.owner.ancestors():
        for other in cls.operations:
            if (other.is_virtual or other.is_override) and _matches(other, operation):
                return other
        for feature in cls.features:
            if feature.virtual and names_of(feature).setter == operation.name and _sets(operation, feature):
                return feature
    return None


def _sets(operation: Operation, feature: Feature) -> bool:
    if len(operation.args) != 1:
        return False
    argument = operation.args[0].type
    if argument.entity is not feature.type.entity:
        return False
    return feature.type.holds_objects or argument.shape is feature.type.shape


def _check_overriding(operation: Operation, problems: Problems) -> None:
    base = overridden(operation)
    if not operation.is_override:
        if base and not operation.is_static:
            problems.report(operation.place, f"hides the virtual {base.owner.name}.{operation.name} of a base class; "
                                             "say override")
        return
    if isinstance(base, Feature):
        if operation.returns or operation.is_const:
            problems.report(operation.place, f"overrides the setter of {base.qualified_name}, which returns nothing "
                                             "and is not const")
    elif base:
        same_result = (base.returns is None) == (operation.returns is None) and (
            not base.returns or base.returns.same_as(operation.returns))
        if not same_result or base.is_const != operation.is_const:
            problems.report(operation.place, f"differs from what it overrides: {base.owner.name}.{base.name}"
                                             f"{base.signature_text()}")
    else:
        _report_override_of_nothing(operation, problems)


def _report_override_of_nothing(operation: Operation, problems: Problems) -> None:
    virtuals = [other for cls in operation.owner.ancestors() for other in cls.operations
                if other.is_virtual or other.is_override]
    for other in virtuals:
        if other.name == operation.name:
            problems.report(operation.place, "overrides nothing: the arguments differ from "
                                             f"{other.owner.name}.{other.name}{other.signature_text()}")
            return
    for feature in operation.owner.inherited_features():
        if feature.virtual and names_of(feature).setter == operation.name:
            argument = feature.type.name if feature.type.holds_objects else feature.type.spelling
            problems.report(operation.place, "overrides nothing: the arguments differ from those of the setter of "
                                             f"{feature.qualified_name}, ({argument})")
            return
    names = [other.name for other in virtuals]
    problems.report(operation.place, f"overrides nothing: no base class has a virtual '{operation.name}'"
                                     f"{suggestion(operation.name, names)}")


# Names


def _check_feature_names(cls: Class, problems: Problems) -> None:
    features: dict[str, Feature] = {}
    accessors: dict[str, Feature] = {}
    for feature in (*cls.inherited_features(), *cls.features):
        is_own = feature.owner is cls
        accessor = names_of(feature).accessor
        is_on_facade = is_own and not feature.getter_hidden
        if is_own and feature.name in features:
            problems.report(feature.place, f"class {features[feature.name].owner.name} has a feature of this name")
        elif is_own and accessor in accessors:
            other = accessors[accessor].qualified_name
            problems.report(feature.place, f"its accessor '{accessor}' is that of {other}; "
                                           "give it another name with 'accessor'")
        elif is_own and is_reserved(accessor):
            problems.report(feature.place, f"its accessor '{accessor}' is reserved in C++; "
                                           "give it another name with 'accessor'")
        elif is_on_facade and accessor in ROOT_MEMBERS:
            problems.report(feature.place, f"its accessor '{accessor}' hides a member of tavo.ModelElement; "
                                           "give it another name with 'accessor'")
        features[feature.name] = feature
        accessors[accessor] = feature


def _check_operation_names(cls: Class, problems: Problems) -> None:
    generated: dict[tuple[str, int], Feature] = {}
    for feature in (*cls.inherited_features(), *cls.features):
        if feature.type.shape not in _SHAPES[feature.kind]:
            continue  # reported; there is nothing to be made of it
        on_facade, on_impl = feature_signatures(feature)
        for signature in (*on_impl, *on_facade):
            generated[signature.name, len(signature.parameters)] = feature
    seen: list[Operation] = []
    for operation in cls.operations:
        if operation.name in ROOT_MEMBERS and not operation.is_static:
            problems.report(operation.place, f"hides the member '{operation.name}' of tavo.ModelElement; "
                                             "give it another name")
        feature = generated.get((operation.name, len(operation.args)))
        if feature and not operation.is_override:
            problems.report(operation.place, f"'{operation.name}' is generated for {feature.qualified_name} already")
        for other in seen:
            if _matches(other, operation):
                problems.report(operation.place, f"has the name and arguments of operation {other.key}")
        seen.append(operation)


def _check_abstract_operations(cls: Class, problems: Problems) -> None:
    if cls.abstract:
        return
    lineage = [cls, *cls.ancestors()]
    for at, ancestor in enumerate(lineage):
        for operation in ancestor.operations:
            if operation.is_abstract and not any(
                    _matches(other, operation) and not other.is_abstract
                    for below in lineage[:at] for other in below.operations):
                problems.report(cls.place, f"is not abstract, but leaves the abstract {ancestor.name}."
                                           f"{operation.name} without a body")
