// One page of 50 tasks through the entry function, beside reading and sorting all of them.

#include <benchmark/benchmark.h>

#include <memory>

#include "costs/costs.h"
#include "costs/raw_store.h"
#include "costs/sample_appliance.h"

namespace bench {
namespace {

void measure_list(benchmark::State& state, const SampleAppliance& appliance,
                  const char* parameters) {
  appliance.enter();
  const KAVO::APIMethod& list = method(1, "list");
  kavo::JsonRequest request(json(parameters), kLanguage);
  call(list, request);  // opens the store
  for (auto _ : state) {
    call(list, request);
  }
  show_allocations(state, [&] { call(list, request); });
}

void read_and_sort(benchmark::State& state, const SampleAppliance& appliance) {
  RawStore store(appliance.store());
  store.list();
  for (auto _ : state) {
    benchmark::DoNotOptimize(store.list());
  }
}

}  // namespace

void register_lists(const std::string& folder) {
  for (const int tasks : {100, 1000, 10000, 100000}) {
    const auto appliance =
        std::make_shared<SampleAppliance>(folder + "/list" + std::to_string(tasks), tasks);
    const std::string name = "list of " + std::to_string(tasks);
    const auto add = [&](const std::string& what, const char* parameters) {
      benchmark::RegisterBenchmark((what + "/measured").c_str(), [=](benchmark::State& state) {
        measure_list(state, *appliance, parameters);
      });
      benchmark::RegisterBenchmark((what + "/floor").c_str(), [=](benchmark::State& state) {
        read_and_sort(state, *appliance);
      });
    };
    add(name, R"({"limit": 50})");
    if (tasks == 10000) {
      add(name + " by name", R"({"limit": 50, "sort_by": "name"})");
      add(name + " by action", R"({"limit": 50, "sort_by": "action", "sort_direction": "desc"})");
      add(name + " without a limit", "{}");
    }
  }
}

}  // namespace bench
