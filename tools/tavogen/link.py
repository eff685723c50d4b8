"""Connects records: names of types, bases, opposites, keys and computing operations become the things they name."""

from __future__ import annotations

from .builtin import ATTRIBUTE_TYPES, CALL_TYPES, ROOT
from .identifiers import derive
from .problems import Place, Problems, suggestion
from .schema import Class, Feature, Foreign, Kind, Model, Package, Primitive, Struct, Type


def link(model: Model) -> None:
    """Raises SchemaError; afterwards every name in the model is connected."""
    problems = Problems()
    _link_packages(model, problems)
    problems.raise_if_any()
    _find_duplicate_names(model, problems)
    problems.raise_if_any()
    scopes = {package.name: _Scope(package) for package in model.packages}
    for package in model.packages:
        for cls in package.classes:
            cls.base = scopes[package.name].find_class(cls.base_name, cls.place, "base", problems)
    problems.raise_if_any()
    _find_cycles(model, problems)
    problems.raise_if_any()
    for package in model.packages:
        _link_types(package, scopes[package.name], problems)
    problems.raise_if_any()
    for package in model.packages:
        for cls in package.classes:
            for feature in cls.features:
                _link_feature(feature, problems)
    problems.raise_if_any()
    for package in model.packages:
        for cls in package.classes:
            _infer_opposites(cls, problems)
            first = len(cls.inherited_features())
            for offset, feature in enumerate(cls.features):
                feature.index = first + offset
    for package in model.packages:
        _link_history(package, problems)
    derive(model, problems)
    problems.raise_if_any()


_NOT_GIVEN = "; give its schemas, too: in CMake, by DEPENDS with the target that has them"


class _Scope:
    """The names that schemas of a package may use."""

    def __init__(self, package: Package, with_removed: bool = False) -> None:
        self._dotted: dict[str, list] = {ROOT.qualified_name: [ROOT]}
        # A short name means what stands in the first of these that knows it: built-in types, the package, the others.
        builtin = {name: [type_] for name, type_ in (ATTRIBUTE_TYPES | CALL_TYPES).items()}
        self._levels: list[dict[str, list]] = [builtin, {}, {}]
        for visible in package.visible():
            level = self._levels[1 if visible is package else 2]
            for entity in (*(visible.all_classes if with_removed else visible.classes), *visible.datatypes):
                dotted = entity.qualified_name if isinstance(entity, Class) else entity.name
                self._dotted.setdefault(dotted, []).append(entity)
                level.setdefault(dotted.rpartition(".")[2], []).append(entity)
        self._levels[2].setdefault(ROOT.name, []).append(ROOT)

    def _look_up(self, name: str) -> list:
        if "." in name:
            return self._dotted.get(name, [])
        return next((level[name] for level in self._levels if name in level), [])

    def find(self, name: str, place: Place, what: str, problems: Problems):
        found = self._look_up(name)
        if len(found) == 1:
            return found[0]
        if found:
            candidates = " and ".join(sorted(getattr(entity, "qualified_name", entity.name) for entity in found))
            problems.report(place, f"{what} '{name}' is ambiguous: {candidates}")
        else:
            known = [*self._dotted, *(short for level in self._levels for short in level)]
            problems.report(place, f"unknown {what} '{name}'{suggestion(name, known)}")
        return None

    def find_class(self, name: str, place: Place, what: str, problems: Problems) -> Class | None:
        entity = self.find(name, place, f"{what} class", problems)
        if entity and not isinstance(entity, Class):
            problems.report(place, f"{what} class '{name}' is no class")
            return None
        return entity


def _link_packages(model: Model, problems: Problems) -> None:
    by_name = {package.name: package for package in model.packages}
    for package in model.packages:
        for name in package.depends_names:
            if name in by_name:
                package.depends.append(by_name[name])
            else:
                problems.report(package.place, f"unknown package '{name}'{suggestion(name, by_name) or _NOT_GIVEN}")


