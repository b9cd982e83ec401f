#include "platform/SettingsWriter.h"

#include <utility>

#include "platform/SettingsFile.h"

namespace corvane::platform {
namespace {

constexpr int kBusyMilliseconds = 5000;
constexpr int kCounterBusyMilliseconds = 200;

constexpr const char* kDurably = "PRAGMA synchronous=FULL; PRAGMA busy_timeout=5000";
constexpr const char* kAsACounter = "PRAGMA synchronous=NORMAL; PRAGMA busy_timeout=200";

}  // namespace

bool SettingsWriter::Write(const std::vector<SettingChange>& changes, Care care, Written* written,
                           std::string* why) {
  const std::lock_guard lock(mutex_);
  return Prepare(care, written, why) && Commit(changes, written, why);
}

// A counter is no reason to make a store: one that was moved away for a moment would come back
// empty.
bool SettingsWriter::Prepare(Care care, Written* written, std::string* why) {
  const bool durable = care == Care::kDurable;
  const bool usable = connection_ != nullptr && connection_->change.Mapped() &&
                      !DatabaseChange::HasMoved(connection_->database);
  if (!usable) {
    connection_.reset();
    Database database =
        Database::Open(path_, durable ? DatabaseMode::kCreate : DatabaseMode::kReadWrite,
                       durable ? kBusyMilliseconds : kCounterBusyMilliseconds, why);
    if (!database) return false;
    connection_ = std::make_unique<SettingsConnection>(std::move(database));
    written->reopened = true;
  }
  if (connection_->database.Execute(durable ? kDurably : kAsACounter)) return true;
  *why = path_ + ": " + connection_->database.ErrorText();
  return false;
}

bool SettingsWriter::Commit(const std::vector<SettingChange>& changes, Written* written,
                            std::string* why) {
  Database& database = connection_->database;
  std::string fault;
  Transaction transaction(database);
  const bool begun = transaction.Begun();
  // Nobody else commits from here on.
  written->before = connection_->change.Read();
  if (begun && ChangeSettings(database, changes, &fault) && transaction.Commit()) {
    written->after = connection_->change.Read();
    return true;
  }
  *why = path_ + ": " + (fault.empty() ? database.ErrorText() : fault);
  return false;
}

}  // namespace corvane::platform
