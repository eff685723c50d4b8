"""What schemas say, as plain records. Loading fills them, linking connects them; nothing here reads or writes files."""

from __future__ import annotations

from dataclasses import dataclass, field
from enum import Enum
from pathlib import Path, PurePosixPath
from typing import Any

from .problems import Place


class Kind(Enum):
    """The kind of a feature; the value is the key that declares it."""

    ATTRIBUTE = "attribute"
    CONTAINS = "contains"
    CONTAINER = "container"
    REFERS = "refers"
    DERIVED = "derived"
    RUNTIME = "runtime"


class Collection(Enum):
    SEQUENCE = "sequence"
    SET = "set"
    MAP = "map"


class Shape(Enum):
    """How often a type's name is meant: the mark behind it."""

    ONE = ""
    OPTIONAL = "?"
    MANY = "[]"
    OBJECTS = "*"


@dataclass
class Builtin:
    """A type that every schema knows."""

    name: str
    cpp: str
    header: str = ""
    is_attribute: bool = True  # else only for operations


@dataclass
class Type:
    """A type as a schema spells it, and what the name stands for once linked."""

    spelling: str
    name: str
    shape: Shape = Shape.ONE
    is_output: bool = False
    entity: Any = None  # Builtin, Enumeration, Struct, Primitive, Foreign or Class

    @property
    def holds_objects(self) -> bool:
        return isinstance(self.entity, Class)

    def same_as(self, other: Type) -> bool:
        return (self.entity is other.entity and self.shape is other.shape and self.is_output == other.is_output)


@dataclass(eq=False)
class Datatype:
    """What enumerations, structs, primitives and foreign types have in common."""

    package: Package
    name: str  # dotted, or plain for foreign types
    place: Place
    doc: str = ""
    id: str = ""

    @property
    def short_name(self) -> str:
        return self.name.rpartition(".")[2]

    @property
    def namespace(self) -> str:
        return self.name.rpartition(".")[0]


@dataclass(eq=False)
class Enumeration(Datatype):
    values: dict[str, int] = field(default_factory=dict)
    folder: PurePosixPath = PurePosixPath()


@dataclass(eq=False)
class Struct(Datatype):
    fields: dict[str, Type] = field(default_factory=dict)
    folder: PurePosixPath = PurePosixPath()


@dataclass(eq=False)
class Primitive(Datatype):
    type: Type | None = None


@dataclass(eq=False)
class Foreign(Datatype):
    cpp: str = ""
    header: str = ""
    datatype: str = ""
    saved: bool = True


@dataclass(eq=False)
class Feature:
    owner: Class
    name: str
    place: Place
    kind: Kind
    type: Type
    id: str = ""
    doc: str = ""
    accessor: str = ""
    default: Any = None
    saved: bool = True
    readonly: bool = False
    hidden: bool = False
    getter_hidden: bool = False
    setter_public: bool = False
    hook: bool = False
    virtual: bool = False
    unique: bool = False
    key_names: list[str] = field(default_factory=list)
    opposite_name: str = ""
    by_name: str = ""
    since: str = ""
    removed: str = ""
    was: dict[str, str] = field(default_factory=dict)  # version -> the name before it
    # linked
    index: int = -1
    keys: list[Feature] = field(default_factory=list)
    opposite: Feature | None = None
    by: Operation | None = None

    @property
    def qualified_name(self) -> str:
        return f"{self.owner.qualified_name}.{self.name}"

    @property
    def is_many(self) -> bool:
        return self.type.shape is Shape.OBJECTS

    @property
    def holds_value(self) -> bool:
        """Stored by value: an attribute or runtime state."""
        return self.kind in (Kind.ATTRIBUTE, Kind.RUNTIME)

    @property
    def is_stored(self) -> bool:
        return self.kind not in (Kind.CONTAINER, Kind.DERIVED)

    @property
    def collection(self) -> Collection:
        if self.key_names:
            return Collection.MAP
        return Collection.SET if self.unique else Collection.SEQUENCE


@dataclass
class Argument:
    name: str
    type: Type
    id: str = ""


