// Common base of the hardware helpers: the objects through which state machines program
// hardware they do not own. A helper is an entity so that tests and supervising code can
// watch what a stub helper records; it carries a name for diagnostics, and fennAssert for
// failures on the helper side (such as a base operation that the platform did not
// implement).
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "Qor/Attribute.h"
#include "Qor/Entity.h"
#include "Qor/SourceLocation.h"
#include "Qor/String.h"

namespace Fenn {

class FennBaseHelper : public Qor::Entity {
 public:
  explicit FennBaseHelper(Qor::String name) : name_(std::move(name)) {}

  std::string_view fwkType() const override { return "Fenn::FennBaseHelper"; }
  Qor::String const& name() const noexcept { return name_; }

  // Prints `message` as an assertion failure at the caller's location and aborts.
  [[noreturn]] void fennAssert(Qor::String const& message,
                               Qor::SourceLocation where = Qor::SourceLocation::current()) const;

 protected:
  // For base operations that the platform has to override: returns quietly when the
  // environment variable "FENN_NOOP_AGENT" is set (read at each call, so a harness may set
  // it late), otherwise fails with "Unimplemented <operation>".
  void unimplemented(std::string_view operation,
                     Qor::SourceLocation where = Qor::SourceLocation::current()) const;

 private:
  Qor::String const name_;
};

}  // namespace Fenn

// A call counter of a recording helper: a notifying unsigned 32-bit scalar with
// nameIs(v) and nameInc(n = 1), which returns the new count.
#define FENN_HELPER_COUNTER(name)      \
  QOR_SCALAR(name, uint32_t, 0)        \
  uint32_t name##Inc(uint32_t n = 1) { \
    name##Is(name() + n);              \
    return name();                     \
  }
