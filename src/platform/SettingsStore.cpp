// SettingsStore.cpp -- the snapshot in force, and how every reader comes to hold it.
//
// A reader keeps the last View that it used as its own. As long as the View's sign of the database
// holds and no other View has been published, a read touches nothing that another thread writes.
// Otherwise it takes the mutex, under which alone the readers' connection is used and views are
// made. A View keeps its connection open, and with it the mapping that its sign is compared with.
// Changes go through a connection of their own (SettingsWriter.h), outside the mutex, and are
// published when they are written.
#include "platform/SettingsStore.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "platform/Clock.h"
#include "platform/Database.h"
#include "platform/DatabaseChange.h"
#include "platform/Error.h"
#include "platform/SettingsFile.h"
#include "platform/SettingsSnapshot.h"
#include "platform/SettingsWriter.h"

namespace corvane::platform {
namespace {

constexpr const char* kPathVariable = "CORVANE_SETTINGS";
constexpr const char* kUsualPath = "/var/lib/corvane/settings.db";
constexpr std::int64_t kLookMilliseconds = 200;
constexpr std::int64_t kNeverLooked = INT64_MIN / 2;
constexpr int kBusyMilliseconds = 5000;

using Connection = SettingsConnection;
using Care = SettingsWriter::Care;

// What readers answer from.
struct View {
  SettingsSnapshot settings;
  DatabaseSign sign;
  std::shared_ptr<Connection> connection;  // null while there is no store

  [[nodiscard]] bool Holds() const { return connection == nullptr || connection->change.Is(sign); }
};
using ViewPointer = std::shared_ptr<const View>;

// The calling thread's own View of the store that it read last.
struct ReaderView {
  std::uint64_t store = 0;
  std::uint64_t publication = 0;
  ViewPointer view;
};
thread_local ReaderView readerView;

std::optional<std::uint32_t> NumberOf(const SettingsSnapshot::Item& item) {
  if (item.type == SettingType::kDword) return item.number;
  if (item.type != SettingType::kBinary || item.bytes.size() != 4) return std::nullopt;
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;)
    number = number << 8 | static_cast<unsigned char>(item.bytes[i]);
  return number;
}

std::uint64_t NextStoreNumber() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

struct SettingsStore::State {
  explicit State(std::string_view storePath) : path(storePath), writer(path) {}

  const std::uint64_t number = NextStoreNumber();
  const std::string path;
  std::atomic<std::uint64_t> publication{0};         // grows with each published View
  std::atomic<std::int64_t> lastLook{kNeverLooked};  // when the path itself was last looked at
  SettingsWriter writer;
  std::mutex mutex;  // guards all below
  ViewPointer current = std::make_shared<const View>();
  std::shared_ptr<Connection> connection;
  std::string errorText;  // empty while the store can be read
  std::int32_t error = kErrorNone;

