// What lists, methods and their parts cost, each beside a floor.
//
//   costs FOLDER [--benchmark_...]      FOLDER is on the disk that is to be measured; what is in
//                                       it below "list...", "actions" and "parts" is lost

#include <benchmark/benchmark.h>

#include <cstdio>

#include "costs/costs.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (argc != 2) {
    fprintf(stderr, "costs FOLDER [--benchmark_...]\n");
    return 2;
  }
  bench::register_lists(argv[1]);
  bench::register_actions(argv[1]);
  bench::register_parts(argv[1]);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
