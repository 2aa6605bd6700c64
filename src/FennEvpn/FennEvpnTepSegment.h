// The index from a remote TEP to the local Ethernet segments it shares with this switch:
// EvpnTepSegmentDir holds one EvpnTepSegment per TEP address, whose segmentSet names the
// segments' access interfaces. It answers "which of my segments does PE x serve?". A TEP
// that shares no segment has no entry. Written by FennEvpnTepSegmentSm.
#pragma once

#include <string_view>

#include "FennEvpn/FennEvpnExport.h"
#include "Ostra/IntfId.h"
#include "Ostra/IpGenAddr.h"
#include "Qor/Attribute.h"

namespace Fenn {

class FENN_EVPN_EXPORT EvpnTepSegment : public Qor::Entity {
 public:
  explicit EvpnTepSegment(Ostra::IpGenAddr tepAddr) : tepAddr_(tepAddr) {}
  std::string_view fwkType() const override { return "Fenn::EvpnTepSegment"; }
  Ostra::IpGenAddr tepAddr() const noexcept { return tepAddr_; }

 private:
  Ostra::IpGenAddr const tepAddr_;

 public:
  QOR_SET(segmentSet, Ostra::IntfId)
};

class FENN_EVPN_EXPORT EvpnTepSegmentDir : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::EvpnTepSegmentDir"; }

  QOR_CHILDREN(evpnTepSegment, Ostra::IpGenAddr, EvpnTepSegment)
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDirFactory();

}  // namespace Fenn
