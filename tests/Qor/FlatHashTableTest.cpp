// The flat hash table behind the runtime collections, checked against the standard
// containers under random inserts and erases with a hash that piles keys into a few long
// probe runs (some wrapping from the last slot to the first), where backward-shift
// erasing and resizing go wrong if they go wrong at all: random writes over key ranges
// that keep the table small and full or large at capacities between the powers of two,
// with the keys of equal hash looked up by probe run, and bursts that grow and shrink the
// table through every size; and a ReactorMap whose new reactor's initial walk grows the
// map that is adding it.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Qor/Collection.h"
#include "Support/TestSeed.h"

namespace {

// Six hashes: five that differ in their top bits only, whose homes lie at five of the
// eighths of a table (which ones depends on its capacity), and one of all ones.
struct ClumpingHash {
  size_t operator()(int k) const noexcept { return k % 3 == 0 ? 0xffffffffu : uint32_t(k % 5) << 28; }
};

template <class Table, class Reference>
void expectSameContents(Table const& table, Reference const& reference) {
  ASSERT_EQ(table.size(), reference.size());
  Reference seen;
  for (auto const& e : table) seen.insert(e);
  EXPECT_EQ(seen, reference);
}

// A table of up to 64 slots may be full; a larger one is at most seven eighths full.
template <class Table>
bool withinLoadBound(Table const& table) {
  return table.capacity() <= 64 || table.size() * 8 <= table.capacity() * 7;
}

TEST(FlatHashTable, MapAndSetMatchTheStandardContainersUnderRandomWrites) {
  uint64_t const first = TestSupport::testSeed();
  bool fullSmallTable = false;
  bool betweenPowersOfTwo = false;
  for (uint64_t seed = first; seed < first + 20; ++seed) {
    SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
    std::mt19937 rng(seed);
    // Ranges that keep the table at 4, 16 or 64 slots, full at times, or past 64 slots.
    int const keyRange = std::vector<int>{4, 16, 64, 300}[seed % 4];
    Qor::FlatHashTable<int, std::string, ClumpingHash> map;
    Qor::FlatHashTable<int, void, ClumpingHash> set;
    std::map<int, std::string> refMap;
    std::set<int> refSet;
    std::map<size_t, int> refHashCount;  // the set's keys per hash
    for (int step = 0; step < 2000; ++step) {
      int const k = int(rng() % keyRange);
      std::string const v = std::to_string(step);
      if (step % 250 == 0) {
        // Every key of the range: a small table fills up.
        for (int key = 0; key < keyRange; ++key) {
          map.try_emplace(key, v);
          refMap.try_emplace(key, v);
          if (set.insert(key).second) ++refHashCount[ClumpingHash()(key)];
          refSet.insert(key);
        }
        fullSmallTable |= set.size() == set.capacity();
      } else if (rng() % 3 != 0) {
        // Half the inserts copy another element's value, which growing must not move away
        // before the copy is made.
        auto const source = refMap.empty() || rng() % 2 ? map.end() : map.find(refMap.begin()->first);
        std::string const& value = source == map.end() ? v : source->second;
        bool const inserted = refMap.try_emplace(k, value).second;
        EXPECT_EQ(map.try_emplace(k, value).second, inserted);
        bool const added = refSet.insert(k).second;
        EXPECT_EQ(set.insert(k).second, added);
        refHashCount[ClumpingHash()(k)] += added;
      } else if (rng() % 2 == 0) {
        EXPECT_EQ(map.erase(k), refMap.erase(k));
        size_t const erased = refSet.erase(k);
        EXPECT_EQ(set.erase(k), erased);
        refHashCount[ClumpingHash()(k)] -= int(erased);
      } else if (auto it = map.find(k); it != map.end()) {
        EXPECT_EQ(it->second, refMap.at(k));
        map.erase(it);
        refMap.erase(k);
      }
      ASSERT_TRUE(withinLoadBound(map) && withinLoadBound(set)) << "step " << step;
      betweenPowersOfTwo |= !std::has_single_bit(map.capacity());
      for (int probe = 0; probe < keyRange + 2; ++probe) {
        ASSERT_EQ(map.count(probe), refMap.count(probe)) << "step " << step << " key " << probe;
        ASSERT_EQ(set.count(probe), refSet.count(probe)) << "step " << step << " key " << probe;
        // The other keys of the probe's hash, found in its probe run alone.
        bool const sharesHash = refHashCount[ClumpingHash()(probe)] > int(refSet.count(probe));
        ASSERT_EQ(set.anyWithHashOf(probe, [&](int k) { return k != probe; }), sharesHash)
            << "step " << step << " key " << probe;
      }
      if (step % 100 == 0) {
        expectSameContents(map, refMap);
        expectSameContents(set, refSet);
      }
    }
    map.clear();
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.begin(), map.end());
    EXPECT_TRUE(map.try_emplace(1, "again").second);
    EXPECT_EQ(map.find(1)->second, "again");
  }
  EXPECT_TRUE(fullSmallTable);
  EXPECT_TRUE(betweenPowersOfTwo);
}

// Bursts of inserts and erases of many keys, in probe runs that wrap, so that the table
// grows and shrinks through every size with elements moving each time: the contents stay
// those of the reference, and the memory follows the elements back down.
TEST(FlatHashTable, GrowsAndShrinksWithBurstsKeepingEveryElement) {
  uint64_t const seed = TestSupport::testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 rng(seed);
  Qor::FlatHashTable<int, std::string, ClumpingHash> map;
  std::map<int, std::string> refMap;
  for (int burst = 0; burst < 6; ++burst) {
    int const count = 1 + int(rng() % 3000);
    for (int i = 0; i < count; ++i) {
      int const k = int(rng() % 4000);
      EXPECT_EQ(map.try_emplace(k, std::to_string(k)).second,
                refMap.try_emplace(k, std::to_string(k)).second);
    }
    expectSameContents(map, refMap);
    EXPECT_TRUE(withinLoadBound(map));
    std::vector<int> keys;
    for (auto const& [k, v] : refMap) keys.push_back(k);
    std::shuffle(keys.begin(), keys.end(), rng);
    size_t const keep = burst % 2 ? 0 : keys.size() / 10;
    for (size_t i = keep; i < keys.size(); ++i) {
      ASSERT_EQ(map.erase(keys[i]), 1u) << keys[i];
      refMap.erase(keys[i]);
      for (int probe : {keys[i], keys[(i + 1) % keys.size()], 0, 3, 4}) {
        ASSERT_EQ(map.count(probe), refMap.count(probe)) << "burst " << burst << " key " << probe;
      }
    }
    expectSameContents(map, refMap);
    // An eighth full at most after a halving, so never below a sixteenth once shrunk,
    // down to the smallest table that a halving would take below 4 slots; an emptied
    // table holds no memory at all.
    EXPECT_LE(map.capacity(), std::max<size_t>(7, map.size() * 16)) << "burst " << burst;
    if (map.empty()) {
      EXPECT_EQ(map.capacity(), 0u) << "burst " << burst;
    }
  }
  map.clear();
  EXPECT_EQ(map.capacity(), 0u);
}

// An element that counts how often elements are moved.
struct Counted {
  static inline size_t moves = 0;
  Counted() = default;
  Counted(Counted&&) noexcept { ++moves; }
  Counted& operator=(Counted&&) noexcept = default;
};

// Keys erased in the table's own order, as a walk over a snapshot of its keys erases them:
// the keys left are those of one end of the order, and the table that halves around them
// must spread them out again rather than pack them into one probe run, whose every later
// erase would shift all of it back. Each element moves a few times, not once per erase.
TEST(FlatHashTable, ErasingInTheTablesOwnOrderMovesEachElementAFewTimes) {
  constexpr uint64_t n = 1 << 16;
  Qor::FlatHashTable<uint64_t, Counted, Qor::Hasher<uint64_t>> map;
  for (uint64_t k = 0; k < n; ++k) map.try_emplace(k * 7919);
  std::vector<uint64_t> keys;
  for (auto const& [k, v] : map) keys.push_back(k);
  Counted::moves = 0;
  for (uint64_t const k : keys) ASSERT_EQ(map.erase(k), 1u);
  EXPECT_LT(Counted::moves, 4 * n);
  EXPECT_EQ(map.capacity(), 0u);
}

// Reserving takes the memory for that many elements at once, keeps what the table holds
// and never shrinks it; adding up to the reserved count does not grow it.
TEST(FlatHashTable, ReserveMakesRoomOnceForTheElementsToCome) {
  Qor::FlatHashTable<int, std::string, ClumpingHash> map;
  map.reserve(0);
  EXPECT_EQ(map.capacity(), 0u);
  map.reserve(64);
  EXPECT_EQ(map.capacity(), 64u);  // a small table may fill up
  std::map<int, std::string> refMap;
  for (int k = 0; k < 30; ++k) {
    map.try_emplace(k, std::to_string(k));
    refMap.try_emplace(k, std::to_string(k));
  }
  map.reserve(1000);
  size_t const reserved = map.capacity();
  EXPECT_EQ(reserved, 1280u);  // 1024 slots hold 896 elements at most, 1280 hold 1120
  expectSameContents(map, refMap);
  map.reserve(10);
  EXPECT_EQ(map.capacity(), reserved);
  for (int k = 30; k < 1000; ++k) {
    map.try_emplace(k, std::to_string(k));
    refMap.try_emplace(k, std::to_string(k));
  }
  EXPECT_EQ(map.capacity(), reserved);
  expectSameContents(map, refMap);

  // Past the quarter steps (128 KiB), the capacity that holds them seven eighths full, in
  // whole lines of 16 tags, instead of the next power of two (32768); growth doubles on.
  Qor::FlatHashTable<uint64_t, uint64_t, Qor::Hasher<uint64_t>> large;
  large.reserve(20000);
  EXPECT_EQ(large.capacity(), 22864u);  // 22848 slots hold 19992
  for (uint64_t k = 0; k < 20000; ++k) large.try_emplace(k, k);
  EXPECT_EQ(large.capacity(), 22864u);
  for (uint64_t k = 20000; k < 20007; ++k) large.try_emplace(k, k);
  EXPECT_EQ(large.capacity(), 32768u);
  EXPECT_EQ(large.size(), 20007u);
  for (uint64_t k = 0; k < 20007; ++k) ASSERT_EQ(large.count(k), 1u) << k;
}

// A reactor that, when created, adds the reactor for the next key to the same map.
class Chain {
 public:
  Chain(Qor::ReactorMap<int, Chain>* map, int key) : map_(map), key_(key) {}
  void onCreate() {
    if (key_ < 40) map_->add(key_ + 1, map_, key_ + 1);
  }
  int key() const { return key_; }

 private:
  Qor::ReactorMap<int, Chain>* map_;
  int key_;
};

TEST(ReactorMap, ReactorsAddedByAnInitialWalkDoNotDisplaceTheReactorBeingAdded) {
  Qor::ReactorMap<int, Chain> map;
  Chain* first = map.add(0, &map, 0);
  ASSERT_EQ(map.size(), 41u);
  EXPECT_EQ(map.get(0), first);
  for (int k = 0; k <= 40; ++k) {
    ASSERT_NE(map.get(k), nullptr) << k;
    EXPECT_EQ(map.get(k)->key(), k);
  }
}

}  // namespace
