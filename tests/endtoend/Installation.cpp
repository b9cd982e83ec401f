#include "tests/endtoend/Installation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>

#include "platform/Path.h"
#include "tests/support/BuildPlaces.h"

namespace corvane::test {
namespace {

constexpr const char* kConnector = CORVANE_BINARY_DIR "/bin/CorvanePOConnector";
constexpr const char* kCvctl = CORVANE_BINARY_DIR "/bin/cvctl";

}  // namespace

Installation::Installation(int debugLevel) {
  MustCvctl({"init", Path("")});
  const auto setting = [&](const std::string& key, const std::string& name) {
    std::string value = MustCvctl({"settings", "get", key, name});
    while (!value.empty() && value.back() == '\n') value.pop_back();
    return platform::SystemPath(value);
  };
  outgoing_ = setting("CONNECTORS", "Connector Root Directory") + "/SF/Outgoing";
  mailRoot_ = setting(".", "Mail Root");
  logs_ = setting("CONNECTORS\\SF", "Debug Log File Directory");
  Set("CONNECTORS\\SF", "Post Delivery Thread Creation Delay", "0");
  Set("CONNECTORS\\SF", "Outbound Poll Delay", "1");
  Set("CONNECTORS\\SF", "Debug Enabled", "1");
  Set("CONNECTORS\\SF", "Debug Logging Level", std::to_string(debugLevel));
  MustCvctl({"postoffice", "add", "acme"});
}

std::vector<std::pair<std::string, std::string>> Installation::Environment() const {
  std::vector<std::pair<std::string, std::string>> environment = stubEnvironment_;
  environment.emplace_back("CORVANE_SETTINGS", settingsPath_);
  return environment;
}

void Installation::UseStubs(const std::string& answers, const std::string& variant) {
  WriteBytes(Path("answers"), answers);
  Set(".", "Application Directory", StubLibraries(variant));
  stubEnvironment_ = {{"CORVANE_STUB_ANSWERS", Path("answers")}};
}

ProgramResult Installation::Cvctl(const std::vector<std::string>& arguments,
                                  const std::string& input) const {
  std::vector<std::string> all{kCvctl};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunProgram(all, Environment(), input);
}

std::string Installation::MustCvctl(const std::vector<std::string>& arguments,
                                    const std::string& input) const {
  const ProgramResult result = Cvctl(arguments, input);
  EXPECT_EQ(result.exitCode, 0) << "cvctl " << arguments.front() << ": " << result.errors;
  return result.output;
}

void Installation::Set(const std::string& key, const std::string& name,
                       const std::string& value) const {
  MustCvctl({"settings", "set", key, name, value});
}

void Installation::AddMailboxes(const std::string& stem, int count) const {
  for (int i = 0; i < count; ++i) MustCvctl({"mailbox", "add", "acme/" + stem + std::to_string(i)});
}

std::unique_ptr<BackgroundProgram> Installation::StartConnector() const {
  return std::make_unique<BackgroundProgram>(std::vector<std::string>{kConnector, "-debug"},
                                             Environment(), Path("output.txt"));
}

bool Installation::WaitForEmptyQueue(BackgroundProgram& connector, int seconds) const {
  for (int i = 0; i < seconds * 50; ++i) {
    bool empty = true;
    for (const auto& entry : fs::directory_iterator(outgoing_)) {
      if (entry.is_regular_file()) empty = false;
    }
    if (empty) return true;
    if (!connector.IsRunning()) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

void Installation::RunUntilEmpty() const {
  const auto connector = StartConnector();
  EXPECT_TRUE(WaitForEmptyQueue(*connector));
  EXPECT_EQ(connector->Signal(SIGTERM), 0);
}

void Installation::RunSweeps(int seconds, const std::function<bool()>& done) const {
  const auto connector = StartConnector();
  std::this_thread::sleep_for(std::chrono::milliseconds(1000 * seconds + 500));
  for (int tenths = 0; done && tenths < 300 && !done(); ++tenths) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  EXPECT_TRUE(connector->IsRunning());
  EXPECT_EQ(connector->Signal(SIGTERM), 0);
}

void Installation::PutRaw(const std::string& name, std::string_view command,
                          std::string_view message) const {
  WriteBytes(outgoing_ + "/Messages/" + name, message);
  WriteBytes(outgoing_ + "/_" + name + ".new", command);
  fs::rename(outgoing_ + "/_" + name + ".new", outgoing_ + "/" + name);
}

std::string Installation::MailboxFile(const std::string& mailbox, const std::string& name) const {
  return mailRoot_ + "/acme/MAILROOT/" + mailbox + "/Inbox/" + name;
}

bool Installation::InQueue(const std::string& name) const {
  return fs::exists(outgoing_ + "/" + name) && fs::exists(outgoing_ + "/Messages/" + name);
}

std::vector<std::string> Installation::Inbox(const std::string& mailbox) const {
  std::vector<std::string> names;
  std::error_code missing;
  for (const auto& entry : fs::directory_iterator(MailboxFile(mailbox, ""), missing)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with("_")) names.push_back(name);
  }
  return names;
}

std::string Installation::DebugLog() const {
  std::string all;
  std::error_code missing;
  for (const auto& entry : fs::directory_iterator(logs_, missing)) {
    if (entry.path().filename().string().starts_with("POC-Debug")) all += ReadBytes(entry.path());
  }
  return all;
}

std::string CommandFor(const std::string& name, const std::string& recipients,
                       const std::string& sender) {
  return "Recipients=" + recipients + "\r\nServer=\r\nSender=" + sender +
         "\r\nRetries=0\r\nNextSendTime=0\r\nTimeAcquired=1700000000\r\nMessageID=" + name +
         "\r\nStatus=Unsent\r\n";
}

std::string NameOf(unsigned number) {
  std::array<char, 64> name;
  std::snprintf(name.data(), name.size(), "%032X.MAI", number);
  return name.data();
}

std::string WithoutReturnPath(const std::string& message) {
  std::string rest;
  for (std::size_t at = 0; at < message.size();) {
    std::size_t end = message.find('\n', at);
    const bool dropped = platform::EqualsNoCase(message.substr(at, 13), "Return-Path: ");
    // A CR alone ends a header too.
    if (dropped) end = std::min(end, message.find('\r', at));
    if (end != std::string::npos && message.compare(end, 2, "\r\n") == 0) ++end;
    const std::string line = message.substr(at, end == std::string::npos ? end : end - at + 1);
    at += line.size();
    if (!dropped) rest += line;
    if (line == "\n" || line == "\r\n") return rest + message.substr(at);
  }
  return rest;
}

}  // namespace corvane::test
