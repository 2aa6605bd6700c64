// Random sequences of flood-set references, segment peers, remote ESI label changes and
// shared-label toggles against small pools. After each sequence the reviews run to the
// end, and then: no ID is published twice; every ID is either published or free, exactly
// once; a tunnel that needs an ID lacks one, or waits to move to its pool, only when its
// pools hold neither a free ID nor a zombie; zombies are exactly the published tunnels nothing needs; and
// FULL and NORMAL alternate, starting with FULL. The seed is printed; FENN_TEST_SEED replays one.
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <set>

#include "HwTunnelIdHarness.h"
#include "Support/TestSeed.h"

namespace HwTunnelIdTest {
namespace {

constexpr uint64_t kTunnels = 8;
constexpr uint32_t kSegments = 3;

class HwTunnelIdRandomTest : public Harness {
 protected:
  void SetUp() override {
    Harness::SetUp();
    setenv("SIMULATION_VMID", "1", 1);  // small pools exhaust the default pool too
  }
  void TearDown() override {
    Harness::TearDown();
    unsetenv("SIMULATION_VMID");
  }

  void step(std::mt19937& rng) {
    auto pick = [&](uint64_t n) { return std::uniform_int_distribution<uint64_t>(1, n)(rng); };
    uint64_t const t = pick(kTunnels);
    auto const seg = static_cast<uint32_t>(pick(kSegments));
    std::function<void()> const changes[] = {
        [&] { floodInc(t); },
        [&] {
          if (remoteInfo->remoteTunnelIdHas(tunnel(t))) floodDec(t);
        },
        [&] { remoteInfo->remoteTunnelIdDel(tunnel(t)); },
        [&] { addPeer(seg, t, static_cast<uint32_t>(pick(3))); },  // a new peer, or a new label for one
        [&] { delPeer(seg, t); },
        [&] { sharedLabel(seg, !es(seg)->sharedEsiLabel().valid()); },
        [&] { evpnStatus->ethernetSegmentStatusDel(segment(seg)); }};
    changes[pick(std::size(changes)) - 1]();
  }

  void drainReviews() {
    scheduler->runReady();
    while (scheduler->pendingTaskCount() > 0) scheduler->advanceBy(sm->defaultUnprogrammedRetryInterval());
  }

  bool needed(uint64_t t) const {
    if (remoteInfo->remoteTunnelIdHas(tunnel(t))) return true;
    for (auto const& [intf, status] : evpnStatus->ethernetSegmentStatus()) {
      if (status->remoteEsiLabelHas(tep(t))) return true;
    }
    return false;
  }
  Fenn::HwTunnelIdType neededPool(uint64_t t) const {
    for (auto const& [intf, status] : evpnStatus->ethernetSegmentStatus()) {
      if (status->remoteEsiLabelHas(tep(t)) && status->sharedEsiLabel().valid())
        return hwTunnelIdTypeSharedEs;
    }
    return hwTunnelIdTypeDefault;
  }

  void check(std::set<HwTunnelId> const& universe) {
    std::map<HwTunnelId, int> seen;
    std::map<Fenn::HwTunnelIdType, int> zombies;
    for (auto const& [tid, row] : table->rows()) ++seen[row.hwTunnelId()];
    for (auto const& [hwId, n] : seen) ASSERT_EQ(n, 1) << hwId << " is published for two tunnels";
    for (auto type : {hwTunnelIdTypeDefault, hwTunnelIdTypeSharedEs}) {
      for (auto const& [index, id] : helper->freeHwTunnelId(type)->hwTunnelId()) ++seen[id];
    }
    std::set<HwTunnelId> accounted;
    for (auto const& [hwId, n] : seen) {
      ASSERT_EQ(n, 1) << hwId << " is both published and free, or free twice";
      accounted.insert(hwId);
    }
    ASSERT_EQ(accounted, universe) << "an ID was lost or invented";

    for (uint64_t t = 1; t <= kTunnels; ++t) {
      bool const published = table->tunnelIdToHwTunnelIdHas(tunnel(t));
      ASSERT_EQ(zombie(t), published && !needed(t)) << "tunnel " << t << " zombie state";
      if (published && !needed(t)) ++zombies[hwId(t).type()];
      // Waiting: needed without an ID, or holding an ID of a pool it does not need (a move
      // that found its pool dry, or a shared-ES tunnel's fallback default ID).
      bool const wrongPool = published && needed(t) && hwId(t).type() != neededPool(t);
      if (!sm->unprogrammedTunnelHas(tunnel(t))) {
        ASSERT_TRUE(published || !needed(t)) << "tunnel " << t << " needs an ID and does not wait";
        ASSERT_FALSE(wrongPool) << "tunnel " << t << " holds an ID of the other pool and does not wait";
      } else {
        ASSERT_TRUE(needed(t) && (!published || wrongPool)) << "tunnel " << t << " waits for nothing";
      }
    }
    for (uint64_t t = 1; t <= kTunnels; ++t) {
      if (!sm->unprogrammedTunnelHas(tunnel(t))) continue;
      auto const pool = neededPool(t);
      ASSERT_EQ(freeCount(pool) + zombies[pool], 0u) << "tunnel " << t << " waits while its pool has room";
      if (pool == hwTunnelIdTypeSharedEs && !table->tunnelIdToHwTunnelIdHas(tunnel(t))) {
        ASSERT_EQ(freeCount(hwTunnelIdTypeDefault) + zombies[hwTunnelIdTypeDefault], 0u)
            << "shared-ES tunnel " << t << " waits while the default pool has room";
      }
    }
    auto const log = logged();
    for (size_t i = 0; i < log.size(); ++i) ASSERT_EQ(log[i], i % 2 ? kNormal : kFull) << "log entry " << i;
  }
};

TEST_F(HwTunnelIdRandomTest, PoolsStayConsistentUnderRandomChanges) {
  uint64_t const seed = TestSupport::testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 rng(seed);

  std::set<HwTunnelId> universe;
  for (uint32_t n = 1; n <= 4; ++n) universe.insert(defaultId(n));
  for (uint32_t n = 1; n <= 3; ++n) universe.insert(sharedId(n));
  freeIds({universe.begin(), universe.end()});
  scheduler->workQuotaIs(2);
  start();

  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    int const steps = std::uniform_int_distribution<int>(1, 6)(rng);
    for (int i = 0; i < steps; ++i) step(rng);
    drainReviews();
    check(universe);
    if (HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace HwTunnelIdTest