def _find_duplicate_names(model: Model, problems: Problems) -> None:
    seen: dict[str, Place] = {}
    headers: dict[str, str] = {}
    for package in model.packages:
        things: list[tuple[str, Place]] = [(cls.qualified_name, cls.place) for cls in package.all_classes]
        things += [(datatype.name, datatype.place) for datatype in package.datatypes]
        for name, place in things:
            if name in seen:
                problems.report(place, f"the name {name} is taken by {seen[name]}")
                problems.raise_if_any()
            seen.setdefault(name, place)
        for thing in (*package.classes, *package.datatypes):
            if isinstance(thing, (Primitive, Foreign)):
                continue
            header = f"{thing.folder}/{thing.name.rpartition('.')[2]}.h"
            if header in headers:
                problems.report(thing.place, f"its header {header} is that of {headers[header]}, too")
            headers.setdefault(header, thing.place.subject)


def _find_cycles(model: Model, problems: Problems) -> None:
    seen: set[Class] = set()
    for package in model.packages:
        for cls in package.classes:
            if cls in cls.ancestors() and not seen.intersection(cls.ancestors()):
                seen.add(cls)
                chain = [cls.name]
                at = cls.base
                while at and at is not cls:
                    chain.append(at.name)
                    at = at.base
                problems.report(cls.place, f"is its own base: {' -> '.join([*chain, cls.name])}")


def _link_types(package: Package, scope: _Scope, problems: Problems) -> None:
    def resolve(type_: Type | None, place: Place) -> None:
        if type_:
            type_.entity = scope.find(type_.name, place, "type", problems)

    for datatype in package.datatypes:
        if isinstance(datatype, Struct):
            for field in datatype.fields.values():
                resolve(field, datatype.place)
        elif isinstance(datatype, Primitive):
            resolve(datatype.type, datatype.place)
    for cls in package.classes:
        for feature in cls.features:
            if feature.kind in (Kind.CONTAINS, Kind.CONTAINER, Kind.REFERS):
                feature.type.entity = scope.find_class(feature.type.name, feature.place, "target", problems)
            else:
                resolve(feature.type, feature.place)
        for operation in cls.operations:
            for argument in operation.args:
                resolve(argument.type, operation.place)
            resolve(operation.returns, operation.place)


def _link_feature(feature: Feature, problems: Problems) -> None:
    target = feature.type.entity
    if feature.by_name:
        feature.by = feature.owner.find_operation(feature.by_name)
        if not feature.by:
            names = [operation.key for cls in (feature.owner, *feature.owner.ancestors())
                     for operation in cls.operations]
            problems.report(feature.place, f"by: class {feature.owner.name} has no operation "
                                           f"'{feature.by_name}'{suggestion(feature.by_name, names)}")
    if not isinstance(target, Class):
        return
    for name in feature.key_names:
        if key := _find_target_feature(feature, name, "key", problems):
            feature.keys.append(key)
    if feature.opposite_name:
        feature.opposite = _find_target_feature(feature, feature.opposite_name, "opposite", problems)


def _find_target_feature(feature: Feature, name: str, what: str, problems: Problems) -> Feature | None:
    target = feature.type.entity
    if found := target.find_feature(name):
        return found
    for cls in (target, *target.ancestors()):
        for other in cls.all_features:
            if other.name == name:
                problems.report(feature.place, f"{what}: feature '{name}' of class {cls.name} was removed in "
                                               f"{other.removed}")
                return None
    names = [other.name for cls in (target, *target.ancestors()) for other in cls.features]
    problems.report(feature.place, f"{what}: class {target.name} has no feature '{name}'{suggestion(name, names)}")
    return None


def _link_history(package: Package, problems: Problems) -> None:
    """What was removed may name what was removed; nothing else may."""
    scope = _Scope(package, with_removed=True)
    for cls in package.all_classes:
        if cls.removed:
            cls.base = scope.find_class(cls.base_name, cls.place, "base", problems)
        for feature in cls.former_features:
            if feature.kind in (Kind.CONTAINS, Kind.REFERS):
                feature.type.entity = scope.find_class(feature.type.name, feature.place, "target", problems)


def _infer_opposites(cls: Class, problems: Problems) -> None:
    """A containment need not name its back reference: the back reference names the containment."""
    for feature in cls.features:
        if feature.kind is not Kind.CONTAINER or not feature.opposite:
            continue
        containment = feature.opposite
        if containment.kind is Kind.CONTAINS and not containment.opposite_name:
            if containment.opposite and containment.opposite is not feature:
                problems.report(feature.place, f"opposite: {containment.qualified_name} has the back reference "
                                               f"{containment.opposite.qualified_name} already")
            else:
                containment.opposite = feature
