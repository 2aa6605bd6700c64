// What the dot1q and flood-filter tests share: the inputs both machines read, a scheduler
// on a manual clock, the simulated flooding hardware as the helper, and short
// ways to write LAG members and to read back what the chip holds.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <set>
#include <utility>

#include "Evpn/EvpnStatus.h"
#include "FennEvpn/FennEvpnLagMemberInfo.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "sim/FloodingHardware.h"

class VlanFloodingFixture : public ::testing::Test {
 protected:
  using IntfId = Ostra::IntfId;
  using VlanId = Bridging::VlanId;
  using PortVlans = std::set<std::pair<IntfId, VlanId>>;

  static IntfId eth(uint32_t n) { return IntfId::ethernet(n); }
  static IntfId lag(uint32_t n) { return IntfId::portChannel(n); }

  void lagIs(IntfId lagIntf, std::initializer_list<uint32_t> ports) {
    Fenn::FennPortList list;
    for (auto p : ports) list.portIs(eth(p));
    if (list.empty()) {
      lags->lagToPortDel(lagIntf);
    } else {
      lags->lagToPortIs(lagIntf, list);
    }
  }

  PortVlans nonDfPorts() const {
    PortVlans out;
    for (auto const& [portVlan, parent] : tables().nonDfPorts()) out.insert(portVlan);
    return out;
  }

  Sim::VlanFloodingTables& tables() const { return hw->vlanTables(); }
  void TearDown() override { EXPECT_EQ(tables().badOperationCount(), 0u); }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Fenn::EvpnLagMemberInfo> lags = Fenn::evpnLagMemberInfoFactory();
  Qor::Ptr<Evpn::EvpnStatus> evpn = Evpn::evpnStatusFactory();
  Qor::Ptr<Sim::FloodingHardware> hw{new Sim::FloodingHardware("hw")};
};
