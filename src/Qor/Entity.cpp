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

Entity::~Entity() { assert(!dispatching_ && "entity destroyed while notifying"); }

size_t Entity::reactorCount() const noexcept {
  return static_cast<size_t>(
      std::count_if(reactors_.begin(), reactors_.end(), [](Reactor* r) { return r != nullptr; }));
}

void Entity::dispatch(AttributeId id, void const* key) const {
  // A handler may drop the last reference to this entity (say, by deleting the reactor
  // that held it); keep it alive until the loop is done.
  Ptr<Entity const> keepAlive(refCount() > 0 ? this : nullptr);
  dispatching_ = true;
  std::exception_ptr failure;
  deliver(id, key, failure);
  if (deferred_) {
    // Handlers may defer more while these are delivered: index, and move each one out.
    for (size_t i = 0; i < deferred_->size(); ++i) {
      Deferred const next = std::move((*deferred_)[i]);
      deliver(next.id, next.key.get(), failure);
    }
    deferred_->clear();
  }
  dispatching_ = false;
  if (hasHoles_) {
    std::erase(reactors_, nullptr);
    hasHoles_ = false;
  }
  if (failure) std::rethrow_exception(failure);
}

void Entity::deliver(AttributeId id, void const* key, std::exception_ptr& failure) const {
  size_t const n = reactors_.size();  // reactors added during delivery start with the next change
  for (size_t i = 0; i < n; ++i) {
    Reactor* r = reactors_[i];
    if (!r || !r->deliveryActive()) continue;
    try {
      r->onAttribute(id, key);
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  }
}

void Entity::defer(AttributeId id, std::shared_ptr<void const> key) const {
  if (!deferred_) deferred_ = std::make_unique<std::vector<Deferred>>();
  deferred_->push_back({id, std::move(key)});
}

void Entity::walk(Reactor& reactor) const {
  for (AttributeBase const* a = attributes_; a; a = a->next_) a->walk(reactor);
}

void Entity::attach(Reactor* r) const { reactors_.push_back(r); }

void Entity::detach(Reactor* r) const {
  auto it = std::find(reactors_.begin(), reactors_.end(), r);
  if (it == reactors_.end()) return;
  if (dispatching_) {
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
