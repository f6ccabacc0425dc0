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
  changed_.wait_for(lock, std::chrono::seconds(2), [this] { return sounding_.empty(); });
  // The context is left to the process's end, not destroyed: libcanberra's
  // ALSA backend tells a sound finished from a thread that runs on for a
  // moment after, and destroying the context unloads the backend's code
  // under that thread.
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
  std::uint32_t id = 0;
  {
    const std::lock_guard lock(mutex_);
    id = ++lastId_;
    sounding_.emplace(id, std::move(fallback));
  }
  const int error = ca_context_play_full(context_, id, props, &DesktopBell::Finished, this);
  ca_proplist_destroy(props);
  if (error != CA_SUCCESS) Finished(context_, id, error, this);
}

void DesktopBell::Finished(ca_context*, std::uint32_t id, int error, void* data) {
  DesktopBell& bell = *static_cast<DesktopBell*>(data);
  std::function<void()> fallback;
  {
    const std::lock_guard lock(bell.mutex_);
    // A sound's end can be told twice (libcanberra's ALSA backend tells it
    // again if its context goes first): the second time finds it gone.
    const auto sound = bell.sounding_.find(id);
    if (sound == bell.sounding_.end()) return;
    fallback = std::move(sound->second);
    bell.sounding_.erase(sound);
  }
  // Cut short by the program's end, or by the player's settings: no other
  // sound in its place.
  if (error != CA_SUCCESS && error != CA_ERROR_CANCELED && error != CA_ERROR_DESTROYED && error != CA_ERROR_DISABLED)
    RunOnEventLoop(std::move(fallback));
  bell.changed_.notify_all();
}

}  // namespace pelmora
