#include "Qor/Entity.h"

#include <algorithm>
#include <cassert>

#include "Qor/StateMachine.h"

namespace Qor {

AttributeBase::AttributeBase(Entity* owner, AttributeId id) : owner_(owner), id_(id) {
  // Entities have a handful of attributes; appending keeps declaration order for walks.
  AttributeBase** link = &owner->attributes_;
  while (*link) link = &(*link)->next_;
  *link = this;
}

Entity::~Entity() { assert(dispatchDepth_ == 0 && "entity destroyed while notifying"); }

size_t Entity::reactorCount() const noexcept {
  return static_cast<size_t>(
      std::count_if(reactors_.begin(), reactors_.end(), [](Reactor* r) { return r != nullptr; }));
}

void Entity::dispatch(AttributeId id, void const* key) const {
  // A handler may drop the last reference to this entity (say, by deleting the reactor
  // that held it); keep it alive until the loop is done.
  Ptr<Entity const> keepAlive(refCount() > 0 ? this : nullptr);
  ++dispatchDepth_;
  size_t const n = reactors_.size();  // reactors added during dispatch start next time
  for (size_t i = 0; i < n; ++i) {
    Reactor* r = reactors_[i];
    if (r && r->deliveryActive()) r->onAttribute(id, key);
  }
  if (--dispatchDepth_ == 0 && hasHoles_) {
    std::erase(reactors_, nullptr);
    hasHoles_ = false;
  }
}

void Entity::walk(Reactor& reactor) const {
  for (AttributeBase const* a = attributes_; a; a = a->next_) a->walk(reactor);
}

void Entity::attach(Reactor* r) const { reactors_.push_back(r); }

void Entity::detach(Reactor* r) const {
  auto it = std::find(reactors_.begin(), reactors_.end(), r);
  if (it == reactors_.end()) return;
  if (dispatchDepth_ > 0) {
    *it = nullptr;  // the dispatch loop indexes this vector; compact when it is done
    hasHoles_ = true;
  } else {
    reactors_.erase(it);
  }
}

Reactor::Reactor(Entity const* notifier, StateMachine const* owner) : notifier_(notifier), owner_(owner) {
  notifier_->attach(this);
}

Reactor::~Reactor() { notifier_->detach(this); }

bool Reactor::deliveryActive() const noexcept { return owner_ == nullptr || owner_->hasNotificationActive(); }

}  // namespace Qor
