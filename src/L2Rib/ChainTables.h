// The layer-2 RIB's chain tables, each a singleton entity with one collection: hosts (by
// MAC and VLAN, the first object of their chain), labels, load balances and destinations
// (by their ids). The RIB writes them; readers hear of every changed key.
#pragma once

#include <string_view>

#include "Bridging/MacVlanPair.h"
#include "L2Rib/Dest.h"
#include "L2Rib/HostAndSource.h"
#include "L2Rib/Label.h"
#include "L2Rib/LoadBalance.h"
#include "Qor/Attribute.h"

namespace L2Rib {

class HostOutput : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "L2Rib::HostOutput"; }
  QOR_MAP(host, Bridging::MacVlanPair, HostAndSource)
};

class LabelOutput : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "L2Rib::LabelOutput"; }
  QOR_MAP(label, LabelId, Label)
};

class LoadBalanceOutput : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "L2Rib::LoadBalanceOutput"; }
  QOR_MAP(loadBalance, LoadBalanceId, LoadBalance)
};

class DestOutput : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "L2Rib::DestOutput"; }
  QOR_MAP(dest, DestId, Dest)
};

Qor::Ptr<HostOutput> hostOutputFactory();
Qor::Ptr<LabelOutput> labelOutputFactory();
Qor::Ptr<LoadBalanceOutput> loadBalanceOutputFactory();
Qor::Ptr<DestOutput> destOutputFactory();

}  // namespace L2Rib
