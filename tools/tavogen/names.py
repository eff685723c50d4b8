"""The one table of names: what a feature is called in each place of the generated code."""

from __future__ import annotations

from dataclasses import dataclass

from .schema import Feature

KEYWORDS = frozenset("""
    alignas alignof and and_eq asm auto bitand bitor bool break case catch char char8_t char16_t char32_t class co_await
    co_return co_yield compl concept const const_cast consteval constexpr constinit continue decltype default delete do
    double dynamic_cast else enum explicit export extern false float for friend goto if inline int long mutable
    namespace new noexcept not not_eq nullptr operator or or_eq private protected public register reinterpret_cast
    requires return short signed sizeof static static_assert static_cast struct switch template this thread_local throw
    true try typedef typeid typename union unsigned using virtual void volatile wchar_t while xor xor_eq""".split())

# Members of tavo::ModelElement and its Impl that generated code itself calls, or that nobody should miss in a class.
ROOT_MEMBERS = frozenset("""
    Builder BuilderBase BuilderImpl Constrainables Impl Index Storage This Uuid add as at cast container create
    createInto declaration destroy doDestroy get handle isA items metaClass model object objectClass one
    propertyCount remove requireWritable runsHooks setOne storage storageAs swap uuid writeAttribute
    writeValue""".split())


def raise_first(name: str) -> str:
    return name[:1].upper() + name[1:]


def lower_first(name: str) -> str:
    return name[:1].lower() + name[1:]


def is_reserved(name: str) -> bool:
    """Whether C++ keeps the identifier for itself."""
    return name in KEYWORDS or "__" in name or (name[:1] == "_" and name[1:2].isupper())


@dataclass(frozen=True)
class FeatureNames:
    """Names of the members made for a feature. All are spelled out, whether or not its kind needs them."""

    accessor: str
    getter: str
    setter: str
    basic_setter: str
    has: str
    mutable: str
    create: str
    hook: str
    do_set: str
    do_add: str
    do_clear: str


def names_of(feature: Feature) -> FeatureNames:
    base = feature.accessor or feature.name
    upper = raise_first(base)
    return FeatureNames(
        accessor=lower_first(base), getter=f"get{upper}", setter=f"set{upper}", basic_setter=f"basicSet{upper}",
        has=f"has{upper}", mutable=f"get{upper}Mutable", create=f"createInto{upper}", hook=f"aboutToSet{upper}",
        do_set=f"doSet{upper}", do_add=f"doAdd{upper}", do_clear=f"doClear{upper}")
