#include "tavo/model/ChangeSet.h"

#include "tavo/core/Errors.h"
#include "tavo/model/ModelData.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace tavo {
namespace {

using Impl = ModelElement::Impl;

/// Where an object was before and after the step.
struct Place {
  Impl* container;
  PropertyIndex property;
  bool alive;
};

/// What a record says about the time before it (going forward in the direction of the announcement).
struct Draft {
  std::size_t order;
  enum class Kind { life, attribute, link } kind;
  Place before{};
  const Record* record = nullptr;
  int balance = 0; ///< of links: +1 made, -1 cleared
};

using Key = std::tuple<int, const void*, const void*, PropertyIndex>;

Place placeOf(const Impl& object, bool alive) {
  const MetaProperty* property = object.containingProperty();
  return {object.container(), property ? property->index() : PropertyIndex(0), alive};
}

bool hasOwnValue(const Impl& object, const MetaProperty& property) {
  return property.kind() == FeatureKind::attribute && object.isA(property.owner()) && object.hasPropertyValue(property);
}

const MetaProperty* propertyOf(Impl* container, PropertyIndex index) {
  return container ? &container->objectClass().at(index) : nullptr;
}

} // namespace

Model ChangeSet::model() const { return Model(&model_); }

/// A listener may have ended the model, and with it the step.
void ChangeSet::requireStep() const {
  if (!model_.isOpen())
    raise(FrameworkError::CannotCreateWithoutModel, "ChangeSet");
}

/// In the direction of the announcement.
template <class Visit>
void ChangeSet::forEachRecord(const Visit& visit) const {
  if (undone_) // which is of a whole step
    return step_->forEachReversed(visit);
  std::size_t at = 0;
  step_->forEach([&](Record& record) {
    if (at >= from_ && at < end_)
      visit(record);
    ++at;
  });
}

bool ChangeSet::touches(const MetaProperty& property) const {
  requireStep();
  if (!step_)
    return std::any_of(changes_.begin(), changes_.end(),
                       [&](const Change& change) { return change.metaClass->isA(property.owner()); });
  bool touched = false;
  forEachRecord([&](Record& record) {
    if (touched)
      return;
    switch (record.kind) {
    case Record::Kind::attribute:
      touched = &record.object->objectClass().at(record.property) == &property;
      break;
    case Record::Kind::placement:
      touched = propertyOf(record.place.container, record.place.property) == &property ||
                (record.object->isAlive() && record.object->containingProperty() == &property) ||
                (record.changesLife && record.otherAlive == undone_ && hasOwnValue(*record.object, property));
      break;
    case Record::Kind::link:
      touched =
          &record.link->feature() == &property || (record.link->twin() && &record.link->twin()->feature() == &property);
      break;
    case Record::Kind::state:
      break;
    }
  });
  return touched;
}

const std::vector<Change>& ChangeSet::changes() const {
  if (known_)
    return changes_;
  requireStep();

  // The records of one direction name, for each thing that changed, its value before: the first record of it counts.
  std::map<Key, Draft> drafts;
  std::size_t order = 0;
  const auto read = [&](Record& record) {
    ++order;
    switch (record.kind) {
    case Record::Kind::attribute:
      drafts.try_emplace({0, record.object, nullptr, record.property},
                         Draft{order, Draft::Kind::attribute, {}, &record, 0});
      break;
    case Record::Kind::placement:
      drafts.try_emplace({1, record.object, nullptr, PropertyIndex(0)},
                         Draft{order,
                               Draft::Kind::life,
                               {record.place.container, record.place.property, record.otherAlive},
                               &record,
                               0});
      break;
    case Record::Kind::state:
      drafts.try_emplace({1, record.object, nullptr, PropertyIndex(0)},
                         Draft{order, Draft::Kind::life, placeOf(*record.object, record.otherAlive), &record, 0});
      break;
    case Record::Kind::link: {
      const auto count = [&](const Link& link) {
        Draft& draft = drafts
                           .try_emplace({2, link.source(), link.target, link.property},
                                        Draft{order, Draft::Kind::link, {}, &record, 0})
                           .first->second;
        draft.balance += record.otherAlive ? -1 : 1;
      };
      count(*record.link);
      if (const Link* twin = record.link->twin())
        count(*twin);
      break;
    }
    }
  };
  forEachRecord(read);

  std::vector<std::pair<const Key*, const Draft*>> sorted;
  for (const auto& [key, draft] : drafts)
    sorted.emplace_back(&key, &draft);
  std::sort(sorted.begin(), sorted.end(),
            [](const auto& a, const auto& b) { return a.second->order < b.second->order; });

  std::vector<Change> changes;
  const auto say = [&](Change::Kind kind, Impl& object, const MetaProperty* property, Impl* other, Value before) {
    changes.push_back({kind, ModelElement(&object), object.uuid(), &object.objectClass(), property, ModelElement(other),
                       std::move(before)});
  };
  for (const auto& [key, draft] : sorted) {
    auto& object = *const_cast<Impl*>(static_cast<const Impl*>(std::get<1>(*key)));
    switch (draft->kind) {
    case Draft::Kind::attribute: {
      const MetaProperty& property = object.objectClass().at(std::get<3>(*key));
      const auto life = drafts.find({1, &object, nullptr, PropertyIndex(0)});
      const bool isNew = life != drafts.end() && !life->second.before.alive; // made with its values, or revived
      if (object.isAlive() && !isNew && !property.datatype()->equal(draft->record->value, object.field(property)))
        say(Change::Kind::changed, object, &property, nullptr,
            Value::copyOf(*property.datatype(), draft->record->value));
      break;
    }
    case Draft::Kind::life: {
      const Place now = placeOf(object, object.isAlive());
      const Place& before = draft->before;
      if (before.alive != now.alive)
        say(now.alive ? Change::Kind::created : Change::Kind::destroyed, object, nullptr, nullptr, {});
      const bool moved = before.container != now.container || before.property != now.property;
      if (before.alive && before.container && (moved || !now.alive))
        say(Change::Kind::removed, *before.container, propertyOf(before.container, before.property), &object, {});
      if (now.alive && now.container && (moved || !before.alive))
        say(Change::Kind::added, *now.container, object.containingProperty(), &object, {});
      break;
    }
    case Draft::Kind::link: {
      auto& target = *const_cast<Impl*>(static_cast<const Impl*>(std::get<2>(*key)));
      if (draft->balance != 0)
        say(draft->balance > 0 ? Change::Kind::added : Change::Kind::removed, object,
            &object.objectClass().at(std::get<3>(*key)), &target, {});
      break;
    }
    }
  }
  changes_ = std::move(changes);
  known_ = true;
  return changes_;
}

} // namespace tavo
