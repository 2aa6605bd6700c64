// The flood-set path of the simulated switch under a long random sequence of input changes:
// destinations of every type coming and going (SR-TE-steered ones included, whose
// configuration can equal another destination's), hardware tunnel IDs moving between pools, FEC
// answers delayed or withheld, flood-set programming lagging and the library restarting
// on hardware that keeps its status. Once the inputs stop and the simulated hardware has
// caught up, the switch must hold exactly what a fresh switch built on the final inputs
// holds, with a FEC request and a HwInfoMapping entry for exactly the vias in use, and
// the FEC machine must hold each via programmed in exactly the flood sets whose status
// reports a configuration with it programmed. Along the way, the configuration machine's
// indexes and output must equal those of a fresh one on its current inputs. The seed is
// printed; FENN_TEST_SEED replays one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "Support/TestSeed.h"
#include "sim/Switch.h"

namespace {

using Fenn::MplsFloodSetVia;
using Fenn::TunnelId;

Ostra::IntfId const segment("Ethernet1");
// Fewer default IDs than tunnels, so that retired tunnels' IDs are reclaimed and tunnels
// sometimes wait for one (survivable in simulation, see the fixture).
Sim::HardwareConfig const hardware{.defaultHwTunnelIds = 6, .sharedEsHwTunnelIds = 2};

struct Entry {
  Bridging::VlanId vlan;
  Ostra::EthAddr mac;
  L2Rib::Dest dest;
};

// The vias that the RIB's MPLS destinations need.
std::set<MplsFloodSetVia> viasInUse(L2Rib::FloodSetOutput const& l2Rib) {
  std::set<MplsFloodSetVia> vias;
  for (auto const& [vlan, vlanFloodSet] : l2Rib.vlanFloodSet()) {
    for (auto const& [mac, floodSet] : vlanFloodSet->floodSet()) {
      for (auto const& dest : floodSet->destSet()) {
        if (dest.destType() != L2Rib::destTypeMpls_ || Fenn::destMplsTunnelId(dest) == TunnelId::invalid())
          continue;
        vias.insert(Fenn::floodSetVia(Fenn::destMplsTunnelId(dest), dest.mpls().label(), vlan));
      }
    }
  }
  return vias;
}

// The switch's configuration with the identifiers that hardware chose taken out, after
// checking that each is the one the switch's own tables hold, and that every entry is
// reported programmed.
std::set<std::string> configurationOf(Sim::Switch const& sw) {
  std::set<std::string> out;
  for (auto const& [pair, config] : sw.floodSetHwConfig()->config()) {
    Fenn::VlanFloodSetStatus const* status = sw.floodSetHwStatus()->status(pair);
    for (auto const& entry : config->mplsDestConfig()) {
      EXPECT_EQ(entry.hwTunnelId(),
                sw.tunnelIdToHwTunnelId()->tunnelIdToHwTunnelId(entry.tunnelId()).hwTunnelId());
      MplsFloodSetVia const via = Fenn::floodSetVia(entry.tunnelId(), entry.label(), pair.vlanId());
      Fenn::FecToHwFecId const answer = sw.fecResponse()->row(sw.floodSetFecSm()->mplsFloodSetViaCache(via));
      EXPECT_EQ(entry.hwIdForTunnelProgramming(), answer.hwFecId());
      EXPECT_EQ(entry.l2IntfId(), answer.intfId());
      // Every tunnel that configuration uses is counted, so it has an ID or waits for one;
      // an entry without an ID is not forwarding.
      EXPECT_TRUE(sw.remoteInfo()->remoteTunnelIdHas(entry.tunnelId())) << Qor::valueToStrep(entry);
      Fenn::HwProgrammingStatus const expected =
          entry.hwTunnelId().valid() ? Fenn::programmed : Fenn::invalidHwId;
      EXPECT_TRUE(status && status->mplsDestStatus(entry) == expected) << Qor::valueToStrep(entry);
      out.insert(Qor::valueToStrep(pair) + " " + Qor::valueToStrep(entry.tunnelId()) + " " +
                 Qor::valueToStrep(entry.label()) + " " + Qor::valueToStrep(entry.l2IntfId()));
    }
  }
  return out;
}

// The configuration machine's state: the destinations each index files under a tunnel and
// under a via, the configuration recorded per destination, and what it wrote.
std::set<std::string> stateOf(Fenn::EvpnVlanFloodSetSm const& sm) {
  std::set<std::string> out;
  for (auto const& [tunnel, entry] : sm.tunnelToFloodSetEntry()) {
    out.insert("tunnel " + Qor::valueToStrep(tunnel));
    for (auto const& d : entry->vlanMacDestSet())
      out.insert("tunnel " + Qor::valueToStrep(tunnel) + " " + Qor::valueToStrep(d));
  }
  for (auto const& [via, entry] : sm.hwInfoMapKeyToFloodSetEntry()) {
    out.insert("via " + Qor::valueToStrep(via));
    for (auto const& d : entry->vlanMacDestSet())
      out.insert("via " + Qor::valueToStrep(via) + " " + Qor::valueToStrep(d));
  }
  for (auto const& [d, config] : sm.mplsDestHwConfig())
    out.insert("dest " + Qor::valueToStrep(d) + " " + Qor::valueToStrep(config));
  for (auto const& [pair, config] : sm.vlanFloodSetHwConfig()->config()) {
    out.insert("written " + Qor::valueToStrep(pair));
    for (auto const& entry : config->mplsDestConfig())
      out.insert("written " + Qor::valueToStrep(pair) + " " + Qor::valueToStrep(entry));
  }
  return out;
}

// The configuration machine reacts to every input change at once, so at any step it holds
// what a fresh one started on its current inputs holds, hardware lagging or not.
void expectConfigurationAsAFreshStart(Sim::Switch const& sw) {
  Fenn::EvpnVlanFloodSetSm const& sm = *sw.vlanFloodSetSm();
  auto const fresh = Fenn::evpnVlanFloodSetSmFactory(
      Qor::Ptr<L2Rib::FloodSetOutput const>(sm.floodSetOutput()),
      Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping const>(sm.hwTunnelIdMapping()),
      Qor::Ptr<Fenn::HwInfoMapping const>(sm.hwInfoMapping()), Fenn::evpnVlanFloodSetHwConfigFactory(),
      Fenn::evpnVlanFloodSetHwStatusFactory());
  fresh->initializedIs(true);
  EXPECT_EQ(stateOf(sm), stateOf(*fresh));
}

using ProgrammedPairs = std::set<std::pair<MplsFloodSetVia, Bridging::MacVlanPair>>;

// The (via, flood set) pairs the hardware reports a configuration programmed for.
ProgrammedPairs reportedProgrammed(Sim::Switch const& sw) {
  ProgrammedPairs out;
  for (auto const& [pair, status] : sw.floodSetHwStatus()->status()) {
    for (auto const& [config, programming] : status->mplsDestStatus()) {
      if (programming == Fenn::programmed)
        out.emplace(Fenn::floodSetVia(config.tunnelId(), config.label(), pair.vlanId()), pair);
    }
  }
  return out;
}

// The same pairs as the FEC machine holds them.
ProgrammedPairs heldProgrammed(Sim::Switch const& sw) {
  ProgrammedPairs out;
  for (auto const& [via, entry] : sw.floodSetFecSm()->floodSetStatusCache()) {
    for (auto const& pair : entry->status()) out.emplace(via, pair);
  }
  return out;
}

class RandomizedFloodSetPath : public ::testing::Test {
 protected:
  RandomizedFloodSetPath() {
    setenv("SIMULATION_VMID", "1", 1);
    evpnStatus->ethernetSegmentStatusIs(segment);
    for (uint64_t i = 1; i <= 5; ++i) tunnels.emplace_back(Tunnel::tunnelTypeLdp, i);
    for (uint64_t i = 1; i <= 3; ++i) tunnels.emplace_back(Tunnel::tunnelTypeEvpnVlan, i);
    for (uint64_t i = 1; i <= 2; ++i) policies.emplace_back(Tunnel::tunnelTypeSrTePolicy, i);
  }

