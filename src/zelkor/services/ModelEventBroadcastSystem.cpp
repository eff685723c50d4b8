#include "zelkor/services/ModelEventBroadcastSystem.h"

#include "tavo/model/Model.h"
#include "zelkor/framework/Diagnostics.h"

#include <algorithm>

namespace zelkor::services {

struct ModelEventBroadcastSystem::Token::Subscription {
  Handler handler;
  bool active = true;
};

ModelEventBroadcastSystem::Token& ModelEventBroadcastSystem::Token::operator=(Token&& other) noexcept {
  if (this != &other) {
    reset();
    subscription_ = std::move(other.subscription_);
  }
  return *this;
}

ModelEventBroadcastSystem::Token::~Token() { reset(); }

void ModelEventBroadcastSystem::Token::reset() noexcept {
  if (subscription_)
    subscription_->active = false;
  subscription_.reset();
}

ModelEventBroadcastSystem& ModelEventBroadcastSystem::instance() {
  static auto* const system = new ModelEventBroadcastSystem; // models may outlive every static object
  return *system;
}

ModelEventBroadcastSystem::Token ModelEventBroadcastSystem::subscribe(Handler handler) {
  auto subscription = std::make_shared<Token::Subscription>(Token::Subscription{std::move(handler)});
  forgetInactive();
  subscriptions_.push_back(subscription);
  return Token(std::move(subscription));
}

bool ModelEventBroadcastSystem::isHeard() const {
  return std::ranges::any_of(subscriptions_, [](const auto& each) { return each->active; });
}

void ModelEventBroadcastSystem::triggerEvent(ModelEventType type, const tavo::String& name,
                                             const tavo::ModelElement& element) {
  if (!isHeard())
    return;
  ModelEvent event{type, name, element};
  // A model that is about to end takes along what waits for its commit.
  if (!element || type == ModelEventType::profileUnloaded)
    return deliver(event);
  element.model().afterCommit([this, event = std::move(event)] { deliver(event); });
}

void ModelEventBroadcastSystem::deliver(const ModelEvent& event) {
  // Handlers may subscribe and unsubscribe, themselves included: who comes meanwhile is not told, and nobody goes
  // before the end.
  struct Delivery {
    explicit Delivery(unsigned& count) : running(++count) {}
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    ~Delivery() { --running; }
    unsigned& running;
  } const delivery(delivering_);
  for (std::size_t i = 0, present = subscriptions_.size(); i < present; ++i) {
    Token::Subscription& subscription = *subscriptions_[i];
    if (!subscription.active)
      continue;
    try {
      subscription.handler(event);
    } catch (const std::exception& error) {
      reportWarning(error);
    }
  }
}

void ModelEventBroadcastSystem::forgetInactive() {
  if (delivering_ == 0)
    std::erase_if(subscriptions_, [](const auto& each) { return !each->active; });
}

} // namespace zelkor::services
