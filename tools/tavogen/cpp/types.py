"""How types of schemas read in C++, and what has to be included or declared for them."""

from __future__ import annotations

from ..builtin import ROOT
from ..schema import (Builtin, Class, Collection, Enumeration, Feature, Foreign, Kind, Package, Primitive, Shape,
                      Struct, Type)

_SCALARS = {"bool", "int32", "uint32", "int64", "uint64", "double"}


def cpp_namespace(dotted: str) -> str:
    return dotted.replace(".", "::")


def header_of(entity: Class | Enumeration | Struct, suffix: str = "") -> str:
    """Of the facade, or with a suffix like ".impl" of another file of the class."""
    short = entity.name.rpartition(".")[2]
    return f"{entity.folder}/{short}{suffix}.h"


def package_header(package: Package) -> str:
    return f"{package.header_folder}/package.h"


class Speller:
    """Spells types as seen from one namespace, and collects what the spelling needs."""

    def __init__(self, namespace: str) -> None:
        self._namespace = namespace  # dotted
        self.headers: set[str] = set()
        self.mentioned: set[Class] = set()

    def class_name(self, cls: Class) -> str:
        self.mentioned.add(cls)
        return self._relative(cls.namespace, cls.name)

    def value(self, type_: Type) -> str:
        """The type itself, as a member or a result has it."""
        inner = self._entity(type_)
        if type_.shape is Shape.MANY:
            self.headers.add("vector")
            return f"std::vector<{inner}>"
        if type_.shape is Shape.OPTIONAL and not type_.holds_objects:
            self.headers.add("optional")
            return f"std::optional<{inner}>"
        return inner

    def parameter(self, type_: Type) -> str:
        spelled = self.value(type_)
        if type_.is_output:
            return f"{spelled}&"
        return spelled if is_scalar(type_) else f"const {spelled}&"

    def result(self, type_: Type | None) -> str:
        if type_ is None:
            return "void"
        if isinstance(type_.entity, Builtin) and type_.entity.name == "MetaClass":
            return f"const {self.value(type_)}&"
        return self.value(type_)

    def stored(self, type_: Type) -> str:
        """What a getter of a stored value returns."""
        spelled = self.value(type_)
        return spelled if is_scalar(type_) else f"const {spelled}&"

    def view(self, feature: Feature) -> str:
        """The read-only view of a feature to many."""
        self.headers.add("tavo/collection/Views.h")
        target = self.class_name(feature.type.entity)
        if feature.collection is not Collection.MAP:
            return f"tavo::View<{target}>"
        keys = [self._key(key.type) for key in feature.keys]
        name = "MapView" if len(keys) == 1 else "IndexedMapView"
        return f"tavo::{name}<{', '.join([target, *keys])}>"

    def mutable(self, feature: Feature) -> str:
        self.headers.add("tavo/collection/Views.h")
        if feature.is_many:
            return f"tavo::Mutable<{self.view(feature)}>"
        return f"tavo::MutableChild<{self.class_name(feature.type.entity)}>"

    def _key(self, type_: Type) -> str:
        if is_string(type_):
            self.headers.add("string_view")
            return "std::u16string_view"
        return self.value(type_)

    def _entity(self, type_: Type) -> str:
        entity = type_.entity
        if isinstance(entity, Primitive) and entity.type:
            return self.value(entity.type)
        if isinstance(entity, Class):
            return self.class_name(entity)
        if isinstance(entity, Builtin):
            if entity.header:
                self.headers.add(entity.header)
            return entity.cpp
        if isinstance(entity, Foreign):
            self.headers.add(entity.header)
            if "std::shared_ptr" in entity.cpp or "std::unique_ptr" in entity.cpp:
                self.headers.add("memory")
            return entity.cpp
        self.headers.add(header_of(entity))
        return self._relative(entity.namespace, entity.short_name)

    def _relative(self, namespace: str, name: str) -> str:
        return name if namespace == self._namespace else f"{cpp_namespace(namespace)}::{name}"

    def forward_declarations(self, known: list[Class]) -> tuple[list[str], list[str]]:
        """Lines before and inside the own namespace that declare the mentioned classes, but for the known ones."""
        wanted = sorted((cls for cls in self.mentioned if cls not in known and cls is not ROOT),
                        key=lambda cls: (cls.namespace, cls.name))
        others: list[str] = []
        for namespace in sorted({cls.namespace for cls in wanted} - {self._namespace}):
            others.append(f"namespace {cpp_namespace(namespace)} {{")
            declared = [f"class {cls.name};" for cls in wanted if cls.namespace == namespace]
            others += [*declared, "}" if len(declared) == 1 else f"}} // namespace {cpp_namespace(namespace)}", ""]
        own = [f"class {cls.name};" for cls in wanted if cls.namespace == self._namespace]
        return others, [*own, ""] if own else []


def is_scalar(type_: Type) -> bool:
    """Passed by value."""
    entity = type_.entity
    if isinstance(entity, Primitive) and entity.type:
        entity = entity.type.entity
    return type_.shape is Shape.ONE and (
        isinstance(entity, Enumeration) or (isinstance(entity, Builtin) and entity.name in _SCALARS))


def is_string(type_: Type) -> bool:
    entity = type_.entity
    if isinstance(entity, Primitive) and entity.type:
        entity = entity.type.entity
    return type_.shape is Shape.ONE and isinstance(entity, Builtin) and entity.name == "string"


def datatype_headers(type_: Type) -> set[str]:
    """What specialises tavo::DatatypeOf for the type, where that is not the type's own header."""
    return {type_.entity.datatype} if isinstance(type_.entity, Foreign) else set()


def storage_size(feature: Feature) -> int:
    """The alignment of the stored field, by which fields are ordered so that no room is lost between them."""
    if not feature.holds_value or feature.type.shape is not Shape.ONE:
        return 8
    entity = feature.type.entity
    if isinstance(entity, Primitive) and entity.type:
        entity = entity.type.entity
    if isinstance(entity, Enumeration):
        return 4
    if isinstance(entity, Builtin):
        return {"bool": 1, "uuid": 1, "int32": 4, "uint32": 4}.get(entity.name, 8)
    return 8


KIND_ENUM = {Kind.ATTRIBUTE: "attribute", Kind.CONTAINER: "container", Kind.DERIVED: "derived", Kind.RUNTIME: "runtime"}


def feature_kind(feature: Feature) -> str:
    """The literal of tavo::FeatureKind."""
    if feature.kind in KIND_ENUM:
        return KIND_ENUM[feature.kind]
    verb = "contains" if feature.kind is Kind.CONTAINS else "refers"
    return verb + ("Many" if feature.is_many else "One")
