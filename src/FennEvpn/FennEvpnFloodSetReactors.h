// The reactors with which a state machine follows a layer-2 RIB flood-set output down to
// every destination: QorFloodSetOutput keeps one QorVlanFloodSet per VLAN flood set, which
// keeps one QorFloodSet per MAC flood set, which hands each destSet change to the state
// machine. The state machines that read flood sets differ only in what a change means to
// them, so each supplies `Hooks` (a type next to its handlers) and names the three reactors
// after itself:
//
//   using Sm = ...;                                  // the state machine
//   static constexpr Qor::TraceHandle& traceHandle;  // its file's trace source
//   static constexpr char floodSetOutputTrace[], vlanFloodSetTrace[], floodSetTrace[];
//                                                    // the class names its trace lines give
//   static void destSetChanged(Sm&, Bridging::VlanId, L2Rib::FloodSet const&, L2Rib::Dest const&,
//                              bool inFloodSet);
//
// destSetChanged is handed the flood set and whether it holds the destination. A reactor
// watches the input's flood set of its VLAN and MAC until the removal hooks below have run
// (a flood set that leaves takes its reactor with it), so the reactor reads the membership
// in the flood set it watches: one lookup instead of three (VLAN flood set, flood set,
// destination) in every state machine. A flood set that has left is shown with
// `inFloodSet` false for each destination it still holds.
//
// and, deriving from FloodSetHookDefaults, whichever of the hooks and choices below differ.
// Hooks must not write the input: the reactors walk it directly while calling them.
#pragma once

#include "Bridging/VlanId.h"
#include "L2Rib/FloodSetOutput.h"
#include "Ostra/EthAddr.h"
#include "Qor/Collection.h"
#include "Qor/Trace.h"

namespace Fenn {

struct FloodSetHookDefaults {
  // How the state machine takes its input:
  //  - destination by destination (false): a new reactor walks its element, so each
  //    destination of a new flood set reaches destSetChanged, and a flood set's type does
  //    not matter;
  //  - element by element (true): a new reactor only builds the reactors below it, silently,
  //    and the *Changed hooks handle each element as a whole after it changed: its flood
  //    sets (a VLAN flood set), its VLAN flood sets (the output), its type (a flood set).
  static constexpr bool wholeElements = false;
  // Whether VLAN flood sets are followed only once the state machine is initialized (its
  // handleInitialized then runs the output reactor's onCreate to catch up).
  static constexpr bool followsOnlyOnceInitialized = false;

  static void sourceChanged(auto& /*sm*/) {}
  static void vlanFloodSetChanged(auto& /*sm*/, Bridging::VlanId) {}
  static void floodSetChanged(auto& /*sm*/, Bridging::VlanId, Ostra::EthAddr) {}
  // Run before the reactor of a removed element goes: it keeps the entity, and so its last
  // contents, readable.
  static void vlanFloodSetRemoved(auto& /*qorVlanFloodSet*/) {}
  static void floodSetRemoved(auto& /*qorFloodSet*/) {}
};

template <class Hooks>
struct FloodSetReactors {
  class QorFloodSet;
  class QorVlanFloodSet;
  class QorFloodSetOutput;
};

// Watches one MAC flood set's type and destinations.
template <class Hooks>
class FloodSetReactors<Hooks>::QorFloodSet : public Qor::ReactorOf<L2Rib::FloodSet, typename Hooks::Sm> {
 public:
  using Sm = typename Hooks::Sm;

  QorFloodSet(L2Rib::FloodSet const* floodSet, Sm* sm, Bridging::VlanId vlanId)
      : Qor::ReactorOf<L2Rib::FloodSet, Sm>(floodSet, sm), vlanId_(vlanId) {}

  Bridging::VlanId vlanId() const noexcept { return vlanId_; }

  void onCreate() override {
    if constexpr (!Hooks::wholeElements) handleFloodSet();
  }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case L2Rib::FloodSet::destSetAttr:
        handleDestSet(Qor::keyAs<L2Rib::Dest>(key));
        break;
      case L2Rib::FloodSet::floodSetTypeAttr:
        if constexpr (Hooks::wholeElements) handleFloodSet();
        break;
    }
  }

  // The flood set as a whole: taken destination by destination, each destination it holds
  // is shown as if it had just been added or, once the flood set has left the input
  // (`inInput` false), just removed.
  void handleFloodSet(bool inInput = true) {
    QTRACE(8, Hooks::floodSetTrace, "handleFloodSet", " vlan: ", vlanId_,
           " mac: ", this->notifier()->macAddr());
    if constexpr (Hooks::wholeElements) {
      Hooks::floodSetChanged(*this->sm(), vlanId_, this->notifier()->macAddr());
    } else {
      for (auto const& dest : this->notifier()->destSet())
        Hooks::destSetChanged(*this->sm(), vlanId_, *this->notifier(), dest, inInput);
    }
  }

 private:
  // QTRACE finds this before any file-scope handle: the reactors trace under the state
  // machine's source, with its levels.
  static constexpr Qor::TraceHandle& qorTraceHandle_ = Hooks::traceHandle;

  void handleDestSet(L2Rib::Dest const& dest) {
    QTRACE(8, Hooks::floodSetTrace, "handleDestSet", " vlan: ", vlanId_,
           " mac: ", this->notifier()->macAddr(), " dest: ", dest);
    Hooks::destSetChanged(*this->sm(), vlanId_, *this->notifier(), dest, this->notifier()->destSetHas(dest));
  }

  Bridging::VlanId vlanId_;
};

