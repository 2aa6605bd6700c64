// Random host chain changes on a simulated switch: destinations over four tunnels, load
// balances over them, labels over either, 40 hosts in VLAN 10 pointing at any of these,
// FEC answer delays and withholding, and time.
#pragma once

#include <random>

#include "sim/Switch.h"

namespace HostFecTest {

class ChainDriver {
 public:
  ChainDriver(Sim::Switch& sw, uint64_t seed) : sw_(sw), rng_(seed) {}

  void step() {
    uint32_t const id = uint32_t(below(12));
    switch (below(12)) {
      case 0:
        destIs(L2Rib::DestId(id % 8));
        break;
      case 1:
        sw_.chainDestDel(L2Rib::DestId(id % 8));
        break;
      case 2: {
        L2Rib::LoadBalance lb;
        for (uint64_t i = 0, n = 1 + below(4); i < n; ++i) lb.nextIs(L2Rib::EcmpIndex(i), dest());
        sw_.loadBalanceIs(L2Rib::LoadBalanceId(id % 6), lb);
        break;
      }
      case 3:
        sw_.loadBalanceDel(L2Rib::LoadBalanceId(id % 6));
        break;
      case 4:
        sw_.labelIs(L2Rib::LabelId(id),
                    L2Rib::Label(Ostra::MplsLabel(1000 + below(3)),
                                 below(3) ? dest() : L2Rib::LoadBalanceId(below(6)).tuple()));
        break;
      case 5:
        sw_.labelDel(L2Rib::LabelId(id));
        break;
      case 6:
      case 7:
      case 8: {
        uint64_t const pick = below(10);
        L2Rib::ObjTuple const first = pick < 6   ? L2Rib::LabelId(below(12)).tuple()
                                      : pick < 9 ? L2Rib::LoadBalanceId(below(6)).tuple()
                                                 : dest();
        sw_.hostIs(host(), first);
        break;
      }
      case 9:
        sw_.hostDel(host());
        break;
      case 10:
        sw_.fecResponseDelayIs(below(2) ? 0.0 : 0.5);
        sw_.fecResponsesWithheldIs(below(4) == 0);
        break;
      default:
        sw_.advance(0.25 * double(below(4)));
    }
  }

  // A host over a label over a destination, all set at once: random steps alone rarely
  // complete a chain, so rarely get a FEC requested, and more rarely withdraw one.
  void wholeChainStep() {
    L2Rib::DestId const dest(below(8));
    L2Rib::LabelId const label(below(12));
    destIs(dest);
    sw_.labelIs(label, L2Rib::Label(Ostra::MplsLabel(1000 + below(3)), dest.tuple()));
    sw_.hostIs(host(), label.tuple());
  }

  // Withdraws a part of whatever chains stand: a destination, a load balance, a label.
  void withdrawalStep() {
    switch (below(3)) {
      case 0:
        sw_.chainDestDel(L2Rib::DestId(below(8)));
        break;
      case 1:
        sw_.loadBalanceDel(L2Rib::LoadBalanceId(below(6)));
        break;
      default:
        sw_.labelDel(L2Rib::LabelId(below(12)));
    }
  }

 private:
  void destIs(L2Rib::DestId dest) {
    sw_.chainDestIs(dest,
                    L2Rib::Dest::vxlan(Ostra::IpGenAddr(), 0,
                                       Tunnel::TunnelTable::TunnelId(Tunnel::tunnelTypeLdp, 1 + below(4))));
  }
  Bridging::MacVlanPair host() {
    return Bridging::MacVlanPair(Ostra::EthAddr(1 + below(40)), Bridging::VlanId(10));
  }
  uint64_t below(uint64_t n) { return std::uniform_int_distribution<uint64_t>(0, n - 1)(rng_); }
  L2Rib::ObjTuple dest() { return L2Rib::DestId(below(8)).tuple(); }

  Sim::Switch& sw_;
  std::mt19937_64 rng_;
};

}  // namespace HostFecTest
