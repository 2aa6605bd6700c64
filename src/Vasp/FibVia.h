// One next hop of a FEC as the hardware layer programs it. A via leads either out of an
// interface (`intfId`, for instance a tunnel interface) or on to another FEC (`fecId`, for
// chains of FECs); `labelAndAction` is the operation on the top label at this hop and
// `mplsLabel` the label the FEC imposes below it (an EVPN service label), none by default.
// `weight` is the via's share of traffic among the FEC's vias (1: an equal share) and
// `backup` marks a via that carries traffic only when every primary via is down.
// Text form:
//   Value('Vasp::Fib::Via', ** {'intfId': 'Tunnel61572651155457', 'fecId': 0,
//         'labelAndAction': Value('Ostra::MplsLabelAndAction', ** {...}), 'mplsLabel': 1000,
//         'weight': 1, 'backup': False})       (on one line)
#pragma once

#include <cstdint>
#include <string_view>

#include "Ostra/IntfId.h"
#include "Ostra/MplsLabel.h"
#include "Ostra/MplsLabelAndAction.h"
#include "Qor/Record.h"
#include "Vasp/FibFecId.h"

namespace Vasp::Fib {

class Via : public Qor::RecordValue<Via> {
 public:
  static constexpr std::string_view typeName = "Vasp::Fib::Via";

  Via() = default;
  explicit Via(Qor::Parser& p) { parseFields(p); }

  Ostra::IntfId intfId() const noexcept { return intfId_; }
  void intfIdIs(Ostra::IntfId intfId) noexcept { intfId_ = intfId; }
  FecId fecId() const noexcept { return fecId_; }
  void fecIdIs(FecId fecId) noexcept { fecId_ = fecId; }
  Ostra::MplsLabelAndAction const& labelAndAction() const noexcept { return labelAndAction_; }
  void labelAndActionIs(Ostra::MplsLabelAndAction labelAndAction) noexcept {
    labelAndAction_ = labelAndAction;
  }
  Ostra::MplsLabel mplsLabel() const noexcept { return mplsLabel_; }
  void mplsLabelIs(Ostra::MplsLabel label) noexcept { mplsLabel_ = label; }
  uint32_t weight() const noexcept { return weight_; }
  void weightIs(uint32_t weight) noexcept { weight_ = weight; }
  bool backup() const noexcept { return backup_; }
  void backupIs(bool backup) noexcept { backup_ = backup; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("intfId", self.intfId_);
    visit("fecId", self.fecId_);
    visit("labelAndAction", self.labelAndAction_);
    visit("mplsLabel", self.mplsLabel_);
    visit("weight", self.weight_);
    visit("backup", self.backup_);
  }

  auto operator<=>(Via const&) const = default;
  bool operator==(Via const&) const = default;

 private:
  Ostra::IntfId intfId_;
  FecId fecId_;
  Ostra::MplsLabelAndAction labelAndAction_;
  Ostra::MplsLabel mplsLabel_ = Ostra::MplsLabel::none();
  uint32_t weight_ = 1;
  bool backup_ = false;
};

}  // namespace Vasp::Fib
