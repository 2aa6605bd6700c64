// EvpnInputRecorder writes every change an agent makes to the library's inputs, with its
// time, as a fenn-sim scenario: the same steps a scenario file uses, separated by `advance`
// steps when the clock moved, so that fenn-sim replays what the agent saw and reproduces
// the hardware state it had (docs/recording.md).
//
// It is an ordinary set of reactors on the input entities: an agent that does not create
// one pays nothing, and one that does pays the formatting of a line per change. The files
// rotate: past `maxBytes` the file is renamed `<path>.1` (older ones move up to
// `<path>.<filesKept - 1>`, the oldest is removed) and a new one starts with a snapshot of
// every input as it stands, so each file replays on its own.
//
// Tunnels are written as their tunnel ID's text form and the layer-2 RIB's chain objects as
// `label#<id>`, `loadBalance#<id>`, `chainDest#<id>`: names fenn-sim resolves without a
// declaration, to the same tunnels and objects.
#pragma once

#include <cstdio>
#include <memory>
#include <type_traits>

#include "Bridging/Config.h"
#include "Bridging/VlanStatusDir.h"
#include "Evpn/EvpnStatus.h"
#include "Evpn/MplsConfig.h"
#include "Fenn/HwTunnelIdType.h"
#include "Fenn/LagCreatorConfigDir.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Keel/TaskScheduler.h"
#include "L2Rib/ChainTables.h"
#include "L2Rib/FloodSetOutput.h"
#include "Mpls/LfibStatus.h"
#include "Qor/Collection.h"
#include "Tunnel/TunnelEndpointStatus.h"

namespace Fenn {

// The inputs to record; any may be null (not recorded).
struct RecordedInputs {
  Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput;
  Qor::Ptr<Evpn::EvpnStatus const> evpnStatus;
  Qor::Ptr<LagCreatorConfigDir const> lagConfigDir;
  Qor::Ptr<Bridging::Config const> bridgingConfig;
  Qor::Ptr<Bridging::VlanStatusDir const> vlanStatusDir;
  Qor::Ptr<Evpn::MplsConfig const> mplsConfig;
  Qor::Ptr<Mpls::LfibStatus const> lfibStatus;
  Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus;
  Qor::Ptr<L2Rib::HostOutput const> hostOutput;
  Qor::Ptr<L2Rib::LabelOutput const> labelOutput;
  Qor::Ptr<L2Rib::LoadBalanceOutput const> loadBalanceOutput;
  Qor::Ptr<L2Rib::DestOutput const> destOutput;
};

struct RecordingFiles {
  Qor::String path;                        // the file being written
  uint64_t maxBytes = uint64_t(64) << 20;  // a file rotates past this, or twice its snapshot
  uint32_t filesKept = 4;                  // the current file and the rotated ones, at least 1
};

class FENN_EVPN_EXPORT EvpnInputRecorder : public Qor::PtrInterface {
 public:
  // Opens `files.path` (throws std::runtime_error naming it and why when it cannot) and
  // writes the snapshot of the inputs as they stand. `scheduler` is the one the library's
  // state machines run on: its clock times the changes, and its runs between two changes
  // are written as `settle` steps.
  EvpnInputRecorder(RecordedInputs inputs, Qor::Ptr<Keel::TaskScheduler const> scheduler,
                    RecordingFiles files);
  ~EvpnInputRecorder() override;
  EvpnInputRecorder(EvpnInputRecorder const&) = delete;
  EvpnInputRecorder& operator=(EvpnInputRecorder const&) = delete;

  // Facts about the hardware that no input carries, named as a scenario's `hardware`
  // settings (defaultHwTunnelIds, sharedEsHwTunnelIds, fecResponseDelay, floodSetCapacity,
  // withholdFecResponses, ...): written as a `hardware` step now and into every later
  // file's snapshot.
  template <class T>
  void hardwareIs(char const* setting, T value) {
    if constexpr (std::is_same_v<T, bool>) {
      hardwareSettingIs(setting, value ? "true" : "false");
    } else {
      hardwareSettingIs(setting, Qor::valueToStrep(value));
    }
  }

  // Writes the time passed since the last change and pushes what is buffered to the file
  // (the recorder also does this when time moves on, and when it is released).
  void flush();
  // Empty while recording; why recording stopped after a write failed.
  Qor::String const& error() const noexcept { return error_; }
  uint64_t steps() const noexcept { return steps_; }
  uint32_t rotations() const noexcept { return rotations_; }

  // One reactor for any input entity: hands every change to the recorder with the key of
  // the entity (its VLAN, interface, ...) that the recorder gave it. It shows the recorder
  // nothing when created: the snapshot and the step that created the entity did.
  template <class K>
  class Watch : public Qor::Reactor {
   public:
    using Handler = void (EvpnInputRecorder::*)(K const&, Qor::AttributeId, void const*);
    Watch(Qor::Entity const* entity, EvpnInputRecorder* recorder, K key, Handler handler)
        : Qor::Reactor(entity, nullptr), recorder_(recorder), key_(key), handler_(handler) {}
    void onCreate() override {}
    void onAttribute(Qor::AttributeId id, void const* key) override { (recorder_->*handler_)(key_, id, key); }

