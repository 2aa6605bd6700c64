// FennEvpnSegmentSm publishes one local Ethernet segment in the TEP-to-segments index: for
// every remote TEP of the segment whose tunnel has a known endpoint, it puts the segment's
// interface into the EvpnTepSegment of that endpoint address. FennEvpnTepSegmentSm keeps
// one per segment status, initialized as it is created; releasing it withdraws the segment
// from every entry it wrote, removing an entry that is left empty.
//
// A TEP is a tunnel interface (dynamic tunnel or SR-TE policy); its address is the endpoint
// of its tunnel in the tunnel RIB (Tunnel::TunnelTable::TunnelEndpointStatus), which the
// segment status does not carry. Two TEP interfaces of a segment may lead to the same
// address; the segment stays in that entry while either does.
#pragma once

#include <memory>
#include <string_view>

#include "Evpn/EthernetSegmentStatus.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnTepSegment.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Qor/StateMachine.h"
#include "Tunnel/TunnelEndpointStatus.h"

namespace Fenn {

class FennEvpnSegmentSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  FennEvpnSegmentSm(Qor::Ptr<Evpn::EthernetSegmentStatus const> segmentStatus,
                    Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus,
                    Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir);
  ~FennEvpnSegmentSm() override;
  std::string_view fwkType() const override { return "Fenn::FennEvpnSegmentSm"; }

  Evpn::EthernetSegmentStatus const* segmentStatus() const noexcept { return segmentStatus_.get(); }
  Ostra::IntfId intfId() const noexcept { return segmentStatus_->intfId(); }

  // The address this segment is published under, per remote TEP interface.
  QOR_MAP(tepAddr, Ostra::IntfId, Ostra::IpGenAddr)

  // Brings the TEP's entry in line with the segment status and the tunnel RIB.
  void processTep(Ostra::IntfId const& tepIntfId);
  void handleTunnelEndpoint(Tunnel::TunnelTable::TunnelId const& tunnelId);

 protected:
  void handleInitialized() override;

 private:
  class QorSegmentStatus;

  void unpublish(Ostra::IpGenAddr const& addr);

  Qor::Ptr<Evpn::EthernetSegmentStatus const> segmentStatus_;
  Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus_;
  Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir_;
  std::unique_ptr<QorSegmentStatus> qorSegmentStatus_;
};

FENN_EVPN_EXPORT Qor::Ptr<FennEvpnSegmentSm> fennEvpnSegmentSmFactory(
    Qor::Ptr<Evpn::EthernetSegmentStatus const> segmentStatus,
    Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus,
    Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir);

}  // namespace Fenn
