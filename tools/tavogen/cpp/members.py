"""The member functions of a class as signatures: for facade, Impl and builder."""

from __future__ import annotations

from dataclasses import dataclass

from ..names import is_reserved, names_of
from ..schema import Class, Feature, Kind, Operation
from .signature import Parameter, Signature
from .types import Speller


def field_name(feature: Feature) -> str:
    """Of the feature's field in Storage and its constant in Index."""
    return names_of(feature).accessor if is_reserved(feature.name) else feature.name


def operation_signature(operation: Operation, spell: Speller, on_facade: bool) -> Signature:
    """On the facade every operation is a const function that forwards; only Impl knows of virtual ones. The doc stands
    where users look: on the facade, unless the operation is not there."""
    return Signature(
        spell.result(operation.returns), operation.name,
        tuple(Parameter(spell.parameter(argument.type), argument.name) for argument in operation.args),
        is_const=not operation.is_static and (on_facade or operation.is_const), is_static=operation.is_static,
        is_virtual=operation.is_virtual and not on_facade, is_override=operation.is_override and not on_facade,
        is_abstract=operation.is_abstract and not on_facade,
        doc=operation.doc if on_facade or not operation.is_public else "")


def create_signature(cls: Class) -> Signature:
    return Signature(cls.name, "create", (Parameter("const tavo::Model&", "model"),
                                          Parameter("const tavo::Uuid&", "uuid", "{}")), is_static=True)


@dataclass(frozen=True)
class FacadeMember:
    """A function of the facade with the call of Impl that it forwards to; static operations forward to nothing."""

    signature: Signature
    target: str = ""


def facade_members(cls: Class, spell: Speller) -> tuple[list[FacadeMember], list[FacadeMember]]:
    """Those of the features, and those of the operations."""
    features = [member for feature in cls.features for member in _facade_feature(feature, spell)]
    operations = []
    for operation in cls.operations:
        if operation.is_override or not operation.is_public:
            continue
        signature = operation_signature(operation, spell, on_facade=True)
        operations.append(FacadeMember(signature, "" if operation.is_static else signature.call()))
    return features, operations


def feature_signatures(feature: Feature) -> tuple[list[Signature], list[Signature]]:
    """All that is generated for a feature: on the facade, and on Impl."""
    spell = Speller(feature.owner.namespace)
    return ([member.signature for member in _facade_feature(feature, spell)],
            [member.signature for member in impl_feature(feature, spell)])


def _facade_feature(feature: Feature, spell: Speller) -> list[FacadeMember]:
    names = names_of(feature)
    members = []
    if not feature.getter_hidden and not (feature.by and feature.by.name == names.accessor):
        getter = feature.by.name if feature.by else names.getter
        signature = Signature(getter_result(feature, spell), names.accessor, is_const=True, doc=feature.doc)
        members.append(FacadeMember(signature, f"{getter}()"))
    if feature.setter_public:
        if feature.is_many or feature.kind is Kind.CONTAINS:
            signature = Signature(spell.mutable(feature), names.mutable, is_const=True)
            members.append(FacadeMember(signature, f"{names.mutable}()"))
        else:
            parameter = Parameter(spell.parameter(feature.type), "value")
            signature = Signature("void", names.setter, (parameter,), is_const=True)
            members.append(FacadeMember(signature, f"{names.setter}(value)"))
    return members


def getter_result(feature: Feature, spell: Speller) -> str:
    if feature.is_many:
        return spell.view(feature)
    if feature.holds_value:
        return spell.stored(feature.type)
    return spell.result(feature.type)


@dataclass(frozen=True)
class ImplMember:
    """A generated function of Impl: defined in the class by `inline`, else out of line by `body`."""

    signature: Signature
    body: tuple[str, ...] = ()
    inline: str = ""


def impl_feature(feature: Feature, spell: Speller) -> list[ImplMember]:
    """Getter, setter and so on of a feature; nothing for a derived one, whose operation is its getter."""
    if feature.kind is Kind.DERIVED:
        return []
    getter = Signature(getter_result(feature, spell), names_of(feature).getter, is_const=True,
                       doc=feature.doc if feature.getter_hidden else "")
    if feature.holds_value:
        return [ImplMember(getter, inline=f"return storage().{field_name(feature)};"), _value_setter(feature, spell)]
    if feature.is_many:
        return _many_members(feature, getter, spell)
    return _one_members(feature, getter, spell)


def _at(feature: Feature) -> str:
    return f"at(Index::{field_name(feature)})"


def _many_members(feature: Feature, getter: Signature, spell: Speller) -> list[ImplMember]:
    names = names_of(feature)
    view = (f"return {{handle(), {_at(feature)}}};",)
    members = [ImplMember(getter, view), ImplMember(Signature(spell.mutable(feature), names.mutable), view),
               ImplMember(Signature("bool", names.has, is_const=True), (f"return !{names.getter}().empty();",))]
    if feature.kind is Kind.CONTAINS:
        members.append(_creator(feature, spell))
    return members


