// Random chain mutations and hosts moving between chains on the simulated switch, with FEC
// answers delayed, withheld and released. Once the inputs stop and every request has been
// answered, the requests must equal those of a fresh switch built on the final inputs (up
// to FEC ID numbering), ObjTupleToHwId must hold exactly the answered objects, and no FEC
// ID may stay taken for an object without a request.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "HostFec/HostChainDriver.h"
#include "Support/TestSeed.h"
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
  uint64_t const first = TestSupport::testSeed();
  for (uint64_t seed = first; seed < first + 20; ++seed) {
    SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
    Sim::ControlPlane plane;
    plane.hostOutput = L2Rib::hostOutputFactory();
    plane.labelOutput = L2Rib::labelOutputFactory();
    plane.loadBalanceOutput = L2Rib::loadBalanceOutputFactory();
    plane.destOutput = L2Rib::destOutputFactory();
    Sim::HardwareConfig hardware;
    auto sw = std::make_unique<Sim::Switch>(hardware, "randomHostFec", plane);
    HostFecTest::ChainDriver driver(*sw, seed);
    for (int step = 0; step < 400; ++step) driver.step();
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
