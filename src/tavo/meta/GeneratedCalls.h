// Between the functions of generated classes, which have types, and the pointers of their tables, which have none.
// Tables name these templates; what they do is written here once.
#pragma once

#include "tavo/core/Uuid.h"
#include "tavo/meta/CallDatatypes.h"
#include "tavo/meta/MetaRegistry.h"

#include <concepts>
#include <tuple>
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

/// Classes are passed by reference and carried as pointers.
template <>
struct Carried<MetaClass> {
  static const MetaClass& take(const Value& value) {
    const MetaClass* known = value.as<const MetaClass*>();
    if (!known)
      raiseWrongType("MetaClass", "nothing");
    return *known;
  }
  static Value give(const MetaClass& known) { return Value::of<const MetaClass*>(&known); }
};

/// One argument while its function runs: an input comes out of its place in the list, an output goes back into it.
template <class Parameter>
class Passed {
public:
  explicit Passed(Value& place) : place_(place) {}
  decltype(auto) get() { return Carried<std::remove_cvref_t<Parameter>>::take(place_); }
  void finish() {}

private:
  const Value& place_;
};

template <class T>
requires(!std::is_const_v<T>) class Passed<T&> {
public:
  explicit Passed(Value& place) : place_(place) {}
  T& get() { return output_; }
  void finish() { place_ = Carried<T>::give(std::move(output_)); }

private:
  Value& place_;
  T output_{};
};

/// Calls `function` with what a list of arguments holds.
template <class Result, class... Parameters, class Function, std::size_t... at>
Value callWith(std::span<Value> arguments, const Function& function, std::index_sequence<at...>) {
  static_cast<void>(arguments);
  [[maybe_unused]] std::tuple<Passed<Parameters>...> passed{arguments[at]...};
  Value result;
  if constexpr (std::is_void_v<Result>)
    function(std::get<at>(passed).get()...);
  else
    result = Carried<std::remove_cvref_t<Result>>::give(function(std::get<at>(passed).get()...));
  (std::get<at>(passed).finish(), ...);
  return result;
}

/// One specialisation for each sort of function that stands for an operation.
template <class Function>
struct Caller;

template <class Result, class Impl, class... Parameters>
struct Caller<Result (Impl::*)(Parameters...)> {
  template <auto function>
  static Value call(ModelElement::Impl* object, std::span<Value> arguments) {
    const auto bound = [&](auto&&... passed) -> Result {
      return (static_cast<Impl&>(*object).*function)(std::forward<decltype(passed)>(passed)...);
    };
    return callWith<Result, Parameters...>(arguments, bound, std::index_sequence_for<Parameters...>{});
  }
};

template <class Result, class Impl, class... Parameters>
struct Caller<Result (Impl::*)(Parameters...) const> : Caller<Result (Impl::*)(Parameters...)> {};

template <class Result, class... Parameters>
struct Caller<Result (*)(Parameters...)> {
  template <auto function>
  static Value call(ModelElement::Impl*, std::span<Value> arguments) {
    return callWith<Result, Parameters...>(arguments, function, std::index_sequence_for<Parameters...>{});
  }
};

/// OperationDecl::call of a member of Impl, or of a static function of the facade. The number of arguments is checked.
template <auto function>
Value callOperation(ModelElement::Impl* object, std::span<Value> arguments) {
  return Caller<decltype(function)>::template call<function>(object, arguments);
}

/// PropertyDecl::derive of a feature that an operation computes.
template <auto function>
Value deriveFeature(const ModelElement::Impl& object) {
  return callOperation<function>(const_cast<ModelElement::Impl*>(&object), {});
}

template <class Function>
struct SetterOf;
template <class Impl, class Parameter>
struct SetterOf<void (Impl::*)(Parameter)> {
  using Class = Impl;
  using Type = std::remove_cvref_t<Parameter>;
};

/// PropertyDecl::set of a feature whose setter does more than write.
template <auto function>
void callSetter(ModelElement::Impl& object, const Value& value) {
  using Setter = SetterOf<decltype(function)>;
  (static_cast<typename Setter::Class&>(object).*function)(Carried<typename Setter::Type>::take(value));
}

/// Joins the hash of a struct's field to those before it.
template <class T>
void combineHash(std::size_t& sum, const T& value) {
  sum ^= std::hash<T>{}(value) + std::size_t{0x9e3779b97f4a7c15ull} + (sum << 6) + (sum >> 2);
}
inline void combineHash(std::size_t& sum, const Uuid& value) { combineHash(sum, hashUuid(value)); }

} // namespace tavo::detail
