// The world of one EvpnHwTunnelIdSm under test: the stub helper's pools, a scheduler on a
// manual clock, the EVPN status with its segments, EvpnRemoteInfo driven directly, and the
// published table; with short verbs for the inputs and readers for what came out.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Evpn/EvpnStatus.h"
#include "Fenn/FennCommonSmData.h"
#include "FennEvpn/FennEvpnHwTunnelIdSm.h"
#include "FennEvpn/FennEvpnHwTunnelIdSmHelperStub.h"
#include "FennEvpn/FennEvpnRemoteInfo.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "Qor/SysLog.h"

namespace HwTunnelIdTest {

using Fenn::HwTunnelId;
using Fenn::hwTunnelIdTypeDefault;
using Fenn::hwTunnelIdTypeSharedEs;
using Fenn::TunnelId;

inline TunnelId tunnel(uint64_t n) { return TunnelId(Tunnel::tunnelTypeLdp, n); }
inline Ostra::IntfId tep(uint64_t n) { return Ostra::IntfId::dynamicTunnel(tunnel(n)); }
inline Ostra::IntfId segment(uint32_t n) { return Ostra::IntfId::portChannel(n); }
inline HwTunnelId defaultId(uint32_t n) { return HwTunnelId(hwTunnelIdTypeDefault, n); }
inline HwTunnelId sharedId(uint32_t n) { return HwTunnelId(hwTunnelIdTypeSharedEs, n); }

class Harness : public ::testing::Test {
 protected:
  void SetUp() override {
    Qor::logSinkIs([](Qor::LogMessage const&) {});
    Qor::sysLogRecordsDelAll();
    helper->freeHwTunnelIdIs(hwTunnelIdTypeDefault);
    helper->freeHwTunnelIdIs(hwTunnelIdTypeSharedEs);
  }
  void TearDown() override {
    sm = nullptr;
    Qor::logSinkIs({});
  }

  // Builds the machine on the inputs as they are now and initializes it.
  void start() {
    sm = Fenn::evpnHwTunnelIdSmFactory(helper, scheduler, acsd, evpnStatus, remoteInfo, table);
    sm->initializedIs(true);
  }

  void freeIds(std::vector<HwTunnelId> const& ids) {
    for (auto const& id : ids) helper->freeHwTunnelId(id.type())->hwTunnelIdEnq(id);
  }
  size_t freeCount(Fenn::HwTunnelIdType type) const { return helper->freeHwTunnelId(type)->hwTunnelIdSize(); }

  Evpn::EthernetSegmentStatus* es(uint32_t n) { return evpnStatus->ethernetSegmentStatusIs(segment(n)); }
  void addPeer(uint32_t seg, uint64_t t, uint32_t label = 100) {
    es(seg)->remoteEsiLabelIs(tep(t), Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(label)));
  }
  void delPeer(uint32_t seg, uint64_t t) { es(seg)->remoteEsiLabelDel(tep(t)); }
  void sharedLabel(uint32_t seg, bool valid) {
    es(seg)->sharedEsiLabelIs(Evpn::SharedEsiLabel(Ostra::MplsLabel(500), valid));
  }
  void floodInc(uint64_t t) { remoteInfo->remoteTunnelIdInc(tunnel(t), 1); }
  // As the flood-set counter does: a count that reaches zero is removed.
  void floodDec(uint64_t t) {
    if (remoteInfo->remoteTunnelIdDec(tunnel(t), 1) == 0) remoteInfo->remoteTunnelIdDel(tunnel(t));
  }

  HwTunnelId hwId(uint64_t t) const { return table->tunnelIdToHwTunnelId(tunnel(t)).hwTunnelId(); }
  bool zombie(uint64_t t) const {
    for (auto const& [type, set] : sm->zombieTunnelId()) {
      if (set->tunnelIdHas(tunnel(t))) return true;
    }
    return false;
  }
  static std::vector<std::string> logged() {
    std::vector<std::string> names;
    for (auto const* m : Qor::sysLogRecords()) names.emplace_back(m->name());
    return names;
  }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelperStub> helper =
      FennHelper::evpnHwTunnelIdSmHelperStubFactory("hwTunnelIdHelper");
  Qor::Ptr<Fenn::FennCommonSmData> acsd = Fenn::fennCommonSmDataFactory();
  Qor::Ptr<Evpn::EvpnStatus> evpnStatus = Evpn::evpnStatusFactory();
  Qor::Ptr<Fenn::EvpnRemoteInfo> remoteInfo = Fenn::evpnRemoteInfoFactory();
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> table = Fenn::tunnelIdToHwTunnelIdMappingFactory();
  Qor::Ptr<Fenn::EvpnHwTunnelIdSm> sm;
};

inline constexpr char const* kFull = "EVPN_MPLS_SHARED_ESI_HW_RESOURCE_FULL";
inline constexpr char const* kNormal = "EVPN_MPLS_SHARED_ESI_HW_RESOURCE_NORMAL";

}  // namespace HwTunnelIdTest
