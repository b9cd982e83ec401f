#include "platform/DatabaseChange.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <cstring>

namespace corvane::platform {
namespace {

// One page of the shared index, as SQLite maps it.
constexpr int kIndexPageSize = 32768;
constexpr std::size_t kChangeCountWord = 2;

const std::uint32_t* MapHeader(sqlite3* handle) {
  sqlite3_file* file = nullptr;
  int code = sqlite3_file_control(handle, "main", SQLITE_FCNTL_FILE_POINTER, &file);
  if (code != SQLITE_OK || file == nullptr || file->pMethods == nullptr) return nullptr;
  if (file->pMethods->iVersion < 2 || file->pMethods->xShmMap == nullptr) return nullptr;
  void volatile* region = nullptr;
  code = file->pMethods->xShmMap(file, 0, kIndexPageSize, 0, &region);
  if (code != SQLITE_OK && (code & 0xff) != SQLITE_READONLY) return nullptr;
  return static_cast<const std::uint32_t*>(const_cast<const void*>(region));
}

bool IsInWalMode(sqlite3* handle) {
  bool wal = false;
  auto note = [](void* found, int, char** values, char**) {
    *static_cast<bool*>(found) = values[0] != nullptr && std::strcmp(values[0], "wal") == 0;
    return 0;
  };
  sqlite3_exec(handle, "PRAGMA journal_mode", note, &wal, nullptr);
  return wal;
}

void PutFile(const std::string& path, std::uint32_t* words) {
  struct stat state {};
  if (stat(path.c_str(), &state) != 0) return;
  const std::uint64_t values[] = {state.st_ino, static_cast<std::uint64_t>(state.st_size),
                                  static_cast<std::uint64_t>(state.st_mtim.tv_sec),
                                  static_cast<std::uint64_t>(state.st_mtim.tv_nsec),
                                  static_cast<std::uint64_t>(state.st_ctim.tv_nsec)};
  for (std::uint64_t value : values) {
    *words++ = static_cast<std::uint32_t>(value);
    *words++ = static_cast<std::uint32_t>(value >> 32);
  }
}

}  // namespace

DatabaseChange::DatabaseChange(const Database& database) {
  const char* name = sqlite3_db_filename(database.Handle(), "main");
  path_ = name == nullptr ? "" : name;
  logPath_ = path_ + "-wal";
  if (IsInWalMode(database.Handle())) header_ = MapHeader(database.Handle());
}

DatabaseSign DatabaseChange::Read() const {
  if (header_ == nullptr) return ReadFileTimes();
  DatabaseSign sign;
  for (std::size_t i = 0; i < DatabaseSign::kWords; ++i) {
    sign.words[i] = __atomic_load_n(header_ + i, __ATOMIC_RELAXED);
  }
  // What is read of the database after this is at least as new as the sign.
  __atomic_thread_fence(__ATOMIC_ACQUIRE);
  return sign;
}

bool DatabaseChange::Is(const DatabaseSign& sign) const {
  if (header_ == nullptr) return ReadFileTimes() == sign;
  std::uint32_t difference = 0;
  for (std::size_t i = 0; i < DatabaseSign::kWords; ++i) {
    difference |= __atomic_load_n(header_ + i, __ATOMIC_RELAXED) ^ sign.words[i];
  }
  return difference == 0;
}

bool DatabaseChange::OneCommitApart(const DatabaseSign& before, const DatabaseSign& after) {
  return after.words[kChangeCountWord] == before.words[kChangeCountWord] + 1;
}

bool DatabaseChange::HasMoved(const Database& database) {
  int moved = 0;
  int code = sqlite3_file_control(database.Handle(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return code == SQLITE_OK && moved != 0;
}

DatabaseSign DatabaseChange::ReadFileTimes() const {
  DatabaseSign sign;
  PutFile(path_, sign.words.data());
  PutFile(logPath_, sign.words.data() + DatabaseSign::kWords / 2);
  return sign;
}

}  // namespace corvane::platform
