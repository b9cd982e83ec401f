#include "configuration/MailboxSizes.h"

#include <iterator>

#include "platform/Path.h"

namespace corvane::configuration {

struct MailboxSizes::Mailbox {
  Mailbox(const std::string& path, MeasuringTools& tools) : key(path), root(path, tools) {}

  const std::string key;
  std::mutex mutex;  // guards root; taken before the mutex of all, or else only tried
  FolderSize root;
  // As counted in the sums of all; guarded by the mutex of all.
  std::size_t bytes = 0;
  std::size_t folders = 0;
  bool forgotten = false;
};

MailboxSizes::MailboxSizes(bool useWatches, MeasuringLimits limits) : limits_(limits) {
  tools_.useWatches = useWatches;
}

MailboxSizes::~MailboxSizes() = default;

std::uint64_t MailboxSizes::BytesOf(std::string_view directory) {
  const std::shared_ptr<Mailbox> mailbox = Find(platform::ResolvePath(directory));
  std::lock_guard measuring(mailbox->mutex);
  tools_.watches.Drain();
  const std::uint64_t bytes = mailbox->root.Measure();
  const std::size_t memory = mailbox->root.MemoryBytes();
  const std::size_t folders = mailbox->root.FolderCount();
  std::lock_guard lock(mutex_);
  if (mailbox->forgotten) return bytes;
  bytes_ += memory - mailbox->bytes;
  folders_ += folders - mailbox->folders;
  mailbox->bytes = memory;
  mailbox->folders = folders;
  // One that takes so much alone must not cost all others theirs.
  if (memory > limits_.warmBytes / 2) Cool(*mailbox);
  Trim(*mailbox);
  return bytes;
}

std::shared_ptr<MailboxSizes::Mailbox> MailboxSizes::Find(const std::string& path) {
  std::lock_guard lock(mutex_);
  const auto found = mailboxes_.find(path);
  if (found != mailboxes_.end()) {
    recent_.splice(recent_.begin(), recent_, found->second);
  } else {
    recent_.push_front(std::make_shared<Mailbox>(path, tools_));
    mailboxes_.emplace(path, recent_.begin());
  }
  return recent_.front();
}

bool MailboxSizes::IsTooWarm(std::size_t quarters) const {
  return bytes_ > limits_.warmBytes / 4 * quarters ||
         tools_.watches.Count() > limits_.watches / 4 * quarters;
}

bool MailboxSizes::HasTooManyFolders(std::size_t quarters) const {
  return folders_ > limits_.folders / 4 * quarters;
}

// Goes from the mailbox that was asked for longest ago towards `current`, which stays as it is; one
// that is being measured is passed over. A limit once reached is left by a quarter, so that one
// walk pays for many measurements.
void MailboxSizes::Trim(const Mailbox& current) {
  const std::size_t cool = IsTooWarm(4) ? 3 : 4;
  const std::size_t forget = HasTooManyFolders(4) ? 3 : 4;
  if (cool == 4 && forget == 4) return;
  tools_.watches.Drain();
  for (auto at = recent_.end(); at != recent_.begin();) {
    if (!IsTooWarm(cool) && !HasTooManyFolders(forget)) return;
    const std::shared_ptr<Mailbox> mailbox = *--at;
    if (mailbox.get() == &current) continue;
    const std::unique_lock measuring(mailbox->mutex, std::try_to_lock);
    if (!measuring) continue;
    Cool(*mailbox);
    if (HasTooManyFolders(forget)) at = Forget(at);
  }
}

void MailboxSizes::Cool(Mailbox& mailbox) {
  mailbox.root.Cool();
  const std::size_t cooled = mailbox.root.MemoryBytes();
  bytes_ -= mailbox.bytes - cooled;
  mailbox.bytes = cooled;
}

MailboxSizes::Recent::iterator MailboxSizes::Forget(Recent::iterator at) {
  Mailbox& mailbox = **at;
  bytes_ -= mailbox.bytes;
  folders_ -= mailbox.folders;
  mailbox.forgotten = true;
  mailboxes_.erase(mailbox.key);
  return recent_.erase(at);
}

std::size_t MailboxSizes::MemoryBytes() const {
  std::lock_guard lock(mutex_);
  return bytes_;
}

}  // namespace corvane::configuration
