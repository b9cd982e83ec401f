#include "connector/settings/Settings.h"

#include <array>
#include <atomic>
#include <mutex>

#include "connector/settings/ConnectorSettings.h"
#include "platform/SettingsStore.h"

namespace corvane::settings {
namespace {

using platform::SettingsStore;

// Numbers read at start or cached, by their slots. An entry is of one kind or the other.
class HeldNumbers {
 public:
  HeldNumbers() { Forget(); }

  void Forget() {
    for (const DwordSetting* setting : AllNumbers()) {
      bool cached = setting->read == Read::Cached;
      At(*setting) = cached ? setting->unreadMark : setting->defaultValue;
    }
  }

  std::atomic<std::uint32_t>& At(const DwordSetting& setting) { return numbers_[setting.slot]; }

 private:
  std::array<std::atomic<std::uint32_t>, table::kNumberSlots> numbers_;
};

// Texts in the same way. They are few and rarely asked for.
class HeldTexts {
 public:
  void Forget() {
    std::lock_guard lock(mutex_);
    texts_ = {};
  }

  std::optional<std::string> At(const TextSetting& setting) {
    std::lock_guard lock(mutex_);
    return texts_[setting.slot];
  }

  void Hold(const TextSetting& setting, std::string_view text) {
    std::lock_guard lock(mutex_);
    texts_[setting.slot] = std::string(text);
  }

 private:
  std::mutex mutex_;
  std::array<std::optional<std::string>, table::kTextSlots> texts_;
};

// Never destroyed: workers that outlive main() may still ask.
HeldNumbers& Numbers() {
  static auto* numbers = new HeldNumbers;
  return *numbers;
}

HeldTexts& Texts() {
  static auto* texts = new HeldTexts;
  return *texts;
}

std::uint32_t StoredOrDefault(const DwordSetting& setting) {
  return Find(setting).value_or(setting.defaultValue);
}

// Threads that meet at the first use all read the same stored value.
std::uint32_t Cached(const DwordSetting& setting) {
  std::atomic<std::uint32_t>& held = Numbers().At(setting);
  std::uint32_t value = held.load(std::memory_order_relaxed);
  if (value != setting.unreadMark) return value;
  value = StoredOrDefault(setting);
  held.store(value, std::memory_order_relaxed);
  return value;
}

std::string Cached(const TextSetting& setting) {
  std::optional<std::string> held = Texts().At(setting);
  if (held) return *held;
  std::string text = Find(setting).value_or(setting.defaultValue);
  Texts().Hold(setting, text);
  return text;
}

enum class Training : std::uint8_t { kUnread, kOff, kOn };
std::atomic<Training> training{Training::kUnread};

}  // namespace

std::uint32_t Get(const DwordSetting& setting) {
  if (setting.read == Read::Cached) return Cached(setting);
  if (setting.read == Read::Start) return Numbers().At(setting).load(std::memory_order_relaxed);
  return StoredOrDefault(setting);
}

std::string Get(const TextSetting& setting) {
  if (setting.read == Read::Cached) return Cached(setting);
  if (setting.read == Read::Start) return Texts().At(setting).value_or(setting.defaultValue);
  return Find(setting).value_or(setting.defaultValue);
}

std::optional<std::uint32_t> Find(const DwordSetting& setting) {
  return SettingsStore::Default().GetDword(WholeKey(setting.key), setting.name);
}

std::optional<std::string> Find(const TextSetting& setting) {
  auto text = SettingsStore::Default().GetString(WholeKey(setting.key), setting.name);
  if (text && text->find('\0') != std::string::npos) text->resize(text->find('\0'));
  return text;
}

bool Note(const DwordSetting& setting, std::uint32_t value) {
  return SettingsStore::Default().NoteDword(WholeKey(setting.key), setting.name, value);
}

std::uint32_t NdrGenerationMode(std::int32_t callerFlag) {
  constexpr std::uint32_t kAsSmtpSays = 2;
  constexpr std::uint32_t kByCaller = 3;
  std::uint32_t mode = Get(kNoNdrGeneration);
  if (mode == kAsSmtpSays) mode = Get(kNoNdrGenerationSmtp);
  return mode == kByCaller && callerFlag == 0 ? 1 : mode;
}

bool RealtimeTrainingEnabled() {
  Training state = training.load(std::memory_order_relaxed);
  if (state == Training::kUnread) {
    bool on = Find(kBayesianFilteringStatus).has_value() && Get(kBayesianTrainingMode) == 1 &&
              Get(kBayesianRealtimeTraining) != 0;
    state = on ? Training::kOn : Training::kOff;
    training.store(state, std::memory_order_relaxed);
  }
  return state == Training::kOn;
}

void TurnRealtimeTrainingOff() {
  training.store(Training::kOff, std::memory_order_relaxed);
  Numbers().At(kBayesianRealtimeTraining).store(0, std::memory_order_relaxed);
  // A store that can't be written keeps its value for the processes to come; this one has ended it.
  (void)Note(kBayesianRealtimeTraining, 0);
}

void Hold(const DwordSetting& setting, std::uint32_t value) {
  Numbers().At(setting).store(value, std::memory_order_relaxed);
}

void Hold(const TextSetting& setting, std::string_view value) { Texts().Hold(setting, value); }

void ForgetSettings() {
  Numbers().Forget();
  Texts().Forget();
  training.store(Training::kUnread, std::memory_order_relaxed);
  ForgetConnectorPaths();
}

}  // namespace corvane::settings
