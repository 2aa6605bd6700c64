// A switch's inputs recorded while random changes of every kind run, and the recording
// replayed by fenn-sim's runner: the replay's hardware is the recorded switch's hardware,
// numbers the hardware chose included, and explain answers the same for every key the run
// can reach. A rotated recording replays on its own from its snapshot to the same entries.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "Access/AccessDriver.h"
#include "FennEvpn/FennEvpnExplain.h"
#include "FennEvpn/FennEvpnHwTunnelIdSm.h"
#include "Qor/SysLog.h"
#include "Runner.h"
#include "Sim/SwitchInputs.h"

namespace {

class RecordReplayTest : public ::testing::Test {
 protected:
  std::filesystem::path const dir_ =
      std::filesystem::temp_directory_path() / ("fenn-record-replay-" + std::to_string(getpid()));
  // A simulated switch, as fenn-sim runs it: a default pool run dry is a state, not fatal.
  void SetUp() override {
    std::filesystem::create_directories(dir_);
    setenv("SIMULATION_VMID", "record-replay", 1);
  }
  void TearDown() override {
    unsetenv("SIMULATION_VMID");
    std::filesystem::remove_all(dir_);
  }
  Qor::String path(char const* name) const { return (dir_ / name).string(); }

  // The inputs neither generator reaches: the LFIB, host chains, dot1q mappings, flood
  // statuses, the MPLS configuration and the tunnel RIB's endpoints.
  static void otherInput(Sim::Switch& sw, std::mt19937_64& rng) {
    auto pick = [&](uint64_t n) { return uint32_t(rng() % n); };
    Bridging::VlanId const vlan(10 + pick(3));
    switch (pick(8)) {
      case 0: {
        // One change at a time, as the replay runs the scheduler after each step: which of two
        // routes filtering one interface gets its port map depends on the order they are seen.
        Mpls::LfibViaKey const via(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, 1 + pick(3));
        pick(4) ? sw.lfib().filterViaIs(via, Ostra::IntfId::portChannel(1 + pick(3)))
                : sw.lfib().filterViaDel(via);
        sw.settle();
        Mpls::LfibViaSetKey const viaSet(1 + pick(3));
        pick(4) ? sw.lfib().viaSetIs(viaSet, via) : sw.lfib().viaSetDel(viaSet);
        sw.settle();
        Mpls::RouteKey const route(Ostra::MplsLabel(900 + pick(4)));
        pick(4) ? sw.lfib().routeIs(route, viaSet) : sw.lfib().routeDel(route);
        return sw.settle();
      }
      case 1:
        return pick(4)
                   ? sw.chainDestIs(L2Rib::DestId(1 + pick(3)),
                                    L2Rib::Dest::vxlan(Ostra::IpGenAddr(), 0, SimTest::tunnel(1 + pick(4))))
                   : sw.chainDestDel(L2Rib::DestId(1 + pick(3)));
      case 2: {
        L2Rib::LoadBalance lb;
        for (uint32_t i = 0, n = 1 + pick(3); i < n; ++i)
          lb.nextIs(L2Rib::EcmpIndex(i), L2Rib::DestId(1 + pick(3)).tuple());
        return pick(4) ? sw.loadBalanceIs(L2Rib::LoadBalanceId(1 + pick(2)), lb)
                       : sw.loadBalanceDel(L2Rib::LoadBalanceId(1 + pick(2)));
      }
      case 3: {
        L2Rib::ObjTuple const next =
            pick(2) ? L2Rib::DestId(1 + pick(3)).tuple() : L2Rib::LoadBalanceId(1 + pick(2)).tuple();
        return pick(4) ? sw.labelIs(L2Rib::LabelId(1 + pick(3)),
                                    L2Rib::Label(Ostra::MplsLabel(2000 + pick(3)), next))
                       : sw.labelDel(L2Rib::LabelId(1 + pick(3)));
      }
      case 4: {
        Bridging::MacVlanPair const host(Ostra::EthAddr(0x020000000001 + pick(4)), vlan);
        return pick(4) ? sw.hostIs(host, L2Rib::LabelId(1 + pick(3)).tuple()) : sw.hostDel(host);
      }
      case 5:
        return pick(4) ? sw.vlanToDot1qIs(vlan, pick(3) ? Bridging::VlanIdOrNone(100 + pick(3))
                                                        : Bridging::VlanIdOrNone::none())
                       : sw.vlanToDot1qDel(vlan);
      case 6: {
        std::vector<Ostra::IntfId> filter;
        for (auto const& intf : AccessTest::accessIntfs)
          if (pick(2)) filter.push_back(intf);
        return pick(4) ? sw.vlanFloodStatusIs(vlan, filter) : sw.vlanFloodStatusDel(vlan);
      }
      case 7:
        sw.vlanServiceDot1qEnabledIs(pick(2));
        return sw.tunnelEndpointIs(
            SimTest::tunnel(1 + pick(4)),
            pick(3) ? std::optional(Ostra::IpGenAddr("10.0.0." + std::to_string(1 + pick(3))))
                    : std::nullopt);
    }
  }

