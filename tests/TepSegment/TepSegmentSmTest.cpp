// The segments-per-TEP index: a randomized test over segment, TEP and endpoint churn (TEPs
// waiting for their endpoint, endpoints renumbered, two tunnel interfaces to one PE among it)
// that compares the index with the one a fresh machine builds on the final inputs and with
// the index computed from them directly; and the log of skipped peers, which it cannot see.
// The seed is printed; FENN_TEST_SEED replays one.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>
#include <set>

#include "FennEvpn/FennEvpnTepSegmentSm.h"
#include "Qor/SysLog.h"
#include "Support/TestSeed.h"

namespace TepSegmentTest {
namespace {

using Tunnel::TunnelTable::TunnelId;
using Index = std::map<Ostra::IpGenAddr, std::set<Ostra::IntfId>>;

TunnelId tunnel(uint64_t n) { return TunnelId(Tunnel::tunnelTypeLdp, n); }
Ostra::IntfId tep(uint64_t n) { return Ostra::IntfId::dynamicTunnel(tunnel(n)); }
Ostra::IntfId srTep(uint64_t n) { return Ostra::IntfId::srTePolicy(tunnel(n)); }
Ostra::IntfId segment(uint32_t n) { return Ostra::IntfId::portChannel(n); }
Ostra::IpGenAddr addr(uint32_t n) { return Ostra::IpGenAddr::ipv4(0x0a000000 + n); }

Index indexOf(Fenn::EvpnTepSegmentDir const& dir) {
  Index out;
  for (auto const& [a, entry] : dir.evpnTepSegment()) {
    EXPECT_FALSE(entry->segmentSet().empty()) << "an empty entry is removed";
    for (auto const& intf : entry->segmentSet()) out[a].insert(intf);
  }
  return out;
}

class TepSegmentTest : public ::testing::Test {
 protected:
  void TearDown() override { sm = nullptr; }

  void start() {
    sm = Fenn::fennEvpnTepSegmentSmFactory(evpnStatus, endpoints, dir);
    sm->initializedIs(true);
  }
  Evpn::EthernetSegmentStatus* es(uint32_t n) { return evpnStatus->ethernetSegmentStatusIs(segment(n)); }
  Index index() const { return indexOf(*dir); }

  Qor::Ptr<Evpn::EvpnStatus> evpnStatus = Evpn::evpnStatusFactory();
  Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus> endpoints =
      Tunnel::TunnelTable::tunnelEndpointStatusFactory();
  Qor::Ptr<Fenn::EvpnTepSegmentDir> dir = Fenn::evpnTepSegmentDirFactory();
  Qor::Ptr<Fenn::FennEvpnTepSegmentSm> sm;
};

// A segment that keeps coming back with a peer that is not a tunnel interface: each return
// skips the peer again, and the system log hears of the 1st, 2nd, 4th and 8th skip of the
// machine, not of each new segment machine's first.
TEST_F(TepSegmentTest, SkippedPeersOfSegmentsThatComeAndGoAreLoggedAsTheMachines) {
  Qor::sysLogRecordsDelAll();
  start();
  for (int i = 0; i < 9; ++i) {
    es(10)->remoteTepIs(Ostra::IntfId::ethernet(5));
    evpnStatus->ethernetSegmentStatusDel(segment(10));
  }
  size_t logged = 0;
  for (auto const* m : Qor::sysLogRecords()) logged += m->name() == "EVPN_MPLS_INPUT_IGNORED";
  EXPECT_EQ(sm->unusableInputCount(), 9u);
  EXPECT_EQ(logged, 4u);
  Qor::sysLogRecordsDelAll();
}

class TepSegmentRandomTest : public TepSegmentTest {
 protected:
  void churn(std::mt19937& rng) {
    auto pick = [&](uint32_t n) { return std::uniform_int_distribution<uint32_t>(1, n)(rng); };
    std::function<void()> const changes[] = {
        [&] { es(pick(3))->remoteTepIs(tep(pick(5))); },
        [&] { es(pick(3))->remoteTepIs(srTep(pick(5))); },
        [&] { es(pick(3))->remoteTepDel(tep(pick(5))); },
        [&] { es(pick(3))->remoteTepDel(srTep(pick(5))); },
        [&] { evpnStatus->ethernetSegmentStatusDel(segment(pick(3))); },
        [&] { endpoints->tunnelEndpointIs(tunnel(pick(5)), addr(pick(3))); },
        [&] { endpoints->tunnelEndpointDel(tunnel(pick(5))); },
    };
    changes[pick(std::size(changes)) - 1]();
  }

  Index expected() const {
    Index out;
    for (auto const& [intf, status] : evpnStatus->ethernetSegmentStatus()) {
      for (auto const& t : status->remoteTep()) {
        if (endpoints->tunnelEndpointHas(t.tunnelId()))
          out[endpoints->tunnelEndpoint(t.tunnelId())].insert(intf);
      }
    }
    return out;
  }
};

TEST_F(TepSegmentRandomTest, IndexMatchesAFreshMachineAndTheInputs) {
  uint64_t const seed = TestSupport::testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 rng(seed);
  start();
  for (int round = 0; round < 20; ++round) {
    for (int i = 0; i < 50; ++i) churn(rng);
    EXPECT_EQ(index(), expected()) << "round " << round;
  }
  Qor::Ptr<Fenn::EvpnTepSegmentDir> freshDir = Fenn::evpnTepSegmentDirFactory();
  auto fresh = Fenn::fennEvpnTepSegmentSmFactory(evpnStatus, endpoints, freshDir);
  fresh->initializedIs(true);
  EXPECT_EQ(indexOf(*freshDir), index());
}

}  // namespace
}  // namespace TepSegmentTest
