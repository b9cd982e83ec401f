// SettingsWriter.h -- the connection through which a settings store is changed.
//
// Apart from the one that readers are served from, so that no reader waits for the disk of a change
// or for another program that holds the store. Any thread; one change at a time.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Database.h"
#include "platform/DatabaseChange.h"
#include "platform/SettingsStore.h"

namespace corvane::platform {

// An open file and its sign of change.
struct SettingsConnection {
  explicit SettingsConnection(Database opened) : database(std::move(opened)), change(database) {}
  Database database;
  DatabaseChange change;
};

class SettingsWriter {
 public:
  enum class Care : std::uint8_t {
    kDurable,  // flushed; makes the file when it isn't there; waits 5 seconds for another program
    kCounter,  // not flushed, makes nothing, waits a fifth of a second
  };
  // A change that is written.
  struct Written {
    DatabaseSign before;    // the store just before it and just after
    DatabaseSign after;     //
    bool reopened = false;  // it may be another file than that of the change before
  };

  explicit SettingsWriter(std::string path) : path_(std::move(path)) {}

  // All changes or none. False leaves LastError and one line in `why`.
  [[nodiscard]] bool Write(const std::vector<SettingChange>& changes, Care care, Written* written,
                           std::string* why);

 private:
  [[nodiscard]] bool Prepare(Care care, Written* written, std::string* why);
  [[nodiscard]] bool Commit(const std::vector<SettingChange>& changes, Written* written,
                            std::string* why);

  const std::string path_;
  std::mutex mutex_;
  std::unique_ptr<SettingsConnection> connection_;
};

}  // namespace corvane::platform
