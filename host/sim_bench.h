// Benchmark mode of the simulator (QUORVEX_SIM_BENCH=FILE in the
// environment): the fake pool stops filling new blocks, and at every point
// where the utility waits for input with an empty queue, and at the end of
// the run, one line goes to FILE with what happened since the previous
// point: pixels written to the screen and the pool's peak. Under callgrind
// the same points dump the instruction counts, so each dump holds the cost
// of exactly one scripted input (the first one: start-up to the first key
// read).
#pragma once

namespace sim {

// Reads the environment; true when benchmark mode is on.
bool Bench_Start();
// A measuring point. Label names it in FILE ("idle", "end").
void Bench_Mark(const char* Label);

} // namespace sim
