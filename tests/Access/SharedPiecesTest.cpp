// The two pieces the access-side flooding machines share: the unprogrammed review (when
// it runs, how far a run goes, under which trace source) and the expansion of an access
// interface into its physical ports. Each machine's own tests and randomized test use them
// through the machine; these cases pin the rules a machine cannot show alone.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "Fenn/FennPortList.h"
#include "FennEvpn/FennEvpnPortExpansion.h"
#include "FennEvpn/FennEvpnUnprogrammedReview.h"
#include "Keel/ManualClock.h"
#include "Qor/Attribute.h"
#include "Qor/Strep.h"

QOR_TRACE_SOURCE("/tests/Access/ReviewOwner")

namespace {

using Ostra::IntfId;

// A machine that keeps integer keys unprogrammed until told they succeed.
class Owner : public Qor::Entity {
 public:
  static constexpr char traceClass[] = "ReviewOwner::";
  std::string_view fwkType() const override { return "Test::ReviewOwner"; }
  bool initialized() const { return true; }
  double defaultUnprogrammedRetryInterval() const { return 5.0; }
  void reviewUnprogrammedKey(uint32_t const& key) {
    reviewed.push_back(key);
    if (succeeds) unprogrammedDel(key);
  }

  QOR_SET(unprogrammed, uint32_t)
  std::vector<uint32_t> reviewed;
  bool succeeds = false;
};

class ReviewTest : public ::testing::Test {
 protected:
  using Review = Fenn::UnprogrammedReview<Owner, Qor::Set<uint32_t>>;
  void fail(std::initializer_list<uint32_t> keys) {
    for (auto k : keys) owner.unprogrammedIs(k);
    review.maybeSchedule(false);
  }
  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Owner owner;
  Review review{owner, qorTraceHandle_, owner.unprogrammed(), scheduler, Keel::priorityNormal};
};

TEST_F(ReviewTest, BurstOfFailuresCostsOneDelayedRetryAndImmediateOvertakesIt) {
  fail({1});
  scheduler->advanceBy(2);
  fail({2, 3});
  EXPECT_EQ(review.task()->dueTime(), 5.0) << "the first failure set the time";
  scheduler->advanceBy(2.9);
  EXPECT_TRUE(owner.reviewed.empty());
  scheduler->advanceBy(0.1);
  EXPECT_EQ(owner.reviewed.size(), 3u);

  // Still failing: the pass re-arms itself once, and a deletion brings the retry forward.
  EXPECT_EQ(review.task()->dueTime(), 10.0);
  owner.reviewed.clear();
  review.maybeSchedule(true);
  scheduler->runReady();
  EXPECT_EQ(owner.reviewed.size(), 3u);
  EXPECT_EQ(review.task()->dueTime(), 10.0) << "the pass that ended re-armed the delayed retry";

  owner.succeeds = true;
  scheduler->advanceBy(5);
  EXPECT_TRUE(owner.unprogrammed().empty());
  EXPECT_FALSE(review.task()->taskScheduled()) << "nothing left, nothing scheduled";
  review.maybeSchedule(true);
  EXPECT_FALSE(review.task()->taskScheduled());
}

TEST_F(ReviewTest, LongReviewYieldsAndResumesWithoutStarvingAnyKey) {
  scheduler->workQuotaIs(2);
  fail({1, 2, 3, 4, 5});
  scheduler->advanceBy(5);
  ASSERT_EQ(owner.reviewed.size(), 2u) << "one slice per quota";
  EXPECT_EQ(review.task()->dueTime(), 10.0) << "the rest after the retry interval";
  scheduler->advanceBy(10);
  ASSERT_EQ(owner.reviewed.size(), 5u);
  std::vector<uint32_t> sorted = owner.reviewed;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, (std::vector<uint32_t>{1, 2, 3, 4, 5}))
      << "keys that keep failing do not starve the others";

  // A key that succeeded meanwhile is skipped; an immediate request starts a new pass.
  owner.reviewed.clear();
  scheduler->advanceBy(5);  // the first slice of the next pass
  ASSERT_EQ(owner.reviewed.size(), 2u);
  owner.unprogrammedDel(owner.reviewed[0]);
  owner.reviewed.clear();
  review.maybeSchedule(true);
  scheduler->runReady();
  EXPECT_EQ(owner.reviewed.size(), 2u) << "a fresh pass, from its first key";
  scheduler->advanceBy(5);
  EXPECT_EQ(owner.reviewed.size(), 4u) << "the four keys left, each once";
}

TEST_F(ReviewTest, TracesUnderTheOwnersSourceAndPrefix) {
  char path[] = "/tmp/fenn-review-trace-XXXXXX";
  int const fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  Qor::traceFileIs(path);
  Qor::traceLevelsIs("ReviewOwner/5");
  fail({1});
  fail({2});
  review.maybeSchedule(true);
  Qor::traceLevelsIs("");
  Qor::traceFileIs("");
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  std::remove(path);
  std::string const t = text.str();
  EXPECT_NE(t.find("ReviewOwner::maybeScheduleUnprogrammedReview next unprogrammed review at 5"),
            std::string::npos)
      << t;
  EXPECT_NE(t.find("ReviewOwner::maybeScheduleUnprogrammedReview already scheduled"), std::string::npos) << t;
  EXPECT_NE(t.find("ReviewOwner::maybeScheduleUnprogrammedReview schedule immediate unprogrammed review"),
            std::string::npos)
      << t;
}

