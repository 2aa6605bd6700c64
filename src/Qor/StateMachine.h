// Base of every state machine: an entity with the `initialized` attribute and the switch
// that turns delivery to all of its reactors on or off.
#pragma once

#include "Qor/Attribute.h"

namespace Qor {

class StateMachine : public Entity {
 public:
  QOR_ATTRIBUTE_ID(initialized);
  bool initialized() const noexcept { return initialized_; }
  // Setting true the first time runs handleInitialized(): the work that must wait until
  // every input is attached. Setting it back to false, and true again, only records it:
  // the first pass runs once in the state machine's life.
  void initializedIs(bool v);

  bool hasNotificationActive() const noexcept { return notificationActive_; }
  // Off: reactors of this state machine receive nothing (changes meanwhile are not replayed).
  void hasNotificationActiveIs(bool v) noexcept { notificationActive_ = v; }

 protected:
  virtual void handleInitialized() {}

 private:
  bool initialized_ = false;
  bool firstPassDone_ = false;
  bool notificationActive_ = true;
};

}  // namespace Qor
