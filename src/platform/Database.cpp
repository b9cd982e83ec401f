// Database.cpp -- connections, statements and transactions over SQLite's C interface.
//
// Every connection is opened without SQLite's own mutexes, since it belongs to one thread at a
// time. Each failure keeps its one line of text and leaves the layer's number as LastError:
// 2 or 3 missing, 5 and 19 not writable, 32 busy for too long, 112 disk full, 1392 damaged.
#include "platform/Database.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <utility>

#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane::platform {
namespace {

// Closes a connection that may be null.
struct CloseHandle {
  void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
};
using HandlePointer = std::unique_ptr<sqlite3, CloseHandle>;

std::int32_t MissingError(const std::string& systemPath) {
  std::string parent(ParentPath(systemPath));
  if (parent.empty()) return kErrorFileNotFound;
  return access(parent.c_str(), F_OK) == 0 ? kErrorFileNotFound : kErrorPathNotFound;
}

std::int32_t WriteRefusal(const char* systemPath) {
  if (systemPath != nullptr && access(systemPath, W_OK) != 0) return ErrorFromErrno(errno);
  return kErrorAccessDenied;
}

std::int32_t ErrorOfCode(sqlite3* handle, int code, const std::string& systemPath) {
  switch (code & 0xff) {
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return kErrorAccessDenied;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return kErrorSharingViolation;
    case SQLITE_NOMEM:
      return kErrorNotEnoughMemory;
    case SQLITE_READONLY:
      return WriteRefusal(systemPath.c_str());
    case SQLITE_FULL:
      return kErrorDiskFull;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return kErrorFileCorrupt;
    case SQLITE_CANTOPEN:
    case SQLITE_IOERR: {
      int systemError = handle == nullptr ? 0 : sqlite3_system_errno(handle);
      if (systemError == ENOENT) return MissingError(systemPath);
      if (systemError != 0) return ErrorFromErrno(systemError);
      return (code & 0xff) == SQLITE_IOERR ? kErrorIoDevice : kErrorAccessDenied;
    }
    default:
      return kErrorInvalidParameter;
  }
}

// SQLite's own words, with the system's behind them where those tell the cause.
std::string TextOfCode(sqlite3* handle, int code) {
  std::string text = handle == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(handle);
  bool system = (code & 0xff) == SQLITE_CANTOPEN || (code & 0xff) == SQLITE_IOERR;
  int systemError = system && handle != nullptr ? sqlite3_system_errno(handle) : 0;
  if (systemError != 0) text += " (" + ErrorText(ErrorFromErrno(systemError)) + ")";
  return text;
}

// "file:" address of a path, for the one option that only an address can carry.
std::string ImmutableAddress(const std::string& systemPath) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::string address = "file:";
  for (char character : systemPath) {
    auto byte = static_cast<unsigned char>(character);
    if (character == '%' || character == '?' || character == '#' || byte < 0x20) {
      address += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    } else {
      address += character;
    }
  }
  return address + "?immutable=1";
}

}  // namespace

struct DatabaseState {
  HandlePointer handle;
  std::string path;
  std::map<std::string, sqlite3_stmt*, std::less<>> statements;
  std::string errorText;
  bool frozen = false;

  ~DatabaseState() {
    for (auto& [text, statement] : statements) sqlite3_finalize(statement);
  }

  // Keeps what the last call on the connection said; false, for the failing call to return.
  bool Fail(int code) {
    errorText = TextOfCode(handle.get(), code);
    SetLastError(ErrorOfCode(handle.get(), code, path));
    return false;
  }

  bool Execute(const char* sql) {
    int code = sqlite3_exec(handle.get(), sql, nullptr, nullptr, nullptr);
    return code == SQLITE_OK || Fail(code);
  }

