// One whole-switch soak run: random input changes of every kind with faults on every helper
// operation and hardware model, then recovery, then the comparison with a switch built
// afresh on the final inputs. The soak test draws the kinds of change from a seed; the
// whole-switch fuzzer reads them from its input bytes.
#pragma once

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "Access/AccessDriver.h"
#include "HostFec/HostChainDriver.h"
#include "Sim/SwitchEquality.h"
#include "Sim/SwitchInputs.h"

namespace SimTest {

// Every helper operation and hardware model that can fail, with the name a fenn-sim
// `fault` step gives it.
struct SoakFault {
  Sim::FaultTarget target;
  char const* name;
};
inline constexpr SoakFault kSoakFaults[] = {
    {Sim::FaultTarget::hwTunnelIdAllocation, "hwTunnelIdAllocation"},
    {Sim::FaultTarget::fecResponse, "fecResponse"},
    {Sim::FaultTarget::floodSetProgramming, "floodSetProgramming"},
    {Sim::FaultTarget::esiPortMapResourceFull, "esiPortMapResourceFull"},
    {Sim::FaultTarget::esiPortMapTemporaryFailure, "esiPortMapTemporaryFailure"},
    {Sim::FaultTarget::createEsiData, "createEsiData"},
    {Sim::FaultTarget::hostFecResponse, "hostFecResponse"},
    {Sim::FaultTarget::createVlan, "createVlan"},
    {Sim::FaultTarget::createVlanToDot1qMapping, "createVlanToDot1qMapping"},
    {Sim::FaultTarget::createNonDfPort, "createNonDfPort"},
};

// The number of kinds of change `SoakRun::change` knows.
inline constexpr unsigned kSoakChangeKinds = 14;

class SoakRun {
 public:
  // A run of `events` changes drawn from `seed`, as are the faults (a fraction `faultLevel`
  // of every target's operations fail).
  SoakRun(uint64_t seed, double faultLevel, size_t events)
      : seed_(seed),
        faultLevel_(faultLevel),
        sw_(config_, "soak/"),
        access_(sw_, seed, false),
        chains_(sw_, seed + 1),
        ops_(randomInputs(seed, int(events))),
        rng_(seed ^ 0x5eed) {
    for (size_t i = 0; i < std::size(kSoakFaults); ++i)
      sw_.faults(kSoakFaults[i].target).failFractionIs(faultLevel, faultSeed(i));
  }

  // Records the run, from before its first change, as a fenn-sim scenario written to
  // `path` once the run has recovered (scenario()): the inputs and hardware settings through
  // the switch's input recorder, with the fault steps the recorder cannot see (faults are
  // the hardware's behaviour) put in where they started and stopped. The replay makes the
  // same hardware calls in the same order, so the same calls fail.
  void record(std::string const& path) {
    path_ = path;
    sw_.record({path, UINT64_MAX, 1});
  }

