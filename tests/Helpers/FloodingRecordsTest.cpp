#include <gtest/gtest.h>

#include "AttributeLog.h"
#include "FennEvpn/FennEvpnFloodingRecords.h"

using Bridging::VlanId;
using Ostra::IntfId;

namespace {

// An owner keeps records as children: the key given to xxxIs becomes the record's key.
class RecordOwner : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Test::RecordOwner"; }
  QOR_CHILDREN(intfVlanSet, IntfId, Fenn::IntfVlanSet)
  QOR_CHILDREN(intfVlanTunnelEsiStatus, Fenn::IntfVlanTunnelKey, Fenn::IntfVlanTunnelEsiStatus)
};

class FloodingRecordsTest : public ::testing::Test {
 protected:
  Qor::Ptr<RecordOwner> owner{new RecordOwner};
};

TEST_F(FloodingRecordsTest, SetsNotifyOnlyRealChanges) {
  Fenn::IntfVlanSet* vlans = owner->intfVlanSetIs(IntfId::portChannel(5));
  EXPECT_EQ(vlans->intfId(), IntfId::portChannel(5));
  auto log = AttributeLog::watch(vlans);
  vlans->vlanIdIs(VlanId(10));
  vlans->vlanIdIs(VlanId(10));
  EXPECT_FALSE(vlans->vlanIdDel(VlanId(11)));
  EXPECT_TRUE(vlans->vlanId(VlanId(10)));
  EXPECT_EQ(log->ids.size(), 1u);
  vlans->vlanIdIs(VlanId(11));
  vlans->vlanIdDelAll();
  EXPECT_TRUE(vlans->vlanId().empty());
  EXPECT_EQ(log->ids.size(), 4u);
  EXPECT_EQ(owner->intfVlanSetIs(IntfId::portChannel(5)), vlans);  // existing record returned
}

TEST_F(FloodingRecordsTest, EsiStatusRemembersTheHwTunnelIdPerMember) {
  Fenn::IntfVlanTunnelKey const key(IntfId::portChannel(5), VlanId(10), Fenn::TunnelId(7));
  Fenn::IntfVlanTunnelEsiStatus* status = owner->intfVlanTunnelEsiStatusIs(key);
  auto log = AttributeLog::watch(status);
  Fenn::HwTunnelId const first(Fenn::hwTunnelIdTypeDefault, 1);
  Fenn::HwTunnelId const moved(Fenn::hwTunnelIdTypeSharedEs, 1);
  status->programmedIs(IntfId::ethernet(1), first);
  status->programmedIs(IntfId::ethernet(1), first);
  status->programmedIs(IntfId::ethernet(1), moved);  // the tunnel moved pools: reprogrammed
  EXPECT_EQ(status->programmed(IntfId::ethernet(1)), moved);
  EXPECT_FALSE(status->programmed(IntfId::ethernet(2)).valid());
  EXPECT_EQ(log->ids, (std::vector<Qor::AttributeId>{Fenn::IntfVlanTunnelEsiStatus::programmedAttr,
                                                     Fenn::IntfVlanTunnelEsiStatus::programmedAttr}));
}

}  // namespace
