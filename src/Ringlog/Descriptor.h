// Message descriptors: what a ring-log record means. One is registered per trace call site,
// the first time that site writes a record, and holds the source path, line, level and the
// site's items in order: literal text pieces and the kinds of its arguments (with the
// names of an enumeration, so a reader can print them without the program).
//
// Descriptors are kept for the life of the process (identifiers are indexes from 1) and
// copied into every ring image that is opened, so a call site's identifier never changes.
//
// Serialized form, native byte order, each string a 32-bit length and its bytes:
//   u32 bytes (multiple of 8), u32 id, u32 line, u32 level, string sourcePath,
//   u32 itemCount, items: u8 kind, then for literal a string, for enumeration a u32 count
//   and the names; zero padding to `bytes`.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "Qor/String.h"
#include "Ringlog/Layout.h"

namespace Ringlog {

class DescriptorBuilder {
 public:
  DescriptorBuilder(std::string_view sourcePath, int line, int level);
  void literal(std::string_view text);
  void argument(Kind kind);
  void enumeration(std::span<std::string_view const> names);
  // Registers the descriptor (and copies it into the open image); returns its id.
  uint32_t add() &&;

 private:
  Qor::String sourcePath_;
  uint32_t line_;
  uint32_t level_;
  uint32_t itemCount_ = 0;
  Qor::String items_;
};

// Every registered descriptor, serialized; descriptor id N is element N - 1.
std::span<Qor::String const> descriptors();

}  // namespace Ringlog
