// One configured LAG (port-channel): its member ports and how the hardware programs each.
// Written by the platform's LAG configuration; the key is the LAG's interface.
#pragma once

#include <string_view>

#include "Hardware/LagPortProgType.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Fenn {

class LagInfo : public Qor::Entity {
 public:
  explicit LagInfo(Ostra::IntfId intfId) : intfId_(intfId) {}
  std::string_view fwkType() const override { return "Fenn::LagInfo"; }

  Ostra::IntfId intfId() const noexcept { return intfId_; }

 private:
  Ostra::IntfId const intfId_;

 public:
  QOR_MAP(member, Ostra::IntfId, Hardware::Lag::PortProgType)
};

}  // namespace Fenn
