// A YAML document held compactly for the scenario reader. The parser's own node graph
// costs some 70 bytes of heap per byte of a scenario (a 6 MB scenario took 460 MB); here a
// node is 20 bytes in one array, its scalar text sits in one string and its children's
// indexes in another array, so a document takes a few times its file's size.
//
// Node offers the part of the parser's node interface the reader uses: kind tests, the
// scalar, the mark, lookup by key, and iteration (a map's entries as `first` and `second`,
// a sequence's items as nodes). Nodes are handles: they stay valid while their document
// lives.
#pragma once

#include <cstdint>
#include <istream>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Qor/String.h"

namespace SimTool::Yaml {

class Document;

// Where a node starts, counted from 0 as the parser counts.
struct Position {
  int line = 0;
  int column = 0;
};

class Node {
 public:
  Node() = default;  // undefined: what a lookup of a missing key gives
  Node(Document const* doc, uint32_t index) : doc_(doc), index_(index) {}

  bool IsDefined() const noexcept { return doc_ != nullptr; }
  explicit operator bool() const noexcept { return IsDefined(); }
  bool IsNull() const noexcept;
  bool IsScalar() const noexcept;
  bool IsSequence() const noexcept;
  bool IsMap() const noexcept;
  Qor::String Scalar() const;  // empty for anything but a scalar
  template <class T>
  T as() const {
    static_assert(std::is_same_v<T, Qor::String>, "scenario nodes convert to text only");
    return Scalar();
  }
  Position Mark() const noexcept;
  // Entries of a map, items of a sequence, 0 otherwise.
  size_t size() const noexcept;
  // The value of `key` in a map; undefined when absent or not a map.
  Node operator[](std::string_view key) const;

  // One step of iteration: a sequence's item is the value itself, a map's entry is
  // `first` (the key) and `second` (the value).
  struct Entry;
  class Iterator;
  Iterator begin() const;
  Iterator end() const;

 private:
  Document const* doc_ = nullptr;
  uint32_t index_ = 0;
};

struct Node::Entry : Node {
  Node first;
  Node second;
};

class Node::Iterator {
 public:
  Iterator(Document const* doc, uint32_t const* at, bool map) : doc_(doc), at_(at), map_(map) {}
  Entry operator*() const;
  Iterator& operator++() {
    at_ += map_ ? 2 : 1;
    return *this;
  }
  bool operator!=(Iterator const& other) const { return at_ != other.at_; }

 private:
  Document const* doc_;
  uint32_t const* at_;
  bool map_;
};

class Document {
 public:
  // Reads the first document of `in`; throws the parser's exceptions (YAML::ParserException
  // with its mark). An input with no document gives an undefined root.
  explicit Document(std::istream& in);
  Node root() const { return items_.empty() ? Node() : Node(this, root_); }

 private:
  friend class Node;
  friend class Node::Iterator;
  class Builder;
  enum class Kind : uint8_t { null, scalar, sequence, map };
  struct Item {
    Kind kind;
    uint32_t line;
    uint32_t column;
    uint32_t begin;  // scalar: offset in text_; sequence, map: offset in children_
    uint32_t count;  // scalar: bytes; sequence: items; map: 2 per entry, key then value
  };
  std::vector<Item> items_;
  std::string text_;
  std::vector<uint32_t> children_;
  uint32_t root_ = 0;
};

}  // namespace SimTool::Yaml
