// Entities and reactors: the observer core of the runtime.
//
// An Entity owns attributes (scalars and collections, see Collection.h) and a list of
// reactors. Every write that changes something calls notify(attributeId, key) after the
// write; a write that changes nothing notifies nobody. Delivery is synchronous.
//
// A Reactor watches one entity. It may be created or destroyed while that entity (or any
// other) is notifying: a reactor destroyed mid-dispatch is skipped from then on, and a
// reactor created mid-dispatch does not receive the notification in progress (its initial
// walk has already shown it the state after the write). A reactor must not destroy itself
// from inside its own onAttribute.
//
// Order: a handler may write to the entity that is notifying it. That write takes effect at
// once, but its notification waits until every reactor has heard the one in progress, so
// every reactor hears one entity's changes in the order they were made (handlers read the
// current state, so a value overwritten before a reactor's turn is seen as its successor).
// Only such nested notifications are queued, with a copy of their key.
//
// Failure: an exception out of a handler does not stop delivery. The other reactors still
// hear that change and the queued ones; then the first exception reaches the writer, and
// the entity notifies normally from then on.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "Qor/Ptr.h"

namespace Qor {

using AttributeId = uint32_t;

// Attribute ids are the FNV-1a hash of the attribute's name: stable across translation
// units and usable as case labels.
constexpr AttributeId attributeId(std::string_view name) noexcept {
  uint32_t h = 2166136261u;
  for (char c : name) {
    h ^= static_cast<uint8_t>(c);
    h *= 16777619u;
  }
  return h;
}

class Reactor;
class Entity;
class StateMachine;

// Base of every attribute member; links the attributes of an entity in declaration order
// so that a new reactor can be shown the entity's whole current state.
class AttributeBase {
 public:
  AttributeBase(Entity* owner, AttributeId id);
  AttributeBase(AttributeBase const&) = delete;
  AttributeBase& operator=(AttributeBase const&) = delete;
  AttributeId attributeId() const noexcept { return id_; }

  // Calls reactor.onAttribute(id, key) for every element (once, key nullptr, for a scalar).
  virtual void walk(Reactor& reactor) const = 0;

 protected:
  ~AttributeBase() = default;
  Entity* owner() const noexcept { return owner_; }

 private:
  friend class Entity;
  Entity* owner_;
  AttributeBase* next_ = nullptr;
  AttributeId id_;
};

class Entity : public PtrInterface {
 public:
  Entity() = default;
  Entity(Entity const&) = delete;
  Entity& operator=(Entity const&) = delete;

  // The qualified type name ("Fenn::HwInfoMapping").
  virtual std::string_view fwkType() const = 0;

  bool hasReactors() const noexcept { return !reactors_.empty(); }
  size_t reactorCount() const noexcept;

  // Delivers (id) for a scalar attribute, or (id, &key) for a key of a collection, to every
  // registered reactor; `key` is a copy owned by the caller.
  void notify(AttributeId id) const {
    if (reactors_.empty()) return;
    if (dispatching_) {
      defer(id, nullptr);
    } else {
      dispatch(id, nullptr);
    }
  }
  template <class K>
  void notify(AttributeId id, K const& key) const {
    if (reactors_.empty()) return;
    if (dispatching_) {
      defer(id, std::make_shared<K const>(key));
    } else {
      dispatch(id, &key);
    }
  }

  // Replays the whole current state to one reactor, attribute by attribute.
  void walk(Reactor& reactor) const;

  ~Entity() override;

 private:
  friend class AttributeBase;
  friend class Reactor;
  struct Deferred {
    AttributeId id;
    std::shared_ptr<void const> key;
  };
  void dispatch(AttributeId id, void const* key) const;
  void deliver(AttributeId id, void const* key, std::exception_ptr& failure) const;
  void defer(AttributeId id, std::shared_ptr<void const> key) const;
  void attach(Reactor* r) const;
  void detach(Reactor* r) const;

  // The flags first: they fit beside the reference count, in the padding of the base, which
  // keeps every entity a word smaller (the per-element index entities are many).
  mutable bool dispatching_ = false;
  mutable bool hasHoles_ = false;
  mutable std::vector<Reactor*> reactors_;
  // Notifications of writes made while this entity notifies; allocated on first use.
  mutable std::unique_ptr<std::vector<Deferred>> deferred_;
  AttributeBase* attributes_ = nullptr;
};

class Reactor {
 public:
  // `owner` is the state machine whose hasNotificationActive gates delivery (or nullptr).
  Reactor(Entity const* notifier, StateMachine const* owner);
  Reactor(Reactor const&) = delete;
  Reactor& operator=(Reactor const&) = delete;
  virtual ~Reactor();

  virtual void onAttribute(AttributeId id, void const* key) = 0;

  // Runs once right after construction (see newReactor): by default the walk of the
  // notifier's current state, as if everything had just appeared.
  virtual void onCreate() { walk(); }

  void walk() { notifier_->walk(*this); }
  Entity const* notifierEntity() const noexcept { return notifier_.get(); }
  bool deliveryActive() const noexcept;

 private:
  Ptr<Entity const> notifier_;
  StateMachine const* owner_;
};

// A reactor typed by what it watches and by its state machine, which it reaches through
// a plain back pointer (the state machine owns its reactors, never the reverse).
template <class Notifier, class Sm>
class ReactorOf : public Reactor {
 public:
  ReactorOf(Notifier const* notifier, Sm* sm) : Reactor(notifier, sm), sm_(sm) {}
  Notifier const* notifier() const noexcept { return static_cast<Notifier const*>(notifierEntity()); }
  Sm* sm() const noexcept { return sm_; }

 private:
  Sm* sm_;
};

template <class K>
K const& keyAs(void const* key) noexcept {
  return *static_cast<K const*>(key);
}

// Constructs a reactor and runs its initial walk.
template <class R, class... A>
std::unique_ptr<R> newReactor(A&&... args) {
  auto r = std::make_unique<R>(std::forward<A>(args)...);
  r->onCreate();
  return r;
}

}  // namespace Qor
