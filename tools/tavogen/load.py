"""Reads schema files into records. Only the form is checked here: keys, and the types of what they hold."""

from __future__ import annotations

import re
import tomllib
import uuid
from pathlib import Path, PurePosixPath
from typing import Any

from .locate import Lines
from .problems import Place, Problems, suggestion
from .schema import (Argument, Class, Enumeration, Feature, Foreign, Kind, Model, Namespace, Operation, Package,
                     Primitive, Shape, Struct, Type)

_NO_PACKAGE = "; the file with [package] and its namespaces belongs to the schemas"

# What each table may hold: key -> the Python type of its value.
_FILE = {"package": dict, "namespaces": dict, "enum": dict, "struct": dict, "primitive": dict, "foreign": dict,
         "class": dict}
_PACKAGE = {"name": str, "versions": list, "path": str, "uri": str, "identifiers": str, "export": str,
            "export_header": str, "depends": list, "doc": str}
_NAMESPACE = {"doc": str}
_ENUMERATION = {"values": dict, "id": str, "doc": str}
_STRUCT = {"fields": dict, "id": str, "doc": str}
_PRIMITIVE = {"type": str, "id": str, "doc": str}
_FOREIGN = {"cpp": str, "header": str, "datatype": str, "saved": bool, "doc": str}
_CLASS = {"namespace": str, "base": str, "abstract": bool, "id": str, "root": bool, "later": bool, "derived_identity": bool,
          "since": str, "removed": str, "was": dict, "doc": str, "features": dict, "operations": dict}
_FEATURE = {**{kind.value: str for kind in Kind}, "id": str, "doc": str, "default": object, "saved": bool,
            "readonly": bool, "hidden": bool, "getter": str, "setter": str, "hook": bool, "virtual": bool,
            "unique": bool, "keys": list, "opposite": str, "by": str, "accessor": str, "since": str, "removed": str,
            "was": dict}
_OPERATION = {"static": bool, "virtual": bool, "override": bool, "abstract": bool, "const": bool, "event": bool,
              "public": bool, "later": bool, "name": str, "id": str, "args": list, "returns": str, "doc": str}

_WORDS = {str: "a text", bool: "true or false", dict: "a table", list: "a list of texts"}
_TYPE = re.compile(r"^(?P<out>out\s+)?(?P<name>[A-Za-z_][\w.]*)(?P<shape>\?|\[\]|\*)?$")
_IDENTIFIER = re.compile(r"^[A-Za-z_]\w*$")


def load(files: list[Path], dependencies: list[Path]) -> Model:
    """The records of `files`, for which code is wanted, and of `dependencies`, whose types they may name."""
    problems = Problems()
    documents = [_Document(path, is_emitted, problems) for paths, is_emitted in ((dependencies, False), (files, True))
                 for path in paths]
    problems.raise_if_any()
    model = Model()
    for document in documents:
        document.load_package(model)
    for document in documents:
        document.load_contents(model)
    problems.raise_if_any()
    return model


def parse_type(spelling: str) -> Type | None:
    spelling = spelling.strip()
    match = _TYPE.match(spelling)
    if not match:
        return None
    return Type(spelling, match["name"], Shape(match["shape"] or ""), bool(match["out"]))


def clean_text(text: str) -> str:
    """A doc may run over several lines of the schema; it is one paragraph."""
    return " ".join(text.split())


