// The announcements that go out to the host application: what has happened to a model, told to whoever subscribed.
#pragma once

#include "tavo/core/String.h"
#include "tavo/model/ModelElement.h"
#include "zelkor/Export.h"

#include <functional>
#include <memory>
#include <vector>

namespace zelkor::services {

enum class ModelEventType {
  profileLoaded = 2,
  profileUnloaded = 3,
  propertyValueChanged = 5,
};

/// Behind the name of a model, the file that the block-diagram editor shows it in.
inline constexpr std::u16string_view blockDiagramExtension = u".cvd";

struct ModelEvent {
  ModelEventType type;
  tavo::String name; ///< a profile's name; for a change of values, the file that shows the model (see below)
  tavo::ModelElement element;
};

/// One per process. Events of a model leave when its outermost transaction has been committed, so that handlers see the
/// new values; with a transaction that is rolled back they are gone. That a profile is unloaded is told at once, while
/// the profile is still there.
class ZELKOR_EXPORT ModelEventBroadcastSystem {
public:
  using Handler = std::function<void(const ModelEvent&)>;

  /// Unsubscribes when it is destroyed.
  class ZELKOR_EXPORT Token {
  public:
    Token() noexcept = default;
    Token(Token&&) noexcept = default;
    Token& operator=(Token&& other) noexcept;
    ~Token();

    explicit operator bool() const noexcept { return subscription_ != nullptr; }
    void reset() noexcept;

  private:
    friend class ModelEventBroadcastSystem;
    struct Subscription;
    explicit Token(std::shared_ptr<Subscription> subscription) noexcept : subscription_(std::move(subscription)) {}
    std::shared_ptr<Subscription> subscription_;
  };

  static ModelEventBroadcastSystem& instance();
  ModelEventBroadcastSystem(const ModelEventBroadcastSystem&) = delete;
  ModelEventBroadcastSystem& operator=(const ModelEventBroadcastSystem&) = delete;

  /// Handlers are called in the order in which they subscribed. What one raises is reported to the host and does not
  /// keep the event from the others.
  [[nodiscard]] Token subscribe(Handler handler);

  /// Whether anybody listens: where not, nothing need be said.
  bool isHeard() const;

  void triggerEvent(ModelEventType type, const tavo::String& name, const tavo::ModelElement& element);

private:
  ModelEventBroadcastSystem() = default;
  ~ModelEventBroadcastSystem() = default;
  void deliver(const ModelEvent& event);
  void forgetInactive();

  std::vector<std::shared_ptr<Token::Subscription>> subscriptions_;
  unsigned delivering_ = 0; ///< events on their way to the handlers
};

} // namespace zelkor::services
