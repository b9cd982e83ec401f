// HeldLibrary.h -- a library that one thread may unload while others are inside it.
//
// A caller holds the library for the length of its call. Unload takes it away from everybody who
// comes later and lets go of it when the last holder does, so no call ever returns into code that
// is gone.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Library.h"

namespace corvane::platform {

class HeldLibrary {
 public:
  // Loads `<directory>/<name>` as Library::Load does, in place of what was loaded. On failure
  // nothing is loaded and LastError tells why.
  bool Load(std::string_view directory, std::string_view name, std::string* why = nullptr) {
    Library library = Library::Load(directory, name, why);
    auto next = library.IsLoaded() ? std::make_shared<const Library>(std::move(library)) : nullptr;
    Exchange(next);
    return next != nullptr;
  }

  void Unload() { Exchange(nullptr); }

  // The library for as long as the pointer lives; null when none is loaded.
  [[nodiscard]] std::shared_ptr<const Library> Hold() const {
    std::lock_guard lock(mutex_);
    return library_;
  }

 private:
  void Exchange(std::shared_ptr<const Library> next) {
    {
      std::lock_guard lock(mutex_);
      library_.swap(next);
    }
    // `next` now holds the old library; it may go here, outside the lock.
  }

  mutable std::mutex mutex_;
  std::shared_ptr<const Library> library_;
};

}  // namespace corvane::platform
