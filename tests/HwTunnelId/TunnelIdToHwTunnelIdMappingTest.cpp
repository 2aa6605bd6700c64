// The tunnel-to-hardware-ID table as its readers see it: one writer, read-only handles that
// refuse writes, per-key notifications under the table's attribute id.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "Qor/StateMachine.h"

namespace {

using Fenn::HwTunnelId;
using Fenn::TunnelId;
using Fenn::TunnelIdToHwTunnelId;

struct Reader : Qor::StateMachine {
  std::string_view fwkType() const override { return "Test::Reader"; }
  std::vector<TunnelId> heard;
};

class QorTunnelIdHwTunnelId : public Fenn::TunnelIdToHwTunnelIdReactor<Reader> {
 public:
  using TableReactor::TableReactor;
  void notify(TunnelId const& tunnelId) override { sm()->heard.push_back(tunnelId); }
};

template <class F>
std::string refusal(F&& write) {
  try {
    write();
  } catch (Vasp::ReadOnlyError const& e) {
    return e.what();
  }
  return "accepted";
}

TEST(TunnelIdToHwTunnelIdMapping, ReadersSeeTheWriterAndCannotWrite) {
  auto writer = Fenn::tunnelIdToHwTunnelIdMappingFactory();
  auto reader = Fenn::tunnelIdToHwTunnelIdMappingReaderFactory();
  EXPECT_EQ(reader->tableName(), "tunnelIdToHwTunnelId");
  TunnelIdToHwTunnelId const row(TunnelId(5), HwTunnelId(Fenn::hwTunnelIdTypeDefault, 3));
  writer->tunnelIdToHwTunnelIdIs(row);
  EXPECT_EQ(reader->tunnelIdToHwTunnelId(TunnelId(5)), row);

  EXPECT_EQ(refusal([&] { reader->tunnelIdToHwTunnelIdIs(row); }), "write to read-only Vasp table");
  EXPECT_EQ(refusal([&] { reader->tunnelIdToHwTunnelIdCommit(row); }), "write to read-only Vasp table");
  EXPECT_EQ(refusal([&] { reader->tunnelIdToHwTunnelIdDel(TunnelId(5)); }), "remove to read-only Vasp table");
  EXPECT_EQ(refusal([&] { reader->tunnelIdToHwTunnelIdDelAll(); }), "remove to read-only Vasp table");
  EXPECT_TRUE(writer->tunnelIdToHwTunnelIdHas(TunnelId(5)));
}

TEST(TunnelIdToHwTunnelIdMapping, RemovalReturnsTheRowAndReadersHearEveryChangedKey) {
  auto writer = Fenn::tunnelIdToHwTunnelIdMappingFactory("hwtid-notify");
  auto reader = Fenn::tunnelIdToHwTunnelIdMappingReaderFactory("hwtid-notify");
  TunnelIdToHwTunnelId const row(TunnelId(5), HwTunnelId(Fenn::hwTunnelIdTypeSharedEs, 3));
  writer->tunnelIdToHwTunnelIdIs(row);

  Qor::Ptr<Reader> sm(new Reader);
  auto reactor = Qor::newReactor<QorTunnelIdHwTunnelId>(reader.get(), sm.get());
  EXPECT_EQ(sm->heard, std::vector<TunnelId>({TunnelId(5)})) << "a new reader is shown the rows present";

  writer->tunnelIdToHwTunnelIdIs(row);  // unchanged
  writer->tunnelIdToHwTunnelIdIs(
      TunnelIdToHwTunnelId(TunnelId(5), HwTunnelId(Fenn::hwTunnelIdTypeDefault, 3)));
  EXPECT_EQ(writer->tunnelIdToHwTunnelIdDel(TunnelId(5)).hwTunnelId().type(), Fenn::hwTunnelIdTypeDefault);
  EXPECT_EQ(writer->tunnelIdToHwTunnelIdDel(TunnelId(5)), TunnelIdToHwTunnelId());
  EXPECT_EQ(sm->heard, std::vector<TunnelId>({TunnelId(5), TunnelId(5), TunnelId(5)}));
}

}  // namespace