  // The View that a read now has to answer from; the thread holds it until its next read.
  const View& Acquire();
  [[nodiscard]] bool LookIsDue() const;
  void Look();
  void Refresh();
  void Publish(View view);
  void Break(const std::string& why);
  [[nodiscard]] bool Fail(const std::string& why);
  [[nodiscard]] bool Open(DatabaseMode mode);
  [[nodiscard]] bool OpenForReading();
  [[nodiscard]] bool Load();
  [[nodiscard]] bool Write(const std::vector<SettingChange>& changes, Care care);
  [[nodiscard]] bool Follow(const std::vector<SettingChange>& changes,
                            const SettingsWriter::Written& written);
  [[nodiscard]] bool PublishOneNumber(const std::vector<SettingChange>& changes,
                                      const SettingsWriter::Written& written);
};

bool SettingsStore::State::LookIsDue() const {
  std::int64_t passed = CurrentClock().Monotonic() - lastLook.load(std::memory_order_relaxed);
  return passed >= kLookMilliseconds || passed < 0;
}

const View& SettingsStore::State::Acquire() {
  ReaderView& own = readerView;
  bool known = own.store == number &&
               own.publication == publication.load(std::memory_order_acquire) && own.view->Holds();
  bool due = LookIsDue();
  if (known && !due) return *own.view;
  std::unique_lock lock(mutex, std::defer_lock);
  // One reader at a time looks at the path; the others go on meanwhile.
  if (known && !lock.try_lock()) return *own.view;
  if (!known) lock.lock();
  // A value that is absent is no error of the caller's.
  std::int32_t callersError = LastError();
  if (due && LookIsDue()) Look();
  if (!current->Holds()) Refresh();
  SetLastError(callersError);
  own = {number, publication.load(std::memory_order_relaxed), current};
  return *own.view;
}

// Opens a store that has appeared; leaves one that no longer stands at its path.
void SettingsStore::State::Look() {
  lastLook.store(CurrentClock().Monotonic(), std::memory_order_relaxed);
  if (connection != nullptr && DatabaseChange::HasMoved(connection->database)) {
    SetLastError(kErrorFileNotFound);
    Break(path + ": the settings store was removed or replaced");
  }
  if (connection == nullptr && OpenForReading()) (void)Load();
}

bool SettingsStore::State::OpenForReading() {
  return Open(DatabaseMode::kReadWrite) || Open(DatabaseMode::kReadOnly);
}

bool SettingsStore::State::Fail(const std::string& why) {
  errorText = why;
  error = LastError();
  return false;
}

bool SettingsStore::State::Open(DatabaseMode mode) {
  std::string why;
  connection.reset();
  Database database = Database::Open(path, mode, kBusyMilliseconds, &why);
  if (!database) return Fail(why);
  connection = std::make_shared<Connection>(std::move(database));
  return true;
}

bool SettingsStore::State::Load() {
  View view{.settings = {}, .sign = connection->change.Read(), .connection = connection};
  std::string why;
  std::optional<SettingsSnapshot> settings = LoadSettings(connection->database, &why);
  if (!settings) {
    Break(path + ": " + why);
    return false;
  }
  view.settings = std::move(*settings);
  Publish(std::move(view));
  return true;
}

// Reads the store anew. What isn't mapped has to be opened anew for that.
void SettingsStore::State::Refresh() {
  bool usable = connection != nullptr && connection->change.Mapped();
  if (!usable && !OpenForReading()) return Break(errorText);
  (void)Load();
}

void SettingsStore::State::Publish(View view) {
  current = std::make_shared<const View>(std::move(view));
  publication.fetch_add(1, std::memory_order_release);
  if (current->connection != nullptr) errorText.clear();
}

// Goes on with what was read last, until the next look at the path.
void SettingsStore::State::Break(const std::string& why) {
  (void)Fail(why);
  connection.reset();
  Publish(View{.settings = current->settings, .sign = {}, .connection = nullptr});
}

bool SettingsStore::State::Write(const std::vector<SettingChange>& changes, Care care) {
  SettingsWriter::Written written;
  std::string why;
  const bool named = std::none_of(changes.begin(), changes.end(), [](const SettingChange& change) {
    return CanonicalSettingKey(change.key).empty();
  });
  if (!named) {
    SetLastError(kErrorInvalidParameter);
    why = "a setting needs a key";
  }
  const bool done = named && writer.Write(changes, care, &written, &why);
  const std::lock_guard lock(mutex);
  return done ? Follow(changes, written) : Fail(why);
}

// Lets readers see what has been written, unless one of them was quicker.
bool SettingsStore::State::Follow(const std::vector<SettingChange>& changes,
                                  const SettingsWriter::Written& written) {
  lastLook.store(CurrentClock().Monotonic(), std::memory_order_relaxed);
  const bool lost = connection == nullptr || !connection->change.Mapped() ||
                    (written.reopened && DatabaseChange::HasMoved(connection->database));
  if (lost) return OpenForReading() && Load();
  return current->Holds() || PublishOneNumber(changes, written) || Load();
}

// A counter that is written over needs no new reading of the whole store, as long as nobody else's
// change lies between the View in force and now.
bool SettingsStore::State::PublishOneNumber(const std::vector<SettingChange>& changes,
                                            const SettingsWriter::Written& written) {
  if (changes.size() != 1) return false;
  const SettingChange& change = changes.front();
  const bool simple =
      change.kind == SettingChange::Kind::kSet && change.value.type == SettingType::kDword;
  const bool known = current->connection == connection && current->sign == written.before;
  if (!simple || !known || !DatabaseChange::OneCommitApart(written.before, written.after)) {
    return false;
  }
  auto settings = current->settings.WithNumber(change.key, change.name, change.value.number);
  if (!settings) return false;
  Publish(View{.settings = std::move(*settings), .sign = written.after, .connection = connection});
  return true;
}

SettingValue SettingValue::Dword(std::uint32_t number) { return {SettingType::kDword, number, {}}; }
SettingValue SettingValue::String(std::string_view text) {
  return {SettingType::kString, 0, std::string(text)};
}
SettingValue SettingValue::Binary(std::string_view bytes) {
  return {SettingType::kBinary, 0, std::string(bytes)};
}

namespace {

// Never destroyed: threads that outlive main() may still read.
std::atomic<SettingsStore*> defaultStore{nullptr};
std::mutex defaultMutex;

}  // namespace

SettingsStore& SettingsStore::Default() {
  SettingsStore* store = defaultStore.load(std::memory_order_acquire);
  if (store != nullptr) return *store;
  std::lock_guard lock(defaultMutex);
  if (defaultStore.load() == nullptr) defaultStore.store(new SettingsStore(DefaultPath()));
  return *defaultStore.load();
}

void SettingsStore::UsePath(std::string_view path) {
  std::lock_guard lock(defaultMutex);
  delete defaultStore.exchange(new SettingsStore(path));
}

std::string SettingsStore::DefaultPath() {
  const char* path = std::getenv(kPathVariable);
  return path == nullptr || *path == '\0' ? kUsualPath : path;
}

SettingsStore::SettingsStore(std::string_view path) : state_(std::make_unique<State>(path)) {}
SettingsStore::~SettingsStore() {
  // The thread that ends the store doesn't keep its file open.
  if (readerView.store == state_->number) readerView = {};
}

std::optional<SettingValue> SettingsStore::Get(std::string_view key, std::string_view name) {
  const SettingsSnapshot::Item* item = state_->Acquire().settings.Find(key, name);
  if (item == nullptr) return std::nullopt;
  return SettingValue{item->type, item->number, std::string(item->bytes)};
}

std::optional<std::uint32_t> SettingsStore::GetDword(std::string_view key, std::string_view name) {
  const SettingsSnapshot::Item* item = state_->Acquire().settings.Find(key, name);
  return item == nullptr ? std::nullopt : NumberOf(*item);
}

std::optional<std::string> SettingsStore::GetString(std::string_view key, std::string_view name) {
  const SettingsSnapshot::Item* item = state_->Acquire().settings.Find(key, name);
  if (item == nullptr || item->type != SettingType::kString) return std::nullopt;
  return std::string(item->bytes);
}

std::vector<SettingEntry> SettingsStore::List(std::string_view key) {
  return state_->Acquire().settings.List(key);
}

bool SettingsStore::Apply(const std::vector<SettingChange>& changes) {
  return state_->Write(changes, Care::kDurable);
}

bool SettingsStore::SetDword(std::string_view key, std::string_view name, std::uint32_t value) {
  return Apply(
      {{.key = std::string(key), .name = std::string(name), .value = SettingValue::Dword(value)}});
}

bool SettingsStore::SetString(std::string_view key, std::string_view name, std::string_view value) {
  return Apply(
      {{.key = std::string(key), .name = std::string(name), .value = SettingValue::String(value)}});
}

bool SettingsStore::NoteDword(std::string_view key, std::string_view name, std::uint32_t value) {
  return state_->Write(
      {{.key = std::string(key), .name = std::string(name), .value = SettingValue::Dword(value)}},
      Care::kCounter);
}

bool SettingsStore::Readable() {
  (void)state_->Acquire();
  std::lock_guard lock(state_->mutex);
  if (state_->current->connection != nullptr) return true;
  SetLastError(state_->error);
  return false;
}

std::string SettingsStore::ErrorText() {
  std::lock_guard lock(state_->mutex);
  return state_->errorText;
}

}  // namespace corvane::platform
