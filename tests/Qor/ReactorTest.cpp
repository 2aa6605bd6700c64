// Reactor lifecycle under dispatch, the per-element reactor pattern, and the state
// machine switches (initialized, hasNotificationActive).
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Qor/StateMachine.h"

namespace {

class Leaf : public Qor::Entity {
 public:
  explicit Leaf(int key) : key_(key) {}
  std::string_view fwkType() const override { return "Test::Leaf"; }
  int key() const { return key_; }
  QOR_SET(value, int)

 private:
  int key_;
};

class Tree : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Test::Tree"; }
  QOR_CHILDREN(leaf, int, Leaf)
};

// Watches a Tree, keeps one QorLeaf per leaf, and logs what it hears.
class Watcher : public Qor::StateMachine {
 public:
  explicit Watcher(Qor::Ptr<Tree const> tree) : tree_(std::move(tree)) {
    treeReactor_ = Qor::newReactor<QorTree>(tree_.get(), this);
  }
  std::string_view fwkType() const override { return "Test::Watcher"; }

  class QorLeaf : public Qor::ReactorOf<Leaf, Watcher> {
   public:
    using ReactorOf::ReactorOf;
    void onAttribute(Qor::AttributeId id, void const* key) override {
      if (id == Leaf::valueAttr) {
        sm()->log.push_back(std::to_string(notifier()->key()) + "." + std::to_string(Qor::keyAs<int>(key)));
      }
    }
  };
  class QorTree : public Qor::ReactorOf<Tree, Watcher> {
   public:
    using ReactorOf::ReactorOf;
    void onAttribute(Qor::AttributeId id, void const* key) override {
      if (id != Tree::leafAttr) return;
      int const k = Qor::keyAs<int>(key);
      if (Leaf const* leaf = notifier()->leaf(k)) {
        sm()->leaves.add(k, leaf, sm());
      } else {
        sm()->leaves.del(k);
      }
    }
  };

  void handleInitialized() override { log.push_back("initialized"); }

  std::vector<std::string> log;
  Qor::ReactorMap<int, QorLeaf> leaves;

 private:
  Qor::Ptr<Tree const> tree_;
  std::unique_ptr<QorTree> treeReactor_;
};

class ReactorTest : public ::testing::Test {
 protected:
  Qor::Ptr<Tree> tree{new Tree};
};

TEST_F(ReactorTest, PerElementReactorsFollowKeysAndWalkOnCreation) {
  tree->leafIs(1)->valueIs(10);
  Qor::Ptr<Watcher> w(new Watcher(tree));
  EXPECT_EQ(w->log, (std::vector<std::string>{"1.10"})) << "initial walk reaches nested elements";
  tree->leafIs(2)->valueIs(20);
  Qor::Ptr<Leaf> held(tree->leaf(1));
  held->valueIs(11);
  EXPECT_EQ(w->leaves.size(), 2u);
  tree->leafDel(1);
  EXPECT_EQ(w->leaves.size(), 1u);
  EXPECT_EQ(held->reactorCount(), 0u) << "a removed child kept alive elsewhere loses its reactor";
  EXPECT_EQ(w->log, (std::vector<std::string>{"1.10", "2.20", "1.11"}));
}

// A reactor that, on hearing a key, deletes or creates other reactors on the same entity.
class Meddler : public Qor::Reactor {
 public:
  Meddler(Qor::Entity const* e, std::vector<std::unique_ptr<Qor::Reactor>>* others, std::vector<int>* heard,
          int id)
      : Reactor(e, nullptr), others_(others), heard_(heard), id_(id) {}
  void onAttribute(Qor::AttributeId, void const* key) override {
    heard_->push_back(id_);
    int const k = Qor::keyAs<int>(key);
    if (k == 1 && id_ == 0) others_->clear();  // delete every other reactor mid-dispatch
    if (k == 2 && id_ == 0)
      others_->push_back(std::make_unique<Meddler>(notifierEntity(), others_, heard_, 9));
  }

 private:
  std::vector<std::unique_ptr<Qor::Reactor>>* others_;
  std::vector<int>* heard_;
  int id_;
};

TEST(ReactorDispatch, ReactorsDeletedDuringDispatchAreSkippedAndNewOnesWaitForTheNextChange) {
  Qor::Ptr<Leaf> leaf(new Leaf(0));
  std::vector<int> heard;
  std::vector<std::unique_ptr<Qor::Reactor>> others;
  Meddler first(leaf.get(), &others, &heard, 0);
  others.push_back(std::make_unique<Meddler>(leaf.get(), &others, &heard, 1));
  others.push_back(std::make_unique<Meddler>(leaf.get(), &others, &heard, 2));

  leaf->valueIs(1);  // first deletes 1 and 2 before they are reached
  EXPECT_EQ(heard, (std::vector<int>{0}));
  leaf->valueIs(2);  // first creates 9, which does not hear this change
  EXPECT_EQ(heard, (std::vector<int>{0, 0}));
  leaf->valueIs(3);
  EXPECT_EQ(heard, (std::vector<int>{0, 0, 0, 9}));
  EXPECT_EQ(leaf->reactorCount(), 2u);
}

