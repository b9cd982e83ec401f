// ConfigurationStore.h -- connections to the configuration store, for look-ups from many threads.
//
// A look-up borrows a connection for its length; connections and their prepared statements are kept
// for the next ones. Each look-up first checks that the file is still the one that the connections
// have open: a store that is replaced, or appears, is opened anew at the next look-up, one that is
// gone can't be reached. Changes made by other programs are seen at once.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Database.h"
#include "platform/DirectoryWatch.h"

namespace corvane::configuration {

// What a look-up gives; the numbers are those that the provider calls answer with.
enum class Answer : std::int32_t { kUnreachable = -1, kUnknown = 0, kFound = 1 };

// Opens the store for a look-up or for changes. Empty when it can't be opened, isn't a
// configuration store, or is empty; `why` receives one line. kCreate makes the file and its tables.
[[nodiscard]] platform::Database OpenConfiguration(const std::string& path,
                                                   platform::DatabaseMode mode,
                                                   std::string* why = nullptr);

class ConfigurationStore {
 public:
  // Runs `query`, an Answer(platform::Database&), on a connection to the store at `path`. When it
  // can't be reached, or the query fails, a line goes to the debugger channel. Any thread.
  template <typename Query>
  [[nodiscard]] Answer Ask(const std::string& path, Query&& query) {
    std::optional<Connection> connection = Borrow(path);
    if (!connection) return Answer::kUnreachable;
    const Answer answer = query(connection->database);
    if (answer == Answer::kUnreachable) {
      Report(path + ": " + connection->database.ErrorText());
    } else {
      Return(std::move(*connection));
    }
    return answer;
  }

 private:
  // Which file the connections have open.
  struct Source {
    std::string path;
    platform::FileStamp stamp;
    bool operator==(const Source&) const = default;
  };
  struct Connection {
    Source source;
    platform::Database database;
  };

  [[nodiscard]] std::optional<Connection> Borrow(const std::string& path);
  void Return(Connection connection);
  static void Report(const std::string& line);

  std::mutex mutex_;
  Source source_;
  std::vector<Connection> idle_;  // all of source_
};

}  // namespace corvane::configuration
