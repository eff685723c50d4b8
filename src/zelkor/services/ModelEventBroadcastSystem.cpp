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
  std::erase_if(subscriptions_, [](const auto& each) { return !each->active; });
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
  // Handlers may subscribe and unsubscribe, themselves included.
  const auto present = subscriptions_;
  for (const auto& subscription : present) {
    if (!subscription->active)
      continue;
    try {
      subscription->handler(event);
    } catch (const std::exception& error) {
      reportWarning(error);
    }
  }
}

} // namespace zelkor::services
