// The flood-set entities shared between the library and the platform: HwInfoMapping (the
// FEC side publishes each via's hardware information), EvpnVlanFloodSetHwConfig (the
// configuration side writes one VlanFloodSetConfig per flood set's VLAN and MAC) and
// EvpnVlanFloodSetHwStatus (the platform answers with one VlanFloodSetStatus per VLAN and
// MAC). Each has exactly one writer; everyone else reads through reactors.
#pragma once

#include <string_view>

#include "Bridging/MacVlanPair.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "Qor/Attribute.h"
#include "Qor/Ptr.h"

namespace Fenn {

class FENN_EVPN_EXPORT HwInfoMapping : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::HwInfoMapping"; }
  QOR_MAP(mapping, MplsFloodSetVia, MplsDestHwInfo)
};

// The MPLS destinations configured for one flood set.
class FENN_EVPN_EXPORT VlanFloodSetConfig : public Qor::Entity {
 public:
  explicit VlanFloodSetConfig(Bridging::MacVlanPair macVlanPair) : macVlanPair_(macVlanPair) {}
  std::string_view fwkType() const override { return "Fenn::VlanFloodSetConfig"; }
  Bridging::MacVlanPair macVlanPair() const noexcept { return macVlanPair_; }
  QOR_SET(mplsDestConfig, MplsDestConfig)

 private:
  Bridging::MacVlanPair macVlanPair_;
};

// The hardware's answer for each configured MPLS destination of one flood set.
class FENN_EVPN_EXPORT VlanFloodSetStatus : public Qor::Entity {
 public:
  explicit VlanFloodSetStatus(Bridging::MacVlanPair macVlanPair) : macVlanPair_(macVlanPair) {}
  std::string_view fwkType() const override { return "Fenn::VlanFloodSetStatus"; }
  Bridging::MacVlanPair macVlanPair() const noexcept { return macVlanPair_; }
  QOR_MAP(mplsDestStatus, MplsDestConfig, HwProgrammingStatus)

 private:
  Bridging::MacVlanPair macVlanPair_;
};

class FENN_EVPN_EXPORT EvpnVlanFloodSetHwConfig : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::EvpnVlanFloodSetHwConfig"; }
  QOR_CHILDREN(config, Bridging::MacVlanPair, VlanFloodSetConfig)
};

class FENN_EVPN_EXPORT EvpnVlanFloodSetHwStatus : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::EvpnVlanFloodSetHwStatus"; }
  QOR_CHILDREN(status, Bridging::MacVlanPair, VlanFloodSetStatus)
};

FENN_EVPN_EXPORT Qor::Ptr<HwInfoMapping> hwInfoMappingFactory();
FENN_EVPN_EXPORT Qor::Ptr<VlanFloodSetConfig> vlanFloodSetConfigFactory(Bridging::MacVlanPair macVlanPair);
FENN_EVPN_EXPORT Qor::Ptr<VlanFloodSetStatus> vlanFloodSetStatusFactory(Bridging::MacVlanPair macVlanPair);
FENN_EVPN_EXPORT Qor::Ptr<EvpnVlanFloodSetHwConfig> evpnVlanFloodSetHwConfigFactory();
FENN_EVPN_EXPORT Qor::Ptr<EvpnVlanFloodSetHwStatus> evpnVlanFloodSetHwStatusFactory();

}  // namespace Fenn
