// An observable collection write with one reactor, against a bare std::unordered_map
// insert of the same keys, in the same run.
#include <benchmark/benchmark.h>

#include <unordered_map>

#include "Qor/Attribute.h"

namespace {

class Counts : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Bench::Counts"; }
  QOR_MAP(count, uint64_t, uint32_t)
};

class Sink : public Qor::Reactor {
 public:
  explicit Sink(Qor::Entity const* e) : Reactor(e, nullptr) {}
  void onAttribute(Qor::AttributeId, void const* key) override { sum += Qor::keyAs<uint64_t>(key); }
  uint64_t sum = 0;
};

constexpr int64_t kKeys = 1024;

void BM_UnorderedMapInsert(benchmark::State& state) {
  std::unordered_map<uint64_t, uint32_t, Qor::Hasher<uint64_t>> map;
  for (auto _ : state) {
    for (uint64_t k = 0; k < kKeys; ++k) map.insert_or_assign(k, 1u);
    map.clear();
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(BM_UnorderedMapInsert);

void BM_CollectionWriteOneReactor(benchmark::State& state) {
  Qor::Ptr<Counts> counts(new Counts);
  Sink sink(counts.get());
  for (auto _ : state) {
    for (uint64_t k = 0; k < kKeys; ++k) counts->countIs(k, 1u);
    state.PauseTiming();
    counts->countDelAll();
    state.ResumeTiming();
  }
  benchmark::DoNotOptimize(sink.sum);
  state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(BM_CollectionWriteOneReactor);

// The map clear in the first benchmark and the notifying delAll here are not the same
// work, so this pair compares insert-and-remove cycles as a whole as well.
void BM_UnorderedMapInsertErase(benchmark::State& state) {
  std::unordered_map<uint64_t, uint32_t, Qor::Hasher<uint64_t>> map;
  for (auto _ : state) {
    for (uint64_t k = 0; k < kKeys; ++k) map.insert_or_assign(k, 1u);
    for (uint64_t k = 0; k < kKeys; ++k) map.erase(k);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(BM_UnorderedMapInsertErase);

void BM_CollectionWriteDelOneReactor(benchmark::State& state) {
  Qor::Ptr<Counts> counts(new Counts);
  Sink sink(counts.get());
  for (auto _ : state) {
    for (uint64_t k = 0; k < kKeys; ++k) counts->countIs(k, 1u);
    for (uint64_t k = 0; k < kKeys; ++k) counts->countDel(k);
  }
  benchmark::DoNotOptimize(sink.sum);
  state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(BM_CollectionWriteDelOneReactor);

}  // namespace