  size_t pick(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(rng); }
  bool chance(double p) { return std::bernoulli_distribution(p)(rng); }

  Ostra::MplsLabel randomLabel() { return Ostra::MplsLabel(100 * (1 + pick(2))); }

  L2Rib::Dest randomDest() {
    switch (pick(12)) {
      case 10: {
        // Steered into an SR-TE policy: over the policy's own tunnel, or over another one.
        TunnelId const policy = policies[pick(policies.size())];
        TunnelId const own = chance(0.5) ? policy : tunnels[pick(tunnels.size())];
        return L2Rib::Dest::mpls(own, randomLabel(), Ostra::IntfId::srTePolicy(policy));
      }
      case 11:  // a plain destination over a policy's tunnel: its configuration can equal a steered one's
        return L2Rib::Dest::mpls(policies[pick(policies.size())], randomLabel());
      case 0:
        return L2Rib::Dest::intf(Ostra::IntfId::ethernet(static_cast<uint32_t>(1 + pick(3))));
      case 1:
        return L2Rib::Dest::vxlan(Ostra::IpGenAddr("10.0.0.1"), 10010, tunnels[pick(tunnels.size())]);
      case 2:
        if (chance(0.3)) return L2Rib::Dest::mpls(TunnelId::invalid(), Ostra::MplsLabel(100));
        [[fallthrough]];
      default:
        return L2Rib::Dest::mpls(tunnels[pick(tunnels.size())], randomLabel());
    }
  }

