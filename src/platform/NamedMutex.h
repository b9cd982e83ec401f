// NamedMutex.h -- a mutex that processes find by its name.
//
// Robust: a holder that dies, thread or process, leaves it to the next one with the outcome
// kAbandoned. Lives in shared memory, made by whoever comes first; recursive, as its callers
// expect. It is this installation's: the settings store in use is part of the name. Any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace corvane::platform {

enum class LockOutcome : std::uint8_t { kLocked, kTimedOut, kAbandoned, kFailed };

inline constexpr std::int64_t kNoTimeLimit = -1;

class NamedMutex {
 public:
  // The name stays for others. The last handle of a process gives back what its own thread holds.
  ~NamedMutex();
  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;

  // The mutex of that name if somebody has it (nothing and LastError 2 otherwise); made when
  // missing; a nameless one. All handles of a process on one name are the same mutex to it.
  [[nodiscard]] static std::unique_ptr<NamedMutex> Open(std::string_view name);
  [[nodiscard]] static std::unique_ptr<NamedMutex> Create(std::string_view name);
  [[nodiscard]] static std::unique_ptr<NamedMutex> CreateUnnamed();

  // kAbandoned: held now, after its last holder died holding it. kFailed leaves LastError.
  [[nodiscard]] LockOutcome Lock(std::int64_t timeoutMilliseconds);
  // False when the calling thread doesn't hold it (LastError 288).
  bool Unlock();

 private:
  struct State;
  class Registry;
  explicit NamedMutex(std::shared_ptr<State> state);
  static std::unique_ptr<NamedMutex> Make(std::shared_ptr<State> state);
  std::shared_ptr<State> state_;
};

}  // namespace corvane::platform
