// Between the functions of generated classes, which have types, and the pointers of their tables, which have none.
// Tables name these templates; what they do is written here once.
#pragma once

#include "tavo/core/Uuid.h"
#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/ModelElementDatatype.h"

#include <concepts>
#include <type_traits>
#include <utility>

namespace tavo::detail {

template <class T>
concept FacadeType = std::derived_from<T, ModelElement>;

/// How reflection carries a T: values as they are, objects as handles of the root class.
template <class T>
struct Carried {
  static const T& take(const Value& value) { return value.as<T>(); }
  static Value give(T value) { return Value::of<T>(std::move(value)); }
};

template <FacadeType T>
struct Carried<T> {
  static T take(const Value& value) {
    const auto& handle = value.as<ModelElement>();
    return handle.get() ? handle.cast<T>() : T();
  }
  static Value give(const ModelElement& handle) { return Value::of<ModelElement>(handle); }
};

template <FacadeType T>
struct Carried<std::vector<T>> {
  static std::vector<T> take(const Value& value) {
    std::vector<T> all;
    for (const auto& handle : value.as<std::vector<ModelElement>>())
      all.push_back(handle.cast<T>());
    return all;
  }
  static Value give(const std::vector<T>& all) { return Value::of(std::vector<ModelElement>(all.begin(), all.end())); }
};

template <class Result, class Call>
Value giveResult(const Call& call) {
  if constexpr (std::is_void_v<Result>) {
    call();
    return {};
  } else {
    return Carried<std::remove_cvref_t<Result>>::give(call());
  }
}

/// Calls a function with arguments out of a span; one specialisation for each sort of function.
template <class Function>
struct Caller;

template <class Result, class Impl, class... Arguments>
struct Caller<Result (Impl::*)(Arguments...)> {
  template <auto function, std::size_t... at>
  static Value call(ModelElement::Impl* object, std::span<const Value> arguments, std::index_sequence<at...>) {
    auto& self = static_cast<Impl&>(*object);
    static_cast<void>(arguments);
    return giveResult<Result>(
        [&]() -> Result { return (self.*function)(Carried<std::remove_cvref_t<Arguments>>::take(arguments[at])...); });
  }
  using Indexes = std::index_sequence_for<Arguments...>;
};

template <class Result, class Impl, class... Arguments>
struct Caller<Result (Impl::*)(Arguments...) const> : Caller<Result (Impl::*)(Arguments...)> {};

template <class Result, class... Arguments>
struct Caller<Result (*)(Arguments...)> {
  template <auto function, std::size_t... at>
  static Value call(ModelElement::Impl*, std::span<const Value> arguments, std::index_sequence<at...>) {
    static_cast<void>(arguments);
    return giveResult<Result>(
        [&]() -> Result { return function(Carried<std::remove_cvref_t<Arguments>>::take(arguments[at])...); });
  }
  using Indexes = std::index_sequence_for<Arguments...>;
};

/// OperationDecl::call of a member of Impl, or of a static function of the facade. The number of arguments is checked.
template <auto function>
Value callOperation(ModelElement::Impl* object, std::span<const Value> arguments) {
  using Calls = Caller<decltype(function)>;
  return Calls::template call<function>(object, arguments, typename Calls::Indexes{});
}

/// PropertyDecl::derive of a feature that an operation computes.
template <auto function>
Value deriveFeature(const ModelElement::Impl& object) {
  return callOperation<function>(const_cast<ModelElement::Impl*>(&object), {});
}

template <class Function>
struct HookOf;
template <class Impl, class Argument>
struct HookOf<void (Impl::*)(Argument)> {
  using Class = Impl;
  using Value = std::remove_cvref_t<Argument>;
};

/// PropertyDecl::hook of a feature with an aboutToSet function.
template <auto function>
void callHook(ModelElement::Impl& object, const void* value) {
  using Hook = HookOf<decltype(function)>;
  (static_cast<typename Hook::Class&>(object).*function)(*static_cast<const typename Hook::Value*>(value));
}

/// Joins the hash of a struct's field to those before it.
template <class T>
void combineHash(std::size_t& sum, const T& value) {
  sum ^= std::hash<T>{}(value) + std::size_t{0x9e3779b97f4a7c15ull} + (sum << 6) + (sum >> 2);
}
inline void combineHash(std::size_t& sum, const Uuid& value) { combineHash(sum, hashUuid(value)); }

} // namespace tavo::detail