   private:
    EvpnInputRecorder* recorder_;
    K key_;
    Handler handler_;
  };

 private:
  void open();
  void flushFile();
  void drain();
  void stop();
  void watchChildren();
  void rotate();
  void snapshot();
  // A step: begins the line (writing an `advance` before it when time moved), ends it.
  void begin(char const* kind);
  void end();
  // The `advance` step when the clock moved since the last step, else the `settle` step
  // when the scheduler ran tasks since.
  void timePassed();
  void write();
  template <class T>
  void put(T const& value);
  void put(char const* text);
  void putTunnel(Tunnel::TunnelTable::TunnelId tunnelId);
  void putObject(L2Rib::ObjTuple const& object);
  template <class Keys>
  void putList(Keys const& keys);
  template <class K>
  void removal(char const* kind, K const& key);
  template <class K, class Keys>
  void keyedList(char const* kind, char const* removalKind, char const* keyName, K const& key,
                 char const* listName, Keys const* keys);

  // Each writes the step that brings the replay's input to its current state.
  void dest(Bridging::MacVlanPair const& key, L2Rib::Dest const& dest, bool present);
  void floodSetRemoved(Bridging::MacVlanPair const& key, L2Rib::FloodSet const& floodSet);
  void segment(Ostra::IntfId intf);
  void segmentVlans(Ostra::IntfId intf);
  void localEsiLabel(Ostra::IntfId intf);
  void encapBumFilter();
  void vlanToDot1q(Bridging::VlanId vlan);
  void vlanFloodStatus(Bridging::VlanId vlan);
  void lag(Ostra::IntfId lag);
  void vlanConfig(Bridging::VlanId vlan);
  void vlanStatus(Bridging::VlanId vlan);
  void mplsConfig();
  void route(Mpls::RouteKey const& key);
  void viaSet(Mpls::LfibViaSetKey const& key);
  void filterVia(Mpls::LfibViaKey const& key);
  void tunnelEndpoint(Tunnel::TunnelTable::TunnelId tunnelId);
  void host(Bridging::MacVlanPair const& key);
  void label(L2Rib::LabelId id);
  void loadBalance(L2Rib::LoadBalanceId id);
  void chainDest(L2Rib::DestId id);
  void hardware();
  void hardwareSettingIs(char const* setting, Qor::String value);

  // The reactors' handlers.
  void onInput(int const&, Qor::AttributeId id, void const* key);
  void onVlanFloodSet(Bridging::VlanId const& vlan, Qor::AttributeId id, void const* key);
  void onFloodSet(Bridging::MacVlanPair const& key, Qor::AttributeId id, void const* dest);
  void onSegment(Ostra::IntfId const& intf, Qor::AttributeId id, void const* key);
  void onVlanFloodStatus(Bridging::VlanId const& vlan, Qor::AttributeId id, void const* key);
  void onLag(Ostra::IntfId const& lag, Qor::AttributeId id, void const* key);
  void onVlanConfig(Bridging::VlanId const& vlan, Qor::AttributeId id, void const* key);
  void onVlanStatus(Bridging::VlanId const& vlan, Qor::AttributeId id, void const* key);

  static constexpr size_t writeBufferBytes = size_t(256) << 10;

  RecordedInputs inputs_;
  Qor::Ptr<Keel::TaskScheduler const> scheduler_;
  Qor::Ptr<Keel::Clock const> clock_;
  RecordingFiles files_;
  std::FILE* file_ = nullptr;
  uint64_t bytes_ = 0;       // in the current file
  uint64_t rotateAt_ = 0;    // bytes at which the current file rotates
  double replayedTime_ = 0;  // where the replay's clock stands after the steps so far
  uint64_t taskRuns_ = 0;    // the scheduler's task runs at the last step
  Qor::String out_;          // steps not yet handed to the file, the current one last
  size_t stepStart_ = 0;     // where the current step begins in out_
  std::vector<std::pair<Qor::String, Qor::String>> settings_;  // the hardware, in text form
  Qor::String error_;
  uint64_t steps_ = 0;
  uint32_t rotations_ = 0;

  std::vector<std::unique_ptr<Watch<int>>> inputWatches_;
  Qor::ReactorMap<Bridging::VlanId, Watch<Bridging::VlanId>> vlanFloodSets_;
  Qor::ReactorMap<Bridging::MacVlanPair, Watch<Bridging::MacVlanPair>> floodSets_;
  Qor::ReactorMap<Ostra::IntfId, Watch<Ostra::IntfId>> segments_;
  Qor::ReactorMap<Bridging::VlanId, Watch<Bridging::VlanId>> vlanFloodStatuses_;
  Qor::ReactorMap<Ostra::IntfId, Watch<Ostra::IntfId>> lags_;
  Qor::ReactorMap<Bridging::VlanId, Watch<Bridging::VlanId>> vlanConfigs_;
  Qor::ReactorMap<Bridging::VlanId, Watch<Bridging::VlanId>> vlanStatuses_;
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnInputRecorder> evpnInputRecorderFactory(
    RecordedInputs inputs, Qor::Ptr<Keel::TaskScheduler const> scheduler, RecordingFiles files);

}  // namespace Fenn
