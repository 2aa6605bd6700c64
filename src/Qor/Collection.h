// Observable attributes: the generic templates behind every entity attribute. Entities
// declare them with the macros of Attribute.h, which generate the conventional names.
//
// Notification rules (all synchronous, after the write, with a copy of the key; a write made
// while the entity notifies is heard after the notification in progress, see Entity.h):
//   Scalar::set          notifies (id, nullptr) only when the value changed.
//   ValueMap::set        notifies (id, key) when the key is new or the value differs.
//   ValueMap::inc/dec    read the count (0 when absent), store the result with set and
//                        return it; a count of 0 stays stored until del.
//   Set::insert          notifies when the key is new.
//   ChildMap::instantiate creates the child for a new key and notifies; an existing key
//                        returns the existing child and notifies nobody.
//   del                  removes and notifies only when the key was present; returns that.
//   delAll               removes every element, notifying each key.
// Invalidation: a write to a collection may move its elements, invalidating iterators,
// pointers and references into it (get() and find() results included). Code that writes
// while walking iterates a snapshot (keys()) instead; a value read is copied before the
// next write to the same collection.
#pragma once

#include <cassert>
#include <vector>

#include "Qor/Entity.h"
#include "Qor/FlatHashTable.h"
#include "Qor/Hash.h"

namespace Qor {

// The container behind every collection; swap it here when a benchmark says so. Its
// elements move on writes (see FlatHashTable.h).
template <class K, class V>
using HashMap = FlatHashTable<K, V, Hasher<K>>;
template <class K>
using HashSet = FlatHashTable<K, void, Hasher<K>>;

namespace detail {
template <class K>
void notifyKey(Entity* owner, AttributeId id, K const& key) {
  if (owner->hasReactors()) {
    K const copy = key;  // a handler may erase the element that `key` refers to
    owner->notify(id, copy);
  }
}

template <class Container, class KeyOf>
void walkKeys(Container const& c, AttributeId id, Reactor& reactor, KeyOf keyOf) {
  using K = std::remove_cvref_t<decltype(keyOf(*c.begin()))>;
  std::vector<K> keys;
  keys.reserve(c.size());
  for (auto const& e : c) keys.push_back(keyOf(e));
  for (auto const& k : keys) reactor.onAttribute(id, &k);
}
}  // namespace detail

template <class T>
class Scalar final : public AttributeBase {
 public:
  Scalar(Entity* owner, AttributeId id, T initial = T())
      : AttributeBase(owner, id), value_(std::move(initial)) {}
  T const& get() const noexcept { return value_; }
  void set(T const& v) {
    if (value_ == v) return;
    value_ = v;
    owner()->notify(attributeId());
  }
  void walk(Reactor& reactor) const override { reactor.onAttribute(attributeId(), nullptr); }

 private:
  T value_;
};

template <class K, class V>
class ValueMap final : public AttributeBase {
 public:
  using Map = HashMap<K, V>;
  using const_iterator = typename Map::const_iterator;

  ValueMap(Entity* owner, AttributeId id) : AttributeBase(owner, id) {}

  // The value for `k`, or a default-constructed V when absent.
  V const& get(K const& k) const {
    auto it = map_.find(k);
    return it == map_.end() ? defaultValue() : it->second;
  }
  V const* find(K const& k) const {
    auto it = map_.find(k);
    return it == map_.end() ? nullptr : &it->second;
  }
  bool has(K const& k) const { return map_.find(k) != map_.end(); }
  // Whether an entry whose key hashes as `k` does satisfies `pred` (see FlatHashTable).
  template <class Pred>
  bool anyWithHashOf(K const& k, Pred pred) const {
    return map_.anyWithHashOf(k, pred);
  }

  void set(K const& k, V const& v) {
    auto [it, inserted] = map_.try_emplace(k, v);
    if (!inserted) {
      if (it->second == v) return;
      it->second = v;
    }
    detail::notifyKey(owner(), attributeId(), k);
  }
  V inc(K const& k, V n) {
    V const v = get(k) + n;
    set(k, v);
    return v;
  }
  V dec(K const& k, V n) {
    V const v = get(k) - n;
    set(k, v);
    return v;
  }
  bool del(K const& k) {
    auto it = map_.find(k);
    if (it == map_.end()) return false;
    K const key = it->first;
    map_.erase(it);
    detail::notifyKey(owner(), attributeId(), key);
    return true;
  }
  void delAll() {
    for (auto const& k : keys()) del(k);
  }

  std::vector<K> keys() const {
    std::vector<K> out;
    out.reserve(map_.size());
    for (auto const& [k, v] : map_) out.push_back(k);
    return out;
  }
  // Room for `n` elements; no notification (see FlatHashTable::reserve).
  void reserve(size_t n) { map_.reserve(n); }
  size_t size() const noexcept { return map_.size(); }
  bool empty() const noexcept { return map_.empty(); }
  const_iterator begin() const noexcept { return map_.begin(); }
  const_iterator end() const noexcept { return map_.end(); }