TEST(ReactorDispatch, EntityWhoseLastOwnerGoesDuringItsOwnDispatchSurvivesTheLoop) {
  auto leaf = Qor::Ptr<Leaf>(new Leaf(0));
  Leaf* raw = leaf.get();
  struct Dropper : Qor::Reactor {
    Dropper(Qor::Entity const* e, Qor::Ptr<Leaf>* owner) : Reactor(e, nullptr), owner(owner) {}
    void onAttribute(Qor::AttributeId, void const*) override { *owner = nullptr; }
    Qor::Ptr<Leaf>* owner;
  };
  auto dropper = std::make_unique<Dropper>(raw, &leaf);
  raw->valueIs(1);  // drops the test's reference; the reactor's own reference remains
  EXPECT_EQ(leaf, nullptr);
  EXPECT_EQ(raw->refCount(), 1u);
  dropper.reset();  // last reference: the entity goes now, after its dispatch finished
}

TEST_F(ReactorTest, InitializedRunsHandlerOnceAndNotificationSwitchGatesDelivery) {
  Qor::Ptr<Watcher> w(new Watcher(tree));
  w->initializedIs(true);
  w->initializedIs(true);
  w->initializedIs(false);
  EXPECT_FALSE(w->initialized());
  w->initializedIs(true);
  EXPECT_EQ(w->log, (std::vector<std::string>{"initialized"})) << "the first pass runs once in a lifetime";
  EXPECT_TRUE(w->initialized());

  tree->leafIs(1);
  w->hasNotificationActiveIs(false);
  tree->leaf(1)->valueIs(5);
  w->hasNotificationActiveIs(true);
  tree->leaf(1)->valueIs(6);
  EXPECT_EQ(w->log, (std::vector<std::string>{"initialized", "1.6"}));
}

// Watches a leaf's values, logs them, and on hearing `trigger` writes `next` to the same leaf
// from inside its handler (or throws, when `next` is 0).
class Chainer : public Qor::Reactor {
 public:
  Chainer(Leaf* leaf, std::vector<int>* log, std::vector<std::pair<int, int>> rules = {})
      : Reactor(leaf, nullptr), leaf_(leaf), log_(log), rules_(std::move(rules)) {}
  void onAttribute(Qor::AttributeId, void const* key) override {
    int const k = Qor::keyAs<int>(key);
    log_->push_back(k);
    for (auto [trigger, next] : rules_) {
      if (k != trigger) continue;
      if (next == 0) throw std::out_of_range("unusable");
      leaf_->valueIs(next);
    }
  }

 private:
  Leaf* leaf_;
  std::vector<int>* log_;
  std::vector<std::pair<int, int>> rules_;
};

TEST(ReactorDispatch, NestedWritesReachEveryWatcherInTheOrderTheyWereMade) {
  Qor::Ptr<Leaf> leaf(new Leaf(0));
  std::vector<int> logs[4];
  // Depth 1 writes 2, depth 2 writes 3 and (from a later watcher) 10, depth 3 writes 11
  // from the first watcher again.
  Chainer w0(leaf.get(), &logs[0], {{1, 2}, {2, 3}, {3, 11}});
  Chainer w1(leaf.get(), &logs[1]);
  Chainer w2(leaf.get(), &logs[2], {{2, 10}});
  Chainer w3(leaf.get(), &logs[3]);
  leaf->valueIs(1);
  for (auto const& log : logs) EXPECT_EQ(log, (std::vector<int>{1, 2, 3, 10, 11}));
  leaf->valueIs(20);
  for (auto const& log : logs) EXPECT_EQ(log.back(), 20);
}

TEST(ReactorDispatch, HandlerThatThrowsLeavesDispatchUsable) {
  Qor::Ptr<Leaf> leaf(new Leaf(0));
  std::vector<int> before, thrower, after;
  Chainer w0(leaf.get(), &before, {{1, 2}});
  Chainer w1(leaf.get(), &thrower, {{2, 0}, {5, 0}});
  auto w2 = std::make_unique<Chainer>(leaf.get(), &after);
  EXPECT_THROW(leaf->valueIs(1), std::out_of_range) << "the writer hears of the failure";
  EXPECT_EQ(after, (std::vector<int>{1, 2})) << "the other watchers still hear every change";
  w2.reset();
  EXPECT_EQ(leaf->reactorCount(), 2u);
  EXPECT_THROW(leaf->valueIs(5), std::out_of_range);
  leaf->valueIs(6);
  EXPECT_EQ(before, (std::vector<int>{1, 2, 5, 6}));
  EXPECT_EQ(thrower, (std::vector<int>{1, 2, 5, 6}));
}

TEST(Ptr, CountsFollowCopiesUnderBothCountingModes) {
  for (bool threadSafe : {false, true}) {
    Qor::threadSafePtrsIs(threadSafe);
    Qor::Ptr<Leaf> a(new Leaf(1));
    {
      Qor::Ptr<Leaf const> b = a;
      Qor::Ptr<Qor::Entity const> c = b;
      EXPECT_EQ(a->refCount(), 3u);
    }
    EXPECT_EQ(a->refCount(), 1u);
  }
  Qor::threadSafePtrsIs(false);
}

}  // namespace
