// AddressHelpersTest.cpp -- the addresses that the system writes for others.
#include <gtest/gtest.h>

#include <string>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "connector/delivery/AddressHelpers.h"
#include "connector/queue/ConnectorMessage.h"
#include "tests/support/SettingsFixture.h"
#include "tests/support/StubProviders.h"

namespace corvane::test {
namespace {

class AddressHelpersTest : public SettingsFixture {
 protected:
  AddressHelpersTest() {
    Set("Bad Mail Notification Sender Address", "post@main.test", "CONNECTORS\\SMTP");
    SetText(mailbox_.Postoffice, "acme");
    SetText(mailbox_.Mailbox, "anna");
  }
  void Use(const std::string& variant, const std::string& answers) {
    stub_.Use(StubLibraries(variant));
    stub_.Answer(answers);
    UnloadOptionProvider();
    for (const char* name : {kSmtpProvider, kAddressMapProvider}) {
      UnloadConfigurationProvider(name);
      static_cast<void>(LoadConfigurationProvider(name));
    }
  }
  ~AddressHelpersTest() override { Use("nowhere", ""); }

  StubProviders stub_;
  MailboxRecord mailbox_{};
};

constexpr auto kReply = GetMailboxReplyAddress;
constexpr auto kName = GetMailboxDisplayName;
const struct {
  const char* name;
  void (*ask)(const MailboxRecord&, std::string&);
  const char *answers, *expected;
  const char* variant = "full";
} kAddresses[] = {
    {"OptionIsWrapped", kReply, "GetOption acme/anna:ReplyAddress 1 Value=a@b.test",
     "[SMTP:a@b.test]"},
    {"ItemStandsAsItIs", kReply, "GetOption acme/anna:ReplyAddress 1 Value=x[SF:a/b]", "x[SF:a/b]"},
    {"EmptyOptionAsksTheMap", kReply,
     "GetOption * 1 Value=\nAddressMapGet [SF:acme/anna] 5 SourceAddress=[SMTP:map@b.test]",
     "[SMTP:map@b.test]"},
    {"NoOptionAsksTheMap", kReply, "AddressMapGet [SF:acme/anna] 1 SourceAddress=[SMTP:m@b.test]",
     "[SMTP:m@b.test]"},
    {"MapMisses", kReply, "AddressMapGet * 0 SourceAddress=[SMTP:m@b.test]",
     "[SMTP:post@main.test]"},
    {"MissingExports", kReply, "AddressMapGet * 1 SourceAddress=[SMTP:m@b.test]",
     "[SMTP:post@main.test]", "bare"},
    {"MissingLibraries", kReply, "", "[SMTP:post@main.test]", "nowhere"},
    {"Name", kName, "GetOption acme/anna:DisplayName 1 Value=Anna%20B", "Anna B"},
    {"EmptyName", kName, "GetOption * 1 Value=", ""},
    {"NoName", kName, "", "post@main.test"},
    {"NoLibraryForTheName", kName, "", "post@main.test", "nowhere"},
};

TEST_F(AddressHelpersTest, FindsWhereRepliesGoAndTheNameOfAMailbox) {
  for (const auto& row : kAddresses) {
    SCOPED_TRACE(row.name);
    Use(row.variant, row.answers);
    std::string out = "before";
    row.ask(mailbox_, out);
    EXPECT_EQ(out, row.expected);
  }
}

TEST_F(AddressHelpersTest, FindsThePostmasterOfASender) {
  const struct {
    const char *sender, *expected;
    const char* variant = "full";
  } cases[] = {
      {"[SMTP:a@here.test]", "postmaster@here.test"},
      {"[SMTP:\"a@b\"@here.test]", "postmaster@here.test"},
      {"[SMTP:a@there.test]", "post@main.test"},
      {"[SMTP:a@odd.test]", "post@main.test"},
      {"[SF:acme/anna]", "post@main.test"},
      {"a@here.test", "post@main.test"},
      {"", "post@main.test"},
      {"[SMTP:a@here.test]", "post@main.test", "bare"},
      {"[SMTP:a@here.test]", "post@main.test", "nowhere"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.sender) + " " + row.variant);
    Use(row.variant, "SMTPDomainGet here.test 1\nSMTPDomainGet odd.test 2\n");
    std::string out = "before";
    GetPostmasterFor(row.sender, out);
    EXPECT_EQ(out, row.expected);
  }
}

TEST_F(AddressHelpersTest, TellsASenderWithoutADomain) {
  Set("Debug Enabled", 2, "CONNECTORS\\SF");
  testing::internal::CaptureStdout();
  std::string out;
  GetPostmasterFor("[SF:acme/anna]", out);
  const std::string told = testing::internal::GetCapturedStdout();
  EXPECT_NE(told.find("CV-E0003: Could not resolve local domain for address [SF:acme/anna].\n"),
            std::string::npos);
}

}  // namespace
}  // namespace corvane::test
