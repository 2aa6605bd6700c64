#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Qor/StateMachine.h"
#include "Qor/Strep.h"
#include "Vasp/Table.h"

namespace {

struct Row {
  int k = 0;
  int value = 0;
  int key() const { return k; }
  bool operator==(Row const&) const = default;
};
using IntTable = Vasp::Table<int, Row>;

struct Sm : Qor::StateMachine {
  std::string_view fwkType() const override { return "Test::Sm"; }
};

class Recorder : public Vasp::TableReactor<IntTable, Sm> {
 public:
  using TableReactor::TableReactor;
  void notify(int const& key) override { log.push_back("key:" + std::to_string(key)); }
  void notifyMountStatus() override { log.push_back("mount:" + Qor::valueToStrep(notifier()->mountState())); }
  void notifyQuiesced(bool q) override { log.push_back(q ? "quiesced" : "busy"); }
  std::vector<std::string> log;
};

TEST(VaspTable, ReaderHandlesSeeWriterRowsAndRefuseWrites) {
  Qor::Ptr<IntTable> writer(new IntTable("t1", Vasp::Mode::writer));
  Qor::Ptr<IntTable> reader(new IntTable("t1", Vasp::Mode::reader));
  writer->rowIs({1, 10});
  EXPECT_EQ(reader->row(1).value, 10);
  try {
    reader->rowIs({2, 20});
    FAIL() << "reader wrote";
  } catch (Vasp::ReadOnlyError const& e) {
    EXPECT_STREQ(e.what(), "write to read-only Vasp table");
  }
  try {
    reader->rowDel(1);
    FAIL() << "reader removed";
  } catch (Vasp::ReadOnlyError const& e) {
    EXPECT_STREQ(e.what(), "remove to read-only Vasp table");
  }
  EXPECT_TRUE(writer->rowHas(1));
}

TEST(VaspTable, PerKeyNotificationsReachEveryHandleOnlyOnChange) {
  Qor::Ptr<IntTable> writer(new IntTable("t2", Vasp::Mode::writer));
  Qor::Ptr<IntTable> reader(new IntTable("t2", Vasp::Mode::reader));
  Qor::Ptr<Sm> owner(new Sm);
  Sm& sm = *owner;
  auto onReader = Qor::newReactor<Recorder>(reader.get(), &sm);
  auto onWriter = Qor::newReactor<Recorder>(writer.get(), &sm);
  writer->rowIs({1, 10});
  writer->rowIs({1, 10});  // unchanged
  writer->rowIs({1, 11});
  EXPECT_EQ(writer->rowDel(1).value, 11);
  EXPECT_EQ(writer->rowDel(1), Row());  // nothing left: empty row, no notification
  writer->quiesce();
  std::vector<std::string> const expected{"key:1", "key:1", "key:1", "quiesced"};
  EXPECT_EQ(onReader->log, expected);
  EXPECT_EQ(onWriter->log, expected);
}

TEST(VaspTable, MountStateFollowsTheWriter) {
  Qor::Ptr<Sm> owner(new Sm);
  Sm& sm = *owner;
  Qor::Ptr<IntTable> reader(new IntTable("t3", Vasp::Mode::reader));
  EXPECT_EQ(reader->mountState(), Vasp::mountStateWaitingForWriter);
  auto rec = Qor::newReactor<Recorder>(reader.get(), &sm);
  {
    Qor::Ptr<IntTable> writer(new IntTable("t3", Vasp::Mode::writer));
    writer->rowIs({5, 1});
    EXPECT_EQ(reader->mountState(), Vasp::mountStateMounted);
  }
  EXPECT_EQ(reader->mountState(), Vasp::mountStateWaitingForWriter);
  EXPECT_EQ(rec->log, (std::vector<std::string>{"mount:mountStateMounted", "key:5",
                                                "mount:mountStateWaitingForWriter"}));
  EXPECT_TRUE(reader->rowHas(5)) << "rows outlive the writer while a handle is open";
}

TEST(VaspTable, NewReaderIsShownExistingRowsAndStorageGoesWithLastHandle) {
  Qor::Ptr<Sm> owner(new Sm);
  Sm& sm = *owner;
  {
    Qor::Ptr<IntTable> writer(new IntTable("t4", Vasp::Mode::writer));
    writer->rowIs({1, 1});
    writer->rowIs({2, 2});
    auto rec = Qor::newReactor<Recorder>(writer.get(), &sm);
    std::sort(rec->log.begin(), rec->log.end());
    EXPECT_EQ(rec->log, (std::vector<std::string>{"key:1", "key:2"}));
    EXPECT_THROW(IntTable("t4", Vasp::Mode::writer), Vasp::TableTypeError);
  }
  EXPECT_EQ(Vasp::findStorage("t4"), nullptr);
  Qor::Ptr<IntTable> fresh(new IntTable("t4", Vasp::Mode::writer));
  EXPECT_EQ(fresh->rowCount(), 0u);
}

}  // namespace
