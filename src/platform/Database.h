// Database.h -- SQLite behind RAII: a connection, its prepared statements, transactions.
//
// A Database belongs to one thread at a time. Statements are prepared once a connection and kept by
// their text. Errors are results, never exceptions: Failed() and ErrorText() tell what happened
// last, and LastError is set: 2 or 3 missing, 5 or 19 not writable, 32 busy for longer than the
// wait, 112 disk full, 1392 damaged or no database, 1117 and others from the system.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace corvane::platform {

enum class DatabaseMode : std::uint8_t { kReadOnly, kReadWrite, kCreate };

class Statement;
struct DatabaseState;

class Database {
 public:
  Database();
  ~Database();
  Database(Database&&) noexcept;
  Database& operator=(Database&&) noexcept;

  // Opens `path` (product path) in WAL mode with a busy wait of `busyMilliseconds`. kCreate makes
  // the file, not its directory. kReadOnly falls back to reading the file as it stands where its
  // directory can't be written. Empty on failure; `why` receives one line.
  [[nodiscard]] static Database Open(std::string_view path, DatabaseMode mode,
                                     int busyMilliseconds = 5000, std::string* why = nullptr);
  [[nodiscard]] bool IsOpen() const;
  explicit operator bool() const { return IsOpen(); }

  // Runs statements that give no rows. False on failure.
  [[nodiscard]] bool Execute(const char* sql);
  // The kept statement of that text, reset and without bindings. Borrowed: one user at a time.
  [[nodiscard]] Statement Prepare(std::string_view sql);
  // Rows that the last change touched.
  [[nodiscard]] std::int64_t Changes() const;
  [[nodiscard]] std::string ErrorText() const;
  // Whether the file was opened as one that nobody changes, since it lies where nothing can be
  // written: such a connection doesn't see it when somebody does.
  [[nodiscard]] bool IsFrozen() const;

  [[nodiscard]] sqlite3* Handle() const;

 private:
  std::unique_ptr<DatabaseState> state_;
};

// One use of a prepared statement; reset at its end. One that couldn't be prepared fails at its
// first step.
class Statement {
 public:
  Statement(sqlite3_stmt* statement, DatabaseState* owner) : statement_(statement), owner_(owner) {}
  ~Statement();
  Statement(Statement&& other) noexcept;
  Statement& operator=(Statement&&) = delete;

  // Parameters from 1. Texts are copied.
  Statement& Bind(int index, std::string_view text);
  Statement& Bind(int index, std::int64_t value);
  Statement& BindBlob(int index, std::string_view bytes);
  Statement& BindNull(int index);

  // True when a row is there; false at the end and on failure (Failed() tells).
  [[nodiscard]] bool Step();
  // Runs to its end; false on failure.
  [[nodiscard]] bool Run();
  [[nodiscard]] bool Failed() const { return failed_; }

  // Columns from 0. The view lives until the next Step; it holds the bytes of a text or a blob.
  [[nodiscard]] std::string_view Text(int column) const;
  [[nodiscard]] std::int64_t Number(int column) const;
  [[nodiscard]] bool IsNull(int column) const;

 private:
  sqlite3_stmt* statement_ = nullptr;
  DatabaseState* owner_ = nullptr;
  bool failed_ = false;
};

// BEGIN IMMEDIATE until Commit; rolled back at its end otherwise.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  [[nodiscard]] bool Begun() const { return begun_; }
  [[nodiscard]] bool Commit();

 private:
  Database& database_;
  bool begun_ = false;
};

}  // namespace corvane::platform