  // Random changes of every input, hardware settings and time, on a switch that records;
  // without the access side's changes, the pools stay roomy.
  static void run(Sim::Switch& sw, uint64_t seed, int events, bool accessSide = true) {
    AccessTest::Driver access(sw, seed, false);
    std::vector<SimTest::Op> const ops = SimTest::randomInputs(seed, events);
    std::mt19937_64 rng(seed ^ 0x7ec0);
    for (SimTest::Op const& op : ops) {
      uint64_t const r = rng() % 4;
      if (r == 1 && !accessSide) continue;
      switch (r) {
        case 0:
          SimTest::apply(sw, op);
          break;
        case 1:
          access.step();
          break;
        case 2:
          otherInput(sw, rng);
          break;
        default:
          if (rng() % 8 == 0) sw.fecResponsesWithheldIs(!sw.fecResponsesWithheld());
          if (rng() % 8 == 0) sw.floodSetCapacityIs(rng() % 2 ? 5 : 1000);
          sw.advance(0.1 * double(rng() % 30));
      }
    }
  }

  // What explain answers for a sample of every kind of key over the values the
  // run draws from: the flood-set destinations of both generators, every tunnel, the
  // access side's (interface, VLAN) and (interface, VLAN, tunnel) keys, hosts, chain
  // objects and filter routes. Keys nothing wants are in it too (their answers name the
  // missing input).
  static std::vector<Fenn::Explanation> explainAnswers(Sim::Switch const& sw) {
    Fenn::MachineSet const machines = sw.machines();
    std::vector<Fenn::Explanation> out;
    for (uint16_t v = 1; v <= 12; v += 1 + v % 2) {
      for (Ostra::EthAddr const mac : {Ostra::EthAddr::broadcast(), Ostra::EthAddr(0x01005e000001)}) {
        for (int t = 1; t <= 6; ++t) {
          L2Rib::Dest const dest =
              L2Rib::Dest::mpls(SimTest::tunnel(t), Ostra::MplsLabel(1000 + uint32_t(t % 3)));
          out.push_back(Fenn::explainFloodSetDest(machines, Bridging::VlanId(v), mac, dest));
        }
      }
    }
    for (int t = 1; t <= 6; ++t) out.push_back(Fenn::explainTunnel(machines, SimTest::tunnel(t)));
    for (Ostra::IntfId const& intf : AccessTest::accessIntfs) {
      for (Bridging::VlanId const vlan : AccessTest::vlans) {
        out.push_back(Fenn::explainDot1q(machines, Fenn::IntfVlanKey(intf, vlan)));
        out.push_back(Fenn::explainFloodFilter(machines, Fenn::IntfVlanKey(intf, vlan)));
        for (uint64_t pe = 1; pe <= AccessTest::kPes; ++pe) {
          out.push_back(
              Fenn::explainEsi(machines, Fenn::IntfVlanTunnelKey(intf, vlan, AccessTest::tunnel(pe))));
        }
      }
    }
    for (uint16_t v = 10; v <= 12; ++v) {
      for (uint64_t h = 0; h < 4; ++h) {
        Bridging::MacVlanPair const host(Ostra::EthAddr(0x020000000001 + h), Bridging::VlanId(v));
        out.push_back(Fenn::explainHost(machines, host));
      }
    }
    for (uint32_t id = 1; id <= 3; ++id) {
      out.push_back(Fenn::explainObject(machines, L2Rib::LabelId(id).tuple()));
      out.push_back(Fenn::explainObject(machines, L2Rib::DestId(id).tuple()));
    }
    for (uint32_t id = 1; id <= 2; ++id)
      out.push_back(Fenn::explainObject(machines, L2Rib::LoadBalanceId(id).tuple()));
    for (uint32_t label = 900; label < 904; ++label)
      out.push_back(Fenn::explainFilterRoute(machines, Mpls::RouteKey(Ostra::MplsLabel(label))));
    return out;
  }

