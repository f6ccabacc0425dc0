#include "platform/clock.h"

#include <time.h>

#include <chrono>

#include "platform/runtime_helpers.h"

namespace pelmora {

namespace {
constexpr double kNanosecondsPerDay = 86400e9;
constexpr double kMillisecondsPerDay = 86400e3;
}  // namespace

double SystemClocks::WallNow() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  return DateValue(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                   local.tm_sec + now.tv_nsec / 1e9);
}

std::int64_t SystemClocks::SteadyNanoseconds() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// A scripted run starts at noon on the first day of 2026.
SetClocks::SetClocks()
    : wallMs_(static_cast<std::int64_t>(DateValue(2026, 1, 1, 12, 0, 0) * kMillisecondsPerDay + 0.5)) {}

double SetClocks::WallNow() { return static_cast<double>(wallMs_) / kMillisecondsPerDay; }

void SetClocks::Advance(std::int64_t milliseconds) {
  wallMs_ += milliseconds;
  steadyNs_ += milliseconds * 1'000'000;
}

double GameClock::Now() {
  if (!inPlay_) return clocks_.WallNow();
  return wallAtDeal_ + static_cast<double>(clocks_.SteadyNanoseconds() - steadyAtDeal_) / kNanosecondsPerDay;
}

void GameClock::SetInPlay(bool inPlay) {
  inPlay_ = inPlay;
  if (!inPlay) return;
  wallAtDeal_ = clocks_.WallNow();
  steadyAtDeal_ = clocks_.SteadyNanoseconds();
}

}  // namespace pelmora
