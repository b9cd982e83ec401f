// MailboxSizes.h -- the true size on disk of mailboxes, at a cost that doesn't grow with the
// messages that haven't changed.
//
// One for a process. A measurement costs a look at each directory of the mailbox and one at each
// name that changed. Memory is bounded: the mailboxes that were not asked for longest give up their
// watches first, and are forgotten next; they are listed again when they are asked for. Any thread;
// two mailboxes are measured side by side, one by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "configuration/FolderSize.h"

namespace corvane::configuration {

struct MeasuringLimits {
  std::size_t warmBytes = 24u << 20;  // above this, watches and sizes of files are given up
  std::size_t folders = 60'000;       // above this, mailboxes are forgotten
  std::size_t watches = 16'384;       // the system may allow fewer
};

class MailboxSizes {
 public:
  explicit MailboxSizes(bool useWatches = true, MeasuringLimits limits = {});
  ~MailboxSizes();

  // Bytes of all items of the mailbox whose directory is `directory` (product path), in all its
  // folders. Files that begin with '_' or '.' don't count. 0 when there is no such directory.
  [[nodiscard]] std::uint64_t BytesOf(std::string_view directory);

  // What the measurements so far took.
  [[nodiscard]] std::uint64_t Listings() const { return tools_.listings; }
  [[nodiscard]] std::uint64_t Looks() const { return tools_.looks; }
  [[nodiscard]] std::size_t MemoryBytes() const;

 private:
  struct Mailbox;
  using Recent = std::list<std::shared_ptr<Mailbox>>;

  [[nodiscard]] std::shared_ptr<Mailbox> Find(const std::string& path);
  void Trim(const Mailbox& current);
  // Takes a mailbox's watches and sizes away; its mutex and that of all are held.
  void Cool(Mailbox& mailbox);
  Recent::iterator Forget(Recent::iterator at);
  [[nodiscard]] bool IsTooWarm(std::size_t quarters) const;
  [[nodiscard]] bool HasTooManyFolders(std::size_t quarters) const;

  MeasuringLimits limits_;
  MeasuringTools tools_;
  mutable std::mutex mutex_;
  Recent recent_;  // the one asked for last stands first
  std::unordered_map<std::string, Recent::iterator> mailboxes_;
  std::size_t bytes_ = 0;
  std::size_t folders_ = 0;
};

}  // namespace corvane::configuration
