#include <gtest/gtest.h>

#include <map>
#include <string>

#include "Qor/StateMachine.h"

namespace {

class Item : public Qor::Entity {
 public:
  explicit Item(int key) : key_(key) {}
  std::string_view fwkType() const override { return "Test::Item"; }
  int key() const { return key_; }
  QOR_SET(member, int)

 private:
  int key_;
};

class Box : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Test::Box"; }
  QOR_SCALAR(name, std::string, "")
  QOR_MAP(value, int, std::string)
  QOR_COUNTER(count, int, uint32_t)
  QOR_CHILDREN(item, int, Item)
};

// Records every notification as "attr:key".
class Recorder : public Qor::Reactor {
 public:
  explicit Recorder(Qor::Entity const* e) : Reactor(e, nullptr) {}
  void onAttribute(Qor::AttributeId id, void const* key) override {
    std::string name = id == Box::nameAttr    ? "name"
                       : id == Box::valueAttr ? "value"
                       : id == Box::countAttr ? "count"
                       : id == Box::itemAttr  ? "item"
                                              : "?";
    log.push_back(key ? name + ":" + std::to_string(Qor::keyAs<int>(key)) : name);
  }
  std::vector<std::string> log;
};

class NotificationTest : public ::testing::Test {
 protected:
  Qor::Ptr<Box> box{new Box};
  std::unique_ptr<Recorder> rec = std::make_unique<Recorder>(box.get());
};

// Writes notify after the write, once per changed key, and never when nothing changed.
TEST_F(NotificationTest, OnlyRealChangesNotify) {
  box->valueIs(1, "a");
  box->valueIs(1, "a");
  box->nameIs("x");
  box->nameIs("x");
  box->itemIs(3);
  box->itemIs(3);
  EXPECT_TRUE(box->valueDel(1));
  EXPECT_FALSE(box->valueDel(1));
  EXPECT_EQ(rec->log, (std::vector<std::string>{"value:1", "name", "item:3", "value:1"}));

  rec->log.clear();
  for (int k : {1, 2, 3}) box->valueIs(k, "v");
  box->valueDelAll();
  std::sort(rec->log.begin() + 3, rec->log.end());
  EXPECT_EQ(rec->log,
            (std::vector<std::string>{"value:1", "value:2", "value:3", "value:1", "value:2", "value:3"}));
  EXPECT_TRUE(box->value().empty());
}

TEST_F(NotificationTest, CountersStayAtZeroUntilDeleted) {
  EXPECT_EQ(box->countInc(7, 2), 2u);
  EXPECT_EQ(box->countDec(7, 2), 0u);
  EXPECT_TRUE(box->countHas(7));
  EXPECT_TRUE(box->countDel(7));
  EXPECT_FALSE(box->countHas(7));
}

TEST_F(NotificationTest, NewReactorWalksCurrentState) {
  box->valueIs(1, "a");
  box->nameIs("n");
  Recorder late(box.get());
  late.walk();
  EXPECT_EQ(late.log, (std::vector<std::string>{"name", "value:1"}));
}

}  // namespace
