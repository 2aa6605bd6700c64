// The tunnel-to-hardware-ID table's read-only handles refuse every write, its commit step
// included, and leave the writer's rows alone; the rest of its behaviour is the Vasp table's.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"

namespace {

using Fenn::TunnelId;

TEST(TunnelIdToHwTunnelIdMapping, ReadersSeeTheWriterAndCannotWrite) {
  auto writer = Fenn::tunnelIdToHwTunnelIdMappingFactory();
  auto reader = Fenn::tunnelIdToHwTunnelIdMappingReaderFactory();
  Fenn::TunnelIdToHwTunnelId const row(TunnelId(5), Fenn::HwTunnelId(Fenn::hwTunnelIdTypeDefault, 3));
  writer->tunnelIdToHwTunnelIdIs(row);
  EXPECT_EQ(reader->tunnelIdToHwTunnelId(TunnelId(5)), row);

  std::pair<std::function<void()>, std::string> const writes[] = {
      {[&] { reader->tunnelIdToHwTunnelIdIs(row); }, "write to read-only Vasp table"},
      {[&] { reader->tunnelIdToHwTunnelIdCommit(row); }, "write to read-only Vasp table"},
      {[&] { reader->tunnelIdToHwTunnelIdDel(TunnelId(5)); }, "remove to read-only Vasp table"},
      {[&] { reader->tunnelIdToHwTunnelIdDelAll(); }, "remove to read-only Vasp table"}};
  for (auto const& [write, refusal] : writes) {
    try {
      write();
      ADD_FAILURE() << "accepted: " << refusal;
    } catch (Vasp::ReadOnlyError const& e) {
      EXPECT_EQ(e.what(), refusal);
    }
  }
  EXPECT_TRUE(writer->tunnelIdToHwTunnelIdHas(TunnelId(5)));
}

}  // namespace
