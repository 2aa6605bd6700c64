// A keyed table in the platform's shared-table style, kept in process. Every handle opened
// on a table name sees the same rows; one writer handle writes, read-only handles refuse
// writes ("write to read-only Vasp table", "remove to read-only Vasp table"). A handle is
// an entity: its reactors hear of every changed key (rowAttr, key), of mount-state changes
// (mountStateAttr) and of the end of a burst of changes (quiescedAttr). TableReactor turns
// these into the reader-side callbacks notify(key), notifyMountStatus(), notifyQuiesced().
//
// The writer may set a QorVasp::CollectionControl (controlIs), after which bursts of changes
// are announced to readers as notifyQuiesced(false) ... notifyQuiesced(true).
//
// Rows are plain values that carry their own key (`row.key()`); a default-constructed row
// stands for "no row". Storage lives while at least one handle is open, as an unlinked
// shared-memory segment would.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "Qor/Attribute.h"
#include "Qor/Enum.h"
#include "Qor/Strep.h"
#include "Qor/String.h"
#include "Vasp/CollectionControl.h"

namespace Vasp {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum class Mode { writer, reader };

enum MountState : uint8_t { mountStateUnmounted, mountStateWaitingForWriter, mountStateMounted };

class ReadOnlyError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

class TableTypeError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// The named storage shared by handles; type-erased so one registry holds every table.
class StorageBase {
 public:
  explicit StorageBase(Qor::String name);
  virtual ~StorageBase();
  Qor::String const& name() const noexcept { return name_; }
  virtual std::type_info const& rowType() const noexcept = 0;

 private:
  Qor::String name_;
};

// Looks a table up by name; nullptr when no handle has it open.
StorageBase* findStorage(std::string_view name);

template <class K, class Row>
class Table;

template <class K, class Row>
class Storage final : public StorageBase {
 public:
  using StorageBase::StorageBase;
  std::type_info const& rowType() const noexcept override { return typeid(Row); }

  Qor::HashMap<K, Row> rows;
  std::vector<Table<K, Row>*> handles;
  bool writerOpen = false;
};

template <class K, class Row>
class Table : public Qor::Entity {
 public:
  using Key = K;
  using RowType = Row;
  QOR_ATTRIBUTE_ID(row);
  QOR_ATTRIBUTE_ID(mountState);
  QOR_ATTRIBUTE_ID(quiesced);

  Table(Qor::String const& name, Mode mode) : mode_(mode) {
    StorageBase* existing = findStorage(name);
    if (existing && existing->rowType() != typeid(Row)) {
      throw TableTypeError("Vasp table '" + name + "' is open with another row type");
    }
    if (existing && mode == Mode::writer && static_cast<Storage<K, Row>*>(existing)->writerOpen) {
      throw TableTypeError("Vasp table '" + name + "' already has a writer");
    }
    storage_ = existing ? static_cast<Storage<K, Row>*>(existing) : new Storage<K, Row>(name);
    storage_->handles.push_back(this);
    if (mode == Mode::writer) {
      storage_->writerOpen = true;
      broadcastMountState();
    }
  }
  ~Table() override {
    std::erase(storage_->handles, this);
    if (mode_ == Mode::writer) {
      storage_->writerOpen = false;
      broadcastMountState();
    }
    if (storage_->handles.empty()) delete storage_;
  }

  std::string_view fwkType() const override { return "Vasp::Table"; }
  Qor::String const& tableName() const noexcept { return storage_->name(); }
  bool writable() const noexcept { return mode_ == Mode::writer; }

  MountState mountState() const noexcept {
    return storage_->writerOpen ? mountStateMounted
                                : (mode_ == Mode::reader ? mountStateWaitingForWriter : mountStateUnmounted);
  }

  // The row for `k`, or the empty row.
  Row row(K const& k) const {
    auto it = storage_->rows.find(k);
    return it == storage_->rows.end() ? Row() : it->second;
  }
  Row const* rowFind(K const& k) const {
    auto it = storage_->rows.find(k);
    return it == storage_->rows.end() ? nullptr : &it->second;
  }
  bool rowHas(K const& k) const { return storage_->rows.count(k) > 0; }
  size_t rowCount() const noexcept { return storage_->rows.size(); }
  std::vector<K> rowKeys() const {
    std::vector<K> keys;
    keys.reserve(storage_->rows.size());
    for (auto const& [k, r] : storage_->rows) keys.push_back(k);
    return keys;
  }
  auto const& rows() const noexcept { return storage_->rows; }

