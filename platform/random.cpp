#include "platform/random.h"

#include <time.h>

#include <chrono>

namespace pelmora {
namespace {

// SplitMix64: a small generator whose every output is a full 64-bit mix of
// its state, so a state nudged by a few nanoseconds still gives a fresh draw.
std::uint64_t Next(std::uint64_t& state) {
  std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

double ToUnit(std::uint64_t bits) { return static_cast<double>(bits >> 11) * 0x1.0p-53; }

// The clock Randomize reads: a coarse one (a few milliseconds a step), which
// costs a few nanoseconds to read. It stands still through a whole deal, as
// the runtime's timer did; the state mixing keeps the draws apart.
std::uint64_t FastClock() {
#if defined(CLOCK_MONOTONIC_COARSE)
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &ts);
  return static_cast<std::uint64_t>(ts.tv_sec) * 1000000000ULL + static_cast<std::uint64_t>(ts.tv_nsec);
#else
  return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
#endif
}

std::uint64_t WallNanoseconds() {
  return static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
}

}  // namespace

// The first seed also takes the wall clock, so two runs started in the same
// processor cycle count (after a reboot) still differ.
ClockSeededRandom::ClockSeededRandom(Clock clock)
    : clock_(clock ? clock : FastClock), state_(clock_() ^ (clock ? 0 : WallNanoseconds())) {}

// The clock steps every few milliseconds while a deal re-seeds every few
// nanoseconds, hundreds of times: reading it on every 64th re-seed sees the
// same steps for a 64th of the cost (a sixth of a deal's time otherwise).
void ClockSeededRandom::Randomize() {
  if (reseeds_++ % 64 == 0) now_ = clock_();
  state_ ^= now_ * 0xD1B54A32D192ED03ULL;
}

double ClockSeededRandom::Rnd() { return ToUnit(Next(state_)); }

SeededRandom::SeededRandom(std::uint64_t seed) : state_(seed) {}

void SeededRandom::Reseed(std::uint64_t seed) { state_ = seed; }

double SeededRandom::Rnd() { return ToUnit(Next(state_)); }

}  // namespace pelmora
