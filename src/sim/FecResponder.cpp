#include "sim/FecResponder.h"

#include <utility>
#include <vector>

namespace Sim {

using Vasp::Fib::FecId;

class FecResponder::QorRequest : public Vasp::TableReactor<Fenn::FecIdToHwFecIdRequest, FecResponder> {
 public:
  using TableReactor::TableReactor;
  void notify(FecId const& fecId) override { sm()->handleRequest(fecId); }
};

FecResponder::FecResponder(Qor::Ptr<Fenn::FecIdToHwFecIdRequest const> request,
                           Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response,
                           Qor::Ptr<Keel::TimerWheel> timerWheel)
    : request_(std::move(request)), response_(std::move(response)), timerWheel_(std::move(timerWheel)) {
  qorRequest_ = Qor::newReactor<QorRequest>(request_.get(), this);
}

FecResponder::~FecResponder() {
  for (auto const& [fecId, timer] : pending_) timerWheel_->timerCancel(timer);
}

void FecResponder::withholdIs(bool withhold) {
  withhold_ = withhold;
  if (withhold) return;
  std::vector<FecId> const held(withheld_.begin(), withheld_.end());
  withheld_.clear();
  for (FecId const fecId : held) syncResponse(fecId);
}

void FecResponder::handleRequest(FecId fecId) {
  if (delay_ <= 0.0) {
    syncResponse(fecId);
    return;
  }
  lookAgainAfter(fecId, delay_);
}

void FecResponder::lookAgainAfter(FecId fecId, double seconds) {
  auto [it, inserted] = pending_.try_emplace(fecId, Keel::TimerWheel::noTimer);
  if (!inserted) return;  // the pending look will see this change too
  it->second = timerWheel_->timerAfter(seconds, [this, fecId] {
    pending_.erase(fecId);
    syncResponse(fecId);
  });
}

void FecResponder::syncResponse(FecId fecId) {
  Vasp::Fib::Fec const* fec = request_->rowFind(fecId);
  if (!fec) {
    withheld_.erase(fecId);
    response_->rowDel(fecId);
    return;
  }
  if (withhold_) {
    withheld_.insert(fecId);
    return;
  }
  Fenn::FecToHwFecId const* answered = response_->rowFind(fecId);
  if (!answered && answerFaults_.shouldFail()) {
    // The chip failed to program the FEC: the driver tries again later.
    lookAgainAfter(fecId, retryInterval_);
    return;
  }
  uint64_t const hwFecId = answered ? answered->hwFecId() : nextHwFecId_++;
  Ostra::IntfId const intfId =
      !fec->empty() && !fec->vias()[0].intfId().empty() ? fec->vias()[0].intfId() : Ostra::IntfId::cpu();
  response_->rowIs(Fenn::FecToHwFecId(fecId, hwFecId, intfId));
}

}  // namespace Sim
