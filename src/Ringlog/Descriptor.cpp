#include "Ringlog/Descriptor.h"

#include <cstring>
#include <vector>

#include "Ringlog/Ring.h"

namespace Ringlog {

namespace {
std::vector<Qor::String>& registry() {
  static std::vector<Qor::String> r;
  return r;
}

void appendU32(Qor::String& out, uint32_t v) { out.append(reinterpret_cast<char const*>(&v), 4); }

void appendBytes(Qor::String& out, std::string_view s) {
  appendU32(out, static_cast<uint32_t>(s.size()));
  out += s;
}
}  // namespace

DescriptorBuilder::DescriptorBuilder(std::string_view sourcePath, int line, int level)
    : sourcePath_(sourcePath), line_(static_cast<uint32_t>(line)), level_(static_cast<uint32_t>(level)) {}

void DescriptorBuilder::literal(std::string_view text) {
  items_ += static_cast<char>(Kind::literal);
  appendBytes(items_, text);
  ++itemCount_;
}

void DescriptorBuilder::argument(Kind kind) {
  items_ += static_cast<char>(kind);
  ++itemCount_;
}

void DescriptorBuilder::enumeration(std::span<std::string_view const> names) {
  items_ += static_cast<char>(Kind::enumeration);
  appendU32(items_, static_cast<uint32_t>(names.size()));
  for (auto name : names) appendBytes(items_, name);
  ++itemCount_;
}

uint32_t DescriptorBuilder::add() && {
  auto& r = registry();
  uint32_t const id = static_cast<uint32_t>(r.size() + 1);
  Qor::String blob;
  appendU32(blob, 0);  // size, patched below
  appendU32(blob, id);
  appendU32(blob, line_);
  appendU32(blob, level_);
  appendBytes(blob, sourcePath_);
  appendU32(blob, itemCount_);
  blob += items_;
  blob.resize(roundUp8(blob.size()), '\0');
  uint32_t const bytes = static_cast<uint32_t>(blob.size());
  std::memcpy(blob.data(), &bytes, 4);
  r.push_back(std::move(blob));
  detail::appendDescriptor(r.back());
  return id;
}

std::span<Qor::String const> descriptors() { return registry(); }

}  // namespace Ringlog
