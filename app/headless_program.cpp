#include "app/headless_program.h"

namespace pelmora {

HeadlessProgram::HeadlessProgram(std::string profilePath, ProgramParts parts)
    : store(std::move(profilePath), parts.fileSystem ? *parts.fileSystem : ownFileSystem_),
      runtime(door, parts.clocks ? *parts.clocks : ownClocks_,
              parts.random ? *parts.random : ownRandom_) {
  door.Attach(store);
  door.onFailure = [this](const std::string& what) { contained.push_back(what); };
  door.onWriteFailed = [this](const std::string& sentence) { runtime.MsgBox(sentence, vbExclamation); };
}

Form1& HeadlessProgram::Start() {
  // With the profile's lock held no write can be under way: every temporary
  // beside the file is a killed run's.
  store.RemoveLeftoverTemporaries();
  form_ = std::make_unique<Form1>(runtime, store);
  door.Dispatch([this] {
    form_->Loaded = true;
    if (form_->LoadEvent) form_->LoadEvent();
  });
  return *form_;
}

}  // namespace pelmora
