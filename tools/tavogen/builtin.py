"""What the framework itself brings: the built-in types, and the root class."""

from __future__ import annotations

from pathlib import Path, PurePosixPath

from .problems import Place
from .schema import Builtin, Class, Operation, Package

ATTRIBUTE_TYPES = {type_.name: type_ for type_ in (
    Builtin("string", "tavo::String", "tavo/core/String.h"),
    Builtin("bool", "bool"),
    Builtin("int32", "std::int32_t", "cstdint"),
    Builtin("uint32", "std::uint32_t", "cstdint"),
    Builtin("int64", "std::int64_t", "cstdint"),
    Builtin("uint64", "std::uint64_t", "cstdint"),
    Builtin("double", "double"),
    Builtin("uuid", "tavo::Uuid", "tavo/core/Uuid.h"),
)}

# Types that only operations can name.
CALL_TYPES = {type_.name: type_ for type_ in (
    Builtin("Model", "tavo::Model", "tavo/model/Model.h", is_attribute=False),
    Builtin("MetaClass", "tavo::MetaClass", "tavo/meta/MetaRegistry.h", is_attribute=False),
)}

INTEGER_RANGES = {"int32": (-2**31, 2**31 - 1), "uint32": (0, 2**32 - 1), "int64": (-2**63, 2**63 - 1),
                  "uint64": (0, 2**64 - 1)}


def _root_class() -> Class:
    place = Place(Path("tavo"))
    package = Package("tavo", place, is_emitted=False)
    root = Class(package, "tavo", "ModelElement", place, abstract=True, is_builtin=True,
                 folder=PurePosixPath("tavo/model"), doc="The root of all classes.")
    root.operations.append(Operation(root, "aboutToDestroy", place, "aboutToDestroy", is_virtual=True,
                                     doc="Runs before the object is destroyed by a call."))
    return root


ROOT = _root_class()