// Keeps one QorFloodSet per MAC flood set of one VLAN.
template <class Hooks>
class FloodSetReactors<Hooks>::QorVlanFloodSet
    : public Qor::ReactorOf<L2Rib::VlanFloodSet, typename Hooks::Sm> {
 public:
  using Qor::ReactorOf<L2Rib::VlanFloodSet, typename Hooks::Sm>::ReactorOf;

  // One reactor per flood set, for hooks that take a removed VLAN flood set apart.
  Qor::ReactorMap<Ostra::EthAddr, QorFloodSet> const& floodSets() const noexcept { return floodSet_; }

  void onCreate() override {
    if constexpr (Hooks::wholeElements) {
      for (auto const& [macAddr, floodSet] : this->notifier()->floodSet())
        floodSet_.add(macAddr, floodSet.get(), this->sm(), vlanId());
    } else {
      this->walk();
    }
  }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == L2Rib::VlanFloodSet::floodSetAttr) handleFloodSet(Qor::keyAs<Ostra::EthAddr>(key));
  }

 private:
  static constexpr Qor::TraceHandle& qorTraceHandle_ = Hooks::traceHandle;

  Bridging::VlanId vlanId() const noexcept { return this->notifier()->vlanId(); }

  void handleFloodSet(Ostra::EthAddr macAddr) {
    QTRACE(8, Hooks::vlanFloodSetTrace, "handleFloodSet", " vlan: ", vlanId(), " mac: ", macAddr);
    if (L2Rib::FloodSet const* floodSet = this->notifier()->floodSet(macAddr)) {
      floodSet_.add(macAddr, floodSet, this->sm(), vlanId());
    } else if (QorFloodSet* reactor = floodSet_.get(macAddr)) {
      Hooks::floodSetRemoved(*reactor);
      floodSet_.del(macAddr);
    }
    Hooks::floodSetChanged(*this->sm(), vlanId(), macAddr);
  }

  Qor::ReactorMap<Ostra::EthAddr, QorFloodSet> floodSet_;
};

// Watches the output's source and keeps one QorVlanFloodSet per VLAN flood set.
template <class Hooks>
class FloodSetReactors<Hooks>::QorFloodSetOutput
    : public Qor::ReactorOf<L2Rib::FloodSetOutput, typename Hooks::Sm> {
 public:
  using Qor::ReactorOf<L2Rib::FloodSetOutput, typename Hooks::Sm>::ReactorOf;

  void onCreate() override {
    if constexpr (Hooks::wholeElements) {
      for (auto const& [vlanId, vlanFloodSet] : this->notifier()->vlanFloodSet())
        vlanFloodSet_.add(vlanId, vlanFloodSet.get(), this->sm());
    } else {
      this->walk();
    }
  }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case L2Rib::FloodSetOutput::sourceAttr:
        Hooks::sourceChanged(*this->sm());
        break;
      case L2Rib::FloodSetOutput::vlanFloodSetAttr:
        if (Hooks::followsOnlyOnceInitialized && !this->sm()->initialized()) break;
        handleVlanFloodSet(Qor::keyAs<Bridging::VlanId>(key));
        break;
    }
  }

 private:
  static constexpr Qor::TraceHandle& qorTraceHandle_ = Hooks::traceHandle;

  void handleVlanFloodSet(Bridging::VlanId vlanId) {
    QTRACE(8, Hooks::floodSetOutputTrace, "handleVlanFloodSet", " vlan: ", vlanId);
    if (L2Rib::VlanFloodSet const* vlanFloodSet = this->notifier()->vlanFloodSet(vlanId)) {
      vlanFloodSet_.add(vlanId, vlanFloodSet, this->sm());
    } else if (QorVlanFloodSet* reactor = vlanFloodSet_.get(vlanId)) {
      Hooks::vlanFloodSetRemoved(*reactor);
      vlanFloodSet_.del(vlanId);
    }
    Hooks::vlanFloodSetChanged(*this->sm(), vlanId);
  }

  Qor::ReactorMap<Bridging::VlanId, QorVlanFloodSet> vlanFloodSet_;
};

}  // namespace Fenn
