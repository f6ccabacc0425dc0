#include "platform/random.h"

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

std::uint64_t MonotonicNanoseconds() {
  return static_cast<std::uint64_t>(
      std::chrono::steady_clock::now().time_since_epoch().count());
}

}  // namespace

ClockSeededRandom::ClockSeededRandom(std::function<std::uint64_t()> clockNanoseconds)
    : clock_(clockNanoseconds ? std::move(clockNanoseconds) : MonotonicNanoseconds),
      state_(clock_()) {}

void ClockSeededRandom::Randomize() { state_ ^= clock_() * 0xD1B54A32D192ED03ULL; }

double ClockSeededRandom::Rnd() { return ToUnit(Next(state_)); }

SeededRandom::SeededRandom(std::uint64_t seed) : state_(seed) {}

void SeededRandom::Reseed(std::uint64_t seed) { state_ = seed; }

double SeededRandom::Rnd() { return ToUnit(Next(state_)); }

}  // namespace pelmora
