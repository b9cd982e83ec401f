// PipelineFixture.h -- one queued message, a postoffice on disk, and what a delivery of it tells.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/File.h"
#include "tests/connector/delivery/pipeline/Stages.h"
#include "tests/support/QueueFixture.h"
#include "tests/support/StubProviders.h"

namespace corvane::test {

// A number of the connector's key, or of another.
struct Number {
  const char* name;
  std::uint32_t value;
  const char* key = "CONNECTORS\\SF";
};

// A virtual clock that lets a test do something while somebody sleeps.
class HookedClock : public platform::VirtualClock {
 public:
  void Sleep(std::int64_t milliseconds) override {
    VirtualClock::Sleep(milliseconds);
    if (onSleep) onSleep(milliseconds);
  }
  std::function<void(std::int64_t milliseconds)> onSleep;
};

// The lines of a delivery from its audit entry on: the same for all.
[[nodiscard]] std::string Delivered(const std::string& folder = "\\Inbox",
                                    const std::string& mailbox = "anna");

// The message ID is from s@x.test and lies in the outbound queue with the text kText; the mailbox
// acme/anna with its Inbox is there. The stages around a delivery are those of Stages.h.
class PipelineFixture : public QueueFixture {
 public:
  static constexpr const char* kId = kName;
  static constexpr const char* kText = "Return-Path: <s@x.test>\r\nSubject: t\r\n\r\nbody\r\n";

  explicit PipelineFixture(const std::string& variant = "full");
  ~PipelineFixture() override;

  using SettingsFixture::Set;
  void Set(const std::vector<Number>& numbers);
  StubProviders& Stub() { return stub_; }
  ConnectorMessage& Message() { return message_; }
  HookedClock& Time() { return time_; }

  [[nodiscard]] std::string Queued() const { return MessageFile(); }
  // A path below MAILROOT of the postoffice.
  [[nodiscard]] std::string InMailRoot(const std::string& path) const;
  // All files there, in order, with blanks between: "anna/Inbox/ID anna/_1.NEW".
  [[nodiscard]] std::string Files() const;

  // What `work` writes to both logs ("activity: " before a line of the second), with the message's
  // name as ID and the test's directory as ROOT.
  [[nodiscard]] std::string Told(const std::function<void()>& work) const;
  // DeliverToMailbox for acme/anna.
  std::int32_t Deliver();
  // Somebody reads that file below MAILROOT and lets nobody else near it.
  void Hold(const std::string& path);

 private:
  StubProviders stub_;
  HookedClock time_;
  std::vector<platform::File> held_;
};

// What a row of a table does to its test beforehand: each of several, a setting, an answer of a
// stage.
using Arrangement = std::function<void(PipelineFixture&)>;
[[nodiscard]] Arrangement operator+(const Arrangement& first, const Arrangement& second);
[[nodiscard]] Arrangement On(const char* name, std::uint32_t value,
                             const char* key = "CONNECTORS\\SF");
template <typename Value>
[[nodiscard]] Arrangement With(Value Stages::*answer, Value value) {
  return [=](PipelineFixture&) { stages.*answer = value; };
}

}  // namespace corvane::test