// One entry's programming on ports, as calls in order.
struct Target {
  static constexpr char traceClass[] = "ExpansionTest::";
  static constexpr char function[] = "programEntry";
  void programPort(IntfId phy) {
    calls.push_back("program " + phy.name());
    programmed.portIs(phy);
  }
  void unprogramAll() {
    calls.push_back("unprogramAll");
    programmed = {};
  }
  void resetUnprogrammed() { calls.push_back("reset"); }
  template <class F>
  void forEachProgrammedPort(F f) const {
    for (auto const& p : programmed) f(p);
  }
  bool forceReprogram(IntfId phy) const { return forced.portHas(phy); }
  void unprogramPort(IntfId phy, bool stale, bool force) {
    calls.push_back("unprogram " + phy.name() + (stale ? " stale" : "") + (force ? " forced" : ""));
    programmed.portDel(phy);
    forced.portDel(phy);
  }
  Fenn::FennPortList programmed;
  Fenn::FennPortList forced;
  std::vector<std::string> calls;
};

TEST(PortExpansionTest, PlainPortLagWithoutConfigurationAndLagMembers) {
  auto lags = Fenn::evpnLagMemberInfoFactory();
  IntfId const lag = IntfId::portChannel(10);
  Target t;
  Fenn::programOnPorts(qorTraceHandle_, IntfId::ethernet(1), *lags, t);
  EXPECT_EQ(t.calls, (std::vector<std::string>{"program Ethernet1"}));

  t = {};
  t.programmed.portIs(IntfId::ethernet(1));
  Fenn::programOnPorts(qorTraceHandle_, lag, *lags, t);
  EXPECT_EQ(t.calls, (std::vector<std::string>{"unprogramAll"}));

  Fenn::FennPortList ports;
  ports.portIs(IntfId::ethernet(2));
  ports.portIs(IntfId::ethernet(3));
  lags->lagToPortIs(lag, ports);
  t = {};
  t.programmed.portIs(IntfId::ethernet(1));  // left the LAG
  t.programmed.portIs(IntfId::ethernet(2));  // stays, but marked for a forced re-program
  t.programmed.portIs(IntfId::ethernet(3));  // stays
  t.forced.portIs(IntfId::ethernet(2));
  Fenn::programOnPorts(qorTraceHandle_, lag, *lags, t);
  EXPECT_EQ(t.calls,
            (std::vector<std::string>{"reset", "unprogram Ethernet1 stale", "unprogram Ethernet2 forced",
                                      "program Ethernet2", "program Ethernet3"}));
}

TEST(PortExpansionTest, ManyStaleMembersAreAllRemoved) {
  auto lags = Fenn::evpnLagMemberInfoFactory();
  IntfId const lag = IntfId::portChannel(1);
  Fenn::FennPortList ports;
  ports.portIs(IntfId::ethernet(100));
  lags->lagToPortIs(lag, ports);
  Target t;
  for (uint32_t p = 1; p <= 40; ++p) t.programmed.portIs(IntfId::ethernet(p));
  Fenn::programOnPorts(qorTraceHandle_, lag, *lags, t);
  EXPECT_EQ(t.programmed.portCount(), 1u);
  EXPECT_TRUE(t.programmed.portHas(IntfId::ethernet(100)));
  EXPECT_EQ(t.calls.size(), 1 + 40 + 1u);
}

TEST(PortListTest, TextFormIsSortedAndStrict) {
  Fenn::FennPortList ports;
  ports.portIs(IntfId::ethernet(3));
  ports.portIs(IntfId::ethernet(1));
  ports.portIs(IntfId::ethernet(3));
  ports.portIs(IntfId::ethernet(2), false);
  std::string const text = Qor::valueToStrep(ports);
  EXPECT_EQ(text, "Value('Fenn::FennPortList', ** {'port': ['Ethernet1', 'Ethernet3']})");
  EXPECT_EQ(Qor::strepToValue<Fenn::FennPortList>(text), ports);
  EXPECT_EQ(Qor::strepToValue<Fenn::FennPortList>("Value('Fenn::FennPortList', ** {'port': []})"),
            Fenn::FennPortList());
  EXPECT_THROW(Qor::strepToValue<Fenn::FennPortList>(
                   "Value('Fenn::FennPortList', ** {'port': ['Ethernet3', 'Ethernet1']})"),
               Qor::ParseError);
  EXPECT_THROW(Qor::strepToValue<Fenn::FennPortList>(
                   "Value('Fenn::FennPortList', ** {'port': ['Ethernet1', 'Ethernet1']})"),
               Qor::ParseError);
}

}  // namespace
