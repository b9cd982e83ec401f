#include "tests/connector/delivery/pipeline/PipelineFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <regex>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "connector/delivery/DeliverToMailbox.h"
#include "platform/FaultInjection.h"

namespace corvane::test {
namespace {

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
}

}  // namespace

std::string Delivered(const std::string& folder, const std::string& mailbox) {
  const std::string line = "[ID] Delivered message from [SMTP:s@x.test] to PO=acme MBX=" + mailbox +
                           " FLD=" + folder + "\n";
  return "> Audit 18 acme/anna 7.5 POSTOFFICE Message from: s@x.test was delivered to mailbox "
         "folder: " +
         folder + "\n" + line + "activity: " + line;
}

PipelineFixture::PipelineFixture(const std::string& variant) : stub_(variant) {
  setenv("CORVANE_DEBUG_CHANNEL", "1", 1);
  platform::SetClock(&time_);
  stages = {};
  Set("Connector Root Directory", Directory().Path(), "CONNECTORS");
  Set("Mail Root", Directory() / "Mail");
  Set({{"Debug Enabled", 3}, {"Activity Log Enabled", 3}});
  for (const char* name : {kPostofficeProvider, kSmtpProvider, kAddressMapProvider}) {
    static_cast<void>(LoadConfigurationProvider(name));
  }
  fs::create_directories(InMailRoot("anna/Inbox"));
  WriteBytes(Queued(), kText);
  SetText(message_.Sender, "[SMTP:s@x.test]");
  stub_.Answer("MailboxGet acme/anna 1 Status=1\n");
}

PipelineFixture::~PipelineFixture() {
  platform::DisarmFault();
  for (const char* name : {kPostofficeProvider, kSmtpProvider, kAddressMapProvider}) {
    UnloadConfigurationProvider(name);
  }
  UnloadOptionProvider();
}

void PipelineFixture::Set(const std::vector<Number>& numbers) {
  for (const Number& number : numbers) Set(number.name, number.value, number.key);
}

std::string PipelineFixture::InMailRoot(const std::string& path) const {
  return Directory() / "Mail/acme/MAILROOT/" + path;
}

std::string PipelineFixture::Files() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(InMailRoot(""))) {
    if (!entry.is_regular_file()) continue;
    names.push_back(fs::relative(entry.path(), InMailRoot("")).string());
  }
  std::sort(names.begin(), names.end());
  std::string all;
  for (const std::string& name : names) all.append(all.empty() ? "" : " ").append(name);
  ReplaceAll(all, kId, "ID");
  return all;
}

std::string PipelineFixture::Told(const std::function<void()>& work) const {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();  // what is printed on the console is not looked at
  work();
  static_cast<void>(testing::internal::GetCapturedStdout());
  std::string text = testing::internal::GetCapturedStderr();
  ReplaceAll(text, kId, "ID");
  ReplaceAll(text, Directory().Path(), "ROOT");
  // The activity log puts the time in front of a line, and an end of its own behind.
  const std::regex activity("[0-9/]{8} [0-9:]{8}\t# ([^\n]*\n)\n");
  return std::regex_replace(text, activity, "activity: $1");
}

std::int32_t PipelineFixture::Deliver() {
  return DeliverToMailbox(message_, "acme", "anna", "[SF:acme/anna]");
}

void PipelineFixture::Hold(const std::string& path) {
  WriteBytes(InMailRoot(path), "held");
  held_.push_back(platform::File::Open(InMailRoot(path), platform::Access::kRead,
                                       platform::kShareNone, platform::Disposition::kOpenExisting));
  ASSERT_TRUE(held_.back());
}

Arrangement operator+(const Arrangement& first, const Arrangement& second) {
  return [=](PipelineFixture& fixture) {
    first(fixture);
    second(fixture);
  };
}

Arrangement On(const char* name, std::uint32_t value, const char* key) {
  return [=](PipelineFixture& fixture) { fixture.Set(name, value, key); };
}

}  // namespace corvane::test