def _one_members(feature: Feature, getter: Signature, spell: Speller) -> list[ImplMember]:
    names = names_of(feature)
    target = spell.class_name(feature.type.entity)
    # Children and references stand in the storage; a container is told from others by the feature that holds the object.
    one = {Kind.CONTAINS: f"storage().{field_name(feature)}",
           Kind.REFERS: f"tavo::targetOf(storage().{field_name(feature)})"}.get(feature.kind, f"one({_at(feature)})")
    members = [ImplMember(getter, (f"return {target}({one});",)),
               ImplMember(Signature("bool", names.has, is_const=True), (f"return {one} != nullptr;",))]
    setter = setter_signature(feature, spell)
    set_one = (f"setOne({_at(feature)}, value.get());",)
    if feature.kind is Kind.REFERS:
        return [*members, ImplMember(setter, (f"{names.basic_setter}(value);",)),
                ImplMember(Signature("void", names.basic_setter, setter.parameters), set_one)]
    members.append(ImplMember(setter, set_one))
    if feature.kind is Kind.CONTAINS:
        mutable = Signature(spell.mutable(feature), names.mutable)
        members += [ImplMember(mutable, (f"return {{handle(), {_at(feature)}}};",)), _creator(feature, spell)]
    return members


def _creator(feature: Feature, spell: Speller) -> ImplMember:
    target = spell.class_name(feature.type.entity)
    create = Signature(target, names_of(feature).create, (
        Parameter("const tavo::ModelElement::Impl::BuilderImpl&", "builder"), Parameter("const tavo::Uuid&", "uuid", "{}")))
    return ImplMember(create, (f"return {target}(createInto({_at(feature)}, builder, uuid));",))


def _value_setter(feature: Feature, spell: Speller) -> ImplMember:
    names = names_of(feature)
    body = []
    if feature.hook:
        if feature.kind is Kind.ATTRIBUTE:
            body.append(f"requireWritable({_at(feature)});")
        body += ["if (runsHooks())", f"  {names.hook}(value);"]
    body.append(f"storage().{field_name(feature)} = value;" if feature.kind is Kind.RUNTIME
                else f"writeValue({_at(feature)}, value);")
    return ImplMember(setter_signature(feature, spell), tuple(body))


def setter_signature(feature: Feature, spell: Speller) -> Signature:
    """Of a feature that holds a value or at most one object."""
    return Signature("void", names_of(feature).setter, (Parameter(spell.parameter(feature.type), "value"),),
                     is_virtual=feature.virtual)


def hook_signature(feature: Feature, spell: Speller) -> Signature:
    return Signature("void", names_of(feature).hook, (Parameter(spell.parameter(feature.type), "value"),))


def impl_operations(cls: Class, spell: Speller) -> list[Signature]:
    return [operation_signature(operation, spell, on_facade=False) for operation in cls.operations
            if not operation.is_static]


def hidden_in_impl(cls: Class) -> list[str]:
    """Names of operations that would hide others of a base class, which take other arguments."""
    names = []
    for operation in cls.operations:
        if operation.is_static or operation.name in names:
            continue
        for ancestor in cls.ancestors():
            if any(_hides(other, cls, operation.name) for other in ancestor.operations):
                names.append(operation.name)
                break
    return names


def _hides(other: Operation, cls: Class, name: str) -> bool:
    if other.name != name or other.is_static:
        return False
    return not any(operation.name == name and _same_arguments(operation, other) for operation in cls.operations)


def _same_arguments(a: Operation, b: Operation) -> bool:
    return len(a.args) == len(b.args) and all(x.type.same_as(y.type) for x, y in zip(a.args, b.args))


def hidden_in_facade(cls: Class) -> list[str]:
    """The same for the facade, where overriding operations do not stand again."""
    own = {operation.name for operation in cls.operations
           if operation.is_public and not operation.is_override and not operation.is_static}
    inherited = {operation.name for ancestor in cls.ancestors() for operation in ancestor.operations
                 if operation.is_public and not operation.is_override and not operation.is_static}
    return sorted(own & inherited)


def root_members_hidden(cls: Class) -> list[str]:
    """Members of tavo::ModelElement that handwritten and generated code needs and a static operation would hide."""
    return [operation.name for operation in cls.operations if operation.is_static and operation.name in ("get", "as")]


def is_overloaded(operation: Operation) -> bool:
    """Whether a pointer to the member needs its type said."""
    cls = operation.owner
    same = [other for other in cls.operations if other.name == operation.name and
            other.is_static == operation.is_static]
    hidden = root_members_hidden(cls) if operation.is_static else hidden_in_impl(cls)
    return len(same) > 1 or operation.name in hidden
