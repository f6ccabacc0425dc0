#pragma once
// Randomize and Rnd. The logic re-seeds before every draw of a direction, a
// start cell and a filler letter, so a source must stay varied when it is
// re-seeded many times within one tick of the clock.

#include <cstdint>

namespace pelmora {

class RandomSource {
 public:
  virtual ~RandomSource() = default;
  // Re-seeds from the clock (Randomize).
  virtual void Randomize() = 0;
  // A new draw in [0, 1) (Rnd).
  virtual double Rnd() = 0;
};

// The source of a real run: each Randomize mixes the clock's nanoseconds into
// the running state instead of replacing it, so re-seeding while the clock
// stands still never repeats a draw.
class ClockSeededRandom final : public RandomSource {
 public:
  using Clock = std::uint64_t (*)();
  // clock defaults to a coarse monotonic clock, cheap to read (a deal reads
  // it hundreds of times).
  explicit ClockSeededRandom(Clock clock = nullptr);
  void Randomize() override;
  double Rnd() override;

 private:
  Clock clock_;
  std::uint64_t state_;
  std::uint64_t now_ = 0;       // the clock's last reading
  std::uint32_t reseeds_ = 0;  // Randomize calls so far
};

// A deterministic source for scripts and tests: the same seed gives the same
// draws, and Randomize changes nothing.
class SeededRandom final : public RandomSource {
 public:
  explicit SeededRandom(std::uint64_t seed = 1);
  void Randomize() override {}
  double Rnd() override;
  void Reseed(std::uint64_t seed);

 private:
  std::uint64_t state_;
};

}  // namespace pelmora