  // Inserts or overwrites the row under row.key(); every handle's readers hear of the key
  // unless the row was already there, equal.
  void rowIs(Row const& r) {
    if (mode_ != Mode::writer) throw ReadOnlyError("write to read-only Vasp table");
    rowCommit(r);
  }
  // The same, taking over the row's memory (a FEC's vias) instead of copying it.
  void rowIs(Row&& r) {
    if (mode_ != Mode::writer) throw ReadOnlyError("write to read-only Vasp table");
    rowCommit(std::move(r));
  }
  // The write step that puts one row into the shared storage.
  template <class R>
  void rowCommit(R&& r) {
    K const key = r.key();
    auto [it, inserted] = storage_->rows.try_emplace(key, std::forward<R>(r));
    if (!inserted) {
      if (it->second == r) return;
      it->second = std::forward<R>(r);
    }
    broadcastKey(key);
  }
  // Removes the row and returns it (the empty row when there was none).
  Row rowDel(K const& k) {
    if (mode_ != Mode::writer) throw ReadOnlyError("remove to read-only Vasp table");
    auto it = storage_->rows.find(k);
    if (it == storage_->rows.end()) return Row();
    // Moved out, not copied: a FEC's vias change hands instead of being allocated again.
    Row removed = std::move(it->second);
    storage_->rows.erase(it);
    broadcastKey(k);
    return removed;
  }
  void rowDelAll() {
    if (mode_ != Mode::writer) throw ReadOnlyError("remove to read-only Vasp table");
    for (auto const& k : rowKeys()) rowDel(k);
  }
  // Tells every reader that a burst of changes has ended.
  void quiesce() {
    if (mode_ != Mode::writer) throw ReadOnlyError("write to read-only Vasp table");
    broadcastQuiesced(true);
  }

  QorVasp::CollectionControl const& control() const noexcept { return control_; }
  // Writer only: from now on, bursts of changes end with a quiesced notification run on the
  // control's scheduler.
  void controlIs(QorVasp::CollectionControl const& control) {
    if (mode_ != Mode::writer) throw ReadOnlyError("write to read-only Vasp table");
    if (control == control_) return;
    control_ = control;
    endOfBurst_ = control.valid()
                      ? Qor::Ptr<Keel::Task>(new Keel::Task(control.scheduler(), control.endOfBurstPriority(),
                                                            "endOfBurst", [this] { quiesce(); }))
                      : nullptr;
  }

 private:
  // Calls f(handle) for every handle open when the call starts: a handler may open or
  // close handles. A table has a few handles (its writer and a reader or two), so the
  // snapshot lives on the stack: a row written costs no allocation for it.
  template <class F>
  void forEachHandle(F const& f) const {
    std::vector<Table*> const& handles = storage_->handles;
    constexpr size_t inlineHandles = 8;
    if (handles.size() > inlineHandles) {
      std::vector<Table*> const snapshot = handles;
      for (Table* h : snapshot) f(h);
      return;
    }
    Table* snapshot[inlineHandles];
    size_t const n = handles.size();
    std::copy(handles.begin(), handles.end(), snapshot);
    for (size_t i = 0; i < n; ++i) f(snapshot[i]);
  }
  void broadcastKey(K const& k) {
    if (endOfBurst_ && !endOfBurst_->taskScheduled()) {
      endOfBurst_->scheduleTask();
      broadcastQuiesced(false);
    }
    K const copy = k;
    forEachHandle([&](Table* h) { h->notify(rowAttr, copy); });
  }
  void broadcastQuiesced(bool quiesced) {
    forEachHandle([&](Table* h) { h->notify(quiescedAttr, quiesced); });
  }
  void broadcastMountState() {
    forEachHandle([](Table* h) { h->notify(mountStateAttr); });
  }

  Mode mode_;
  Storage<K, Row>* storage_;
  QorVasp::CollectionControl control_;
  Qor::Ptr<Keel::Task> endOfBurst_;
};

// Reader-side callbacks of a table, for a state machine's nested reactor.
template <class T, class Sm>
class TableReactor : public Qor::ReactorOf<T, Sm> {
 public:
  using Qor::ReactorOf<T, Sm>::ReactorOf;
  virtual void notify(typename T::Key const& key) = 0;
  virtual void notifyMountStatus() {}
  virtual void notifyQuiesced(bool) {}

  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case T::rowAttr:
        notify(Qor::keyAs<typename T::Key>(key));
        break;
      case T::mountStateAttr:
        notifyMountStatus();
        break;
      case T::quiescedAttr:
        notifyQuiesced(Qor::keyAs<bool>(key));
        break;
    }
  }
  // A new reader is shown every row as if it had just been written.
  void onCreate() override {
    for (auto const& k : this->notifier()->rowKeys()) notify(k);
  }
};

}  // namespace Vasp

template <>
struct Qor::EnumTraits<Vasp::MountState> {
  static constexpr std::string_view typeName = "Vasp::MountState";
  static constexpr std::array<std::string_view, 3> names = {
      "mountStateUnmounted", "mountStateWaitingForWriter", "mountStateMounted"};
};
