// A reactor that logs every attribute notification of one entity, in order, and can run a
// hook on each; tests use it to check what a write notified and when.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Qor/Entity.h"

class AttributeLog : public Qor::Reactor {
 public:
  using Hook = std::function<void(Qor::AttributeId, void const*)>;

  // No initial walk: the log starts empty and records changes from now on.
  static std::unique_ptr<AttributeLog> watch(Qor::Entity const* entity, Hook hook = {}) {
    return std::make_unique<AttributeLog>(entity, std::move(hook));
  }
  AttributeLog(Qor::Entity const* entity, Hook hook) : Reactor(entity, nullptr), hook_(std::move(hook)) {}

  void onAttribute(Qor::AttributeId id, void const* key) override {
    ids.push_back(id);
    if (hook_) hook_(id, key);
  }

  std::vector<Qor::AttributeId> ids;

 private:
  Hook hook_;
};
