// The platform's LAG configuration: one LagInfo per configured LAG, keyed by the LAG's
// interface. `lagConfigIs(lag)` creates the LAG's entry (or returns the existing one).
#pragma once

#include <string_view>

#include "Fenn/LagInfo.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Fenn {

class LagCreatorConfigDir : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::LagCreatorConfigDir"; }

  QOR_CHILDREN(lagConfig, Ostra::IntfId, LagInfo)
};

Qor::Ptr<LagCreatorConfigDir> lagCreatorConfigDirFactory();

}  // namespace Fenn
