// The two-way index of (access interface, VLAN) pairs that the access-side flooding
// machines keep: `intfVlanSet` (an interface to its VLANs) and `vlanIntfSet` (a VLAN to
// its interfaces). A record that loses its last pair is dropped, so a record exists only
// while it holds one. The machine declares both as QOR_CHILDREN of IntfVlanSet and
// VlanIntfSet.
#pragma once

#include "Bridging/VlanId.h"
#include "Ostra/IntfId.h"

namespace Fenn {

template <class Sm>
void intfVlanIndexIs(Sm& sm, Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  sm.intfVlanSetIs(intf)->vlanIdIs(vlan);
  sm.vlanIntfSetIs(vlan)->intfIdIs(intf);
}

template <class Sm>
void intfVlanIndexDel(Sm& sm, Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  if (auto* vlans = sm.intfVlanSet(intf)) {
    vlans->vlanIdDel(vlan);
    if (vlans->vlanId().empty()) sm.intfVlanSetDel(intf);
  }
  if (auto* intfs = sm.vlanIntfSet(vlan)) {
    intfs->intfIdDel(intf);
    if (intfs->intfId().empty()) sm.vlanIntfSetDel(vlan);
  }
}

}  // namespace Fenn