  void addDest() {
    Entry const e{Bridging::VlanId(1 + pick(4)), macs[pick(macs.size())], randomDest()};
    l2Rib->vlanFloodSetIs(e.vlan)->floodSetIs(e.mac)->destSetIs(e.dest);
  }

  std::vector<Entry> entries() const {
    std::vector<Entry> out;
    for (auto const& [vlan, vlanFloodSet] : l2Rib->vlanFloodSet()) {
      for (auto const& [mac, floodSet] : vlanFloodSet->floodSet()) {
        for (auto const& dest : floodSet->destSet()) out.push_back({vlan, mac, dest});
      }
    }
    return out;
  }

  void removeDest() {
    auto const all = entries();
    if (all.empty()) return;
    Entry const& e = all[pick(all.size())];
    l2Rib->vlanFloodSet(e.vlan)->floodSet(e.mac)->destSetDel(e.dest);
  }

  // The RIB withdraws a whole flood set: its destinations first, then the flood set, then
  // the VLAN's flood sets when none is left.
  void removeFloodSet() {
    auto const all = entries();
    if (all.empty()) return;
    Entry const& e = all[pick(all.size())];
    L2Rib::VlanFloodSet* vlanFloodSet = l2Rib->vlanFloodSet(e.vlan);
    L2Rib::FloodSet* floodSet = vlanFloodSet->floodSet(e.mac);
    floodSet->destSetDelAll();
    vlanFloodSet->floodSetDel(e.mac);
    if (vlanFloodSet->floodSet().empty()) l2Rib->vlanFloodSetDel(e.vlan);
  }

  // Peers of the local segment use the tunnels too; a shared ESI label moves them to the
  // shared pool and back, which changes their hardware tunnel IDs in place.
  void changeSegment() {
    Evpn::EthernetSegmentStatus* status = evpnStatus->ethernetSegmentStatus(segment);
    if (chance(0.5)) {
      status->sharedEsiLabelIs(
          Evpn::SharedEsiLabel(Ostra::MplsLabel(500), !status->sharedEsiLabel().valid()));
      return;
    }
    Ostra::IntfId const tep = Ostra::IntfId::dynamicTunnel(tunnels[pick(tunnels.size())]);
    if (status->remoteEsiLabelHas(tep)) {
      status->remoteEsiLabelDel(tep);
    } else {
      status->remoteEsiLabelIs(tep, Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(600)));
    }
  }