@dataclass(eq=False)
class Operation:
    owner: Class
    key: str  # as the schema names it
    place: Place
    name: str = ""  # in C++
    id: str = ""
    doc: str = ""
    args: list[Argument] = field(default_factory=list)
    returns: Type | None = None
    is_static: bool = False
    is_virtual: bool = False
    is_override: bool = False
    is_abstract: bool = False
    is_const: bool = False
    is_event: bool = False
    is_public: bool = True
    later: bool = False  # declared, and not written yet

    @property
    def qualified_name(self) -> str:
        return f"{self.owner.qualified_name}.{self.key}"

    def signature_text(self) -> str:
        """The signature in the spelling of schemas: "(string) -> Value const"."""
        text = "(" + ", ".join(arg.type.spelling for arg in self.args) + ")"
        if self.returns:
            text += f" -> {self.returns.spelling}"
        return text + (" const" if self.is_const else "")


@dataclass(eq=False)
class Class:
    package: Package
    namespace: str
    name: str
    place: Place
    base_name: str = ""
    id: str = ""
    doc: str = ""
    abstract: bool = False
    root: bool = False
    later: bool = False  # so are all its operations
    derived_identity: bool = False
    since: str = ""
    removed: str = ""
    was: dict[str, str] = field(default_factory=dict)  # version -> the name before it
    folder: PurePosixPath = PurePosixPath()  # of the generated headers, below the include root
    all_features: list[Feature] = field(default_factory=list)  # those that were removed, too
    operations: list[Operation] = field(default_factory=list)
    is_builtin: bool = False
    # linked
    base: Class | None = None

    @property
    def qualified_name(self) -> str:
        return f"{self.namespace}.{self.name}"

    @property
    def features(self) -> list[Feature]:
        return [feature for feature in self.all_features if not feature.removed]

    @property
    def former_features(self) -> list[Feature]:
        """Of a class that was removed, all of them."""
        return [feature for feature in self.all_features if feature.removed or self.removed]

    def ancestors(self) -> list[Class]:
        """From the direct base to the root."""
        found: list[Class] = []
        at = self.base
        while at and at not in found:
            found.append(at)
            at = at.base
        return found

    def is_a(self, other: Class) -> bool:
        return self is other or other in self.ancestors()

    def find_feature(self, name: str) -> Feature | None:
        """Own or inherited; one that was removed is not there."""
        for cls in (self, *self.ancestors()):
            for feature in cls.features:
                if feature.name == name:
                    return feature
        return None

    def inherited_features(self) -> list[Feature]:
        """From the root down: the order of their indexes."""
        return [feature for cls in reversed(self.ancestors()) for feature in cls.features]

    def find_operation(self, key: str) -> Operation | None:
        for cls in (self, *self.ancestors()):
            for operation in cls.operations:
                if operation.key == key:
                    return operation
        return None


@dataclass
class Namespace:
    name: str
    doc: str = ""


@dataclass(eq=False)
class Package:
    name: str
    place: Place
    version: str = ""
    versions: list[str] = field(default_factory=list)  # all that there were, the present one last
    path: str = ""
    uri: str = ""
    identifiers: str = ""
    export: str = ""
    export_header: str = ""
    doc: str = ""
    depends_names: list[str] = field(default_factory=list)
    namespaces: list[Namespace] = field(default_factory=list)
    folder: Path = Path()  # the folder that `path` stands for
    header_folder: PurePosixPath = PurePosixPath()  # where what stands in the package's own file goes
    is_emitted: bool = True
    datatypes: list[Datatype] = field(default_factory=list)
    all_classes: list[Class] = field(default_factory=list)  # those that were removed, too
    # linked
    depends: list[Package] = field(default_factory=list)

    @property
    def classes(self) -> list[Class]:
        return [cls for cls in self.all_classes if not cls.removed]

    def visible(self) -> list[Package]:
        """The packages whose types may be named here, this one first."""
        found: list[Package] = []
        waiting = [self]
        while waiting:
            package = waiting.pop(0)
            if package not in found:
                found.append(package)
                waiting += package.depends
        return found


@dataclass
class Model:
    """All schemas of one call."""

    packages: list[Package] = field(default_factory=list)

    def emitted(self) -> list[Package]:
        return [package for package in self.packages if package.is_emitted]
