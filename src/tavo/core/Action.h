// Something to be done later.
#pragma once

#include <cstddef>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>

namespace tavo {

/// A function that is kept to be called later. Unlike std::function it has room in place for a few handles and texts,
/// so that putting something small off allocates nothing; and it moves, but is never copied.
class Action {
public:
  template <class Function>
  requires(!std::is_same_v<Function, Action>) Action(Function function) : kept_(&Kept<Function>::operations) {
    if constexpr (Kept<Function>::fits)
      ::new (memory_) Function(std::move(function));
    else
      ::new (memory_) std::function<void()>(std::move(function));
  }
  Action(Action&& other) noexcept : kept_(other.kept_) { kept_->move(other.memory_, memory_); }
  Action& operator=(Action&&) = delete;
  ~Action() { kept_->destroy(memory_); }

  void operator()() { kept_->call(memory_); }

private:
  static constexpr std::size_t capacity = 48;

  struct Operations {
    void (*call)(void* function);
    void (*move)(void* from, void* to) noexcept; ///< what is left behind is still to be destroyed
    void (*destroy)(void* function) noexcept;
  };

  template <class Given>
  struct Kept {
    static constexpr bool fits = sizeof(Given) <= capacity && alignof(Given) <= alignof(std::max_align_t) &&
                                 std::is_nothrow_move_constructible_v<Given>;
    using Function = std::conditional_t<fits, Given, std::function<void()>>;
    static constexpr Operations operations{
        [](void* function) { (*static_cast<Function*>(function))(); },
        [](void* from, void* to) noexcept { ::new (to) Function(std::move(*static_cast<Function*>(from))); },
        [](void* function) noexcept { static_cast<Function*>(function)->~Function(); }};
  };

  const Operations* kept_;
  alignas(std::max_align_t) std::byte memory_[capacity];
};

} // namespace tavo
