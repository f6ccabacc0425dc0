#pragma once
// The runtime's clocks. The wall clock is a Date value that the user, a time
// server or daylight saving may set at any moment; the steady clock only runs
// forward. A game's time is taken on the steady clock, so that a change of
// the system's time neither shortens nor stretches it.

#include <cstdint>

namespace pelmora {

class Clocks {
 public:
  virtual ~Clocks() = default;
  // The present local date and time as a Date value.
  virtual double WallNow() = 0;
  virtual std::int64_t SteadyNanoseconds() = 0;
};

// The machine's own clocks.
class SystemClocks final : public Clocks {
 public:
  double WallNow() override;
  std::int64_t SteadyNanoseconds() override;
};

// Clocks that move only when told, for scripted runs.
class SetClocks final : public Clocks {
 public:
  SetClocks();
  double WallNow() override;
  std::int64_t SteadyNanoseconds() override { return steadyNs_; }

  // Sets the wall clock only, as a user who changes the system's time does.
  void SetWall(std::int64_t millisecondsSinceDayZero) { wallMs_ = millisecondsSinceDayZero; }
  // Time passes: both clocks move on.
  void Advance(std::int64_t milliseconds);

 private:
  std::int64_t wallMs_;
  std::int64_t steadyNs_ = 0;
};

// Now as the program reads it: while a game is in play, the wall clock as it
// stood at the deal plus the steady time since; otherwise the wall clock.
class GameClock {
 public:
  explicit GameClock(Clocks& clocks) : clocks_(clocks) {}
  double Now();
  // A deal starts the game's time afresh (also over a game in play); a win
  // ends it.
  void SetInPlay(bool inPlay);

 private:
  Clocks& clocks_;
  bool inPlay_ = false;
  double wallAtDeal_ = 0;
  std::int64_t steadyAtDeal_ = 0;
};

}  // namespace pelmora
