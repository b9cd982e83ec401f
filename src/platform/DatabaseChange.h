// DatabaseChange.h -- tells at the cost of a few loads whether anybody has changed a database.
//
// Processes that use a database in WAL mode share a mapped index of the log. Its header, kept twice
// in the first 96 bytes, holds a change count, the log's length and running checksums, and is
// rewritten by every commit before the commit returns, whoever makes it. SQLite itself compares it
// to learn whether its cache is stale; so do we, through the mapping of our own open connection.
// (The file behind the mapping is never opened or closed here: that would drop SQLite's locks.)
//
//   DatabaseSign before = change.Read();   // first the sign,
//   ... read the database ...              // then what it stands for:
//   change.Is(before)                      // true: what was read still holds
//
// A commit that falls between the two makes the sign older than the content, which costs a reading
// more and never hides a change. A header that was read torn equals nothing later, with the same
// outcome. The header can't come back to an earlier state while the connection is open: a log begun
// anew has another random salt, and SQLite lets nobody remove a log in use.
//
// Where there is no such mapping (a directory that can't be written, another journal mode) sizes
// and times of the database and its log stand in; two changes within one tick of the file system's
// clock may then count as one.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/Database.h"

namespace corvane::platform {

struct DatabaseSign {
  static constexpr std::size_t kWords = 24;
  std::array<std::uint32_t, kWords> words{};
  bool operator==(const DatabaseSign&) const = default;
};

// For one open connection, which must outlive it and must have been read from. Read, Is and Mapped
// from any thread.
class DatabaseChange {
 public:
  explicit DatabaseChange(const Database& database);

  [[nodiscard]] DatabaseSign Read() const;
  [[nodiscard]] bool Is(const DatabaseSign& sign) const;
  [[nodiscard]] bool Mapped() const { return header_ != nullptr; }
  // Whether exactly one commit lies between two signs of a mapping, read while no other connection
  // of this process commits.
  [[nodiscard]] static bool OneCommitApart(const DatabaseSign& before, const DatabaseSign& after);
  // Whether the path names another file than the open one, or none. The connection's thread only.
  [[nodiscard]] static bool HasMoved(const Database& database);

 private:
  [[nodiscard]] DatabaseSign ReadFileTimes() const;

  const std::uint32_t* header_ = nullptr;
  std::string path_;
  std::string logPath_;
};

}  // namespace corvane::platform
