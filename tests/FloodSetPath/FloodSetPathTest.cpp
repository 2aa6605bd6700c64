// The flood-set path end to end: one MPLS destination of the layer-2 RIB travelling to a
// programmed hardware flood-set entry, and everything it caused going away again in order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/Switch.h"

namespace {

using Fenn::TunnelId;

// Writes `name` into a shared log on every notification of one attribute.
class Recorder : public Qor::Reactor {
 public:
  Recorder(Qor::Entity const* entity, Qor::AttributeId attr, std::string name, std::vector<std::string>* log)
      : Reactor(entity, nullptr), attr_(attr), name_(std::move(name)), log_(log) {}
  void onCreate() override {}
  void onAttribute(Qor::AttributeId id, void const*) override {
    if (id == attr_) log_->push_back(name_);
  }

 private:
  Qor::AttributeId attr_;
  std::string name_;
  std::vector<std::string>* log_;
};

class FloodSetPathEndToEnd : public ::testing::Test {
 protected:
  Sim::Switch sw{Sim::HardwareConfig{}, "e2e"};

  TunnelId const tunnel{Tunnel::tunnelTypeLdp, 1};
  L2Rib::Dest const dest = L2Rib::Dest::mpls(tunnel, Ostra::MplsLabel(1000));
  Bridging::VlanId const vlan{10};
  Bridging::MacVlanPair const pair{Ostra::EthAddr::broadcast(), vlan};
  Fenn::MplsFloodSetVia const via{tunnel, Ostra::MplsLabel(1000)};
};

TEST_F(FloodSetPathEndToEnd, MplsDestinationBecomesAProgrammedFloodSetEntry) {
  sw.fecResponseDelayIs(1.0);
  sw.destIs(vlan, Ostra::EthAddr::broadcast(), dest);

  EXPECT_EQ(sw.remoteInfo()->remoteTunnelId(tunnel), 1u);
  Fenn::HwTunnelId const hwTunnelId = sw.tunnelIdToHwTunnelId()->tunnelIdToHwTunnelId(tunnel).hwTunnelId();
  EXPECT_TRUE(hwTunnelId.valid());
  Vasp::Fib::FecId const fecId = sw.floodSetFecSm()->mplsFloodSetViaCache(via);
  EXPECT_TRUE(sw.fecRequest()->rowHas(fecId));
  // Until the hardware answers, the destination cannot be configured.
  EXPECT_EQ(sw.floodSetHwConfig()->config(pair), nullptr);

  sw.advance(1.0);
  Fenn::FecToHwFecId const answer = sw.fecResponse()->row(fecId);
  EXPECT_EQ(sw.hwInfoMapping()->mapping(via), Fenn::MplsDestHwInfo(answer.hwFecId(), answer.intfId()));
  Fenn::MplsDestConfig const expected(tunnel, Ostra::MplsLabel(1000), hwTunnelId, answer.hwFecId(),
                                      answer.intfId());
  ASSERT_NE(sw.floodSetHwConfig()->config(pair), nullptr);
  EXPECT_TRUE(sw.floodSetHwConfig()->config(pair)->mplsDestConfigHas(expected));
  EXPECT_EQ(sw.floodSetHwStatus()->status(pair)->mplsDestStatus(expected), Fenn::programmed);
}

TEST_F(FloodSetPathEndToEnd, LeavingDestinationTakesConfigurationRequestResponseAndFecIdInThatOrder) {
  sw.fecResponseDelayIs(1.0);
  sw.destIs(vlan, Ostra::EthAddr::broadcast(), dest);
  sw.advance(1.0);
  Vasp::Fib::FecId const fecId = sw.floodSetFecSm()->mplsFloodSetViaCache(via);
  ASSERT_NE(sw.floodSetHwConfig()->config(pair), nullptr);

  std::vector<std::string> log;
  Recorder config(sw.floodSetHwConfig()->config(pair), Fenn::VlanFloodSetConfig::mplsDestConfigAttr,
                  "configuration", &log);
  Recorder request(sw.fecRequest(), Fenn::FecIdToHwFecIdRequest::rowAttr, "request", &log);
  Recorder response(sw.fecResponse(), Fenn::FecIdToHwFecIdResponse::rowAttr, "response", &log);
  Recorder fecIds(sw.floodSetFecSm(), Fenn::EvpnFloodSetFecSm::fecIdCacheAttr, "fecId", &log);
  // The hardware takes its time to unprogram: until it has, the FEC stays requested.
  sw.floodSetProgrammingPausedIs(true);
  sw.destDel(vlan, Ostra::EthAddr::broadcast(), dest);
  EXPECT_EQ(log, (std::vector<std::string>{"configuration"}));
  EXPECT_TRUE(sw.fecRequest()->rowHas(fecId));
  sw.floodSetProgrammingPausedIs(false);
  EXPECT_EQ(log, (std::vector<std::string>{"configuration", "request"}));
  sw.advance(1.0);
  EXPECT_EQ(log, (std::vector<std::string>{"configuration", "request", "response", "fecId"}));
  EXPECT_FALSE(sw.hwInfoMapping()->mappingHas(via));
  EXPECT_EQ(sw.floodSetHwStatus()->status(pair), nullptr);
  EXPECT_FALSE(sw.floodSetFecSm()->numAllocator()->numberInUse(static_cast<int64_t>(fecId.index())));
  EXPECT_EQ(sw.floodSetFecSm()->numAllocatorStatus().heldBackCount(), 1u);
}

}  // namespace
