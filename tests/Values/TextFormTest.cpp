// Exact text forms of the platform and library value types, one golden per way of printing
// (the random round trip covers the rest), and the strictness of their parsers: every
// golden text parses back to the value it was printed from, and small corruptions of it
// are rejected.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Bridging/VlanIdOrNone.h"
#include "Fenn/HwTunnelId.h"
#include "FennEvpn/FennEvpn.h"
#include "Keel/NumAllocatorConfig.h"
#include "L2Rib/Dest.h"
#include "Ostra/EthAddr.h"
#include "Ostra/IntfId.h"
#include "Ostra/IpGenAddr.h"
#include "Ostra/MplsLabel.h"
#include "Qor/Strep.h"
#include "Tunnel/TunnelId.h"

namespace {

using Bridging::VlanId;
using Ostra::EthAddr;
using Ostra::IntfId;
using Ostra::IpGenAddr;
using Ostra::MplsLabel;
using Tunnel::TunnelTable::TunnelId;

TunnelId const evpnTunnel(Tunnel::tunnelTypeEvpnVlan, 3);  // 14 << 44 | 3
TunnelId const ldpTunnel(Tunnel::tunnelTypeLdp, 7);

// Prints `value`, compares with `text`, and parses `text` back to an equal value.
template <class T>
void expectTextForm(T const& value, std::string const& text) {
  EXPECT_EQ(Qor::valueToStrep(value), text);
  EXPECT_EQ(Qor::strepToValue<T>(text), value) << text;
}

TEST(PlatformTextForm, NumbersPrintAsPlainDecimal) {
  expectTextForm(VlanId(4095), "4095");
  expectTextForm(Bridging::VlanIdOrNone(), "0");
  expectTextForm(MplsLabel(1048576), "1048576");
  expectTextForm(evpnTunnel, "246290604621827");
  expectTextForm(TunnelId(), "0");
}

TEST(PlatformTextForm, DoublesPrintTheShortestTextThatReadsBack) {
  expectTextForm(1e-7, "1e-07");
  expectTextForm(0.1, "0.1");
  expectTextForm(250.0, "250");
  expectTextForm(-2.5, "-2.5");
  expectTextForm(Keel::NumAllocatorConfig(Keel::Range(0, 9), 0.5),
                 "Value('Keel::NumAllocatorConfig', ** {'range': Value('Keel::Range', ** {'first': 0, "
                 "'last': 9}), 'expiryTime': 0.5})");
  EXPECT_EQ(Qor::valueToStrep(-0.0), "0");
}

TEST(PlatformTextForm, InterfacesPrintAsQuotedNames) {
  expectTextForm(IntfId(), "''");
  expectTextForm(IntfId::ethernet(1), "'Ethernet1'");
  expectTextForm(IntfId::ethernet(3, 1), "'Ethernet3/1'");
  expectTextForm(IntfId::portChannel(10), "'Port-Channel10'");
  expectTextForm(IntfId::cpu(), "'Cpu'");
  expectTextForm(IntfId::srTePolicy(ldpTunnel), "'SrTePolicy35184372088839'");
  expectTextForm(IntfId::dynamicTunnel(evpnTunnel), "'Tunnel246290604621827'");
  EXPECT_EQ(IntfId("Ethernet3/1"), IntfId::ethernet(3, 1));
}

TEST(PlatformTextForm, AddressesPrintCanonically) {
  expectTextForm(EthAddr(0x001a2b3c4d5eULL), "'00:1a:2b:3c:4d:5e'");
  expectTextForm(EthAddr::broadcast(), "'ff:ff:ff:ff:ff:ff'");
  expectTextForm(IpGenAddr::ipv4(0x0a000001), "'10.0.0.1'");
  expectTextForm(IpGenAddr("2001:db8::1"), "'2001:db8::1'");
  expectTextForm(IpGenAddr("::"), "'::'");
  expectTextForm(IpGenAddr("1::"), "'1::'");
  // The longest zero run is shortened, the first on a tie, and a lone zero group is kept.
  expectTextForm(IpGenAddr("2001:0:0:1::1"), "'2001:0:0:1::1'");
  expectTextForm(IpGenAddr("2001:db8::1:0:0:1"), "'2001:db8::1:0:0:1'");
  expectTextForm(IpGenAddr("2001:db8:0:1:1:1:1:1"), "'2001:db8:0:1:1:1:1:1'");
}

TEST(PlatformTextForm, RecordsListOnlyTheirOwnFields) {
  expectTextForm(Fenn::HwTunnelId(Fenn::hwTunnelIdTypeSharedEs, 7),
                 "Value('Fenn::HwTunnelId', ** {'type': hwTunnelIdTypeSharedEs, 'id': 7})");
  expectTextForm(L2Rib::Dest::mpls(evpnTunnel, MplsLabel(1000)),
                 "Value('L2Rib::Dest', ** {'destType': destTypeMpls_, 'tunnelId': 246290604621827, "
                 "'label': 1000, 'intfId': ''})");
  expectTextForm(L2Rib::Dest::vxlan(IpGenAddr("10.0.0.2"), 10010),
                 "Value('L2Rib::Dest', ** {'destType': destTypeTunnel_, 'vtep': '10.0.0.2', 'vni': 10010, "
                 "'tunnelId': 0})");
  expectTextForm(L2Rib::Dest::intf(IntfId::ethernet(1)),
                 "Value('L2Rib::Dest', ** {'destType': destTypeIntf_, 'intfId': 'Ethernet1'})");
  expectTextForm(L2Rib::Dest::cpu(), "Value('L2Rib::Dest', ** {'destType': destTypeCpu_})");
  expectTextForm(L2Rib::Dest(), "Value('L2Rib::Dest', ** {'destType': destTypeInvalid_})");
}

TEST(LibraryTextForm, KeysAndRowsPrintFieldsInDeclarationOrder) {
  expectTextForm(Fenn::IntfVlanKey(IntfId::ethernet(1), VlanId(10)),
                 "Value('Fenn::IntfVlanKey', ** {'intfId': 'Ethernet1', 'vlanId': 10})");
  expectTextForm(Fenn::IntfVlanTunnelKey(IntfId::ethernet(2, 4), VlanId(100), ldpTunnel),
                 "Value('Fenn::IntfVlanTunnelKey', ** {'intfId': 'Ethernet2/4', 'vlanId': 100, "
                 "'tunnelId': 35184372088839})");
  Fenn::HwTunnelId const hw(Fenn::hwTunnelIdTypeDefault, 5);
  expectTextForm(Fenn::TunnelIdToHwTunnelId(ldpTunnel, hw),
                 "Value('Fenn::TunnelIdToHwTunnelId', ** {'key': 35184372088839, 'hwTunnelId': "
                 "Value('Fenn::HwTunnelId', ** {'type': hwTunnelIdTypeDefault, 'id': 5})})");
  expectTextForm(Fenn::notProgrammed, "notProgrammed");
  EXPECT_EQ(Fenn::TunnelIdToHwTunnelId(ldpTunnel, hw).vaspString(),
            "key: 35184372088839 hwTunnelId: hwTunnelIdTypeDefault 5");
}

// This file's tests live outside namespace Qor: only argument-dependent lookup finds the
// stream operators here, as in a program that embeds the library.
TEST(LibraryTextForm, ValuesAndEnumerationsPrintTheirTextFormsOnAStream) {
  std::ostringstream os;
  os << ldpTunnel << ' ' << VlanId(10) << ' ' << IntfId::ethernet(1) << ' ' << Fenn::notProgrammed << ' '
     << Fenn::hwTunnelIdTypeSharedEs << ' ' << Fenn::HwTunnelId(Fenn::hwTunnelIdTypeDefault, 5) << ' '
     << L2Rib::destTypeMpls_ << ' ' << static_cast<Fenn::HwProgrammingStatus>(7);
  EXPECT_EQ(os.str(),
            "35184372088839 10 'Ethernet1' notProgrammed hwTunnelIdTypeSharedEs "
            "Value('Fenn::HwTunnelId', ** {'type': hwTunnelIdTypeDefault, 'id': 5}) destTypeMpls_ 7");
  std::string_view const text = "invalidHwId";
  EXPECT_EQ(Qor::sequenceToValue<Fenn::HwProgrammingStatus>(text.begin(), text.end()), Fenn::invalidHwId);
}

TEST(LibraryTextForm, ProgrammingStatusConvertsByNumberAndName) {
  EXPECT_EQ(Fenn::stringValue(Fenn::invalidHwId), "invalidHwId");
  EXPECT_EQ(Fenn::HwProgrammingStatusInstance(1u), Fenn::notProgrammed);
  EXPECT_EQ(Fenn::HwProgrammingStatusInstance(Qor::String("programmed")), Fenn::programmed);
  EXPECT_THROW(Fenn::HwProgrammingStatusInstance(3u), Qor::EnumRangeError);
  EXPECT_THROW(Fenn::HwProgrammingStatusInstance(Qor::String("Programmed")), Qor::EnumRangeError);
}

// Texts that differ from a valid text form by one small corruption.
class ParseRejection : public ::testing::Test {
 protected:
  template <class T>
  void expectRejected(std::vector<std::string> const& texts) {
    for (auto const& text : texts) {
      EXPECT_THROW(Qor::strepToValue<T>(text), Qor::ParseError) << text;
    }
  }
};

TEST_F(ParseRejection, NumbersOutOfRangeOrMisspelled) {
  expectRejected<VlanId>({"4096", "010", " 10", "10 ", "-1", "+1", ""});
  expectRejected<Bridging::VlanIdOrNone>({"4095"});
  expectRejected<MplsLabel>({"1048577"});
  expectRejected<TunnelId>({"4503599627370496"});  // type 256
  expectRejected<int32_t>({"-0", "+0", "-01", "2147483648", "0x10"});
  // One text per double: the shortest that reads back, nothing else and nothing infinite.
  expectRejected<double>({".5", "0.50", "5e-1", "5E-01", "1e-7", "0.0000001", "-0", "nan", "inf", "-inf",
                          "infinity", "1e400", "+1", " 1"});
}

TEST_F(ParseRejection, QuotedTextTakesOnlyTheEscapesThePrinterWrites) {
  EXPECT_EQ(Qor::strepToValue<Qor::String>("'a\\'b\\\\'"), "a'b\\");
  expectRejected<Qor::String>({"'Tunne\\l7877'", "'\\n'", "'a\\'", "'\\\"'"});
  expectRejected<IntfId>({"'Tunne\\l7877'", "'\\Cpu'"});
}

TEST_F(ParseRejection, NamesAndAddressesInOtherSpellings) {
  expectRejected<IntfId>({"Ethernet1", "\"Ethernet1\"", "'ethernet1'", "'Ethernet01'", "'Ethernet0'",
                          "'Ethernet1/'", "'Ethernet0/1'", "'Ethernet 1'", "'Port-Channel0'",
                          "'PortChannel1'", "'Tunnel4503599627370496'", "'cpu'", "'Ethernet65536'"});
  expectRejected<EthAddr>({"'00:1A:2b:3c:4d:5e'", "'00:1a:2b:3c:4d'", "'00-1a-2b-3c-4d-5e'",
                           "00:1a:2b:3c:4d:5e", "'00:1a:2b:3c:4d:5e:'"});
  expectRejected<IpGenAddr>({"'10.0.0.01'", "'10.0.0'", "'10.0.0.256'", "'2001:DB8::1'", "'2001:0db8::1'",
                             "'2001:db8:0:0:0:0:0:1'", "'2001:db8::0:1'", "'1:2:3:4:5:6:7::'",
                             "'::ffff:10.0.0.1'", "'1::2::3'", "'1:2:3:4:5:6:7:8:9'", "'10.0.0.1 '"});
}

TEST_F(ParseRejection, RecordsWithABlankAddedFieldsSwappedOrQuotesChanged) {
  expectRejected<Fenn::IntfVlanKey>({
      "Value('Fenn::IntfVlanKey', ** {'intfId': 'Ethernet1', 'vlanId': 10}) ",
      "Value('Fenn::IntfVlanKey', ** {'intfId': 'Ethernet1',  'vlanId': 10})",
      "Value('Fenn::IntfVlanKey', ** { 'intfId': 'Ethernet1', 'vlanId': 10})",
      "Value('Fenn::IntfVlanKey', ** {'intfId' : 'Ethernet1', 'vlanId': 10})",
      "Value('Fenn::IntfVlanKey', ** {'vlanId': 10, 'intfId': 'Ethernet1'})",
      "Value(\"Fenn::IntfVlanKey\", ** {'intfId': 'Ethernet1', 'vlanId': 10})",
      "Value('Fenn::IntfVlanKey', ** {\"intfId\": 'Ethernet1', 'vlanId': 10})",
      "Value('Fenn::IntfTunnelKey', ** {'intfId': 'Ethernet1', 'vlanId': 10})",
      "Value('Fenn::IntfVlanKey', ** {'intfId': 'Ethernet1'})",
  });
  expectRejected<Fenn::TunnelIdToHwTunnelId>({
      "Value('Fenn::TunnelIdToHwTunnelId', ** {'tunnelId': 1, 'hwTunnelId': "
      "Value('Fenn::HwTunnelId', ** {'type': hwTunnelIdTypeDefault, 'id': 5})})",
      "Value('Fenn::TunnelIdToHwTunnelId', ** {'key': 1, 'hwTunnelId': "
      "Value('Fenn::HwTunnelId', ** {'id': 5, 'type': hwTunnelIdTypeDefault})})",
  });
  // A destination carries exactly the fields of its type.
  expectRejected<L2Rib::Dest>({
      "Value('L2Rib::Dest', ** {'destType': destTypeIntf_})",
      "Value('L2Rib::Dest', ** {'destType': destTypeCpu_, 'intfId': 'Cpu'})",
      "Value('L2Rib::Dest', ** {'destType': destTypeMpls_, 'label': 1000, 'tunnelId': 1, 'intfId': ''})",
      "Value('L2Rib::Dest', ** {'destType': destTypeMpls, 'tunnelId': 1, 'label': 1000, 'intfId': ''})",
  });
}

}  // namespace