  void walk(Reactor& reactor) const override {
    detail::walkKeys(map_, attributeId(), reactor, [](auto const& e) -> K const& { return e.first; });
  }

 private:
  static V const& defaultValue() {
    static V const v{};
    return v;
  }
  Map map_;
};

template <class K>
class Set final : public AttributeBase {
 public:
  using Container = HashSet<K>;
  using const_iterator = typename Container::const_iterator;

  Set(Entity* owner, AttributeId id) : AttributeBase(owner, id) {}

  bool has(K const& k) const { return set_.find(k) != set_.end(); }
  // Membership is the value: inserting false is a removal.
  void set(K const& k, bool member = true) {
    if (!member) {
      del(k);
      return;
    }
    if (set_.insert(k).second) detail::notifyKey(owner(), attributeId(), k);
  }
  bool del(K const& k) {
    auto it = set_.find(k);
    if (it == set_.end()) return false;
    K const key = *it;
    set_.erase(it);
    detail::notifyKey(owner(), attributeId(), key);
    return true;
  }
  void delAll() {
    for (auto const& k : keys()) del(k);
  }

  std::vector<K> keys() const { return std::vector<K>(set_.begin(), set_.end()); }
  // Room for `n` elements; no notification (see FlatHashTable::reserve).
  void reserve(size_t n) { set_.reserve(n); }
  size_t size() const noexcept { return set_.size(); }
  bool empty() const noexcept { return set_.empty(); }
  const_iterator begin() const noexcept { return set_.begin(); }
  const_iterator end() const noexcept { return set_.end(); }

  void walk(Reactor& reactor) const override {
    detail::walkKeys(set_, attributeId(), reactor, [](K const& k) -> K const& { return k; });
  }

 private:
  Container set_;
};

// Owned child entities keyed by K: instantiate(k, args...) builds Child(k, args...).
template <class K, class Child>
class ChildMap final : public AttributeBase {
 public:
  using Map = HashMap<K, Ptr<Child>>;
  using const_iterator = typename Map::const_iterator;

  ChildMap(Entity* owner, AttributeId id) : AttributeBase(owner, id) {}

  Child* get(K const& k) const {
    auto it = map_.find(k);
    return it == map_.end() ? nullptr : it->second.get();
  }
  bool has(K const& k) const { return map_.find(k) != map_.end(); }

  template <class... A>
  Child* instantiate(K const& k, A&&... args) {
    auto [it, inserted] = map_.try_emplace(k);
    if (!inserted) return it->second.get();
    it->second = Ptr<Child>(new Child(k, std::forward<A>(args)...));
    Child* child = it->second.get();
    detail::notifyKey(owner(), attributeId(), k);
    return child;
  }
  bool del(K const& k) {
    auto it = map_.find(k);
    if (it == map_.end()) return false;
    K const key = it->first;
    Ptr<Child> child = std::move(it->second);  // dies after watchers heard of the removal
    map_.erase(it);
    detail::notifyKey(owner(), attributeId(), key);
    return true;
  }
  void delAll() {
    for (auto const& k : keys()) del(k);
  }

  std::vector<K> keys() const {
    std::vector<K> out;
    out.reserve(map_.size());
    for (auto const& [k, v] : map_) out.push_back(k);
    return out;
  }
  // Room for `n` elements; no notification (see FlatHashTable::reserve).
  void reserve(size_t n) { map_.reserve(n); }
  size_t size() const noexcept { return map_.size(); }
  bool empty() const noexcept { return map_.empty(); }
  const_iterator begin() const noexcept { return map_.begin(); }
  const_iterator end() const noexcept { return map_.end(); }

  void walk(Reactor& reactor) const override {
    detail::walkKeys(map_, attributeId(), reactor, [](auto const& e) -> K const& { return e.first; });
  }

 private:
  Map map_;
};

// A state machine's per-element reactors, keyed like the elements they watch. Not an
// entity attribute: reactors are private machinery and notify nobody.
template <class K, class R>
class ReactorMap {
 public:
  // Creates the reactor for `k` (running its initial walk) unless one exists.
  template <class... A>
  R* add(K const& k, A&&... args) {
    auto [it, inserted] = map_.try_emplace(k);
    if (!inserted) return it->second.get();
    // The initial walk may add or remove other reactors of this map, moving the entry.
    std::unique_ptr<R> reactor = newReactor<R>(std::forward<A>(args)...);
    R* const r = reactor.get();
    map_.try_emplace(k).first->second = std::move(reactor);
    return r;
  }
  R* get(K const& k) const {
    auto it = map_.find(k);
    return it == map_.end() ? nullptr : it->second.get();
  }
  bool has(K const& k) const { return map_.find(k) != map_.end(); }
  // Destroys the reactor; no handler runs.
  bool del(K const& k) { return map_.erase(k) > 0; }
  void delAll() { map_.clear(); }
  size_t size() const noexcept { return map_.size(); }
  auto begin() const noexcept { return map_.begin(); }
  auto end() const noexcept { return map_.end(); }

 private:
  HashMap<K, std::unique_ptr<R>> map_;
};

}  // namespace Qor
