// Installation.h -- a real installation in a temporary directory, worked by the real programs.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/BackgroundProgram.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {

class Installation {
 public:
  // Made by `cvctl init`, with the postoffice "acme", pacing at 0 and a debug log at `debugLevel`.
  explicit Installation(int debugLevel = 5);

  // Runs cvctl on it.
  ProgramResult Cvctl(const std::vector<std::string>& arguments,
                      const std::string& input = {}) const;
  // The same, and fails the test when it doesn't exit with 0.
  std::string MustCvctl(const std::vector<std::string>& arguments,
                        const std::string& input = {}) const;
  void Set(const std::string& key, const std::string& name, const std::string& value) const;
  void AddMailboxes(const std::string& stem, int count) const;
  // From now on the connector asks the stub provider libraries (tests/stubs/StubProvider.cpp),
  // which give these answers.
  void UseStubs(const std::string& answers, const std::string& variant = "full");
  // From now on everybody reads this settings store.
  void UseSettings(const std::string& path) { settingsPath_ = path; }

  [[nodiscard]] std::unique_ptr<BackgroundProgram> StartConnector() const;
  // Waits until no command file is left, some seconds at most. False when time ran out or the
  // connector ended.
  [[nodiscard]] bool WaitForEmptyQueue(BackgroundProgram& connector, int seconds = 60) const;
  // Starts the connector, waits for the empty queue, stops it with SIGTERM and expects exit code 0.
  void RunUntilEmpty() const;
  // Starts the connector, lets it sweep over the queue for so long, and on a slow machine until
  // `done`, and stops it.
  void RunSweeps(int seconds, const std::function<bool()>& done = nullptr) const;

  // A command file and its message written directly, message file first.
  void PutRaw(const std::string& name, std::string_view command, std::string_view message) const;
  [[nodiscard]] std::string MailboxFile(const std::string& mailbox, const std::string& name) const;
  [[nodiscard]] bool InQueue(const std::string& name) const;
  // Names of the files in a mailbox's Inbox.
  [[nodiscard]] std::vector<std::string> Inbox(const std::string& mailbox) const;
  [[nodiscard]] std::string DebugLog() const;
  [[nodiscard]] std::string Path(const std::string& below) const {
    return directory_ / ("i/" + below);
  }
  [[nodiscard]] std::string Queue() const { return outgoing_; }
  [[nodiscard]] std::string MailRoot() const { return mailRoot_; }

 private:
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> Environment() const;

  TemporaryDirectory directory_;
  std::string settingsPath_ = Path("settings.db");
  std::vector<std::pair<std::string, std::string>> stubEnvironment_;
  std::string outgoing_;
  std::string mailRoot_;
  std::string logs_;
};

// A message text as a producer would queue it, and the same with its Return-Path line.
[[nodiscard]] std::string CommandFor(const std::string& name, const std::string& recipients,
                                     const std::string& sender = "[SMTP:sender@example.com]");
// 32 hexadecimal digits of a number and ".MAI".
[[nodiscard]] std::string NameOf(unsigned number);
// Without its Return-Path lines.
[[nodiscard]] std::string WithoutReturnPath(const std::string& message);

}  // namespace corvane::test
