// One whole-switch soak run: random input changes of every kind with faults on every helper
// operation and hardware model, then recovery, then the comparison with a switch built
// afresh on the final inputs. The soak test draws the kinds of change from a seed; the
// whole-switch fuzzer reads them from its input bytes.
#pragma once

#include <iterator>
#include <string>
#include <vector>

#include "Access/AccessDriver.h"
#include "HostFec/HostChainDriver.h"
#include "Sim/SwitchEquality.h"
#include "Sim/SwitchInputs.h"

namespace SimTest {

// Every helper operation and hardware model that can fail.
inline constexpr Sim::FaultTarget kSoakFaultTargets[] = {
    Sim::FaultTarget::hwTunnelIdAllocation,
    Sim::FaultTarget::fecResponse,
    Sim::FaultTarget::floodSetProgramming,
    Sim::FaultTarget::esiPortMapResourceFull,
    Sim::FaultTarget::esiPortMapTemporaryFailure,
    Sim::FaultTarget::createEsiData,
    Sim::FaultTarget::hostFecResponse,
    Sim::FaultTarget::createVlan,
    Sim::FaultTarget::createVlanToDot1qMapping,
    Sim::FaultTarget::createNonDfPort,
};

// The number of kinds of change `SoakRun::change` knows.
inline constexpr unsigned kSoakChangeKinds = 12;

class SoakRun {
 public:
  // A run of `events` changes drawn from `seed`, as are the faults (a fraction `faultLevel`
  // of every target's operations fail).
  SoakRun(uint64_t seed, double faultLevel, size_t events)
      : sw_(config_, "soak/"),
        access_(sw_, seed, false),
        chains_(sw_, seed + 1),
        ops_(randomInputs(seed, int(events))),
        rng_(seed ^ 0x5eed) {
    for (size_t i = 0; i < std::size(kSoakFaultTargets); ++i)
      sw_.faults(kSoakFaultTargets[i]).failFractionIs(faultLevel, seed * 16 + i);
  }

  // One change of the given kind (taken modulo kSoakChangeKinds): flood-set and segment
  // changes, access-side changes (which include pool sizes and time), dot1q and flood
  // filters, host chains (with FEC answer delays and withholding), LFIB routes, tunnel
  // endpoints, and the flood-set capacity.
  void change(unsigned kind) {
    size_t const event = next_++;
    switch (kind % kSoakChangeKinds) {
      case 0:
      case 1:
      case 2:
        if (event < ops_.size()) apply(sw_, ops_[event]);
        break;
      case 3:
      case 4:
        access_.step();
        break;
      case 5:
        access_.floodingStep();
        break;
      case 6:
      case 7:
        chains_.step();
        break;
      case 8:
      case 9:
        lfibStep(sw_, rng_);
        break;
      case 10:
        tunnelEndpointStep(sw_, rng_);
        break;
      default:
        sw_.floodSetCapacityIs(rng_() % 2 ? uint32_t(rng_() % 24) : config_.floodSetCapacity);
    }
  }

  // A random change, as the soak makes them.
  void change() { change(unsigned(rng_() % kSoakChangeKinds)); }

  // Stops the faults, gives the pools, the capacity and the FEC answers back, lets time pass
  // every review, and returns how many faults were injected (and are now to be recovered).
  uint64_t recover() {
    uint64_t faults = 0;
    for (auto target : kSoakFaultTargets) {
      faults += sw_.faults(target).failures();
      sw_.faults(target).clear();
    }
    sw_.fecResponsesWithheldIs(false);
    sw_.floodSetCapacityIs(config_.floodSetCapacity);
    sw_.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeDefault, config_.defaultHwTunnelIds);
    sw_.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeSharedEs, config_.sharedEsHwTunnelIds);
    sw_.advance(60);
    return faults;
  }

  // What differs from a switch built afresh on the same control plane; empty when nothing.
  std::vector<std::string> differences() const {
    Sim::Switch reference(config_, "soakReference/", sw_.controlPlane());
    reference.advance(60);
    return hardwareDifferences(sw_, reference);
  }

 private:
  Sim::HardwareConfig const config_ = hardware();
  Sim::Switch sw_;
  AccessTest::Driver access_;
  HostFecTest::ChainDriver chains_;
  std::vector<Op> const ops_;
  size_t next_ = 0;
  std::mt19937_64 rng_;
};

}  // namespace SimTest
