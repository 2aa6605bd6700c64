// Plays a scenario on a simulated switch: each control-plane step is applied and allowed to
// settle, `advance` moves simulated time, `show` prints tables, and `expect` compares the
// hardware state, printing every mismatch as expected against actual.
#pragma once

#include <ostream>

#include "Scenario.h"

namespace SimTool {

class Runner {
 public:
  // With `record`, the switch's inputs are recorded into that file from the start.
  Runner(Scenario const& scenario, std::ostream& out, Fenn::RecordingFiles const* record = nullptr);
  ~Runner();
  // Runs every step; returns the number of expectations that failed.
  size_t run();
  Sim::Switch& simSwitch() { return *switch_; }
  // Operator tools: the answer for one key, PEs by their scenario names.
  Fenn::Explanation explain(ExplainQuery const& query) const;

 private:
  void apply(SayStep const& s);
  void apply(DestStep const& s);
  void apply(FloodSetDelStep const& s);
  void apply(SegmentStep const& s);
  void apply(SegmentDelStep const& s);
  void apply(FaultStep const& s);
  void apply(HardwareStep const& s);
  void apply(AdvanceStep const& s);
  void apply(ShowStep const& s);
  void apply(ExpectStep const& s);
  void apply(PrintStep const& s);
  void apply(ReinitializeStep const& s);
  // The rows of one of the library's tables, sorted, as expect compares them.
  std::vector<Qor::String> libraryRows(LibraryTable table, Sim::HardwareState const& state) const;
  void apply(AccessStep const& s);
  void apply(LfibStep const& s);
  void apply(TunnelEndpointStep const& s);
  void apply(HostStep const& s);
  void apply(ChainObjectStep const& s);
  void apply(ToggleStep const& s);
  // Access side: dot1q mappings and flood filters.
  void apply(VlanToDot1qStep const& s);
  void apply(MplsConfigStep const& s);
  void apply(VlanFloodStatusStep const& s);
  Qor::String checkAccess(Expectation const& e, Sim::HardwareState const& state) const;
  void apply(RestartStep const& s);
  // Operator tools.
  void apply(ExplainStep const& s);
  void apply(SettleStep const& s);
  // Empty when the expectation holds; otherwise "expected ..., actual ...".
  Qor::String check(Expectation const& e, Sim::HardwareState const& state) const;

  Scenario const& scenario_;
  std::ostream& out_;
  std::unique_ptr<Sim::Switch> switch_;
  size_t failures_ = 0;
  Location const* at_ = nullptr;  // the step being run
  // Where toggle steps write the toggle file (created by the first one).
  Qor::String toggleDir_;
};

}  // namespace SimTool
