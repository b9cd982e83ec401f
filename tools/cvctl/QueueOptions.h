// QueueOptions.h -- what the queue commands are given, and the commands themselves.
#pragma once

#include <string>
#include <vector>

namespace corvane::cvctl {

inline constexpr const char* kQueueConnector = "SF";

struct QueueOptions {
  std::string file;
  std::string from;
  std::vector<std::string> to;
  std::vector<std::string> names;
  bool inbound = false;
  bool all = false;
  bool json = false;

  // The command files of the queue that is meant; after LoadInstallation.
  [[nodiscard]] std::string Directory() const;
};

// Loads the installation and makes sure that its queue is there.
void ExpectQueue(const QueueOptions& options);
// The names of all command files, in the order that the file system gives.
[[nodiscard]] std::vector<std::string> QueuedNames(const QueueOptions& options);
// `name`, or a Failure when no command file can be called so.
const std::string& CheckedQueueName(const std::string& name);

void SubmitMessage(const QueueOptions& options);
void ListQueue(const QueueOptions& options);
void ShowQueued(const QueueOptions& options);
void ResetQueued(const QueueOptions& options);
void RemoveQueued(const QueueOptions& options);

}  // namespace corvane::cvctl
