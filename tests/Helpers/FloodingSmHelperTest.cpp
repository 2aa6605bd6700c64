// The flooding helper: the stub records each call and answers with the result set for it;
// the base operations are what an agent without a hardware layer runs.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>
#include <version>

#include "AttributeLog.h"
#include "FennEvpn/FennEvpnFloodingSmHelper.h"
#include "FennEvpn/FennEvpnFloodingSmHelperStub.h"

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Fenn::HwTunnelId;
using Fenn::TunnelId;
using FennHelper::EvpnFloodingSmHelper;
using Ostra::IntfId;
using Ostra::MplsLabel;
using Stub = FennHelper::EvpnFloodingSmHelperStub;

namespace {

IntfId const lag = IntfId::portChannel(10);
IntfId const member = IntfId::ethernet(3);
HwTunnelId const hwTid(Fenn::hwTunnelIdTypeSharedEs, 4);

class FloodingSmHelperStubTest : public ::testing::Test {
 protected:
  Qor::Ptr<Stub> stub = FennHelper::evpnFloodingSmHelperStubFactory("flooding");
};

TEST_F(FloodingSmHelperStubTest, CallsRecordWhatTheHardwareWouldBeGivenAndReturnTheSetResult) {
  EXPECT_EQ(stub->createVlan(VlanId(10), VlanIdOrNone(20)), Fenn::programmed);
  stub->createVlanRcIs(Fenn::notProgrammed);
  EXPECT_EQ(stub->createVlan(VlanId(11), VlanIdOrNone()), Fenn::notProgrammed);
  EXPECT_EQ(stub->createVlanCount(), 2u);
  EXPECT_EQ(stub->createVlanVlanId(), VlanId(11));

  stub->createNonDfPortRcIs(Fenn::invalidHwId);
  EXPECT_EQ(stub->createNonDfPort(lag, member, VlanId(10)), Fenn::invalidHwId);
  EXPECT_EQ(stub->createNonDfPortIntfId(), member);  // the member, not the LAG
  stub->deleteNonDfPort(lag, member, VlanId(11));
  EXPECT_EQ(stub->deleteNonDfPortIntfId(), member);
  stub->createEsiData(lag, member, VlanId(10), TunnelId(7), hwTid, MplsLabel(100), MplsLabel(200));
  EXPECT_EQ(stub->createEsiDataLabel(), MplsLabel(100));  // the remote label only
}

// A watcher of the counter reads the whole call: every operation writes its arguments
// before it counts the call, so the count is always the last notification.
TEST_F(FloodingSmHelperStubTest, EveryOperationCountsAfterRecordingItsArguments) {
  struct Call {
    std::function<void()> run;
    Qor::AttributeId count;
    size_t notifications;  // arguments recorded, and the count
  };
  VlanId const vlan(10);
  VlanIdOrNone const dot1q(20);
  std::vector<Call> const calls{
      {[&] { stub->createVlan(vlan, dot1q); }, Stub::createVlanCountAttr, 3},
      {[&] { stub->deleteVlan(vlan, dot1q); }, Stub::deleteVlanCountAttr, 3},
      {[&] { stub->createNonDfPort(lag, member, vlan); }, Stub::createNonDfPortCountAttr, 3},
      {[&] { stub->deleteNonDfPort(lag, member, vlan); }, Stub::deleteNonDfPortCountAttr, 3},
      {[&] { stub->createVlanToDot1qMapping(lag, member, vlan, dot1q); }, Stub::createVlanToDot1qCountAttr,
       5},
      {[&] { stub->deleteVlanToDot1qMapping(lag, member, vlan, dot1q); }, Stub::deleteVlanToDot1qCountAttr,
       5},
      {[&] { stub->createEsiData(lag, member, vlan, TunnelId(7), hwTid, MplsLabel(100), MplsLabel(200)); },
       Stub::createEsiDataCountAttr, 7},
      {[&] { stub->deleteEsiData(lag, member, vlan, TunnelId(7), hwTid); }, Stub::deleteEsiDataCountAttr, 6}};
  for (size_t i = 0; i < calls.size(); ++i) {
    auto log = AttributeLog::watch(stub.get());
    calls[i].run();
    ASSERT_EQ(log->ids.size(), calls[i].notifications) << "call " << i;
    EXPECT_EQ(log->ids.back(), calls[i].count) << "call " << i;
  }
}

class FloodingSmHelperBaseTest : public ::testing::Test {
 protected:
  void SetUp() override { unsetenv("FENN_NOOP_AGENT"); }
  void TearDown() override { unsetenv("FENN_NOOP_AGENT"); }
  Qor::Ptr<EvpnFloodingSmHelper> helper{new EvpnFloodingSmHelper("base")};
};

#if defined(__cpp_lib_source_location)
constexpr char const* createEsiDataName = "FennHelper::EvpnFloodingSmHelper::createEsiData";
#else
// clang 14 over libstdc++ 12 has no std::source_location; its builtin names the function
// without its class (Qor/SourceLocation.h).
constexpr char const* createEsiDataName = "createEsiData";
#endif

// Without FENN_NOOP_AGENT the VLAN and non-DF operations fail softly and the others abort;
// with it, every create fails softly.
TEST_F(FloodingSmHelperBaseTest, DefaultsWithAndWithoutTheNoopAgent) {
  EXPECT_EQ(helper->createVlan(VlanId(10), VlanIdOrNone()), Fenn::notProgrammed);
  EXPECT_EQ(helper->createNonDfPort(lag, member, VlanId(10)), Fenn::notProgrammed);
  helper->deleteVlan(VlanId(10), VlanIdOrNone());
  helper->deleteNonDfPort(lag, member, VlanId(10));
  EXPECT_FALSE(helper->programCpuIntf());
  EXPECT_FALSE(helper->updateSupportedOnCreateEsiData());
  EXPECT_DEATH(helper->createVlanToDot1qMapping(lag, member, VlanId(10), VlanIdOrNone(30)),
               "assertion failed: Unimplemented createVlanToDot1qMapping\n");
  EXPECT_DEATH(helper->deleteVlanToDot1qMapping(lag, member, VlanId(10), VlanIdOrNone(30)),
               "assertion failed: Unimplemented deleteVlanToDot1qMapping\n");
  EXPECT_DEATH(helper->createEsiData(lag, member, VlanId(10), TunnelId(7), hwTid, MplsLabel(1), MplsLabel(2)),
               "assertion failed: Unimplemented addEsiData\n"
               "  at /src/FennEvpn/FennEvpnFloodingSmHelper.cpp:[0-9]+ in " +
                   std::string(createEsiDataName) + "\n");
  EXPECT_DEATH(helper->deleteEsiData(lag, member, VlanId(10), TunnelId(7), hwTid),
               "assertion failed: Unimplemented deleteEsiData\n");

  setenv("FENN_NOOP_AGENT", "1", 1);
  EXPECT_EQ(helper->createVlanToDot1qMapping(lag, member, VlanId(10), VlanIdOrNone(30)), Fenn::notProgrammed);
  EXPECT_EQ(helper->createEsiData(lag, member, VlanId(10), TunnelId(7), hwTid, MplsLabel(1), MplsLabel(2)),
            Fenn::notProgrammed);
  helper->deleteVlanToDot1qMapping(lag, member, VlanId(10), VlanIdOrNone(30));
  helper->deleteEsiData(lag, member, VlanId(10), TunnelId(7), hwTid);
}

}  // namespace
