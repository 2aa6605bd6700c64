// One macro per attribute generates the conventional accessor names of the runtime; the
// logic lives in the templates of Collection.h. Each macro also defines the attribute's
// id as `<name>Attr`, the value reactors switch on in onAttribute.
//
//   QOR_SCALAR(name, T, initial)  name(), nameIs(v)
//   QOR_MAP(name, K, V)           name(k) (default V when absent), nameHas(k), nameIs(k, v),
//                                 nameDel(k) -> bool, nameDelAll(), name() for iteration,
//                                 nameReserve(n) (room for n elements, nothing notified)
//   QOR_COUNTER(name, K, V)       QOR_MAP plus nameInc(k, n), nameDec(k, n)
//   QOR_SET(name, K)              name(k) / nameHas(k) -> bool, nameIs(k[, bool]), nameDel(k),
//                                 nameDelAll(), name() for iteration, nameReserve(n)
//   QOR_CHILDREN(name, K, Child)  name(k) -> Child* (nullptr when absent), nameHas(k),
//                                 nameIs(k, args...) instantiates Child(k, args...) and returns it,
//                                 nameDel(k), nameDelAll(), name() for iteration, nameReserve(n)
// Type arguments must not contain top-level commas (use an alias).
#pragma once

#include "Qor/Collection.h"

#define QOR_ATTRIBUTE_ID(name) static constexpr ::Qor::AttributeId name##Attr = ::Qor::attributeId(#name)

#define QOR_SCALAR(name, T, initial)                       \
 public:                                                   \
  QOR_ATTRIBUTE_ID(name);                                  \
  T const& name() const noexcept { return name##_.get(); } \
  void name##Is(T const& v) { name##_.set(v); }            \
                                                           \
 private:                                                  \
  ::Qor::Scalar<T> name##_{this, name##Attr, initial};     \
                                                           \
 public:

#define QOR_MAP_ACCESSORS(name, K, V)                          \
 public:                                                       \
  QOR_ATTRIBUTE_ID(name);                                      \
  V const& name(K const& k) const { return name##_.get(k); }   \
  bool name##Has(K const& k) const { return name##_.has(k); }  \
  auto const& name() const noexcept { return name##_; }        \
  void name##Is(K const& k, V const& v) { name##_.set(k, v); } \
  bool name##Del(K const& k) { return name##_.del(k); }        \
  void name##DelAll() { name##_.delAll(); }                    \
  void name##Reserve(size_t n) { name##_.reserve(n); }

#define QOR_MAP(name, K, V)                        \
  QOR_MAP_ACCESSORS(name, K, V)                    \
                                                   \
 private:                                          \
  ::Qor::ValueMap<K, V> name##_{this, name##Attr}; \
                                                   \
 public:

#define QOR_COUNTER(name, K, V)                                  \
  QOR_MAP_ACCESSORS(name, K, V)                                  \
  V name##Inc(K const& k, V n = 1) { return name##_.inc(k, n); } \
  V name##Dec(K const& k, V n = 1) { return name##_.dec(k, n); } \
                                                                 \
 private:                                                        \
  ::Qor::ValueMap<K, V> name##_{this, name##Attr};               \
                                                                 \
 public:

#define QOR_SET(name, K)                                                    \
 public:                                                                    \
  QOR_ATTRIBUTE_ID(name);                                                   \
  bool name(K const& k) const { return name##_.has(k); }                    \
  bool name##Has(K const& k) const { return name##_.has(k); }               \
  auto const& name() const noexcept { return name##_; }                     \
  void name##Is(K const& k, bool member = true) { name##_.set(k, member); } \
  bool name##Del(K const& k) { return name##_.del(k); }                     \
  void name##DelAll() { name##_.delAll(); }                                 \
  void name##Reserve(size_t n) { name##_.reserve(n); }                      \
                                                                            \
 private:                                                                   \
  ::Qor::Set<K> name##_{this, name##Attr};                                  \
                                                                            \
 public:

#define QOR_CHILDREN(name, K, Child)                             \
 public:                                                         \
  QOR_ATTRIBUTE_ID(name);                                        \
  Child const* name(K const& k) const { return name##_.get(k); } \
  Child* name(K const& k) { return name##_.get(k); }             \
  bool name##Has(K const& k) const { return name##_.has(k); }    \
  auto const& name() const noexcept { return name##_; }          \
  template <class... A>                                          \
  Child* name##Is(K const& k, A&&... args) {                     \
    return name##_.instantiate(k, std::forward<A>(args)...);     \
  }                                                              \
  bool name##Del(K const& k) { return name##_.del(k); }          \
  void name##DelAll() { name##_.delAll(); }                      \
  void name##Reserve(size_t n) { name##_.reserve(n); }           \
                                                                 \
 private:                                                        \
  ::Qor::ChildMap<K, Child> name##_{this, name##Attr};           \
                                                                 \
 public:
