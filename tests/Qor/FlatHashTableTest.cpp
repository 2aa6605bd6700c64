// The flat hash table behind the runtime collections, checked against the standard
// containers under random inserts and erases with a hash that piles keys into a few long
// probe runs (some wrapping around the end of the slots), where backward-shift erasing
// and resizing go wrong if they go wrong at all (random writes, with the keys of equal
// hash looked up by probe run, and bursts that grow and shrink the table through every
// size); and a ReactorMap whose new reactor's initial walk grows the map that is adding it.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Qor/Collection.h"
#include "Support/TestSeed.h"

namespace {

// Home slots 0 to 4, or the last slot of any table size.
struct ClumpingHash {
  size_t operator()(int k) const noexcept { return k % 3 == 0 ? 0xffffffffu : uint32_t(k % 5); }
};

template <class Table, class Reference>
void expectSameContents(Table const& table, Reference const& reference) {
  ASSERT_EQ(table.size(), reference.size());
  Reference seen;
  for (auto const& e : table) seen.insert(e);
  EXPECT_EQ(seen, reference);
}

TEST(FlatHashTable, MapAndSetMatchTheStandardContainersUnderRandomWrites) {
  uint64_t const first = TestSupport::testSeed();
  for (uint64_t seed = first; seed < first + 20; ++seed) {
    SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
    std::mt19937 rng(seed);
    Qor::FlatHashTable<int, std::string, ClumpingHash> map;
    Qor::FlatHashTable<int, void, ClumpingHash> set;
    std::map<int, std::string> refMap;
    std::set<int> refSet;
    for (int step = 0; step < 2000; ++step) {
      int const k = int(rng() % 64);
      std::string const v = std::to_string(step);
      if (rng() % 3 != 0) {
        // Half the inserts copy another element's value, which growing must not move away
        // before the copy is made.
        auto const source = refMap.empty() || rng() % 2 ? map.end() : map.find(refMap.begin()->first);
        std::string const& value = source == map.end() ? v : source->second;
        bool const inserted = refMap.try_emplace(k, value).second;
        EXPECT_EQ(map.try_emplace(k, value).second, inserted);
        EXPECT_EQ(set.insert(k).second, refSet.insert(k).second);
      } else if (rng() % 2 == 0) {
        EXPECT_EQ(map.erase(k), refMap.erase(k));
        EXPECT_EQ(set.erase(k), refSet.erase(k));
      } else if (auto it = map.find(k); it != map.end()) {
        EXPECT_EQ(it->second, refMap.at(k));
        map.erase(it);
        refMap.erase(k);
      }
      for (int probe = 0; probe < 64; ++probe) {
        ASSERT_EQ(map.count(probe), refMap.count(probe)) << "step " << step << " key " << probe;
        ASSERT_EQ(set.count(probe), refSet.count(probe)) << "step " << step << " key " << probe;
        // The other keys of the probe's hash, found in its probe run alone.
        bool const sharesHash = std::any_of(refSet.begin(), refSet.end(), [&](int k) {
          return k != probe && ClumpingHash()(k) == ClumpingHash()(probe);
        });
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
    // Up to 64 slots a table may fill up; a larger one stays at most seven eighths full.
    if (map.capacity() > 64) {
      EXPECT_GE(map.capacity() * 7 / 8, map.size());
    }
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
    // An eighth full at most after a halving, so never below a sixteenth once shrunk.
    EXPECT_LE(map.capacity(), std::max<size_t>(4, map.size() * 16)) << "burst " << burst;
  }
  map.clear();
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
  EXPECT_EQ(reserved, 2048u);  // 1024 slots hold 896 elements at most
  expectSameContents(map, refMap);
  map.reserve(10);
  EXPECT_EQ(map.capacity(), reserved);
  for (int k = 30; k < 1000; ++k) {
    map.try_emplace(k, std::to_string(k));
    refMap.try_emplace(k, std::to_string(k));
  }
  EXPECT_EQ(map.capacity(), reserved);
  expectSameContents(map, refMap);
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
