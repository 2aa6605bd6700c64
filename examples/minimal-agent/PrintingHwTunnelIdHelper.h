// The agent's side of hardware tunnel ID allocation. A real agent asks its chip's driver
// for an ID here; this one hands out numbers from small pools and prints what it would
// program, so the example shows exactly when the library calls its helper.
#pragma once

#include <cstdint>
#include <iostream>
#include <map>
#include <set>

#include "FennEvpn/FennEvpnHwTunnelIdSmHelper.h"
#include "Qor/Enum.h"

class PrintingHwTunnelIdHelper : public FennHelper::EvpnHwTunnelIdSmHelper {
 public:
  explicit PrintingHwTunnelIdHelper(uint32_t poolSize)
      : EvpnHwTunnelIdSmHelper("PrintingHwTunnelIdHelper"), poolSize_(poolSize) {}

  // Lowest free number first. Number 0 means "no ID" in every pool, so an exhausted pool
  // answers with the default (invalid) Fenn::HwTunnelId and the library retries later.
  Fenn::HwTunnelId getHwTunnelId(Fenn::HwTunnelIdType type) override {
    std::set<uint32_t>& used = inUse_[type];
    for (uint32_t id = 1; id <= poolSize_; ++id) {
      if (used.insert(id).second) {
        std::cout << "  hw: allocate tunnel ID " << Qor::enumName(type) << "/" << id << "\n";
        return Fenn::HwTunnelId(type, id);
      }
    }
    std::cout << "  hw: pool " << Qor::enumName(type) << " is exhausted\n";
    return Fenn::HwTunnelId();
  }

  void releaseHwTunnelId(Fenn::HwTunnelId const& id) override {
    std::cout << "  hw: release tunnel ID " << Qor::enumName(id.type()) << "/" << id.id() << "\n";
    inUse_[id.type()].erase(id.id());
  }

 private:
  uint32_t poolSize_;
  std::map<Fenn::HwTunnelIdType, std::set<uint32_t>> inUse_;
};
