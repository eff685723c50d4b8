#include "zelkor/property/Enumeration.impl.h"

#include "kavra/Host.h"
#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostCalls.h"
#include "zelkor/property/DefaultTexts.h"
#include "zelkor/property/UnitQueryClientWrapper.h"

#include <algorithm>

namespace zelkor::property {
namespace {

using kavra::ArrayClass;
using kavra::EnumerationClass;
using kavra::HostArray;

/// The enumeration class of that name, or null. Errors of the host pass through.
const EnumerationClass* askForClass(const tavo::String& name) {
  const auto found = kavra::host().classes().findClass(name);
  return found ? found->enumeration : nullptr;
}

/// The same; raises InvalidIllDefinedEnum when the host cannot read the class.
const EnumerationClass* findClass(const tavo::String& name) {
  try {
    return askForClass(name);
  } catch (const kavra::Error& error) {
    raiseBecause(asLibraryError(error), PropertyError::InvalidIllDefinedEnum, name);
  }
}

bool hasMember(const EnumerationClass& enumeration, const HostArray& name) {
  if (name.arrayClass() != ArrayClass::Char)
    return false;
  const auto text = name.asText();
  return text && enumeration.indexOfName(*text).has_value();
}

/// Whether the members are those of the class. A class that was defined anew still has the members whose names it kept.
bool hasMembersOf(const EnumerationClass& enumeration, const HostArray& array) {
  const auto& former = array.enumerationClass();
  if (&former == &enumeration)
    return true;
  const auto indices = array.memberIndices();
  return former.name() == enumeration.name() && std::all_of(indices.begin(), indices.end(), [&](std::uint32_t index) {
           return enumeration.indexOfName(former.members()[index].name).has_value();
         });
}

} // namespace

Enumeration Enumeration::makeEnumeration(const tavo::Model& model, const tavo::String& name) {
  if (!model.isOpenForWriting())
    return {};
  tavo::Transaction transaction(model);
  auto type = Enumeration::create(model);
  if (!name.empty())
    type.setKavraEnumName(name);
  transaction.commit();
  return type;
}

bool Enumeration::isValidEnumerationName(const tavo::String& name) {
  try {
    return askForClass(name) != nullptr;
  } catch (const kavra::Error&) {
    // A class that cannot be read is as good as none to whoever only asks.
    return false;
  }
}

tavo::String Enumeration::Impl::getKavraEnumName() const { return getNameProxy(); }

bool Enumeration::Impl::isValidEnumString(const tavo::String& text) const {
  const auto* enumeration = findClass(getNameProxy());
  return enumeration && enumeration->indexOfName(text).has_value();
}

bool Enumeration::Impl::isValidEnumValue(std::int32_t value) const {
  const auto* enumeration = findClass(getNameProxy());
  return enumeration && enumeration->indexOfValue(value).has_value();
}

std::vector<tavo::String> Enumeration::Impl::getLiteralsAsStrings() const {
  std::vector<tavo::String> literals;
  if (const auto* enumeration = findClass(getNameProxy()))
    for (const auto& member : enumeration->members())
      literals.emplace_back(member.name);
  return literals;
}

tavo::String Enumeration::Impl::getDefaultValueAsString() const {
  try {
    const auto position = kavra::host().classes().defaultMemberPosition(getNameProxy());
    const auto* enumeration = askForClass(getNameProxy());
    if (!enumeration || position < 1 || static_cast<std::uint64_t>(position) > enumeration->members().size())
      return {};
    return enumeration->members()[static_cast<std::size_t>(position - 1)].name;
  } catch (const kavra::Error&) {
    // Without an answer there is no default; a value is asked for elsewhere.
    return {};
  }
}

kavra::HostArray Enumeration::Impl::getValueFromString(const tavo::String& text) const {
  const auto* enumeration = findClass(getNameProxy());
  if (!enumeration)
    return {};
  const std::u16string_view name = text.view().substr(text.view().rfind(u'.') + 1);
  const auto index = enumeration->indexOfName(name);
  return index ? HostArray::enumeration(*enumeration, *index) : HostArray();
}

bool Enumeration::Impl::typeMatches(const kavra::HostArray& array) const {
  return array.arrayClass() == ArrayClass::Enumeration;
}

void Enumeration::Impl::validateValue(const kavra::HostArray& array) const {
  if (!array)
    return;
  const auto* enumeration = findClass(getNameProxy());
  if (!enumeration)
    raise(PropertyError::InvalidEnum);
  switch (array.arrayClass()) {
  case ArrayClass::Enumeration:
    if (!hasMembersOf(*enumeration, array))
      raise(PropertyError::InvalidEnumLiteral);
    break;
  case ArrayClass::Char:
    if (!hasMember(*enumeration, array))
      raise(PropertyError::InvalidEnumPropValue);
    break;
  case ArrayClass::Cell:
    for (const auto& name : array.cells())
      if (!hasMember(*enumeration, name))
        raise(PropertyError::InvalidEnumPropValue);
    break;
  default:
    raise(PropertyError::InvalidEnumPropValue);
  }
  requireDimensions(*this, array);
}

kavra::HostArray Enumeration::Impl::castArray(const kavra::HostArray& array, const tavo::String&) const {
  if (typeMatches(array))
    return array;
  const auto* enumeration = findClass(getNameProxy());
  if (!enumeration)
    raise(PropertyError::InvalidEnum);
  // The members are taken from the class itself, so that no variable of the class's name can come in between.
  const auto indexOf = [&](const HostArray& name) {
    if (!hasMember(*enumeration, name))
      raise(PropertyError::InvalidEnumPropValue);
    return *enumeration->indexOfName(*name.asText());
  };
  if (array.arrayClass() != ArrayClass::Cell)
    return HostArray::enumeration(*enumeration, indexOf(array));
  std::vector<std::uint32_t> indices;
  for (const auto& name : array.cells())
    indices.push_back(indexOf(name));
  return callHost([&] { return HostArray::enumeration(*enumeration, array.dimensions(), indices); });
}

tavo::String Enumeration::Impl::makeDefaultExpression() const {
  const tavo::String literal = getDefaultValueAsString();
  if (getDimensions().empty() || literal.empty())
    return tavo::concat(u"'", literal, u"'");
  // A name in quotes is a row of characters, which has not these dimensions.
  const tavo::String member = tavo::concat(getNameProxy(), u".", literal);
  if (isSingle(getDimensions()))
    return member;
  return tavo::concat(u"repmat(", member, u",[", tavo::String::fromUtf8(extentsText(getDimensions())), u"])");
}

kavra::HostArray Enumeration::Impl::makeDefaultValue(const kavra::HostArray&) const {
  return callHost([&] {
    const std::int64_t position = kavra::host().classes().defaultMemberPosition(getNameProxy());
    const auto* enumeration = findClass(getNameProxy());
    if (!enumeration)
      raise(PropertyError::InvalidEnum);
    const auto count = enumeration->members().size();
    const bool exists = position >= 1 && static_cast<std::uint64_t>(position) <= count;
    const auto member =
        HostArray::enumeration(*enumeration, static_cast<std::uint32_t>(exists ? position - 1 : std::int64_t(count)));
    if (isSingle(getDimensions()))
      return member;
    const auto extents = asExtents(getDimensions());
    const auto size = HostArray::zeros(ArrayClass::Logical, extents).count();
    return HostArray::enumeration(*enumeration, extents,
                                  std::vector<std::uint32_t>(size, member.memberIndices().front()));
  });
}

void Enumeration::Impl::setKavraEnumName(const tavo::String& name) {
  if (!Enumeration::isValidEnumerationName(name))
    raise(PropertyError::InvalidEnumString);
  setNameProxy(name);
}

} // namespace zelkor::property
