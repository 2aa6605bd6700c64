// The simulated hardware's FEC answers: timing, withholding and removal. That a failed
// answer is tried again until it comes is the whole-switch soak's, which fails FEC answers
// at every fault level.
#include <gtest/gtest.h>

#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "sim/FecResponder.h"

namespace {

using Ostra::IntfId;
using Vasp::Fib::FecId;

class FecResponderTest : public ::testing::Test {
 protected:
  // Requests FEC (11, index) with one via to `intfId`.
  void requestFec(uint64_t index, IntfId intfId) {
    Vasp::Fib::Fec fec(FecId(11, index));
    Vasp::Fib::Via via;
    via.intfIdIs(intfId);
    fec.viaIs(Vasp::Fib::ViaIndex(0), via);
    request->rowIs(fec);
  }
  void withdraw(uint64_t index) { request->rowDel(FecId(11, index)); }
  bool answered(uint64_t index) const { return response->rowHas(FecId(11, index)); }
  Fenn::FecToHwFecId answer(uint64_t index) const { return response->row(FecId(11, index)); }

  IntfId const tunnel5{"Tunnel5"};
  IntfId const tunnel6{"Tunnel6"};
  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Keel::TimerWheel> wheel{new Keel::TimerWheel(scheduler)};
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> request =
      Fenn::fecIdToHwFecIdRequestFactory("responderTestRequest", Vasp::Mode::writer);
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response =
      Fenn::fecIdToHwFecIdResponseFactory("responderTestResponse", Vasp::Mode::reader);
  Qor::Ptr<Sim::FecResponder> responder{new Sim::FecResponder(
      Fenn::fecIdToHwFecIdRequestFactory("responderTestRequest", Vasp::Mode::reader),
      Fenn::fecIdToHwFecIdResponseFactory("responderTestResponse", Vasp::Mode::writer), wheel)};
};

TEST_F(FecResponderTest, AnswersAtOnceKeepingTheHardwareIdWhileTheAnswerStands) {
  requestFec(1, tunnel5);
  requestFec(2, IntfId());
  EXPECT_EQ(answer(1), Fenn::FecToHwFecId(FecId(11, 1), 0x1000, tunnel5));
  EXPECT_EQ(answer(2), Fenn::FecToHwFecId(FecId(11, 2), 0x1001, IntfId::cpu()));
  requestFec(1, tunnel6);
  EXPECT_EQ(answer(1), Fenn::FecToHwFecId(FecId(11, 1), 0x1000, tunnel6));
  withdraw(1);
  EXPECT_FALSE(answered(1));
  requestFec(1, tunnel5);
  EXPECT_EQ(answer(1).hwFecId(), 0x1002u);
}

TEST_F(FecResponderTest, DelayedLookFollowsTheRequestAsItStandsThen) {
  responder->delayIs(2.0);
  requestFec(1, tunnel5);
  scheduler->advanceBy(1.0);
  EXPECT_FALSE(answered(1));
  requestFec(1, tunnel6);
  scheduler->advanceBy(1.0);
  EXPECT_EQ(answer(1).intfId(), tunnel6);
  // A request that comes and goes within the delay is never answered.
  requestFec(2, tunnel5);
  withdraw(2);
  withdraw(1);
  EXPECT_TRUE(answered(1));
  scheduler->advanceBy(2.0);
  EXPECT_EQ(response->rowCount(), 0u);
  EXPECT_EQ(responder->pendingCount(), 0u);
}

TEST_F(FecResponderTest, WithheldAnswersComeWhenReleasedButRemovalsDoNotWait) {
  requestFec(1, tunnel5);
  responder->withholdIs(true);
  requestFec(2, tunnel5);
  requestFec(3, tunnel5);
  withdraw(1);
  withdraw(3);
  EXPECT_FALSE(answered(1));
  EXPECT_FALSE(answered(2));
  EXPECT_EQ(responder->withheldCount(), 1u);
  responder->withholdIs(false);
  EXPECT_TRUE(answered(2));
  EXPECT_EQ(response->rowCount(), 1u);
}

}  // namespace
