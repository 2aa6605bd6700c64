#include "Vasp/Table.h"

#include <unordered_map>

namespace Vasp {

namespace {
std::unordered_map<Qor::String, StorageBase*>& registry() {
  static std::unordered_map<Qor::String, StorageBase*> tables;
  return tables;
}
}  // namespace

StorageBase::StorageBase(Qor::String name) : name_(std::move(name)) { registry()[name_] = this; }

StorageBase::~StorageBase() { registry().erase(name_); }

StorageBase* findStorage(std::string_view name) {
  auto it = registry().find(Qor::String(name));
  return it == registry().end() ? nullptr : it->second;
}

}  // namespace Vasp
