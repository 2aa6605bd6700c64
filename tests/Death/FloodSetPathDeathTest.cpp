// The flood-set machines read the MPLS-only flood sets that VlanFloodSetFilterSm writes: a
// platform that wires them to the unfiltered flood sets hands them a destination of another
// type, which is a wiring error and aborts. (Their other assertions are reached in
// tests/FloodSet, tests/FloodSetFec, tests/FennEvpn and tests/Values.)
#include "Death/DeathTestSupport.h"
#include "FennEvpn/FennEvpnFloodSetFecSm.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "FennEvpn/FennEvpnVlanFloodSetSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerWheel.h"
#include "L2Rib/FloodSetOutput.h"

namespace {

using DeathTest::assertion;

class FloodSetPathDeathTest : public ::testing::Test {
 protected:
  void addIntfDest() {
    floodSets->vlanFloodSetIs(Bridging::VlanId(10))
        ->floodSetIs(Ostra::EthAddr::broadcast())
        ->destSetIs(L2Rib::Dest::intf(Ostra::IntfId::ethernet(1)));
  }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Keel::TimerWheel> wheel{new Keel::TimerWheel(scheduler)};
  Qor::Ptr<L2Rib::FloodSetOutput> floodSets = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> hwTid = Fenn::tunnelIdToHwTunnelIdMappingFactory("deathHwTid");
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> hwStatus = Fenn::evpnVlanFloodSetHwStatusFactory();
  Qor::Ptr<Fenn::HwInfoMapping> hwInfo = Fenn::hwInfoMappingFactory();
};

TEST_F(FloodSetPathDeathTest, FecMachineGivenANonMplsDestination) {
  auto sm = Fenn::evpnFloodSetFecSmFactory(
      floodSets, Fenn::tunnelIdToHwTunnelIdMappingReaderFactory("deathHwTid"), hwStatus,
      Fenn::fecIdToHwFecIdRequestFactory("deathRequest", Vasp::Mode::writer),
      Fenn::fecIdToHwFecIdResponseFactory("deathResponse", Vasp::Mode::writer), hwInfo, wheel);
  sm->initializedIs(true);
  EXPECT_DEATH(addIntfDest(),
               assertion("dest.destType() == L2Rib::destTypeMpls_", "FennEvpnFloodSetFecSm.cpp"));
}

TEST_F(FloodSetPathDeathTest, ConfigurationMachineGivenANonMplsDestination) {
  auto sm =
      Fenn::evpnVlanFloodSetSmFactory(floodSets, Fenn::tunnelIdToHwTunnelIdMappingReaderFactory("deathHwTid"),
                                      hwInfo, Fenn::evpnVlanFloodSetHwConfigFactory(), hwStatus);
  sm->initializedIs(true);
  EXPECT_DEATH(addIntfDest(),
               assertion("dest.destType() == L2Rib::destTypeMpls_", "FennEvpnVlanFloodSetSm.cpp"));
}

}  // namespace