class _Document:
    """One schema file."""

    def __init__(self, path: Path, is_emitted: bool, problems: Problems) -> None:
        self._path = path
        self._is_emitted = is_emitted
        self._problems = problems
        self._table: dict[str, Any] = {}
        self._lines = Lines("")
        self._package: Package | None = None  # the one that this file declares
        try:
            text = path.read_text(encoding="utf-8")
            self._table = tomllib.loads(text)
            self._lines = Lines(text)
        except OSError as error:
            problems.report(Place(path), f"cannot be read: {error.strerror}")
        except (tomllib.TOMLDecodeError, UnicodeDecodeError) as error:
            problems.report(Place(path), f"is not TOML: {error}")

    # Packages come first, because every class looks for the package of its namespace.

    def load_package(self, model: Model) -> None:
        self._take(self._table, _FILE, Place(self._path))
        if "package" not in self._table:
            return
        place = self._place("", "package")
        table = self._take(self._table["package"], _PACKAGE, place)
        name = table.get("name", "")
        place = self._place(f"package {name}", "package")
        for key in ("name", "versions", "path", "uri", "identifiers", "export", "export_header"):
            if key not in table:
                self._problems.report(place, f"'{key}' is missing")
        if any(package.name == name for package in model.packages):
            self._problems.report(place, "there is another package of this name")
        here = self._path.resolve().parent
        folder = here.parent if here.name == "meta" else here
        path = table.get("path", "")
        versions = self._texts(table, "versions", place) or [""]
        package = Package(name=name, place=place, version=versions[-1], versions=versions, path=path,
                          uri=f"{table.get('uri', '')}/{versions[-1]}",
                          identifiers=self._uuid(table, "identifiers", place), export=table.get("export", ""),
                          export_header=table.get("export_header", ""),
                          doc=clean_text(table.get("doc", "")), depends_names=self._texts(table, "depends", place),
                          folder=folder, header_folder=PurePosixPath(path) / here.relative_to(folder).as_posix(),
                          is_emitted=self._is_emitted)
        for dotted, content in self._tables("namespaces"):
            namespace_place = self._place(f"namespace {dotted}", "namespaces", dotted)
            content = self._take(content, _NAMESPACE, namespace_place)
            if self._package_of(model, dotted):
                self._problems.report(namespace_place, "is declared by another package")
            package.namespaces.append(Namespace(dotted, clean_text(content.get("doc", ""))))
        model.packages.append(package)
        self._package = package
        self._load_foreign(package)

    def _load_foreign(self, package: Package) -> None:
        for name, content in self._tables("foreign"):
            place = self._place(f"foreign type {name}", "foreign", name)
            content = self._take(content, _FOREIGN, place)
            for key in ("cpp", "header", "datatype"):
                if key not in content:
                    self._problems.report(place, f"'{key}' is missing")
            package.datatypes.append(Foreign(package, name, place, clean_text(content.get("doc", "")),
                                             cpp=content.get("cpp", ""), header=content.get("header", ""),
                                             datatype=content.get("datatype", ""), saved=content.get("saved", True)))

    def load_contents(self, model: Model) -> None:
        if "foreign" in self._table and "package" not in self._table:
            self._problems.report(self._place("", "foreign"), "foreign types stand in the package's own file")
        self._load_enumerations(model)
        self._load_structs(model)
        self._load_primitives(model)
        for name, content in self._tables("class"):
            self._load_class(model, name, content)

    def _load_enumerations(self, model: Model) -> None:
        for name, content in self._tables("enum"):
            place = self._place(f"enumeration {name}", "enum", name)
            content = self._take(content, _ENUMERATION, place)
            package = self._package or self._require_package(model, name.rpartition(".")[0], place)
            values = content.get("values", {})
            for literal, number in values.items():
                if not isinstance(number, int) or isinstance(number, bool) or not -2**31 <= number < 2**31:
                    self._problems.report(place, f"literal {literal}: a 32-bit number is wanted, not {number!r}")
            if not values:
                self._problems.report(place, "has no values")
            if package:
                package.datatypes.append(Enumeration(package, name, place, clean_text(content.get("doc", "")),
                                                     self._uuid(content, "id", place), values,
                                                     self._header_folder(package, place)))

    def _load_structs(self, model: Model) -> None:
        for name, content in self._tables("struct"):
            place = self._place(f"struct {name}", "struct", name)
            content = self._take(content, _STRUCT, place)
            package = self._package or self._require_package(model, name.rpartition(".")[0], place)
            fields = {}
            for field, spelling in content.get("fields", {}).items():
                if isinstance(spelling, str) and (type_ := parse_type(spelling)):
                    fields[field] = type_
                else:
                    self._problems.report(place, f"field {field}: {spelling!r} is no type")
            if not content.get("fields"):
                self._problems.report(place, "has no fields")
            if package:
                package.datatypes.append(Struct(package, name, place, clean_text(content.get("doc", "")),
                                                self._uuid(content, "id", place), fields,
                                                self._header_folder(package, place)))

    def _load_primitives(self, model: Model) -> None:
        for name, content in self._tables("primitive"):
            place = self._place(f"primitive {name}", "primitive", name)
            content = self._take(content, _PRIMITIVE, place)
            package = self._package or self._require_package(model, name.rpartition(".")[0], place)
            type_ = self._type(content, "type", place) if "type" in content else None
            if "type" not in content:
                self._problems.report(place, "'type' is missing")
            if package:
                package.datatypes.append(Primitive(package, name, place, clean_text(content.get("doc", "")),
                                                   self._uuid(content, "id", place), type_))

    def _load_class(self, model: Model, name: str, content: Any) -> None:
        place = self._place(f"class {name}", "class", name)
        content = self._take(content, _CLASS, place)
        if not _IDENTIFIER.match(name):
            self._problems.report(place, "the name is no identifier")
        for key in ("namespace", "base"):
            if key not in content:
                self._problems.report(place, f"'{key}' is missing")
        package = self._require_package(model, content["namespace"], place) if "namespace" in content else None
        if not package:
            return
        cls = Class(package, content["namespace"], name, place, base_name=content.get("base", ""),
                    id=self._uuid(content, "id", place), doc=clean_text(content.get("doc", "")),
                    abstract=content.get("abstract", False), root=content.get("root", False),
                    later=content.get("later", False),
                    derived_identity=content.get("derived_identity", False), since=content.get("since", ""),
                    removed=content.get("removed", ""), was=self._former_names(content, place),
                    folder=self._header_folder(package, place))
        for key, feature in content.get("features", {}).items():
            self._load_feature(cls, key, feature)
        for key, operation in content.get("operations", {}).items():
            self._load_operation(cls, key, operation)
        package.all_classes.append(cls)

    def _load_feature(self, cls: Class, name: str, content: Any) -> None:
        place = self._place(f"class {cls.name}, feature {name}", "class", cls.name, "features", name)
        content = self._take(content, _FEATURE, place)
        kinds = [kind for kind in Kind if kind.value in content]
        if len(kinds) != 1:
            all_kinds = ", ".join(kind.value for kind in Kind)
            self._problems.report(place, f"has no kind; one of {all_kinds} is wanted" if not kinds else
                                  f"has two kinds, {kinds[0].value} and {kinds[1].value}; one is wanted")
            return
        kind = kinds[0]
        type_ = self._type(content, kind.value, place)
        if not type_:
            return
        cls.all_features.append(Feature(
            cls, name, place, kind, type_,
            id=self._uuid(content, "id", place), doc=clean_text(content.get("doc", "")),
            accessor=content.get("accessor", ""), default=content.get("default"), saved=content.get("saved", True),
            readonly=content.get("readonly", False), hidden=content.get("hidden", False),
            getter_hidden=self._choice(content, "getter", "hidden", place),
            setter_public=self._choice(content, "setter", "public", place),
            hook=content.get("hook", False), virtual=content.get("virtual", False),
            unique=content.get("unique", False), key_names=self._texts(content, "keys", place),
            opposite_name=content.get("opposite", ""), by_name=content.get("by", ""),
            since=content.get("since", ""), removed=content.get("removed", ""),
            was=self._former_names(content, place)))

    def _load_operation(self, cls: Class, key: str, content: Any) -> None:
        place = self._place(f"class {cls.name}, operation {key}", "class", cls.name, "operations", key)
        content = self._take(content, _OPERATION, place)
        args = []
        for text in self._texts(content, "args", place):
            name, colon, spelling = text.partition(":")
            type_ = parse_type(spelling)
            if not colon or not type_ or not _IDENTIFIER.match(name.strip()):
                self._problems.report(place, f"argument '{text}': 'name: type' is wanted")
            else:
                args.append(Argument(name.strip(), type_))
        cls.operations.append(Operation(
            cls, key, place, name=content.get("name", key), id=self._uuid(content, "id", place),
            doc=clean_text(content.get("doc", "")), args=args,
            returns=self._type(content, "returns", place) if "returns" in content else None,
            is_static=content.get("static", False), is_virtual=content.get("virtual", False),
            is_override=content.get("override", False), is_abstract=content.get("abstract", False),
            is_const=content.get("const", False), is_event=content.get("event", False),
            is_public=content.get("public", True), later=content.get("later", cls.later)))

    # Helpers: each reports what is wrong and answers something harmless instead.

    def _place(self, subject: str, *path: str) -> Place:
        return Place(self._path, self._lines.find(*path), subject)

    def _tables(self, key: str) -> list[tuple[str, Any]]:
        table = self._table.get(key, {})
        return list(table.items()) if isinstance(table, dict) else []

    def _take(self, table: Any, known: dict[str, type], place: Place) -> dict[str, Any]:
        """The entries of a table whose keys and values have the form that is wanted."""
        if not isinstance(table, dict):
            self._problems.report(place, f"a table is wanted, not {table!r}")
            return {}
        good = {}
        for key, value in table.items():
            if key not in known:
                self._problems.report(place, f"unknown key '{key}'{suggestion(key, known)}")
            elif not isinstance(value, known[key]):
                self._problems.report(place, f"'{key}' is {_WORDS[known[key]]}, not {value!r}")
            else:
                good[key] = value
        return good

    def _texts(self, table: dict[str, Any], key: str, place: Place) -> list[str]:
        texts = table.get(key, [])
        if all(isinstance(text, str) for text in texts):
            return list(texts)
        self._problems.report(place, f"'{key}' is a list of texts")
        return []

    def _former_names(self, table: dict[str, Any], place: Place) -> dict[str, str]:
        names = table.get("was", {})
        if all(isinstance(name, str) and _IDENTIFIER.match(name) for name in names.values()):
            return names
        self._problems.report(place, "'was' says for versions what the name was before them: { \"1.1\" = \"height\" }")
        return {}

    def _choice(self, table: dict[str, Any], key: str, word: str, place: Place) -> bool:
        if table.get(key, word) != word:
            self._problems.report(place, f"'{key}' can only be \"{word}\", not \"{table[key]}\"")
        return key in table

    def _type(self, table: dict[str, Any], key: str, place: Place) -> Type | None:
        type_ = parse_type(table.get(key, ""))
        if key in table and not type_:
            self._problems.report(place, f"'{table[key]}' is no type")
        return type_

    def _uuid(self, table: dict[str, Any], key: str, place: Place) -> str:
        text = table.get(key, "")
        try:
            if text and str(uuid.UUID(text)) != text:
                raise ValueError
        except ValueError:
            self._problems.report(place, f"'{key}': '{text}' is no UUID in lower case")
            return ""
        return text

    def _package_of(self, model: Model, namespace: str) -> Package | None:
        for package in model.packages:
            if any(known.name == namespace for known in package.namespaces):
                return package
        return None

    def _require_package(self, model: Model, namespace: str, place: Place) -> Package | None:
        package = self._package_of(model, namespace)
        if not package:
            known = [known.name for package in model.packages for known in package.namespaces]
            self._problems.report(place, f"no package declares the namespace '{namespace}'"
                                         f"{suggestion(namespace, known) or _NO_PACKAGE}")
        return package

    def _header_folder(self, package: Package, place: Place) -> PurePosixPath:
        """Generated headers stand in the build tree where their schema stands in the source tree."""
        try:
            return PurePosixPath(package.path) / self._path.resolve().parent.relative_to(package.folder).as_posix()
        except ValueError:
            self._problems.report(place, f"stands outside the folder of its package {package.name}")
            return PurePosixPath(package.path)
