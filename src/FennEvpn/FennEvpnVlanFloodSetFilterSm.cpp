#include "FennEvpn/FennEvpnVlanFloodSetFilterSm.h"

#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnVlanFloodSetFilterSm")

namespace Fenn {

// The reactors keep one reactor per input VLAN flood set and flood set from construction
// on, but hand work to the state machine only once it is initialized: handleInitialized
// reconciles everything that happened before. A new or removed VLAN flood set or flood set
// is processed as a whole, and so is a flood set whose type changed: re-adding its
// matching destinations refreshes the output's flood-set type.
struct VlanFloodSetFilterSm::FloodSetHooks : FloodSetHookDefaults {
  using Sm = VlanFloodSetFilterSm;
  static constexpr Qor::TraceHandle& traceHandle = qorTraceHandle_;
  static constexpr char floodSetOutputTrace[] = "VlanFloodSetFilterSm::QorInFloodSetOutput::";
  static constexpr char vlanFloodSetTrace[] = "VlanFloodSetFilterSm::QorVlanFloodSet::";
  static constexpr char floodSetTrace[] = "VlanFloodSetFilterSm::QorFloodSet::";
  static constexpr bool wholeElements = true;

  static void destSetChanged(Sm& sm, Bridging::VlanId vlanId, L2Rib::FloodSet const& floodSet,
                             L2Rib::Dest const& dest, bool inFloodSet) {
    if (sm.initialized()) sm.processDest(vlanId, floodSet, dest, inFloodSet);
  }
  static void sourceChanged(Sm& sm) {
    if (sm.initialized()) sm.handleSource();
  }
  static void vlanFloodSetChanged(Sm& sm, Bridging::VlanId vlanId) {
    if (sm.initialized()) sm.processVlanFloodSet(vlanId);
  }
  static void floodSetChanged(Sm& sm, Bridging::VlanId vlanId, Ostra::EthAddr macAddr) {
    if (sm.initialized()) sm.processFloodSet(vlanId, macAddr);
  }
};

VlanFloodSetFilterSm::VlanFloodSetFilterSm(L2Rib::DestType destType,
                                           Qor::Ptr<L2Rib::FloodSetOutput const> inFloodSetOutput,
                                           Qor::Ptr<L2Rib::FloodSetOutput> outFloodSetOutput)
    : destType_(destType),
      inFloodSetOutput_(std::move(inFloodSetOutput)),
      outFloodSetOutput_(std::move(outFloodSetOutput)) {
  qorInFloodSetOutput_ = Qor::newReactor<QorInFloodSetOutput>(inFloodSetOutput_.get(), this);
}

VlanFloodSetFilterSm::~VlanFloodSetFilterSm() {
  qorInFloodSetOutput_.reset();
  outFloodSetOutput_->vlanFloodSetDelAll();
}

void VlanFloodSetFilterSm::handleInitialized() {
  QTRACE(8, "VlanFloodSetFilterSm::", "handleInitialized");
  outFloodSetOutput_->sourceIs(inFloodSetOutput_->source());
  // Only the output is written here, so walking the input directly is safe.
  for (auto const& [vlanId, vlanFloodSet] : inFloodSetOutput_->vlanFloodSet()) processVlanFloodSet(vlanId);
}

void VlanFloodSetFilterSm::handleSource() {
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  QTRACE(8, "VlanFloodSetFilterSm::", "handleSource", " source: ", inFloodSetOutput_->source());
  outFloodSetOutput_->sourceIs(inFloodSetOutput_->source());
}

void VlanFloodSetFilterSm::processVlanFloodSet(Bridging::VlanId vlanId) {
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  QTRACE(8, "VlanFloodSetFilterSm::", "processVlanFloodSet", " vlan: ", vlanId);
  if (L2Rib::VlanFloodSet const* vlanFloodSet = inFloodSetOutput_->vlanFloodSet(vlanId)) {
    for (auto const& [macAddr, floodSet] : vlanFloodSet->floodSet()) processFloodSet(vlanId, macAddr);
    return;
  }
  QTRACE(1, "  deleting vlanFloodSet with vlan: ", vlanId);
  outFloodSetOutput_->vlanFloodSetDel(vlanId);
}

void VlanFloodSetFilterSm::processFloodSet(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr) {
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  QTRACE(8, "VlanFloodSetFilterSm::", "processFloodSet", " vlan: ", vlanId, " mac: ", macAddr);
  L2Rib::VlanFloodSet const* inVlanFloodSet = inFloodSetOutput_->vlanFloodSet(vlanId);
  if (L2Rib::FloodSet const* floodSet = inVlanFloodSet ? inVlanFloodSet->floodSet(macAddr) : nullptr) {
    // The output's flood set is found (or made) with the first destination of the type and
    // kept for the others: only this state machine writes the output, so it stays. The
    // output's VLANs arrive in the order of the input's table, whose slots follow the same
    // hash, so while the output's table grows they pile up in one long probe run: looking
    // the VLAN up again for every destination walked that run each time, a tenth of a
    // restart's build on a million destinations.
    L2Rib::FloodSet* out = nullptr;
    for (auto const& dest : floodSet->destSet()) {
      if (dest.destType() == destType_) out = addDest(vlanId, macAddr, *floodSet, dest, out);
    }
    return;
  }
  L2Rib::VlanFloodSet* outVlanFloodSet = outFloodSetOutput_->vlanFloodSet(vlanId);
  if (!outVlanFloodSet) return;
  QTRACE(1, "   deleting floodSet with vlan ", vlanId, " and mac ", macAddr);
  outVlanFloodSet->floodSetDel(macAddr);
  if (outVlanFloodSet->floodSet().empty()) {
    QTRACE(1, "   deleting vlanFloodSet with vlan ", vlanId);
    outFloodSetOutput_->vlanFloodSetDel(vlanId);
  }
}

void VlanFloodSetFilterSm::processDest(Bridging::VlanId vlanId, L2Rib::FloodSet const& floodSet,
                                       L2Rib::Dest const& dest, bool present) {
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  Ostra::EthAddr const macAddr = floodSet.macAddr();
  QTRACE(8, "VlanFloodSetFilterSm::", "processDest", " vlan: ", vlanId, " mac: ", macAddr, " dest: ", dest);
  if (dest.destType() != destType_) return;
  if (present) {
    addDest(vlanId, macAddr, floodSet, dest);
  } else {
    deleteDest(vlanId, macAddr, dest);
  }
}

L2Rib::FloodSet* VlanFloodSetFilterSm::addDest(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr,
                                               L2Rib::FloodSet const& inFloodSet, L2Rib::Dest const& dest,
                                               L2Rib::FloodSet* outFloodSet) {
  QTRACE(1, "     adding dest ", dest);
  if (!outFloodSet) {
    outFloodSet = outFloodSetOutput_->vlanFloodSetIs(vlanId)->floodSetIs(macAddr);
    outFloodSet->floodSetTypeIs(inFloodSet.floodSetType());
  }
  outFloodSet->destSetIs(dest);
  return outFloodSet;
}

void VlanFloodSetFilterSm::deleteDest(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr,
                                      L2Rib::Dest const& dest) {
  QTRACE(1, "     deleting dest ", dest);
  L2Rib::VlanFloodSet* outVlanFloodSet = outFloodSetOutput_->vlanFloodSet(vlanId);
  L2Rib::FloodSet* outFloodSet = outVlanFloodSet ? outVlanFloodSet->floodSet(macAddr) : nullptr;
  if (!outFloodSet) return;
  outFloodSet->destSetDel(dest);
  if (!outFloodSet->destSet().empty()) return;
  QTRACE(1, "     deleting floodSet with vlan ", vlanId, " and mac ", macAddr);
  outVlanFloodSet->floodSetDel(macAddr);
  if (!outVlanFloodSet->floodSet().empty()) return;
  QTRACE(1, "     deleting vlanFloodSet with vlan ", vlanId);
  outFloodSetOutput_->vlanFloodSetDel(vlanId);
}

// ---- Operator summary ----

SmSummary VlanFloodSetFilterSm::summary() const {
  SmSummary s("VlanFloodSetFilterSm", SmCounters(), unusableInputCount());
  uint64_t wanted = 0;
  uint64_t mirrored = 0;
  for (auto const& [vlanId, vlanFloodSet] : inFloodSetOutput_->vlanFloodSet()) {
    L2Rib::VlanFloodSet const* outVlanFloodSet = outFloodSetOutput_->vlanFloodSet(vlanId);
    for (auto const& [macAddr, floodSet] : vlanFloodSet->floodSet()) {
      L2Rib::FloodSet const* outFloodSet = outVlanFloodSet ? outVlanFloodSet->floodSet(macAddr) : nullptr;
      for (auto const& dest : floodSet->destSet()) {
        if (dest.destType() != destType_) continue;
        ++wanted;
        mirrored += outFloodSet && outFloodSet->destSetHas(dest);
      }
    }
  }
  s.entriesIs(wanted, mirrored);
  return s;
}

Qor::Ptr<VlanFloodSetFilterSm> vlanFloodSetFilterSmFactory(
    L2Rib::DestType destType, Qor::Ptr<L2Rib::FloodSetOutput const> inFloodSetOutput,
    Qor::Ptr<L2Rib::FloodSetOutput> outFloodSetOutput) {
  return Qor::Ptr<VlanFloodSetFilterSm>(
      new VlanFloodSetFilterSm(destType, std::move(inFloodSetOutput), std::move(outFloodSetOutput)));
}

}  // namespace Fenn