  void step(Sim::Switch& sw) {
    size_t const r = pick(100);
    if (r < 35) {
      addDest();
    } else if (r < 60) {
      removeDest();
    } else if (r < 64) {
      removeFloodSet();
    } else if (r < 72) {
      changeSegment();
    } else if (r < 78) {
      sw.fecResponsesWithheldIs(!sw.fecResponsesWithheld());
    } else if (r < 83) {
      double const delays[] = {0.0, 0.5, 3.0};
      sw.fecResponseDelayIs(delays[pick(3)]);
    } else if (r < 89) {
      sw.floodSetProgrammingPausedIs(!sw.floodSetProgrammingPaused());
    } else if (r < 90) {
      sw.restart();
    } else {
      sw.advance(0.25 * static_cast<double>(pick(16)));
    }
  }

  uint64_t const seed = TestSupport::testSeed();
  std::mt19937_64 rng{seed};
  std::vector<TunnelId> tunnels;
  std::vector<TunnelId> policies;
  std::vector<Ostra::EthAddr> const macs{Ostra::EthAddr::broadcast(), Ostra::EthAddr(0x010000000001),
                                         Ostra::EthAddr(0x010000000002)};
  Qor::Ptr<L2Rib::FloodSetOutput> l2Rib = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Evpn::EvpnStatus> evpnStatus = Evpn::evpnStatusFactory();
};

TEST_F(RandomizedFloodSetPath, SettlesToWhatAFreshPathBuildsOnTheFinalInputs) {
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  for (int run = 0; run < 4; ++run) {
    SCOPED_TRACE("run " + std::to_string(run));
    Sim::Switch sw(hardware, "random", {l2Rib, evpnStatus});
    for (int i = 1; i <= 1500; ++i) {
      step(sw);
      if (i % 100 == 0) expectConfigurationAsAFreshStart(sw);
    }
    sw.fecResponsesWithheldIs(false);
    sw.floodSetProgrammingPausedIs(false);
    sw.advance(60.0);

    std::set<MplsFloodSetVia> const inUse = viasInUse(*l2Rib);
    std::set<MplsFloodSetVia> requested;
    for (auto const& [fecId, fec] : sw.fecRequest()->rows()) {
      ASSERT_TRUE(sw.floodSetFecSm()->fecIdCacheHas(fecId)) << Qor::valueToStrep(fec);
      requested.insert(sw.floodSetFecSm()->fecIdCache(fecId));
    }
    EXPECT_EQ(requested, inUse);
    std::set<MplsFloodSetVia> published;
    for (auto const& [via, info] : sw.hwInfoMapping()->mapping()) published.insert(via);
    EXPECT_EQ(published, inUse);
    EXPECT_EQ(sw.fecResponse()->rowCount(), sw.fecRequest()->rowCount());
    EXPECT_EQ(sw.floodSetFecSm()->numAllocatorStatus().inUseCount(), inUse.size());
    size_t inconsistent = 0;
    for (Entry const& e : entries()) {
      inconsistent += e.dest.destType() == L2Rib::destTypeMpls_ && e.dest.mpls().intfId().isSrTePolicy() &&
                      Fenn::destMplsTunnelId(e.dest) != e.dest.mpls().tunnelId();
    }
    EXPECT_EQ(sw.remoteInfoFinderSm()->inconsistentSrTeDestCount(), inconsistent);
    EXPECT_EQ(heldProgrammed(sw), reportedProgrammed(sw)) << "seed " << seed << " run " << run;

    Sim::Switch fresh(hardware, "fresh", {l2Rib, evpnStatus});
    fresh.advance(60.0);
    EXPECT_EQ(configurationOf(sw), configurationOf(fresh));
    expectConfigurationAsAFreshStart(sw);
    if (HasFailure()) return;
  }
}

}  // namespace
