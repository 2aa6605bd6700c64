// The simulated hardware's FEC answers: timing, withholding and removal.
#include <gtest/gtest.h>

#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "sim/FecResponder.h"

namespace {

using Vasp::Fib::FecId;

class FecResponderTest : public ::testing::Test {
 protected:
  void requestFec(FecId fecId, Ostra::IntfId intfId) {
    Vasp::Fib::Fec fec(fecId);
    Vasp::Fib::Via via;
    via.intfIdIs(intfId);
    fec.viaIs(Vasp::Fib::ViaIndex(0), via);
    request->rowIs(fec);
  }

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
  requestFec(FecId(11, 1), Ostra::IntfId("Tunnel5"));
  requestFec(FecId(11, 2), Ostra::IntfId());
  EXPECT_EQ(response->row(FecId(11, 1)), Fenn::FecToHwFecId(FecId(11, 1), 0x1000, Ostra::IntfId("Tunnel5")));
  EXPECT_EQ(response->row(FecId(11, 2)), Fenn::FecToHwFecId(FecId(11, 2), 0x1001, Ostra::IntfId::cpu()));
  requestFec(FecId(11, 1), Ostra::IntfId("Tunnel6"));
  EXPECT_EQ(response->row(FecId(11, 1)).hwFecId(), 0x1000u);
  EXPECT_EQ(response->row(FecId(11, 1)).intfId(), Ostra::IntfId("Tunnel6"));
  request->rowDel(FecId(11, 1));
  EXPECT_FALSE(response->rowHas(FecId(11, 1)));
  requestFec(FecId(11, 1), Ostra::IntfId("Tunnel5"));
  EXPECT_EQ(response->row(FecId(11, 1)).hwFecId(), 0x1002u);
}

TEST_F(FecResponderTest, DelayedLookFollowsTheRequestAsItStandsThen) {
  responder->delayIs(2.0);
  requestFec(FecId(11, 1), Ostra::IntfId("Tunnel5"));
  scheduler->advanceBy(1.0);
  EXPECT_FALSE(response->rowHas(FecId(11, 1)));
  requestFec(FecId(11, 1), Ostra::IntfId("Tunnel6"));
  scheduler->advanceBy(1.0);
  EXPECT_EQ(response->row(FecId(11, 1)).intfId(), Ostra::IntfId("Tunnel6"));
  // A request that comes and goes within the delay is never answered.
  requestFec(FecId(11, 2), Ostra::IntfId("Tunnel5"));
  request->rowDel(FecId(11, 2));
  request->rowDel(FecId(11, 1));
  EXPECT_TRUE(response->rowHas(FecId(11, 1)));
  scheduler->advanceBy(2.0);
  EXPECT_EQ(response->rowCount(), 0u);
  EXPECT_EQ(responder->pendingCount(), 0u);
}

TEST_F(FecResponderTest, WithheldAnswersComeWhenReleasedButRemovalsDoNotWait) {
  requestFec(FecId(11, 1), Ostra::IntfId("Tunnel5"));
  responder->withholdIs(true);
  requestFec(FecId(11, 2), Ostra::IntfId("Tunnel5"));
  requestFec(FecId(11, 3), Ostra::IntfId("Tunnel5"));
  request->rowDel(FecId(11, 1));
  request->rowDel(FecId(11, 3));
  EXPECT_FALSE(response->rowHas(FecId(11, 1)));
  EXPECT_EQ(responder->withheldCount(), 1u);
  EXPECT_FALSE(response->rowHas(FecId(11, 2)));
  responder->withholdIs(false);
  EXPECT_TRUE(response->rowHas(FecId(11, 2)));
  EXPECT_EQ(response->rowCount(), 1u);
}

}  // namespace

namespace {

TEST_F(FecResponderTest, FailedProgrammingIsRetriedAfterTheRetryInterval) {
  responder->answerFaults().failNextIs(2);
  requestFec(FecId(11, 1), Ostra::IntfId("Tunnel5"));
  EXPECT_FALSE(response->rowHas(FecId(11, 1)));
  scheduler->advanceBy(responder->retryInterval());  // fails again
  EXPECT_FALSE(response->rowHas(FecId(11, 1)));
  scheduler->advanceBy(responder->retryInterval());
  EXPECT_TRUE(response->rowHas(FecId(11, 1)));
  // A request withdrawn while its retry waits is never answered.
  responder->answerFaults().failNextIs(1);
  requestFec(FecId(11, 2), Ostra::IntfId("Tunnel5"));
  request->rowDel(FecId(11, 2));
  scheduler->advanceBy(responder->retryInterval());
  EXPECT_FALSE(response->rowHas(FecId(11, 2)));
  EXPECT_EQ(responder->answerFaults().failures(), 3u);
}

}  // namespace