  bool OpenFile(const std::string& name, int flags) {
    sqlite3* opened = nullptr;
    int code = sqlite3_open_v2(name.c_str(), &opened,
                               flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    handle.reset(opened);
    return code == SQLITE_OK || Fail(code);
  }

  // A first look at the content, which opens the log of a file in WAL mode.
  bool CanRead() { return Execute("SELECT 1 FROM sqlite_schema LIMIT 1"); }

  bool OpenReadOnly(int busyMilliseconds) {
    if (!OpenFile(path, SQLITE_OPEN_READONLY)) return false;
    sqlite3_busy_timeout(handle.get(), busyMilliseconds);
    if (CanRead()) return true;
    int code = sqlite3_errcode(handle.get()) & 0xff;
    if (code != SQLITE_CANTOPEN && code != SQLITE_READONLY) return false;
    // What stands in the log only would be missed: then nothing is read rather than something old.
    const auto log = GetFileInfo(path + "-wal");
    if (log && log->size > 0) return false;
    frozen = true;
    return OpenFile(ImmutableAddress(path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI) && CanRead();
  }

  bool OpenForWriting(bool create, int busyMilliseconds) {
    int flags = SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0);
    if (!OpenFile(path, flags)) return false;
    sqlite3_busy_timeout(handle.get(), busyMilliseconds);
    // A file that can't change its mode is still read and written in the mode that it has.
    sqlite3_exec(handle.get(), "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
    return Execute("PRAGMA foreign_keys=ON") && CanRead();
  }
};

Database::Database() = default;
Database::~Database() = default;
Database::Database(Database&&) noexcept = default;
Database& Database::operator=(Database&&) noexcept = default;

Database Database::Open(std::string_view path, DatabaseMode mode, int busyMilliseconds,
                        std::string* why) {
  Database database;
  database.state_ = std::make_unique<DatabaseState>();
  DatabaseState& state = *database.state_;
  state.path = ResolvePath(path);
  bool opened = mode == DatabaseMode::kReadOnly
                    ? state.OpenReadOnly(busyMilliseconds)
                    : state.OpenForWriting(mode == DatabaseMode::kCreate, busyMilliseconds);
  if (opened) return database;
  if (why != nullptr) *why = state.path + ": " + state.errorText;
  return {};
}

bool Database::IsOpen() const { return state_ != nullptr; }

bool Database::Execute(const char* sql) { return state_ != nullptr && state_->Execute(sql); }

Statement Database::Prepare(std::string_view sql) {
  if (state_ == nullptr) return {nullptr, nullptr};
  auto kept = state_->statements.find(sql);
  if (kept != state_->statements.end()) return {kept->second, state_.get()};
  sqlite3_stmt* statement = nullptr;
  int code = sqlite3_prepare_v3(state_->handle.get(), sql.data(), static_cast<int>(sql.size()),
                                SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (code != SQLITE_OK) {
    state_->Fail(code);
    return {nullptr, nullptr};
  }
  state_->statements.emplace(std::string(sql), statement);
  return {statement, state_.get()};
}

std::int64_t Database::Changes() const {
  return state_ == nullptr ? 0 : sqlite3_changes64(state_->handle.get());
}

bool Database::IsFrozen() const { return state_ && state_->frozen; }

std::string Database::ErrorText() const {
  return state_ == nullptr ? "the database is not open" : state_->errorText;
}

sqlite3* Database::Handle() const { return state_ == nullptr ? nullptr : state_->handle.get(); }

Statement::~Statement() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

Statement::Statement(Statement&& other) noexcept
    : statement_(std::exchange(other.statement_, nullptr)),
      owner_(other.owner_),
      failed_(other.failed_) {}

Statement& Statement::Bind(int index, std::string_view text) {
  // A null address would bind NULL in place of an empty text.
  const char* bytes = text.data() == nullptr ? "" : text.data();
  sqlite3_bind_text64(statement_, index, bytes, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  return *this;
}

Statement& Statement::Bind(int index, std::int64_t value) {
  sqlite3_bind_int64(statement_, index, value);
  return *this;
}

Statement& Statement::BindBlob(int index, std::string_view bytes) {
  const char* data = bytes.data() == nullptr ? "" : bytes.data();
  sqlite3_bind_blob64(statement_, index, data, bytes.size(), SQLITE_TRANSIENT);
  return *this;
}

Statement& Statement::BindNull(int index) {
  sqlite3_bind_null(statement_, index);
  return *this;
}

bool Statement::Step() {
  int code = statement_ == nullptr ? SQLITE_MISUSE : sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  failed_ = code != SQLITE_DONE;
  if (failed_ && owner_ != nullptr) owner_->Fail(code);
  return false;
}

bool Statement::Run() {
  while (Step()) {
  }
  return !failed_;
}

std::string_view Statement::Text(int column) const {
  const void* bytes = sqlite3_column_blob(statement_, column);
  int size = sqlite3_column_bytes(statement_, column);
  return bytes == nullptr
             ? std::string_view()
             : std::string_view(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

std::int64_t Statement::Number(int column) const {
  return sqlite3_column_int64(statement_, column);
}

bool Statement::IsNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

Transaction::Transaction(Database& database)
    : database_(database), begun_(database.Execute("BEGIN IMMEDIATE")) {}

Transaction::~Transaction() {
  // Straight to SQLite, so that the text of the failure that brought us here stays.
  if (begun_) sqlite3_exec(database_.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

bool Transaction::Commit() {
  if (!begun_ || !database_.Execute("COMMIT")) return false;
  begun_ = false;
  return true;
}

}  // namespace corvane::platform
