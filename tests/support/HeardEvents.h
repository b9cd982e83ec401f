// HeardEvents.h -- entries for the event log, kept by a test instead.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Reports.h"

namespace corvane::test {

class HeardEvents {
 public:
  struct Event {
    std::string source;
    platform::EventType type{};
    std::uint32_t id = 0;
    std::string text;
    bool operator==(const Event&) const = default;
  };

  HeardEvents() {
    platform::SetEventListener(
        [](void* heard, std::string_view source, platform::EventType type, std::uint32_t id,
           std::string_view first, std::string_view text) {
          auto* self = static_cast<HeardEvents*>(heard);
          const std::lock_guard lock(self->mutex_);
          self->all.push_back({std::string(source), type, id, std::string(text)});
          self->firstStrings.emplace_back(first);
        },
        this);
  }
  ~HeardEvents() { platform::SetEventListener(nullptr, nullptr); }
  HeardEvents(const HeardEvents&) = delete;
  HeardEvents& operator=(const HeardEvents&) = delete;

  std::vector<Event> all;
  std::vector<std::string> firstStrings;  // what each has before its text

 private:
  std::mutex mutex_;
};

}  // namespace corvane::test
