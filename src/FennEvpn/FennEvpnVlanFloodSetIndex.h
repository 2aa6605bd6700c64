// The private indexes of the flood-set state machines: which flood-set destinations use a
// tunnel or a via, which vias a tunnel has FEC requests for, and which (VLAN, MAC) pairs
// the hardware reports programmed with a via. Each is an entity keyed by what it indexes,
// kept as an owned child in its state machine, and never holds an empty set (the owner
// deletes it instead).
#pragma once

#include <string_view>

#include "Bridging/MacVlanPair.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "Qor/Attribute.h"
#include "Qor/Ptr.h"

namespace Fenn {

class FENN_EVPN_EXPORT TunnelVlanMacDestSet : public Qor::Entity {
 public:
  explicit TunnelVlanMacDestSet(TunnelId tunnelId) : tunnelId_(tunnelId) {}
  std::string_view fwkType() const override { return "Fenn::TunnelVlanMacDestSet"; }
  TunnelId tunnelId() const noexcept { return tunnelId_; }
  QOR_SET(vlanMacDestSet, VlanMacDest)

 private:
  TunnelId tunnelId_;
};

class FENN_EVPN_EXPORT MplsFloodSetViaToVlanMacDestSet : public Qor::Entity {
 public:
  explicit MplsFloodSetViaToVlanMacDestSet(MplsFloodSetVia via) : via_(via) {}
  std::string_view fwkType() const override { return "Fenn::MplsFloodSetViaToVlanMacDestSet"; }
  MplsFloodSetVia via() const noexcept { return via_; }
  QOR_SET(vlanMacDestSet, VlanMacDest)

 private:
  MplsFloodSetVia via_;
};

class FENN_EVPN_EXPORT TunnelIdToMplsFloodSetVia : public Qor::Entity {
 public:
  explicit TunnelIdToMplsFloodSetVia(TunnelId tunnelId) : tunnelId_(tunnelId) {}
  std::string_view fwkType() const override { return "Fenn::TunnelIdToMplsFloodSetVia"; }
  TunnelId tunnelId() const noexcept { return tunnelId_; }
  QOR_SET(mplsFloodSetViaSet, MplsFloodSetVia)

 private:
  TunnelId tunnelId_;
};

class FENN_EVPN_EXPORT MplsFloodSetViaToFloodSetStatus : public Qor::Entity {
 public:
  explicit MplsFloodSetViaToFloodSetStatus(MplsFloodSetVia via) : via_(via) {}
  std::string_view fwkType() const override { return "Fenn::MplsFloodSetViaToFloodSetStatus"; }
  MplsFloodSetVia via() const noexcept { return via_; }
  QOR_SET(status, Bridging::MacVlanPair)

 private:
  MplsFloodSetVia via_;
};

FENN_EVPN_EXPORT Qor::Ptr<TunnelIdToMplsFloodSetVia> tunnelIdToMplsFloodSetViaFactory(TunnelId tunnelId);
FENN_EVPN_EXPORT Qor::Ptr<MplsFloodSetViaToFloodSetStatus> mplsFloodSetViaToFloodSetStatusFactory(
    MplsFloodSetVia via);

}  // namespace Fenn
