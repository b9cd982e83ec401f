#include "configuration/ConfigurationStore.h"

#include "configuration/ConfigurationSchema.h"
#include "platform/Error.h"
#include "platform/Path.h"
#include "platform/Reports.h"

namespace corvane::configuration {
namespace {

// Readers wait for nobody but a program that keeps the whole store to itself for a moment.
constexpr int kBusyMilliseconds = 1000;
constexpr int kChangeBusyMilliseconds = 10'000;
constexpr std::size_t kMostIdle = 16;

platform::Database Fail(std::string* why, const std::string& line) {
  if (why != nullptr) *why = line;
  return {};
}

}  // namespace

platform::Database OpenConfiguration(const std::string& path, platform::DatabaseMode mode,
                                     std::string* why) {
  using platform::DatabaseMode;
  const int wait = mode == DatabaseMode::kReadOnly ? kBusyMilliseconds : kChangeBusyMilliseconds;
  platform::Database database = platform::Database::Open(path, mode, wait, why);
  if (!database) return {};
  StoreForm form = FormOf(database);
  if (form == StoreForm::kEmpty && mode == DatabaseMode::kCreate && CreateTables(database)) {
    form = StoreForm::kSound;
  }
  if (form == StoreForm::kFailed) return Fail(why, path + ": " + database.ErrorText());
  if (form != StoreForm::kSound) return Fail(why, path + ": not a configuration store");
  // Ten threads hold ten connections; the pages of a store are few.
  if (!database.Execute("PRAGMA cache_size=-512")) {
    return Fail(why, path + ": " + database.ErrorText());
  }
  return database;
}

std::optional<ConfigurationStore::Connection> ConfigurationStore::Borrow(const std::string& path) {
  auto stamp = platform::ReadFileStamp(path);
  if (!stamp) stamp = platform::ReadFileStamp(platform::ResolvePath(path));
  if (!stamp) {
    Report(path + ": " + platform::ErrorText(platform::LastError()));
    return std::nullopt;
  }
  Source source{path, *stamp};
  std::vector<Connection> outdated;  // closed after the lock is gone
  {
    std::lock_guard lock(mutex_);
    if (source_ != source) {
      source_ = source;
      outdated.swap(idle_);
    } else if (!idle_.empty()) {
      Connection connection = std::move(idle_.back());
      idle_.pop_back();
      return connection;
    }
  }
  std::string why;
  platform::Database database = OpenConfiguration(path, platform::DatabaseMode::kReadOnly, &why);
  if (database) return Connection{std::move(source), std::move(database)};
  Report(why);
  return std::nullopt;
}

void ConfigurationStore::Return(Connection connection) {
  if (connection.database.IsFrozen()) return;
  std::lock_guard lock(mutex_);
  if (connection.source == source_ && idle_.size() < kMostIdle) {
    idle_.push_back(std::move(connection));
  }
}

void ConfigurationStore::Report(const std::string& line) {
  platform::WriteDebugChannel("Configuration store: " + line + "\n");
}

}  // namespace corvane::configuration