  // One change of the given kind (taken modulo kSoakChangeKinds): flood-set and segment
  // changes, access-side changes (which include pool sizes and time), dot1q and flood
  // filters, host chains (with FEC answer delays and withholding), LFIB routes, tunnel
  // endpoints, the flood-set capacity, and whole host chains set and parts of them
  // withdrawn: without these two, a run of 150 changes seldom completed a host chain, so
  // seldom withdrew a host FEC request.
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
      case 11:
        sw_.floodSetCapacityIs(rng_() % 2 ? uint32_t(rng_() % 24) : config_.floodSetCapacity);
        break;
      case 12:
        chains_.wholeChainStep();
        break;
      default:
        chains_.withdrawalStep();
    }
  }

  // A random change, as the soak makes them.
  void change() { change(unsigned(rng_() % kSoakChangeKinds)); }

  // Stops the faults, gives the pools, the capacity and the FEC answers back, lets time pass
  // every review, and returns how many faults were injected (and are now to be recovered).
  uint64_t recover() {
    if (sw_.recorder()) {
      sw_.recorder()->flush();
      recoveryAt_ = std::filesystem::file_size(path_);
    }
    uint64_t faults = 0;
    for (auto const& fault : kSoakFaults) {
      faults += sw_.faults(fault.target).failures();
      sw_.faults(fault.target).clear();
    }
    sw_.fecResponsesWithheldIs(false);
    sw_.floodSetCapacityIs(config_.floodSetCapacity);
    sw_.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeDefault, config_.defaultHwTunnelIds);
    sw_.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeSharedEs, config_.sharedEsHwTunnelIds);
    sw_.advance(60);
    if (sw_.recorder()) {
      sw_.recordingStop();
      writeScenario();
    }
    return faults;
  }

  Sim::Switch& simSwitch() { return sw_; }

  // What differs from a switch built afresh on the same control plane; empty when nothing.
  // A recorded run's scenario then ends by expecting the reference's figures.
  std::vector<std::string> differences() {
    Sim::Switch reference(config_, "soakReference/", sw_.controlPlane());
    reference.advance(60);
    std::vector<std::string> found = hardwareDifferences(sw_, reference);
    if (!path_.empty() && !found.empty()) expectAsIn(reference, found);
    return found;
  }

 private:
  uint64_t faultSeed(size_t target) const { return seed_ * 16 + target; }

  // The recording with the faults put in: set before the first step (the recorder's
  // snapshot of an empty switch has no inputs), cleared where recovery began.
  void writeScenario() {
    std::ifstream in(path_);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    in.close();
    std::ostringstream set;
    std::ostringstream clear;
    for (size_t i = 0; i < std::size(kSoakFaults); ++i) {
      set << "  - fault: { target: " << kSoakFaults[i].name << ", failFraction: " << faultLevel_
          << ", seed: " << faultSeed(i) << " }\n";
      clear << "  - fault: { target: " << kSoakFaults[i].name << ", clear: true }\n";
    }
    text.insert(recoveryAt_, "  - say: the faults stop\n" + clear.str());
    size_t const steps = text.find("\nsteps:\n") + std::strlen("\nsteps:\n");
    text.insert(steps, "  - say: soak seed " + std::to_string(seed_) + ", fault level " +
                           std::to_string(faultLevel_) + "\n" + set.str());
    std::ofstream(path_) << text;
  }

  // Appends what a switch built afresh on the final inputs holds, as figures fenn-sim
  // checks, and the differences the soak found, as comments.
  void expectAsIn(Sim::Switch const& reference, std::vector<std::string> const& found) {
    Sim::HardwareState const r = reference.state();
    auto answered = [](auto const& rows) {
      return std::count_if(rows.begin(), rows.end(), [](auto const& row) { return row.answered; });
    };
    auto programmed = std::count_if(r.floodSets.begin(), r.floodSets.end(),
                                    [](auto const& f) { return f.status == Fenn::programmed; });
    std::ofstream out(path_, std::ios::app);
    out << "  - say: what a switch built afresh on these inputs holds\n"
        << "  - expect: { floodSetEntries: " << programmed << ", fecRequests: " << r.fecs.size()
        << ", fecAnswered: " << answered(r.fecs) << ", esiEntries: " << r.esiData.size()
        << ", hostFecRequests: " << r.hostFecs.size() << ", hostFecAnswered: " << answered(r.hostFecs)
        << ", vlanCount: " << r.vlans.size() << ", dot1qMappingCount: " << r.dot1qMappings.size()
        << ", nonDfPortCount: " << r.nonDfPorts.size() << " }\n"
        << "# The soak found (rows only in this switch, and only in the fresh one):\n";
    for (auto const& difference : found) {
      std::istringstream lines(difference);
      for (std::string line; std::getline(lines, line);) out << "# " << line << "\n";
    }
  }

  uint64_t const seed_;
  double const faultLevel_;
  std::string path_;
  uintmax_t recoveryAt_ = 0;
  Sim::HardwareConfig const config_ = hardware();
  Sim::Switch sw_;
  AccessTest::Driver access_;
  HostFecTest::ChainDriver chains_;
  std::vector<Op> const ops_;
  size_t next_ = 0;
  std::mt19937_64 rng_;
};

}  // namespace SimTest
