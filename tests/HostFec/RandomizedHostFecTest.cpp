// Random chain mutations and hosts moving between chains on the simulated switch, with FEC
// answers delayed, withheld and released. Once the inputs stop and every request has been
// answered, the requests must equal those of a fresh switch built on the final inputs (up
// to FEC ID numbering), ObjTupleToHwId must hold exactly the answered objects, and no FEC
// ID may stay taken for an object without a request.
#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <random>

#include "sim/Switch.h"

namespace {

using L2Rib::ObjTuple;

// Each object's FEC as where its vias lead: tunnels, or the object a via chains to.
std::map<ObjTuple, std::vector<std::pair<Qor::String, ObjTuple>>> requests(Sim::Switch const& sw) {
  std::map<ObjTuple, std::vector<std::pair<Qor::String, ObjTuple>>> out;
  Fenn::FennMacAddrFecRequestSm const* sm = sw.hostFecSm();
  for (auto const& [fecId, fec] : sw.hostFecRequest()->rows()) {
    EXPECT_TRUE(sm->fecRequestReverseMapHas(fecId)) << fecId.value();
    auto& vias = out[sm->fecRequestReverseMap(fecId)];
    for (auto const& via : fec.vias()) {
      ObjTuple const lower = via.fecId().valid() ? sm->fecRequestReverseMap(via.fecId()) : ObjTuple();
      Qor::String const text =
          Qor::valueToStrep(via.intfId()) + " " + Qor::valueToStrep(via.labelAndAction());
      vias.emplace_back(text, lower);
    }
  }
  return out;
}

TEST(RandomizedHostFec, SettlesToWhatAFreshMachineBuildsOnTheFinalInputs) {
  size_t chained = 0;  // label FECs over a load balance's FEC, across seeds
  for (uint64_t seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    auto below = [&](uint64_t n) { return std::uniform_int_distribution<uint64_t>(0, n - 1)(rng); };
    Sim::ControlPlane plane;
    plane.hostOutput = L2Rib::hostOutputFactory();
    plane.labelOutput = L2Rib::labelOutputFactory();
    plane.loadBalanceOutput = L2Rib::loadBalanceOutputFactory();
    plane.destOutput = L2Rib::destOutputFactory();
    Sim::HardwareConfig hardware;
    auto sw = std::make_unique<Sim::Switch>(hardware, "randomHostFec", plane);
    auto dest = [&] { return L2Rib::DestId(below(8)).tuple(); };
    for (int step = 0; step < 400; ++step) {
      uint32_t const id = uint32_t(below(12));
      switch (below(12)) {
        case 0:
          sw->chainDestIs(
              L2Rib::DestId(id % 8),
              L2Rib::Dest::vxlan(Ostra::IpGenAddr(), 0,
                                 Tunnel::TunnelTable::TunnelId(Tunnel::tunnelTypeLdp, 1 + below(4))));
          break;
        case 1:
          sw->chainDestDel(L2Rib::DestId(id % 8));
          break;
        case 2: {
          L2Rib::LoadBalance lb;
          for (uint64_t i = 0, n = 1 + below(4); i < n; ++i) lb.nextIs(L2Rib::EcmpIndex(i), dest());
          sw->loadBalanceIs(L2Rib::LoadBalanceId(id % 6), lb);
          break;
        }
        case 3:
          sw->loadBalanceDel(L2Rib::LoadBalanceId(id % 6));
          break;
        case 4:
          sw->labelIs(L2Rib::LabelId(id),
                      L2Rib::Label(Ostra::MplsLabel(1000 + below(3)),
                                   below(3) ? dest() : L2Rib::LoadBalanceId(below(6)).tuple()));
          break;
        case 5:
          sw->labelDel(L2Rib::LabelId(id));
          break;
        case 6:
        case 7:
        case 8: {
          uint64_t const pick = below(10);
          ObjTuple const first = pick < 6   ? L2Rib::LabelId(below(12)).tuple()
                                 : pick < 9 ? L2Rib::LoadBalanceId(below(6)).tuple()
                                            : dest();
          sw->hostIs(Bridging::MacVlanPair(Ostra::EthAddr(1 + below(40)), Bridging::VlanId(10)), first);
          break;
        }
        case 9:
          sw->hostDel(Bridging::MacVlanPair(Ostra::EthAddr(1 + below(40)), Bridging::VlanId(10)));
          break;
        case 10:
          sw->fecResponseDelayIs(below(2) ? 0.0 : 0.5);
          sw->fecResponsesWithheldIs(below(4) == 0);
          break;
        default:
          sw->advance(0.25 * double(below(4)));
      }
    }
    sw->fecResponsesWithheldIs(false);
    sw->advance(30);

    Sim::Switch fresh(hardware, "freshHostFec", plane);
    fresh.advance(30);
    auto const settled = requests(*sw);
    EXPECT_EQ(settled, requests(fresh));
    for (auto const& [tuple, vias] : settled)
      chained += vias.front().second.tableType() != L2Rib::tableTypeInvalid_;

    Fenn::FennMacAddrFecRequestSm const* sm = sw->hostFecSm();
    for (auto const& [tuple, fecId] : sm->fecRequestCache()) {
      ASSERT_TRUE(sw->hostFecResponse()->rowHas(fecId)) << "every request is answered";
      EXPECT_EQ(sw->objTupleToHwId()->hwId(tuple), sw->hostFecResponse()->row(fecId).hwFecId());
    }
    EXPECT_EQ(sw->objTupleToHwId()->hwId().size(), sm->fecRequestCache().size());
    EXPECT_EQ(sm->fecCache().size(), sm->fecRequestReverseMap().size()) << "an ID held without a request";
    EXPECT_EQ(sm->numAllocatorStatus().inUseCount(), sm->fecCache().size());
  }
  EXPECT_GT(chained, 0u) << "no seed ended with a 3-level chain";
}

}  // namespace
