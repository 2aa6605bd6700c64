// FennEvpnTepSegmentSm maintains the index from remote TEP to the local Ethernet segments it
// shares (EvpnTepSegmentDir): it watches the EVPN status and keeps one FennEvpnSegmentSm per
// Ethernet segment status, each of which writes its own segment into the entries of its
// TEPs. A TEP's address is the endpoint of its tunnel in the tunnel RIB; a change there is
// handed to every segment, which looks only at its own TEPs.
//
// Releasing it releases the segment machines, which leaves the index empty.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "Evpn/EvpnStatus.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnSegmentSm.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnTepSegment.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Qor/StateMachine.h"
#include "Tunnel/TunnelEndpointStatus.h"

namespace Fenn {

class FennEvpnTepSegmentSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  FennEvpnTepSegmentSm(Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                       Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus,
                       Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir);
  ~FennEvpnTepSegmentSm() override;
  std::string_view fwkType() const override { return "Fenn::FennEvpnTepSegmentSm"; }

  Evpn::EvpnStatus const* evpnStatus() const noexcept { return evpnStatus_.get(); }
  EvpnTepSegmentDir const* evpnTepSegmentDir() const noexcept { return evpnTepSegmentDir_.get(); }
  // The segment machine of a segment interface, or nullptr.
  FennEvpnSegmentSm const* segmentSm(Ostra::IntfId const& intfId) const;
  // Operator summary: one entry per remote TEP of a segment, published when its tunnel's
  // endpoint is known (nothing to program: no helper, no pool).
  FENN_EVPN_EXPORT SmSummary summary() const;

  void handleEthernetSegmentStatus(Ostra::IntfId const& intfId);
  void handleTunnelEndpoint(Tunnel::TunnelTable::TunnelId const& tunnelId);

 protected:
  void handleInitialized() override;

 private:
  class QorEvpnStatus;
  class QorTunnelEndpointStatus;

  Qor::Ptr<Evpn::EvpnStatus const> evpnStatus_;
  Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus_;
  Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir_;
  Qor::HashMap<Ostra::IntfId, Qor::Ptr<FennEvpnSegmentSm>> segmentSm_;
  std::unique_ptr<QorEvpnStatus> qorEvpnStatus_;
  std::unique_ptr<QorTunnelEndpointStatus> qorTunnelEndpointStatus_;
};

FENN_EVPN_EXPORT Qor::Ptr<FennEvpnTepSegmentSm> fennEvpnTepSegmentSmFactory(
    Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
    Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus,
    Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir);

}  // namespace Fenn