  struct Replayed {
    Sim::HardwareState state;
    Sim::HardwareState withoutZombies;
    std::vector<Fenn::Explanation> answers;
  };

  // An answer without its values: the key's state and, per step, the machine, condition and
  // status. What a rotated file's replay must agree on: the values carry the numbers the
  // hardware chose and the times of failures, which follow the order the entries came in.
  // A tunnel nothing uses may still hold the ID it had when it was last used (a zombie, kept
  // until its pool runs dry): that is history a snapshot does not carry, so there the hardware
  // tunnel ID step is left without its status.
  static std::vector<Qor::String> outlines(std::vector<Fenn::Explanation> const& answers) {
    std::vector<Qor::String> out;
    for (Fenn::Explanation const& a : answers) {
      Qor::String line = a.key() + ": " + Qor::String(Fenn::Explanation::stateName(a.state()));
      bool unused = false;
      for (Fenn::ExplainStep const& step : a.steps()) {
        if (step.condition.ends_with(" needed by")) unused = step.status == Fenn::ExplainStatus::missingInput;
        Qor::String const status = unused && step.condition == "hardware tunnel ID"
                                       ? Qor::String("(history)")
                                       : Qor::String(Fenn::Explanation::stateName(step.status));
        line += "; " + step.machine + " " + step.condition + " " + status;
      }
      out.push_back(line);
    }
    return out;
  }
  // Replays `file`, then lets `thenSeconds` pass on the replaying switch.
  static Replayed replay(Qor::String const& file, double thenSeconds = 0) {
    Qor::sysLogRecordsDelAll();
    SimTool::Scenario const scenario = SimTool::loadScenario(file);
    std::ostringstream out;
    SimTool::Runner runner(scenario, out);
    EXPECT_EQ(runner.run(), 0u) << out.str();
    if (thenSeconds > 0) runner.simSwitch().advance(thenSeconds);
    return {runner.simSwitch().state(), withoutZombies(runner.simSwitch()),
            explainAnswers(runner.simSwitch())};
  }
  // The hardware state without the tunnels that hold an ID nobody needs any more.
  static Sim::HardwareState withoutZombies(Sim::Switch const& sw) {
    Sim::HardwareState s = sw.state();
    Fenn::EvpnHwTunnelIdSm const* machine = sw.machines().hwTunnelId;
    std::erase_if(s.tunnels, [machine](Sim::HardwareState::TunnelRow const& row) {
      Fenn::TunnelIdSet const* zombies = machine->zombieTunnelId(row.hwTunnelId.type());
      return zombies && zombies->tunnelIdHas(row.tunnelId);
    });
    return s;
  }
};

TEST_F(RecordReplayTest, ReplayGivesTheRecordedHardware) {
  uint64_t const first = SimTest::testSeed();
  for (uint64_t seed = first; seed < first + 4; ++seed) {
    SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
    Qor::sysLogRecordsDelAll();
    Sim::Switch sw(SimTest::hardware(), "recorded/");
    sw.record({path("run.yaml"), uint64_t(1) << 30, 2});
    run(sw, seed, 600);
    sw.recorder()->flush();
    ASSERT_EQ(sw.recorder()->error(), "");
    EXPECT_EQ(sw.recorder()->rotations(), 0u);
    Sim::HardwareState const expected = sw.state();
    Replayed const replayed = replay(path("run.yaml"));
    Sim::HardwareState const& actual = replayed.state;
    EXPECT_EQ(actual.time, expected.time);
    EXPECT_EQ(actual.tunnels, expected.tunnels);
    EXPECT_EQ(actual.pools, expected.pools);
    EXPECT_EQ(actual.fecs, expected.fecs);
    EXPECT_EQ(actual.floodSets, expected.floodSets);
    EXPECT_EQ(actual.sysLog, expected.sysLog);
    EXPECT_EQ(actual.waitingTunnels, expected.waitingTunnels);
    EXPECT_EQ(actual.esiPortMaps, expected.esiPortMaps);
    EXPECT_EQ(actual.unprogrammedRoutes, expected.unprogrammedRoutes);
    EXPECT_EQ(actual.lagMembers, expected.lagMembers);
    EXPECT_EQ(actual.vlanMembers, expected.vlanMembers);
    EXPECT_EQ(actual.esiData, expected.esiData);
    EXPECT_EQ(actual.tepSegments, expected.tepSegments);
    EXPECT_EQ(actual.hostFecs, expected.hostFecs);
    EXPECT_EQ(actual.hosts, expected.hosts);
    EXPECT_EQ(actual.vlans, expected.vlans);
    EXPECT_EQ(actual.dot1qMappings, expected.dot1qMappings);
    EXPECT_EQ(actual.nonDfPorts, expected.nonDfPorts);
    // The replay numbers IDs and times as the recorded switch did, so the answers match
    // word for word, the hardware IDs, failure times and review due times in them included.
    std::vector<Fenn::Explanation> const answers = explainAnswers(sw);
    ASSERT_EQ(replayed.answers.size(), answers.size());
    for (size_t i = 0; i < answers.size(); ++i) EXPECT_EQ(replayed.answers[i].json(), answers[i].json());
  }
}

// Each rotated file starts from a snapshot of the inputs, so the newest replays on its own
// to the same entries (the hardware may number them otherwise: the snapshot adds them in
// another order than their history did, which is why the pools stay roomy here); no more
// files than asked are kept.
TEST_F(RecordReplayTest, EachRotatedFileReplaysOnItsOwn) {
  uint64_t const seed = SimTest::testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  Sim::Switch sw(SimTest::hardware(), "rotated/");
  sw.record({path("run.yaml"), 4096, 3});
  run(sw, seed, 600, false);
  sw.fecResponsesWithheldIs(false);
  sw.floodSetCapacityIs(UINT32_MAX);
  sw.advance(60);
  sw.recorder()->flush();
  EXPECT_GT(sw.recorder()->rotations(), 2u);
  EXPECT_TRUE(std::filesystem::exists(path("run.yaml.2")));
  EXPECT_FALSE(std::filesystem::exists(path("run.yaml.3")));
  for (char const* older : {"run.yaml.1", "run.yaml.2"}) EXPECT_NO_THROW(SimTool::loadScenario(path(older)));
  // A tunnel no longer used keeps its ID until its pool runs dry; the snapshot holds only
  // what is used.
  Sim::HardwareState const expected = withoutZombies(sw);
  // A snapshot holds the inputs, not the time that passed since they last changed: when
  // the run's last step (the minute above) is the one that fills a file, the newest file
  // is its successor's snapshot alone, and its replay must let the answers come.
  Replayed const replayed = replay(path("run.yaml"), 60);
  Sim::HardwareState const& actual = replayed.withoutZombies;
  EXPECT_EQ(SimTest::entries(actual), SimTest::entries(expected));
  EXPECT_EQ(actual.tepSegments, expected.tepSegments);
  EXPECT_EQ(actual.vlans, expected.vlans);
  EXPECT_EQ(actual.dot1qMappings, expected.dot1qMappings);
  EXPECT_EQ(actual.nonDfPorts, expected.nonDfPorts);
  // Of two routes filtering one interface, the first seen gets its port map.
  EXPECT_EQ(actual.esiPortMaps.size(), expected.esiPortMaps.size());
  EXPECT_EQ(actual.hosts.size(), expected.hosts.size());
  std::vector<Qor::String> const expectedOutlines = outlines(explainAnswers(sw));
  std::vector<Qor::String> const actualOutlines = outlines(replayed.answers);
  ASSERT_EQ(actualOutlines.size(), expectedOutlines.size());
  for (size_t i = 0; i < expectedOutlines.size(); ++i) {
    // Which of two filter routes gets an interface's port map is decided by order, as above.
    if (!expectedOutlines[i].starts_with("MPLS filter route")) {
      EXPECT_EQ(actualOutlines[i], expectedOutlines[i]);
    }
  }
}

// A via set without a via (the platform wrote one, or cleared its via) is a change the
// random runs never make: the decapsulation filter takes it for a programming error once a
// route uses it. Its replay must hold it too, from the snapshot and from a later change,
// not keep the via it had before.
TEST_F(RecordReplayTest, AViaSetWithoutAViaIsRecorded) {
  Sim::Switch sw(SimTest::hardware(), "noVia/");
  Mpls::LfibViaKey const filterVia(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, 1);
  sw.lfib().filterViaIs(filterVia, Ostra::IntfId::portChannel(1));
  sw.lfib().viaSetIs(Mpls::LfibViaSetKey(1), filterVia);
  sw.lfib().viaSetIs(Mpls::LfibViaSetKey(2), Mpls::LfibViaKey(Mpls::lfibViaTypeInvalid, 7));
  sw.settle();
  sw.record({path("run.yaml")});
  sw.lfib().viaSetIs(Mpls::LfibViaSetKey(1), Mpls::LfibViaKey());
  sw.settle();
  sw.recorder()->flush();
  SimTool::Scenario const scenario = SimTool::loadScenario(path("run.yaml"));
  std::ostringstream out;
  SimTool::Runner runner(scenario, out);
  EXPECT_EQ(runner.run(), 0u) << out.str();
  Mpls::LfibStatus const& replayed = *runner.simSwitch().lfib().lfibStatus();
  Mpls::LfibStatus const& recorded = *sw.lfib().lfibStatus();
  for (uint32_t index : {1u, 2u}) {
    Mpls::LfibViaSetKey const key(index);
    ASSERT_TRUE(replayed.viaSetHas(key)) << "via set " << index;
    EXPECT_EQ(replayed.viaSet(key).viaKey(), recorded.viaSet(key).viaKey()) << "via set " << index;
  }
}

TEST_F(RecordReplayTest, AFileThatCannotBeWrittenIsRefusedWithItsName) {
  Sim::Switch sw(SimTest::hardware(), "unwritable/");
  try {
    sw.record({path("no-such-dir/run.yaml")});
    FAIL() << "recording into a missing directory was accepted";
  } catch (std::runtime_error const& e) {
    EXPECT_NE(std::string(e.what()).find("no-such-dir/run.yaml: No such file or directory"),
              std::string::npos)
        << e.what();
  }
}

}  // namespace
