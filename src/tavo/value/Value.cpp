#include "tavo/value/Value.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"

#include <cstring>

namespace tavo {

namespace detail {

void raiseWrongType(std::string_view wanted, std::string_view found) {
  raise(FrameworkError::InvalidValue, "of type " + std::string(found), "the variable it is read into", wanted);
}

} // namespace detail

namespace {

/// Texts are shown in messages, so one that has no UTF-8 must not raise another error there.
std::string textForPeople(std::u16string_view text) {
  try {
    return toUtf8(text);
  } catch (const Error&) {
    return toPrintable(text);
  }
}

} // namespace

Value::Value(const Datatype& type) {
  type.construct(buffer_);
  type_ = &type;
}

Value Value::copyOf(const Datatype& type, const void* from) {
  Value copy;
  type.copy(copy.buffer_, from);
  copy.type_ = &type;
  return copy;
}

Value::Value(const Value& other) {
  if (other.type_)
    other.type_->copy(buffer_, other.buffer_);
  type_ = other.type_;
}

Value::Value(Value&& other) noexcept : type_(other.type_) {
  if (type_)
    type_->move(buffer_, other.buffer_);
}

Value& Value::operator=(Value other) noexcept {
  if (type_)
    type_->destroy(buffer_);
  type_ = other.type_;
  if (type_)
    type_->move(buffer_, other.buffer_);
  return *this;
}

Value::~Value() {
  if (type_)
    type_->destroy(buffer_);
}

std::size_t Value::hash() const { return type_ && type_->hash ? type_->hash(buffer_) : 0; }

int compare(const Value& a, const Value& b) {
  if (!a.type_ || !b.type_)
    return static_cast<int>(a.type_ != nullptr) - static_cast<int>(b.type_ != nullptr);
  if (!(*a.type_ == *b.type_))
    return a.type_->name < b.type_->name ? -1 : 1;
  if (a.type_->compare)
    return a.type_->compare(a.buffer_, b.buffer_);
  // Types without an order get one that is good for containers, and holds for this run only.
  return a.type_->equal(a.buffer_, b.buffer_) ? 0 : std::memcmp(a.buffer_, b.buffer_, a.type_->size);
}

std::string valueText(const Datatype& type, const void* value) {
  switch (type.kind) {
  case Datatype::Kind::string:
    return textForPeople(*static_cast<const String*>(value));
  case Datatype::Kind::optional: {
    const void* inner = type.contained(value);
    return inner ? valueText(type.element(), inner) : std::string("none");
  }
  case Datatype::Kind::sequence: {
    std::string text = "[";
    for (std::size_t i = 0; i < type.length(value); ++i)
      text += (i ? ", " : "") + valueText(type.element(), type.at(value, i));
    return text + "]";
  }
  case Datatype::Kind::structure: {
    std::string text = "{";
    for (const auto& field : type.fields)
      text += (text.size() > 1 ? ", " : "") + std::string(field.name) + ": " +
              valueText(field.datatype(), static_cast<const std::byte*>(value) + field.offset);
    return text + "}";
  }
  default:
    break;
  }
  std::string text;
  if (type.write)
    type.write(value, text);
  else
    text = std::string("<") + std::string(type.name) + ">";
  return text;
}

std::string Value::toText() const { return type_ ? valueText(*type_, buffer_) : std::string("nothing"); }

} // namespace tavo
