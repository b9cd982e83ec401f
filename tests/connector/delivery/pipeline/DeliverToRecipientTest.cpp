// DeliverToRecipientTest.cpp -- what becomes of a recipient by what the providers answer.
#include <gtest/gtest.h>

#include <string>

#include "connector/delivery/SFDeliver.h"
#include "tests/connector/delivery/pipeline/PipelineFixture.h"

namespace corvane::test {
namespace {

constexpr const char* kCorrupt =
    "> BadMail ROOT\\SF\\Outgoing CORRUPTRECIPIENT, Message has corrupt recipients\n"
    "Message ID has corrupted recipient ITEM. Recipient ignored.\n";
constexpr const char* kClosed =
    "[ID] Message to (ITEM) could not be delivered because the Postoffice (acme) has been disabled "
    "by the system administrator.\n"
    "> NDR ITEM The email address is not available on this system\n";
constexpr const char* kNoMailbox =
    "[ID] Mailbox (anna) could not be found on postoffice (acme) and message bounced.\n"
    "> NDR ITEM The mailbox is not available on this system\n";
constexpr const char* kRefused =
    "Message ID has recipient ITEM with a name that no mailbox can have.\n"
    "> NDR ITEM The mailbox is not available on this system\n";

struct RecipientCase {
  std::string name, item;
  const char* answers;
  std::int32_t result;
  std::string told;
  const char* asked;  // the first letters of the provider's calls: Postoffice, Group, Mailbox
  const char* variant = "full";
  std::uint32_t bounceMode = 1;
};

const RecipientCase kRecipients[] = {
    {"NoSlash", "[SMTP:a@b.test]", "", 0, "", ""},
    {"NoColon", "acme/anna]", "", 0, "", ""},
    {"EmptyItem", "", "", 0, "", ""},
    {"NoEnd", "[SF:acme/anna", "", 0, kCorrupt, ""},
    {"EmptyName", "[SF:acme/]", "", 0, kCorrupt, ""},
    {"PostofficeOutOfReach", "[SF:acme/anna]", "PostofficeGet * -1", 0,
     "[ID] Postoffice (acme) has been disabled by the system administrator.\n", "P"},
    {"PostofficeMissing", "[SF:acme/anna]", "PostofficeGet * 0", 0, kClosed, "P"},
    {"PostofficeDisabled", "[SF:acme/anna]", "PostofficeGet * 1 Status=0", 0, kClosed, "P"},
    {"PostofficeOfAnotherStatus", "[SF:acme/anna]", "PostofficeGet * 1 Status=2", 0, kClosed, "P"},
    {"PostofficeStatusIsPreset", "[SF:acme/anna]", "PostofficeGet * 1", 1, kNoMailbox, "PGM"},
    {"OtherAnswerGoesOn", "[SF:acme/anna]", "PostofficeGet * -2 Status=0", 1, kNoMailbox, "PGM"},
    {"BounceModeOff", "[SF:acme/anna]", "PostofficeGet * 0", 1, kNoMailbox, "GM", "full", 0},
    {"BounceModeOther", "[SF:acme/anna]", "PostofficeGet * 0", 1, kNoMailbox, "GM", "full", 2},
    {"GroupOutOfReach", "[SF:acme/sales]", "PostofficeGet * 1\nGroupGet * -1", -1, "", "PG"},
    {"GroupEnabled", "[SF:acme/sales]", "PostofficeGet * 1\nGroupGet acme/sales 1 GroupStatus=-1",
     7, "> Group ITEM\n", "PG"},
    {"GroupDisabled", "[SF:acme/sales]", "PostofficeGet * 1\nGroupGet * 1 GroupStatus=0", 0,
     "Message ID sent to disabled group ITEM.\n"
     "> NDR ITEM The email address is not available on this system\n",
     "PG"},
    {"GroupOfAnotherAnswer", "[SF:acme/sales]", "PostofficeGet * 1\nGroupGet * 2 GroupStatus=1", 0,
     "", "PG"},
    {"CodeIsNotLookedAt", "[XX:acme/anna]", "PostofficeGet * 1", 1, kNoMailbox, "PGM"},
    {"TextBehindTheEnd", "[SF:acme/anna]]x", "PostofficeGet * 1", 1, kNoMailbox, "PGM"},
    {"MissingExports", "[SF:acme/anna]", "", 1, kNoMailbox, "", "bare", 0},
    {"MissingExportsClosed", "[SF:acme/anna]", "", 0, kClosed, "", "bare"},
    {"MissingLibrary", "[SF:acme/anna]", "", 1, kNoMailbox, "", "nowhere", 0},
    {"UpwardPostoffice", "[SF:../anna]", "", 0, kRefused, ""},
    {"SeparatorInName", "[SF:acme/a\\b]", "", 0, kRefused, ""},
    {"EmptyPostoffice", "[SF:/anna]", "", 0, kRefused, ""},
    {"LongPostoffice", "[SF:" + std::string(128, 'p') + "/anna]", "", 0, kRefused, ""},
    {"LongGroup", "[SF:acme/" + std::string(256, 'g') + "]", "", 0, kRefused, ""},
    {"LongMailbox", "[SF:acme/" + std::string(64, 'm') + "]", "PostofficeGet * 1", 0, kRefused,
     "PG"},
    {"LongItem", "[SF:acme/" + std::string(1014, 'm') + "]", "", 0,
     "Message ID has a recipient of 1024 characters. Recipient ignored.\n", ""},
};

std::string FirstLetters(const std::string& calls) {
  std::string letters;
  for (std::size_t at = 0; at < calls.size(); at = calls.find('\n', at) + 1) letters += calls[at];
  return letters;
}

class DeliverToRecipientTest : public PipelineFixture,
                               public ::testing::WithParamInterface<RecipientCase> {
 public:
  DeliverToRecipientTest() : PipelineFixture(GetParam().variant) {}
};

TEST_P(DeliverToRecipientTest, FollowsTheAnswersOfTheProviders) {
  const RecipientCase& row = GetParam();
  Stub().Answer(row.answers);
  Set({{"Disabled Postoffice Bounce Mode", row.bounceMode}});
  stages.group = 7;
  std::int32_t result = 99;
  const std::string told = Told([&] { result = DeliverToRecipient(Message(), row.item); });
  std::string expected = row.told;
  for (std::size_t at; (at = expected.find("ITEM")) != std::string::npos;) {
    expected.replace(at, 4, row.item);
  }
  EXPECT_EQ(result, row.result);
  EXPECT_EQ(told, expected);
  EXPECT_EQ(FirstLetters(Stub().Calls()), row.asked);
}
INSTANTIATE_TEST_SUITE_P(Table, DeliverToRecipientTest, ::testing::ValuesIn(kRecipients),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace corvane::test
