#include "host/sim_bench.h"

#include <cstdio>
#include <cstdlib>

#include "host/fake_firmware.h"

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define QUORVEX_DUMP_STATS(Label) CALLGRIND_DUMP_STATS_AT(Label)
#else
#define QUORVEX_DUMP_STATS(Label) ((void)(Label))
#endif

namespace sim {

namespace {

std::FILE* Out = nullptr;
unsigned long long LastPixels = 0;
unsigned Step = 0;

} // namespace

bool Bench_Start() {
  const char* path = std::getenv("QUORVEX_SIM_BENCH");
  if (path == nullptr || *path == '\0') return false;
  Out = std::fopen(path, "w");
  if (Out == nullptr) {
    std::fprintf(stderr, "quorvex-sim: cannot write %s\n", path);
    std::exit(2);
  }
  fake::SetPoolFill(false);
  return true;
}

void Bench_Mark(const char* Label) {
  if (Out == nullptr) return;
  char name[32];
  std::snprintf(name, sizeof name, "step %u", Step);
  QUORVEX_DUMP_STATS(name);
  const unsigned long long pixels = fake::Blt().PixelsWritten;
  const fake::PoolStats pool = fake::Pool();
  std::fprintf(Out, "%u %s pixels=%llu peak=%llu\n", Step, Label, pixels - LastPixels,
               static_cast<unsigned long long>(pool.PeakBytes));
  std::fflush(Out);
  LastPixels = pixels;
  fake::ResetPoolPeak();
  ++Step;
}

} // namespace sim
