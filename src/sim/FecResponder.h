// The simulated hardware's side of a FEC request table: it programs each requested FEC
// and answers it in the response table with a hardware FEC ID and an interface (the FEC's
// first via's interface, or the CPU port for a FEC that only chains to other FECs). A FEC
// keeps its hardware ID while its answer stands; a new answer takes the next ID.
//
// Timing is the test's to choose: with no delay, answers and removals are written
// synchronously, inside the request's notification; with a delay, each changed FEC ID is
// looked at again once the delay has passed on the scheduler's clock, and whatever its
// request is then decides the response. While withholding, requests get no answer (a
// removed request still loses its response); withholdIs(false) answers everything held.
// Fault injection fails the programming of a new FEC; the FEC is then tried again after
// `retryInterval` seconds, as a driver retries.
#pragma once

#include <cstdint>
#include <string_view>

#include "Fenn/FecIdToHwFecIdRequest.h"
#include "Fenn/FecIdToHwFecIdResponse.h"
#include "Keel/TimerWheel.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"
#include "sim/FaultInjector.h"

namespace Sim {

class FecResponder : public Qor::StateMachine {
 public:
  static constexpr uint64_t firstHwFecId = 0x1000;

  FecResponder(Qor::Ptr<Fenn::FecIdToHwFecIdRequest const> request,
               Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response, Qor::Ptr<Keel::TimerWheel> timerWheel);
  ~FecResponder() override;
  std::string_view fwkType() const override { return "Sim::FecResponder"; }

  double delay() const noexcept { return delay_; }
  // Applies to changes from now on; those already waiting keep their time.
  void delayIs(double seconds) noexcept { delay_ = seconds; }
  double retryInterval() const noexcept { return retryInterval_; }
  void retryIntervalIs(double seconds) noexcept { retryInterval_ = seconds; }
  FaultInjector& answerFaults() noexcept { return answerFaults_; }
  bool withhold() const noexcept { return withhold_; }
  void withholdIs(bool withhold);

  // FEC IDs waiting for their delay, and requests held unanswered.
  size_t pendingCount() const noexcept { return pending_.size(); }
  size_t withheldCount() const noexcept { return withheld_.size(); }

 private:
  class QorRequest;

  void handleRequest(Vasp::Fib::FecId fecId);
  // Makes the response of `fecId` follow its request as it stands now.
  void syncResponse(Vasp::Fib::FecId fecId);
  void lookAgainAfter(Vasp::Fib::FecId fecId, double seconds);

  Qor::Ptr<Fenn::FecIdToHwFecIdRequest const> request_;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response_;
  Qor::Ptr<Keel::TimerWheel> timerWheel_;
  double delay_ = 0.0;
  bool withhold_ = false;
  double retryInterval_ = 1.0;
  FaultInjector answerFaults_;
  uint64_t nextHwFecId_ = firstHwFecId;
  Qor::HashMap<Vasp::Fib::FecId, Keel::TimerWheel::TimerId> pending_;
  Qor::HashSet<Vasp::Fib::FecId> withheld_;
  std::unique_ptr<QorRequest> qorRequest_;
};

}  // namespace Sim
