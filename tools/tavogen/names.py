"""The one table of names: what a feature is called in each place of the generated code."""

from __future__ import annotations

from dataclasses import dataclass

from .schema import Class, Feature, Kind

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
    propertyCount remove runsHooks setOne storage storageAs swap uuid writeAttribute""".split())


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
        accessor=lower_first(base), getter=f"get{upper}", setter=f"set{upper}", has=f"has{upper}",
        mutable=f"get{upper}Mutable", create=f"createInto{upper}", 
        hook=f"aboutToSet{upper}",
        do_set=f"doSet{upper}", do_add=f"doAdd{upper}", do_clear=f"doClear{upper}")


@dataclass(frozen=True)
class Member:
    """A generated member function, as far as clashes with operations go."""

    name: str
    arity: int
    feature: Feature


def facade_members(feature: Feature) -> list[Member]:
    names = names_of(feature)
    members = []
    if not feature.getter_hidden:
        members.append(Member(names.accessor, 0, feature))
    if feature.setter_public:
        is_view = feature.is_many or feature.kind is Kind.CONTAINS
        members.append(Member(names.mutable, 0, feature) if is_view else Member(names.setter, 1, feature))
    return members


def impl_members(feature: Feature) -> list[Member]:
    """What Impl gets for a feature; a derived one has its operation and nothing else."""
    names = names_of(feature)
    if feature.kind is Kind.DERIVED:
        return []
    members = [Member(names.getter, 0, feature)]
    if feature.is_many or feature.kind is Kind.CONTAINS:
        members.append(Member(names.mutable, 0, feature))
    if not feature.holds_value:
        members.append(Member(names.has, 0, feature))
    if feature.kind is Kind.CONTAINS:
        members.append(Member(names.create, 2, feature))
    elif not feature.is_many:
        members.append(Member(names.setter, 1, feature))
    return members


def listing(classes: list[Class]) -> str:
    """All names of the accessors of all features, for review: a change of the table shows here."""
    lines = []
    for cls in classes:
        lines.append(cls.qualified_name)
        for feature in cls.features:
            facade = ", ".join(member.name for member in facade_members(feature)) or "-"
            impl = ", ".join(member.name for member in impl_members(feature)) or "-"
            hook = f"; {names_of(feature).hook}" if feature.hook else ""
            lines.append(f"  {feature.name}: {facade}; {impl}{hook}")
    return "\n".join(lines) + "\n"
