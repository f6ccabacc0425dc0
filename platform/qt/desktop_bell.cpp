#include "platform/qt/desktop_bell.h"

#include <alsa/asoundlib.h>
#include <canberra.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QMetaObject>
#include <chrono>
#include <utility>

namespace pelmora {

namespace {

// ALSA tells of a missing sound card on standard error, several lines each
// time a sound is tried. Here that is no error: the fallback sounds instead.
void Quiet(const char*, int, const char*, int, const char*, ...) {}

// What a sound started needs once it has finished.
struct Started {
  DesktopBell* bell;
  std::function<void()> fallback;
};

void RunOnEventLoop(std::function<void()> f) {
  if (f && QCoreApplication::instance())
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(f), Qt::QueuedConnection);
}

}  // namespace

DesktopBell::~DesktopBell() {
  {
    const std::lock_guard lock(mutex_);
    if (!thread_.joinable()) return;
    ending_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void DesktopBell::Ring(std::function<void()> fallback) {
  const std::lock_guard lock(mutex_);
  if (!thread_.joinable()) {
    // Named as the desktop knows the program, for the sound server's list
    // of who plays what.
    name_ = QCoreApplication::applicationName().toStdString();
    id_ = QGuiApplication::desktopFileName().toStdString();
    thread_ = std::thread(&DesktopBell::Run, this);
  }
  asked_.push_back(std::move(fallback));
  changed_.notify_all();
}

void DesktopBell::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || !asked_.empty(); });
    if (asked_.empty()) break;
    std::vector<std::function<void()>> asked;
    asked.swap(asked_);
    lock.unlock();
    for (std::function<void()>& fallback : asked) Start(std::move(fallback));
    lock.lock();
  }
  // A bell still sounding is heard out: a run may end on the beep of its
  // last word.
  changed_.wait_for(lock, std::chrono::seconds(2), [this] { return sounding_ == 0; });
  lock.unlock();
  if (context_) ca_context_destroy(context_);
}

void DesktopBell::Start(std::function<void()> fallback) {
  if (!context_) {
    snd_lib_error_set_handler(&Quiet);
    if (ca_context_create(&context_) != CA_SUCCESS) {
      context_ = nullptr;
      RunOnEventLoop(std::move(fallback));
      return;
    }
    ca_context_change_props(context_, CA_PROP_APPLICATION_NAME, name_.c_str(), CA_PROP_APPLICATION_ID, id_.c_str(),
                            CA_PROP_APPLICATION_ICON_NAME, id_.c_str(), nullptr);
  }
  ca_proplist* props = nullptr;
  if (ca_proplist_create(&props) != CA_SUCCESS) {
    RunOnEventLoop(std::move(fallback));
    return;
  }
  ca_proplist_sets(props, CA_PROP_EVENT_ID, "bell");
  ca_proplist_sets(props, CA_PROP_EVENT_DESCRIPTION, "Alert");
  // Kept by the sound server after the first time, so later bells start
  // at once.
  ca_proplist_sets(props, CA_PROP_CANBERRA_CACHE_CONTROL, "permanent");
  auto* started = new Started{this, std::move(fallback)};
  {
    const std::lock_guard lock(mutex_);
    ++sounding_;
  }
  const int error = ca_context_play_full(context_, 0, props, &DesktopBell::Finished, started);
  ca_proplist_destroy(props);
  if (error != CA_SUCCESS) Finished(context_, 0, error, started);
}

void DesktopBell::Finished(ca_context*, std::uint32_t, int error, void* data) {
  auto* started = static_cast<Started*>(data);
  // Cut short by the program's end, or by the player's settings: no other
  // sound in its place.
  if (error != CA_SUCCESS && error != CA_ERROR_CANCELED && error != CA_ERROR_DESTROYED && error != CA_ERROR_DISABLED)
    RunOnEventLoop(std::move(started->fallback));
  DesktopBell& bell = *started->bell;
  delete started;
  {
    const std::lock_guard lock(bell.mutex_);
    --bell.sounding_;
  }
  bell.changed_.notify_all();
}

}  // namespace pelmora
