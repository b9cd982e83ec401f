// SharedMutexFile.h -- a robust pthread mutex in shared memory, found by its name.
//
// A name has one file below /dev/shm, called after a hash of the name and of the settings store in
// use, so that the programs of one installation meet and those of two don't. It lives as long as
// somebody uses it: each user holds a shared lock on the file, and whoever can turn it into an
// exclusive one is alone: on the way in that means a mutex left over by processes that died, which
// is made anew, and on the way out that the file can go. A user checks that the file still has its
// name once the lock is held. For NamedMutex, which keeps one of a name in a process.
#pragma once

#include <pthread.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace corvane::platform {

class SharedMutexFile {
 public:
  ~SharedMutexFile();
  SharedMutexFile(const SharedMutexFile&) = delete;
  SharedMutexFile& operator=(const SharedMutexFile&) = delete;

  // The path of the file that holds the mutex `name` of this installation.
  [[nodiscard]] static std::string PathOf(std::string_view name);
  // The mutex at `path`; without `create` only one that somebody uses (nothing and LastError 2
  // otherwise). An empty path gives one in memory of the process's own.
  [[nodiscard]] static std::unique_ptr<SharedMutexFile> Enter(const std::string& path, bool create);

  [[nodiscard]] pthread_mutex_t* Mutex() const;

 private:
  struct Content;
  enum class Step : std::uint8_t { kEntered, kTryAgain, kFailed };

  explicit SharedMutexFile(const std::string& path) : path_(path) {}
  Step TryToEnter(bool create);
  Step Use(bool alone);
  bool Map();
  void Unmap();
  bool Initialise();
  void CloseFile();

  const std::string path_;
  int descriptor_ = -1;
  Content* content_ = nullptr;
};

}  // namespace corvane::platform
