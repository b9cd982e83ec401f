#include "tests/connector/service/PollerFixture.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "connector/service/Poller.h"
#include "connector/settings/ProcessState.h"
#include "platform/Reports.h"
#include "tests/support/BuildPlaces.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kStampSize = std::string_view("MM/DD/YY HH:MM:SS ").size();

std::vector<std::string> TraceOf(const std::string& printed) {
  std::vector<std::string> trace;
  std::istringstream lines(printed);
  for (std::string line; std::getline(lines, line);) {
    trace.push_back(line.starts_with("wait ") ? line : line.substr(kStampSize));
  }
  return trace;
}

std::string BytesOf(const std::string& path) {
  return fs::exists(path) ? test::ReadBytes(path) : std::string();
}

}  // namespace

void PollerFixture::TellingClock::Sleep(std::int64_t milliseconds) {
  if (std::this_thread::get_id() == poller) onSleep(milliseconds);
  VirtualClock::Sleep(milliseconds);
}

PollerFixture::PollerFixture() {
  fs::create_directories(QueueDirectory() + "/Messages");
  setenv("CORVANE_STUB_ANSWERS", (Directory() / "answers").c_str(), 1);
  setenv("CORVANE_STUB_LOG", (Directory() / "calls").c_str(), 1);
  Set("Application Directory", test::StubLibraries("full"));
  Set("Mail Root", Directory() / "mail");
  Set("Debug Enabled", 2, kSf);
  Set("Debug Logging Level", 10, kSf);
  Set("Update Statistics", 1);
  EXPECT_TRUE(LoadConfigurationProvider(kPostofficeProvider));
}

PollerFixture::~PollerFixture() {
  UnloadConfigurationProvider(kPostofficeProvider);
  settings::StopFlag() = 0;
  settings::ActiveDeliveryThreads() = 0;
}

void PollerFixture::Put(const std::string& name, const Queued& queued) {
  std::ostringstream text;
  text << "Recipients=" << queued.recipients << "\r\nServer=" << queued.server
       << "\r\nSender=[SMTP:sender@example.com]\r\nRetries=0\r\nNextSendTime="
       << queued.nextSendTime << "\r\nTimeAcquired=" << queued.timeAcquired
       << "\r\nMessageID=" << name << "\r\nStatus=" << queued.status << "\r\n";
  PutText(name, text.str());
}

void PollerFixture::PutText(const std::string& name, const std::string& command) {
  test::WriteBytes(QueueDirectory() + "/Messages/" + name, "Subject: one\r\n\r\nbody\r\n");
  test::WriteBytes(QueueDirectory() + "/" + name, command);
}

std::string PollerFixture::Command(const std::string& name) const {
  return BytesOf(QueueDirectory() + "/" + name);
}

bool PollerFixture::IsQueued(const std::string& name) const {
  return fs::exists(QueueDirectory() + "/" + name);
}

bool PollerFixture::HasMessageFile(const std::string& name) const {
  return fs::exists(QueueDirectory() + "/Messages/" + name);
}

void PollerFixture::Answer(const std::string& lines) {
  test::WriteBytes(Directory() / "answers", lines);
}

std::string PollerFixture::Calls() const { return BytesOf(Directory() / "calls"); }

std::vector<std::string> PollerFixture::Poll(int waits, const std::function<void(int)>& onWait) {
  settings::StopFlag() = 0;
  int number = 0;
  clock_.poller = std::this_thread::get_id();
  clock_.onSleep = [&](std::int64_t milliseconds) {
    while (settings::ActiveDeliveryThreads() > busyPlaces_) std::this_thread::yield();
    platform::PrintConsoleF("wait %ld\n", static_cast<long>(milliseconds));
    if (++number == waits) settings::StopFlag() = 1;
    if (onWait) onWait(number);
  };
  testing::internal::CaptureStdout();
  PollOutboundQueue();
  while (settings::ActiveDeliveryThreads() > busyPlaces_) std::this_thread::yield();
  clock_.onSleep = [](std::int64_t) {};
  return TraceOf(testing::internal::GetCapturedStdout());
}

}  // namespace corvane
