// VlanFloodSetFilterSm: the output mirrors the input restricted to one destination type,
// never holds an empty VLAN flood set or flood set, and follows every kind of input change.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "FennEvpn/FennEvpnVlanFloodSetFilterSm.h"
#include "FloodSet/FloodSetTestUtil.h"
#include "Support/TestSeed.h"

namespace {

using namespace FloodSetTest;
using L2Rib::Dest;
using Ostra::IntfId;
using Ostra::MplsLabel;
using Tunnel::TunnelTable::TunnelId;

Dest mpls(uint64_t tunnel, uint32_t label) {
  return Dest::mpls(TunnelId(Tunnel::tunnelTypeEvpnMpls, tunnel), MplsLabel(label));
}
Dest intf(uint32_t port) { return Dest::intf(IntfId::ethernet(port)); }

class FilterSmTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sm = Fenn::vlanFloodSetFilterSmFactory(L2Rib::destTypeMpls_, in, out);
    sm->initializedIs(true);
  }

  Qor::Ptr<L2Rib::FloodSetOutput> in = L2Rib::floodSetOutputFactory();
  Qor::Ptr<L2Rib::FloodSetOutput> out = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Fenn::VlanFloodSetFilterSm> sm;
};

TEST_F(FilterSmTest, KeepsOnlyTheChosenTypeWithItsFloodSetType) {
  addDest(*in, VlanId(10), bcast, mpls(1, 100));
  addDest(*in, VlanId(10), bcast, intf(1));
  addDest(*in, VlanId(10), unknownUcast, mpls(2, 200), L2Rib::floodSetTypeUnknownUnicast);
  addDest(*in, VlanId(10), unknownUcast, Dest::cpu(), L2Rib::floodSetTypeUnknownUnicast);

  FloodSetOutputView const expected = {
      {VlanId(10),
       {{bcast, {L2Rib::floodSetTypeBroadcast, {mpls(1, 100)}}},
        {unknownUcast, {L2Rib::floodSetTypeUnknownUnicast, {mpls(2, 200)}}}}}};
  EXPECT_EQ(view(*out), expected);

  // Removing a destination of another type changes nothing.
  delDest(*in, VlanId(10), bcast, intf(1));
  EXPECT_EQ(view(*out), expected);
}

TEST_F(FilterSmTest, InitializationReconcilesWhatCameBefore) {
  sm = nullptr;
  addDest(*in, VlanId(10), bcast, mpls(1, 100));
  addDest(*in, VlanId(12), bcast, intf(3));
  in->sourceIs(L2Rib::floodSetSourceStatic);
  sm = Fenn::vlanFloodSetFilterSmFactory(L2Rib::destTypeMpls_, in, out);
  // Nothing is written before initialization, while the input keeps changing.
  addDest(*in, VlanId(11), bcast, mpls(2, 100));
  delDest(*in, VlanId(10), bcast, mpls(1, 100));
  EXPECT_TRUE(out->vlanFloodSet().empty());
  EXPECT_EQ(out->source(), L2Rib::floodSetSourceInvalid);

  sm->initializedIs(true);
  EXPECT_EQ(out->source(), L2Rib::floodSetSourceStatic);
  EXPECT_EQ(view(*out),
            (FloodSetOutputView{{VlanId(11), {{bcast, {L2Rib::floodSetTypeBroadcast, {mpls(2, 100)}}}}}}));
  // Reactors made before initialization carry on afterwards.
  addDest(*in, VlanId(12), bcast, mpls(3, 100));
  EXPECT_TRUE(out->vlanFloodSetHas(VlanId(12)));
}

TEST_F(FilterSmTest, ReleasingTheStateMachineWithdrawsItsOutput) {
  addDest(*in, VlanId(10), bcast, mpls(1, 100));
  in->sourceIs(L2Rib::floodSetSourceL2Rib);
  sm = nullptr;
  EXPECT_TRUE(out->vlanFloodSet().empty());
  addDest(*in, VlanId(11), bcast, mpls(1, 100));
  EXPECT_TRUE(out->vlanFloodSet().empty());
}

TEST_F(FilterSmTest, TracesAdditionsAndDeletions) {
  TraceCapture capture("FennEvpnVlanFloodSetFilterSm/1");
  addDest(*in, VlanId(10), bcast, mpls(1, 100));
  delDest(*in, VlanId(10), bcast, mpls(1, 100));
  std::string const text = capture.take();
  EXPECT_NE(text.find("     adding dest " + Qor::valueToStrep(mpls(1, 100))), std::string::npos) << text;
  EXPECT_NE(text.find("     deleting dest " + Qor::valueToStrep(mpls(1, 100))), std::string::npos) << text;
  EXPECT_NE(text.find("     deleting floodSet with vlan 10 and mac 'ff:ff:ff:ff:ff:ff'"), std::string::npos)
      << text;
  EXPECT_NE(text.find("     deleting vlanFloodSet with vlan 10"), std::string::npos) << text;
}

// A long random sequence of input changes leaves the same output that a state machine
// built on the input as it is produces, with no empty flood set or VLAN flood set; this is
// what covers pruning, removals of whole input elements and the mirrored source.
TEST_F(FilterSmTest, RandomChangesEndWhereAFreshStartDoes) {
  uint64_t const seed = TestSupport::testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 rng(seed);
  auto pick = [&](uint32_t n) { return std::uniform_int_distribution<uint32_t>(0, n - 1)(rng); };
  EthAddr const macs[] = {bcast, unknownUcast, EthAddr(0x010000000002)};
  Dest const dests[] = {mpls(1, 100), mpls(1, 101), mpls(2, 100), intf(1), intf(2), Dest::cpu()};

  auto const floodSet = [&] { return in->vlanFloodSetIs(VlanId(1 + pick(4)))->floodSetIs(macs[pick(3)]); };
  std::function<void()> const changes[] = {
      [&] { floodSet()->destSetIs(dests[pick(6)]); },
      [&] { floodSet()->destSetDel(dests[pick(6)]); },
      [&] { floodSet()->floodSetTypeIs(static_cast<L2Rib::FloodSetType>(1 + pick(4))); },
      [&] { in->vlanFloodSetDel(VlanId(1 + pick(4))); },
      [&] { in->vlanFloodSetIs(VlanId(1 + pick(4)))->floodSetDel(macs[pick(3)]); },
      [&] { in->sourceIs(static_cast<L2Rib::FloodSetSource>(pick(3))); }};
  std::discrete_distribution<size_t> which({4, 2, 1, 1, 1, 1});
  // Checked after every change: a stale entry that later changes happen to clean up shows.
  for (int step = 1; step <= 3000; ++step) {
    changes[which(rng)]();
    SCOPED_TRACE("step " + std::to_string(step));
    auto fresh = L2Rib::floodSetOutputFactory();
    auto freshSm = Fenn::vlanFloodSetFilterSmFactory(L2Rib::destTypeMpls_, in, fresh);
    freshSm->initializedIs(true);
    EXPECT_EQ(view(*out), view(*fresh));
    EXPECT_EQ(out->source(), fresh->source());
    for (auto const& [vlan, vfs] : out->vlanFloodSet()) {
      EXPECT_FALSE(vfs->floodSet().empty());
      for (auto const& [mac, fs] : vfs->floodSet()) EXPECT_FALSE(fs->destSet().empty());
    }
    if (HasFailure()) return;
  }
}

}  // namespace
