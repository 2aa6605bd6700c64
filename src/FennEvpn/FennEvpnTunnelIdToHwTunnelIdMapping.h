// TunnelIdToHwTunnelIdMapping: the published result of hardware tunnel ID allocation, one
// TunnelIdToHwTunnelId row per tunnel that has an ID. EvpnHwTunnelIdSm is its only writer
// (tunnelIdToHwTunnelIdMappingFactory); the flood-set and ESI-label state machines, and
// other processes of the switch, open it read-only (tunnelIdToHwTunnelIdMappingReaderFactory)
// and watch it with a TunnelIdToHwTunnelIdReactor, which hears each changed tunnel ID and
// looks the row up again. A reader must accept a row whose hwTunnelId changes in place (a
// tunnel moved between pools) and a row removed while another tunnel's row is written with
// the removed ID (a reclaimed zombie).
#pragma once

#include <string_view>

#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Qor/Ptr.h"
#include "Qor/String.h"
#include "Vasp/Table.h"

namespace Fenn {

class FENN_EVPN_EXPORT TunnelIdToHwTunnelIdMapping : public Vasp::Table<TunnelId, TunnelIdToHwTunnelId> {
 public:
  // The shared name other processes open the table under.
  static constexpr std::string_view defaultName = "tunnelIdToHwTunnelId";
  // The attribute id under which readers hear of a changed tunnel ID.
  static constexpr Qor::AttributeId tunnelIdToHwTunnelIdAttr = rowAttr;

  using Table::Table;
  std::string_view fwkType() const override { return "Fenn::TunnelIdToHwTunnelIdMapping"; }

  // The row of `tunnelId`, or the empty row (with an invalid hwTunnelId) when it has none.
  TunnelIdToHwTunnelId tunnelIdToHwTunnelId(TunnelId const& tunnelId) const { return row(tunnelId); }
  bool tunnelIdToHwTunnelIdHas(TunnelId const& tunnelId) const { return rowHas(tunnelId); }
  size_t tunnelIdToHwTunnelIdSize() const noexcept { return rowCount(); }
  std::vector<TunnelId> tunnelIdToHwTunnelIdKeys() const { return rowKeys(); }

  // Writes under row.key(); readers hear of the key unless an equal row was there.
  void tunnelIdToHwTunnelIdIs(TunnelIdToHwTunnelId const& row) { tunnelIdToHwTunnelIdCommit(row); }
  // The write step that puts one row into the shared table; refused on a read-only handle.
  void tunnelIdToHwTunnelIdCommit(TunnelIdToHwTunnelId const& row) { rowIs(row); }
  // Removes the row and returns it (the empty row when there was none).
  TunnelIdToHwTunnelId tunnelIdToHwTunnelIdDel(TunnelId const& tunnelId) { return rowDel(tunnelId); }
  void tunnelIdToHwTunnelIdDelAll() { rowDelAll(); }

  // The writer's control object: once set, readers hear when a burst of changes has ended.
  QorVasp::CollectionControl const& tunnelIdToHwTunnelIdControl() const noexcept { return control(); }
  void tunnelIdToHwTunnelIdControlIs(QorVasp::CollectionControl const& control) { controlIs(control); }
};

// A reader's reactor, with the table's reader callbacks: tunnelIdToHwTunnelIdNotify(tunnelId)
// per changed row (a new reactor hears every row once), and the mount-state and end-of-burst
// callbacks, which do nothing unless overridden.
template <class Sm>
class TunnelIdToHwTunnelIdReactor : public Vasp::TableReactor<TunnelIdToHwTunnelIdMapping, Sm> {
 public:
  using Vasp::TableReactor<TunnelIdToHwTunnelIdMapping, Sm>::TableReactor;
  virtual void tunnelIdToHwTunnelIdNotify(TunnelId const& tunnelId) = 0;
  virtual void tunnelIdToHwTunnelIdNotifyMountStatus() {}
  virtual void tunnelIdToHwTunnelIdNotifyQuiesced(bool) {}

 private:
  void notify(TunnelId const& tunnelId) final { tunnelIdToHwTunnelIdNotify(tunnelId); }
  void notifyMountStatus() final { tunnelIdToHwTunnelIdNotifyMountStatus(); }
  void notifyQuiesced(bool quiesced) final { tunnelIdToHwTunnelIdNotifyQuiesced(quiesced); }
};

FENN_EVPN_EXPORT Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdToHwTunnelIdMappingFactory(
    Qor::String name = Qor::String(TunnelIdToHwTunnelIdMapping::defaultName));
// A read-only handle: writes and removals through it throw Vasp::ReadOnlyError.
FENN_EVPN_EXPORT Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdToHwTunnelIdMappingReaderFactory(
    Qor::String name = Qor::String(TunnelIdToHwTunnelIdMapping::defaultName));

}  // namespace Fenn
