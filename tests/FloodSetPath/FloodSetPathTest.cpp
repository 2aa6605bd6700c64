// The flood-set path end to end: one MPLS destination of the layer-2 RIB travelling to a
// programmed hardware flood-set entry, and everything it caused going away again in order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FloodSetPath/FloodSetPath.h"

namespace {

using Fenn::TunnelId;
using FloodSetPathTest::FloodSetPath;

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
  Qor::Ptr<L2Rib::FloodSetOutput> l2Rib = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Evpn::EvpnStatus> evpnStatus = Evpn::evpnStatusFactory();
  FloodSetPath path{"e2e", l2Rib, evpnStatus};

  TunnelId const tunnel{Tunnel::tunnelTypeLdp, 1};
  L2Rib::Dest const dest = L2Rib::Dest::mpls(tunnel, Ostra::MplsLabel(1000));
  Bridging::VlanId const vlan{10};
  Bridging::MacVlanPair const pair{Ostra::EthAddr::broadcast(), vlan};
  Fenn::MplsFloodSetVia const via{tunnel, Ostra::MplsLabel(1000)};
};

TEST_F(FloodSetPathEndToEnd, MplsDestinationBecomesAProgrammedFloodSetEntry) {
  path.responder->delayIs(1.0);
  l2Rib->vlanFloodSetIs(vlan)->floodSetIs(Ostra::EthAddr::broadcast())->destSetIs(dest);

  EXPECT_EQ(path.remoteInfo->remoteTunnelId(tunnel), 1u);
  Fenn::HwTunnelId const hwTunnelId = path.hwTunnelIdMapping->tunnelIdToHwTunnelId(tunnel).hwTunnelId();
  EXPECT_TRUE(hwTunnelId.valid());
  Vasp::Fib::FecId const fecId = path.fecSm->mplsFloodSetViaCache(via);
  EXPECT_TRUE(path.request->rowHas(fecId));
  // Until the hardware answers, the destination cannot be configured.
  EXPECT_EQ(path.hwConfig->config(pair), nullptr);

  path.runFor(1.0);
  Fenn::FecToHwFecId const answer = path.response->row(fecId);
  EXPECT_EQ(path.hwInfo->mapping(via), Fenn::MplsDestHwInfo(answer.hwFecId(), answer.intfId()));
  Fenn::MplsDestConfig const expected(tunnel, Ostra::MplsLabel(1000), hwTunnelId, answer.hwFecId(),
                                      answer.intfId());
  ASSERT_NE(path.hwConfig->config(pair), nullptr);
  EXPECT_TRUE(path.hwConfig->config(pair)->mplsDestConfigHas(expected));
  EXPECT_EQ(path.hwStatus->status(pair)->mplsDestStatus(expected), Fenn::programmed);
}

TEST_F(FloodSetPathEndToEnd, LeavingDestinationTakesConfigurationRequestResponseAndFecIdInThatOrder) {
  path.responder->delayIs(1.0);
  l2Rib->vlanFloodSetIs(vlan)->floodSetIs(Ostra::EthAddr::broadcast())->destSetIs(dest);
  path.runFor(1.0);
  Vasp::Fib::FecId const fecId = path.fecSm->mplsFloodSetViaCache(via);
  ASSERT_NE(path.hwConfig->config(pair), nullptr);

  std::vector<std::string> log;
  Recorder config(path.hwConfig->config(pair), Fenn::VlanFloodSetConfig::mplsDestConfigAttr, "configuration",
                  &log);
  Recorder request(path.request.get(), Fenn::FecIdToHwFecIdRequest::rowAttr, "request", &log);
  Recorder response(path.response.get(), Fenn::FecIdToHwFecIdResponse::rowAttr, "response", &log);
  Recorder fecIds(path.fecSm.get(), Fenn::EvpnFloodSetFecSm::fecIdCacheAttr, "fecId", &log);
  // The hardware takes its time to unprogram: until it has, the FEC stays requested.
  path.programmer->pausedIs(true);
  l2Rib->vlanFloodSet(vlan)->floodSet(Ostra::EthAddr::broadcast())->destSetDel(dest);
  EXPECT_EQ(log, (std::vector<std::string>{"configuration"}));
  EXPECT_TRUE(path.request->rowHas(fecId));
  path.programmer->pausedIs(false);
  EXPECT_EQ(log, (std::vector<std::string>{"configuration", "request"}));
  path.runFor(1.0);
  EXPECT_EQ(log, (std::vector<std::string>{"configuration", "request", "response", "fecId"}));
  EXPECT_FALSE(path.hwInfo->mappingHas(via));
  EXPECT_EQ(path.hwStatus->status(pair), nullptr);
  EXPECT_FALSE(path.fecSm->numAllocator()->numberInUse(static_cast<int64_t>(fecId.index())));
  EXPECT_EQ(path.fecSm->numAllocatorStatus().heldBackCount(), 1u);
}

}  // namespace
