#include "FennEvpn/FennEvpnVlanFloodSetFilterSm.h"

#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnVlanFloodSetFilterSm")

namespace Fenn {

// The reactors keep one reactor per input VLAN flood set and flood set from construction
// on, but hand work to the state machine only once it is initialized: handleInitialized
// reconciles everything that happened before. A new per-element reactor does not walk
// its element; the handler that created it processes the element as a whole.

// Watches one input flood set: its type (the flood set as a whole) and its destinations.
class VlanFloodSetFilterSm::QorFloodSet : public Qor::ReactorOf<L2Rib::FloodSet, VlanFloodSetFilterSm> {
 public:
  QorFloodSet(L2Rib::FloodSet const* floodSet, VlanFloodSetFilterSm* sm, Bridging::VlanId vlanId)
      : ReactorOf(floodSet, sm), vlanId_(vlanId) {}

  void onCreate() override {}

  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case L2Rib::FloodSet::floodSetTypeAttr:
        handleFloodSet();
        break;
      case L2Rib::FloodSet::destSetAttr:
        handleDestSet(Qor::keyAs<L2Rib::Dest>(key));
        break;
    }
  }

 private:
  // Re-adding the matching destinations refreshes the output's flood-set type.
  void handleFloodSet() {
    QTRACE(8, "VlanFloodSetFilterSm::QorFloodSet::", "handleFloodSet", " vlan: ", vlanId_,
           " mac: ", notifier()->macAddr());
    if (sm()->initialized()) sm()->processFloodSet(vlanId_, notifier()->macAddr());
  }

  void handleDestSet(L2Rib::Dest const& dest) {
    QTRACE(8, "VlanFloodSetFilterSm::QorFloodSet::", "handleDestSet", " vlan: ", vlanId_,
           " mac: ", notifier()->macAddr(), " dest: ", dest);
    if (sm()->initialized()) sm()->processDest(vlanId_, notifier()->macAddr(), dest);
  }

  Bridging::VlanId vlanId_;
};

// Keeps one QorFloodSet per flood set of one input VLAN flood set.
class VlanFloodSetFilterSm::QorVlanFloodSet
    : public Qor::ReactorOf<L2Rib::VlanFloodSet, VlanFloodSetFilterSm> {
 public:
  using ReactorOf::ReactorOf;

  void onCreate() override {
    for (auto const& [macAddr, floodSet] : notifier()->floodSet())
      floodSet_.add(macAddr, floodSet.get(), sm(), vlanId());
  }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == L2Rib::VlanFloodSet::floodSetAttr) handleFloodSet(Qor::keyAs<Ostra::EthAddr>(key));
  }

 private:
  Bridging::VlanId vlanId() const noexcept { return notifier()->vlanId(); }

  void handleFloodSet(Ostra::EthAddr const& macAddr) {
    QTRACE(8, "VlanFloodSetFilterSm::QorVlanFloodSet::", "handleFloodSet", " vlan: ", vlanId(),
           " mac: ", macAddr);
    if (L2Rib::FloodSet const* floodSet = notifier()->floodSet(macAddr)) {
      floodSet_.add(macAddr, floodSet, sm(), vlanId());
    } else {
      floodSet_.del(macAddr);
    }
    if (sm()->initialized()) sm()->processFloodSet(vlanId(), macAddr);
  }

  Qor::ReactorMap<Ostra::EthAddr, QorFloodSet> floodSet_;
};

// Watches the input's source and keeps one QorVlanFloodSet per input VLAN flood set.
class VlanFloodSetFilterSm::QorInFloodSetOutput
    : public Qor::ReactorOf<L2Rib::FloodSetOutput, VlanFloodSetFilterSm> {
 public:
  using ReactorOf::ReactorOf;

  void onCreate() override {
    for (auto const& [vlanId, vlanFloodSet] : notifier()->vlanFloodSet()) {
      sm()->vlanFloodSet_.add(vlanId, vlanFloodSet.get(), sm());
    }
  }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case L2Rib::FloodSetOutput::sourceAttr:
        if (sm()->initialized()) sm()->handleSource();
        break;
      case L2Rib::FloodSetOutput::vlanFloodSetAttr:
        handleVlanFloodSet(Qor::keyAs<Bridging::VlanId>(key));
        break;
    }
  }

 private:
  void handleVlanFloodSet(Bridging::VlanId vlanId) {
    QTRACE(8, "VlanFloodSetFilterSm::QorInFloodSetOutput::", "handleVlanFloodSet", " vlan: ", vlanId);
    if (L2Rib::VlanFloodSet const* vlanFloodSet = notifier()->vlanFloodSet(vlanId)) {
      sm()->vlanFloodSet_.add(vlanId, vlanFloodSet, sm());
    } else {
      sm()->vlanFloodSet_.del(vlanId);
    }
    if (sm()->initialized()) sm()->processVlanFloodSet(vlanId);
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
  vlanFloodSet_.delAll();
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
    for (auto const& dest : floodSet->destSet()) {
      if (dest.destType() == destType_) addDest(vlanId, macAddr, dest);
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

void VlanFloodSetFilterSm::processDest(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr,
                                       L2Rib::Dest const& dest) {
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  QTRACE(8, "VlanFloodSetFilterSm::", "processDest", " vlan: ", vlanId, " mac: ", macAddr, " dest: ", dest);
  if (dest.destType() != destType_) return;
  if (isDestPresent(vlanId, macAddr, dest)) {
    addDest(vlanId, macAddr, dest);
  } else {
    deleteDest(vlanId, macAddr, dest);
  }
}

bool VlanFloodSetFilterSm::isDestPresent(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr,
                                         L2Rib::Dest const& dest) const {
  L2Rib::VlanFloodSet const* vlanFloodSet = inFloodSetOutput_->vlanFloodSet(vlanId);
  L2Rib::FloodSet const* floodSet = vlanFloodSet ? vlanFloodSet->floodSet(macAddr) : nullptr;
  return floodSet && floodSet->destSetHas(dest);
}

void VlanFloodSetFilterSm::addDest(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr,
                                   L2Rib::Dest const& dest) {
  QTRACE(1, "     adding dest ", dest);
  L2Rib::FloodSet const* inFloodSet = inFloodSetOutput_->vlanFloodSet(vlanId)->floodSet(macAddr);
  L2Rib::FloodSet* outFloodSet = outFloodSetOutput_->vlanFloodSetIs(vlanId)->floodSetIs(macAddr);
  outFloodSet->floodSetTypeIs(inFloodSet->floodSetType());
  outFloodSet->destSetIs(dest);
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

Qor::Ptr<VlanFloodSetFilterSm> vlanFloodSetFilterSmFactory(
    L2Rib::DestType destType, Qor::Ptr<L2Rib::FloodSetOutput const> inFloodSetOutput,
    Qor::Ptr<L2Rib::FloodSetOutput> outFloodSetOutput) {
  return Qor::Ptr<VlanFloodSetFilterSm>(
      new VlanFloodSetFilterSm(destType, std::move(inFloodSetOutput), std::move(outFloodSetOutput)));
}

}  // namespace Fenn
