// The FEC value types that cross to the hardware layer: their text forms are what a
// reader of a request or response table sees, so they are pinned exactly.
#include <gtest/gtest.h>

#include <stdexcept>

#include "Qor/Strep.h"
#include "Vasp/FibFec.h"

namespace {

using Vasp::Fib::Fec;
using Vasp::Fib::FecId;
using Vasp::Fib::Via;
using Vasp::Fib::ViaIndex;

Via tunnelVia(uint32_t label) {
  Via via;
  via.intfIdIs(Ostra::IntfId("Tunnel5"));
  via.labelAndActionIs(Ostra::MplsLabelAndAction(Ostra::MplsLabel(16), Ostra::mplsActionPush));
  via.mplsLabelIs(Ostra::MplsLabel(label));
  return via;
}

TEST(FecId, AdjacencyTypeAndIndexShareOneOrderedWord) {
  FecId const id(11, 5);
  EXPECT_EQ(id.value(), 0x0B00000000000005u);
  // A FEC of a lower adjacency type orders first whatever its index.
  EXPECT_LT(FecId(7, FecId::indexMask), FecId(11, 0));
  EXPECT_NE(FecId(7, 1).hash(0), FecId(11, 1).hash(0));
  EXPECT_EQ(FecId(255, FecId::indexMask).index(), FecId::indexMask);
  EXPECT_THROW(FecId(11, FecId::indexMask + 1), std::out_of_range);
  EXPECT_EQ(Qor::strepToValue<FecId>(Qor::valueToStrep(id)), id);
}

TEST(FecText, ViaAndFecPrintExactlyAndParseBack) {
  Fec fec(FecId(11, 1));
  fec.viaIs(ViaIndex(0), tunnelVia(1000));
  EXPECT_EQ(Qor::valueToStrep(fec),
            "Value('Vasp::Fib::Fec', ** {'fecId': 792633534417207297, 'via': [Value('Vasp::Fib::Via', ** "
            "{'intfId': 'Tunnel5', 'fecId': 0, 'labelAndAction': Value('Ostra::MplsLabelAndAction', ** "
            "{'label': 16, 'action': mplsActionPush}), 'mplsLabel': 1000, 'weight': 1, 'backup': False})]})");
  fec.viaIs(ViaIndex(1), tunnelVia(2000));
  Fec const parsed = Qor::strepToValue<Fec>(Qor::valueToStrep(fec));
  EXPECT_EQ(parsed, fec);
  EXPECT_EQ(parsed.hash(3), fec.hash(3));
  EXPECT_EQ(Qor::strepToValue<Fec>(Qor::valueToStrep(Fec(FecId(7, 2)))), Fec(FecId(7, 2)));
  EXPECT_THROW(Qor::strepToValue<Fec>("Value('Vasp::Fib::Fec', ** {'fecId': 1, 'via': [ ]})"),
               Qor::ParseError);
}

TEST(FecVias, PlacedByIndexWithoutHolesAndWithinTheEcmpWidth) {
  Fec fec(FecId(7, 1));
  EXPECT_TRUE(fec.empty());
  fec.viaIs(ViaIndex(0), tunnelVia(1));
  fec.viaIs(ViaIndex(1), tunnelVia(2));
  fec.viaIs(ViaIndex(0), tunnelVia(3));
  ASSERT_EQ(fec.viaCount(), 2u);
  EXPECT_EQ(fec.via(ViaIndex(0)).mplsLabel(), Ostra::MplsLabel(3));
  EXPECT_THROW(fec.viaIs(ViaIndex(3), tunnelVia(4)), std::out_of_range);
  EXPECT_THROW(fec.via(ViaIndex(2)), std::out_of_range);
  try {
    ViaIndex(16);
    FAIL();
  } catch (std::out_of_range const& e) {
    EXPECT_STREQ(e.what(), "ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed");
  }
}

}  // namespace
