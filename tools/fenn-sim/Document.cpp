#include "Document.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/mark.h>
#include <yaml-cpp/parser.h>

#include <map>

namespace SimTool::Yaml {

// Builds the arrays from the parser's events. A container's children are collected on a
// stack while it is open and copied next to each other when it closes.
class Document::Builder : public YAML::EventHandler {
 public:
  explicit Builder(Document& doc) : doc_(doc) {}

  void OnDocumentStart(YAML::Mark const&) override {}
  void OnDocumentEnd() override {}
  void OnNull(YAML::Mark const& mark, YAML::anchor_t anchor) override { add(Kind::null, mark, anchor); }
  void OnAlias(YAML::Mark const&, YAML::anchor_t anchor) override { child(anchors_.at(anchor)); }
  void OnScalar(YAML::Mark const& mark, std::string const&, YAML::anchor_t anchor,
                std::string const& value) override {
    uint32_t const index = add(Kind::scalar, mark, anchor);
    doc_.items_[index].begin = uint32_t(doc_.text_.size());
    doc_.items_[index].count = uint32_t(value.size());
    doc_.text_ += value;
  }
  void OnSequenceStart(YAML::Mark const& mark, std::string const&, YAML::anchor_t anchor,
                       YAML::EmitterStyle::value) override {
    open(Kind::sequence, mark, anchor);
  }
  void OnSequenceEnd() override { close(); }
  void OnMapStart(YAML::Mark const& mark, std::string const&, YAML::anchor_t anchor,
                  YAML::EmitterStyle::value) override {
    open(Kind::map, mark, anchor);
  }
  void OnMapEnd() override { close(); }

 private:
  uint32_t add(Kind kind, YAML::Mark const& mark, YAML::anchor_t anchor) {
    uint32_t const index = uint32_t(doc_.items_.size());
    doc_.items_.push_back({kind, uint32_t(mark.line), uint32_t(mark.column), 0, 0});
    if (anchor != YAML::NullAnchor) anchors_[anchor] = index;
    child(index);
    return index;
  }
  void child(uint32_t index) {
    if (open_.empty()) {
      doc_.root_ = index;
    } else {
      pending_.push_back(index);
    }
  }
  void open(Kind kind, YAML::Mark const& mark, YAML::anchor_t anchor) {
    uint32_t const index = add(kind, mark, anchor);
    open_.push_back({index, pending_.size()});
  }
  void close() {
    auto const [index, first] = open_.back();
    open_.pop_back();
    Item& item = doc_.items_[index];
    item.begin = uint32_t(doc_.children_.size());
    item.count = uint32_t(pending_.size() - first);
    doc_.children_.insert(doc_.children_.end(), pending_.begin() + std::ptrdiff_t(first), pending_.end());
    pending_.resize(first);
  }

  Document& doc_;
  std::vector<std::pair<uint32_t, size_t>> open_;  // open containers: item, first pending child
  std::vector<uint32_t> pending_;
  std::map<YAML::anchor_t, uint32_t> anchors_;
};

Document::Document(std::istream& in) {
  YAML::Parser parser(in);
  Builder builder(*this);
  parser.HandleNextDocument(builder);
  items_.shrink_to_fit();
  children_.shrink_to_fit();
  text_.shrink_to_fit();
}

bool Node::IsNull() const noexcept { return doc_ && doc_->items_[index_].kind == Document::Kind::null; }
bool Node::IsScalar() const noexcept { return doc_ && doc_->items_[index_].kind == Document::Kind::scalar; }
bool Node::IsSequence() const noexcept {
  return doc_ && doc_->items_[index_].kind == Document::Kind::sequence;
}
bool Node::IsMap() const noexcept { return doc_ && doc_->items_[index_].kind == Document::Kind::map; }

Qor::String Node::Scalar() const {
  if (!IsScalar()) return {};
  auto const& item = doc_->items_[index_];
  return doc_->text_.substr(item.begin, item.count);
}

Position Node::Mark() const noexcept {
  if (!doc_) return {};
  auto const& item = doc_->items_[index_];
  return {int(item.line), int(item.column)};
}

size_t Node::size() const noexcept {
  if (IsMap()) return doc_->items_[index_].count / 2;
  return IsSequence() ? doc_->items_[index_].count : 0;
}

Node Node::operator[](std::string_view key) const {
  if (!IsMap()) return {};
  for (auto const& entry : *this) {
    if (entry.first.IsScalar()) {
      auto const& k = doc_->items_[entry.first.index_];
      if (std::string_view(doc_->text_).substr(k.begin, k.count) == key) return entry.second;
    }
  }
  return {};
}

Node::Iterator Node::begin() const {
  if (!IsMap() && !IsSequence()) return end();
  return Iterator(doc_, doc_->children_.data() + doc_->items_[index_].begin, IsMap());
}

Node::Iterator Node::end() const {
  if (!IsMap() && !IsSequence()) return Iterator(doc_, nullptr, false);
  auto const& item = doc_->items_[index_];
  return Iterator(doc_, doc_->children_.data() + item.begin + item.count, IsMap());
}

Node::Entry Node::Iterator::operator*() const {
  if (map_) return Entry{Node(), Node(doc_, at_[0]), Node(doc_, at_[1])};
  return Entry{Node(doc_, at_[0]), Node(), Node()};
}

}  // namespace SimTool::Yaml
