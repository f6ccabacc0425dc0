#pragma once
// The desktop's own alert sound: the event "bell" of the freedesktop sound
// theme, played through libcanberra, so the sound server's settings for event
// sounds (their volume, muted or not) apply to it. Where no sound can be
// played (no sound server and no sound card), the fallback given to Ring runs
// instead, on the thread of the application's event loop.
//
// Ring never waits: making the connection to the sound server and starting
// the sound happen on a thread of the bell's own. A bell still sounding when
// the bell is destroyed is heard to its end, for at most two seconds.

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct ca_context;

namespace pelmora {

class DesktopBell {
 public:
  DesktopBell() = default;
  ~DesktopBell();
  DesktopBell(const DesktopBell&) = delete;
  DesktopBell& operator=(const DesktopBell&) = delete;

  void Ring(std::function<void()> fallback);

 private:
  void Run();
  void Start(std::function<void()> fallback);
  static void Finished(ca_context* context, std::uint32_t id, int error, void* bell);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::thread thread_;
  std::vector<std::function<void()>> asked_;  // the fallbacks of rings not yet started
  // The fallbacks of the sounds started and not yet finished, by the id
  // each sound was played with.
  std::map<std::uint32_t, std::function<void()>> sounding_;
  std::uint32_t lastId_ = 0;
  bool ending_ = false;
  std::string name_, id_;          // the program as the desktop knows it
  ca_context* context_ = nullptr;  // the bell's thread's alone
};

}  // namespace pelmora
