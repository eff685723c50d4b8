"""Fixed identifiers: the given ones, and for all else the version-3 UUID of the dotted name in the package's space."""

from __future__ import annotations

import uuid

from .problems import Place, Problems
from .schema import Foreign, Model, Package


def derive(model: Model, problems: Problems) -> None:
    seen: dict[str, str] = {}
    for package in model.packages:
        for name, identifier, place in _assign(package):
            if other := seen.get(identifier):
                problems.report(place, f"the identifier {identifier} of {name} belongs to {other} already")
            seen.setdefault(identifier, name)


def _assign(package: Package) -> list[tuple[str, str, Place]]:
    """Fills in what is missing; answers (name, identifier, place) of everything that has one."""
    space = uuid.UUID(package.identifiers)
    found = []

    def identify(thing, name: str, place: Place) -> None:
        thing.id = thing.id or str(uuid.uuid3(space, name))
        found.append((name, thing.id, place))

    for datatype in package.datatypes:
        if not isinstance(datatype, Foreign):
            identify(datatype, datatype.name, datatype.place)
    for cls in package.all_classes:
        identify(cls, cls.qualified_name, cls.place)
        for feature in cls.all_features:
            identify(feature, feature.qualified_name, feature.place)
        for operation in cls.operations:
            identify(operation, operation.qualified_name, operation.place)
            for argument in operation.args:
                identify(argument, f"{operation.qualified_name}.{argument.name}", operation.place)
    return found


def listing(package: Package) -> str:
    """Every identifier of a package with its name, in the order of declaration."""
    return "".join(f"{identifier} {name}\n" for name, identifier, _ in _assign(package))
