// Text forms of the value types: the first byte picks a type, the rest is the text. A text
// either is refused with Qor::ParseError, or parses to a value that prints as exactly that
// text and parses again to an equal value (each value has one text, both ways). Any other
// exception, a sanitizer report or a mismatch is a finding.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <tuple>

#include "Bridging/MacVlanPair.h"
#include "Bridging/VlanIdOrNone.h"
#include "Evpn/EncapTypeLabel.h"
#include "Evpn/SharedEsiLabel.h"
#include "Fenn/FecIdToHwFecIdResponse.h"
#include "Fenn/FennPortList.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnHwTunnelIdQueue.h"
#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "Hardware/LagPortProgType.h"
#include "Keel/NumAllocatorConfig.h"
#include "Keel/NumAllocatorStatus.h"
#include "L2Rib/ChainTables.h"
#include "L2Rib/Dest.h"
#include "L2Rib/FloodSetOutput.h"
#include "Mpls/LfibEvpnEthernetSegmentFilterVia.h"
#include "Mpls/LfibHwProgrammingReturnCode.h"
#include "Mpls/LfibRoute.h"
#include "Mpls/LfibViaSet.h"
#include "Mpls/LfibViaType.h"
#include "Mpls/RouteInfo.h"
#include "Ostra/IpGenAddr.h"
#include "Ostra/MplsLabelAndAction.h"
#include "Qor/Strep.h"
#include "Vasp/FibFec.h"
#include "Vasp/Table.h"

namespace {

// The types a text can be read as; the first input byte, counted from 'A', picks one, so a
// corpus file reads "<letter><text>".
using Types = std::tuple<
    // Scalars and enumerations.
    int32_t, int64_t, uint32_t, uint64_t, double, bool, Qor::String, Tunnel::TunnelType, L2Rib::DestType,
    L2Rib::FloodSetType, L2Rib::FloodSetSource, L2Rib::HostSource, Evpn::EncapType, Vasp::MountState,
    Hardware::Lag::PortProgType, Fenn::HwProgrammingStatus, L2Rib::TableType, Fenn::HwTunnelIdType,
    Ostra::MplsAction, Mpls::LfibHwProgrammingReturnCode, Mpls::LfibViaType,
    // Platform types.
    Tunnel::TunnelTable::TunnelId, Ostra::IntfId, Bridging::VlanId, Bridging::VlanIdOrNone, Ostra::MplsLabel,
    Ostra::EthAddr, Ostra::IpGenAddr, Bridging::MacVlanPair, Fenn::HwTunnelId, L2Rib::Dest,
    Ostra::MplsLabelAndAction, Keel::NumAllocatorConfig, Keel::NumAllocatorStatus, Evpn::EncapTypeLabel,
    Evpn::SharedEsiLabel, L2Rib::LabelId, Vasp::Fib::FecId, Vasp::Fib::Via, Vasp::Fib::Fec,
    Fenn::FecToHwFecId, Fenn::FennPortList, FennHelper::HwTunnelIdMetadata,
    // Chain types.
    L2Rib::ObjTuple, L2Rib::Label, L2Rib::LoadBalance, L2Rib::HostAndSource, L2Rib::DestId,
    // The LFIB's types.
    Mpls::RouteKey, Mpls::LfibViaKey, Mpls::LfibViaSetKey, Mpls::LfibViaSet,
    Mpls::LfibEvpnEthernetSegmentFilterVia, Mpls::LfibRoute, Mpls::RouteInfo,
    // Library types.
    Fenn::IntfVlanKey, Fenn::IntfTunnelKey, Fenn::IntfVlanTunnelKey, Fenn::TunnelIdToHwTunnelId,
    Fenn::EsiInfo, Fenn::VlanMacDest, Fenn::MplsFloodSetVia, Fenn::MplsDestHwInfo, Fenn::MplsDestConfig>;

[[noreturn]] void fail(char const* what, std::string_view text, Qor::String const& other) {
  std::fprintf(stderr, "%s\n  text:  %.*s\n  other: %s\n", what, int(text.size()), text.data(),
               other.c_str());
  std::abort();
}

template <class T>
void check(std::string_view text) {
  std::optional<T> value;
  try {
    value = Qor::strepToValue<T>(text);
  } catch (Qor::ParseError const&) {
    return;
  }
  Qor::String const printed = Qor::valueToStrep(*value);
  if (printed != text) fail("a value read from a text prints as another text", text, printed);
  if (!(Qor::strepToValue<T>(printed) == *value))
    fail("a printed value reads back as another value", text, printed);
}

template <size_t... I>
void checkAs(size_t type, std::string_view text, std::index_sequence<I...>) {
  ((type == I ? check<std::tuple_element_t<I, Types>>(text) : void()), ...);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size == 0) return 0;
  constexpr size_t count = std::tuple_size_v<Types>;
  size_t const type = uint8_t(data[0] - 'A') % count;
  checkAs(type, std::string_view(reinterpret_cast<char const*>(data) + 1, size - 1),
          std::make_index_sequence<count>());
  return 0;
}
