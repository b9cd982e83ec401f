// FolderChoiceTest.cpp -- the folder that a message is sorted into, and what is told of the choice.
#include <gtest/gtest.h>

#include <string>

#include "tests/connector/delivery/pipeline/PipelineFixture.h"

namespace corvane::test {
namespace {

struct FolderCase {
  const char* name;
  std::string told;  // up to the audit entry of the delivery, at log level 9
  const char* folder;
  Arrangement arrange = {};
  const char* options = "";
  const char* commandType = "NORMAL";
};

constexpr const char* kSpamAudit =
    "> Audit 14 acme/anna 8.5 POSTOFFICE Message was detected as spam. Sender [s@x.test].\n";
constexpr const char* kBulkAudit =
    "> Audit 14 acme/anna 7.5 POSTOFFICE Message was detected as bulk/list. Sender [s@x.test].\n";
constexpr const char* kBlacklisted =
    "[ID] DeliverToMailbox:: acme/anna, Sender=s@x.test is mailbox blacklisted; Delivering to "
    "Junk.\n";
constexpr const char* kSpamRules =
    "[ID] DeliverToMailbox:: acme/anna, Sender=s@x.test Spam Rules Result=0\n";
constexpr const char* kBypassed =
    "[ID] DeliverToMailbox:: Bypassing filtering because sender is mailbox whitelisted for "
    "acme/anna, Sender=s@x.test\n";

std::string Junk(const std::string& what) {
  return "[ID] DeliverToMailbox:: Junk message. " + what + "\n";
}
void MakeJunk(PipelineFixture&) { stages.flags.Junk = 1; }
void MakeBulk(PipelineFixture&) { stages.flags.Bulk = 1; }
void MakeList(PipelineFixture&) { stages.flags.List = 1; }
void MakeBlacklisted(PipelineFixture&) { stages.blacklisted = true; }
void MakeBoth(PipelineFixture&) { stages.blacklisted = stages.whitelisted = true; }

Arrangement DeliverTo(std::uint32_t value) { return On("Deliver-To Status", value); }
const Arrangement kBulkOn = On("DeliverToBulk", 1, ".");
const Arrangement kReceipts = On("RMail Status", 1, "Services\\WEBMAIL\\Options");

const FolderCase kFolders[] = {
    {"JunkToInbox", kSpamAudit + Junk("Delivering to inbox folder") + kSpamRules, "\\Inbox",
     DeliverTo(0) + MakeJunk},
    {"JunkToJunk", kSpamAudit + Junk("Delivering to junk folder"), "\\Junk E-mail",
     DeliverTo(1) + MakeJunk},
    {"JunkAsThePostofficeSays",
     kSpamAudit + Junk("Checking postoffice level setting") + Junk("Postoffice level setting 1"),
     "\\Junk E-mail", MakeJunk, "GetOption acme:Delivery-DeliverToStatus 1 Value=1"},
    {"JunkAsThePostofficeSaysNot",
     kSpamAudit + Junk("Checking postoffice level setting") + Junk("Postoffice level setting 0") +
         kSpamRules,
     "\\Inbox", MakeJunk, "GetOption acme:Delivery-DeliverToStatus 1 Value=0"},
    {"JunkWithoutAnOption",
     kSpamAudit + Junk("Checking postoffice level setting") +
         Junk("No postoffice level setting. Delivering to inbox") + kSpamRules,
     "\\Inbox", MakeJunk},
    {"Blacklisted", kBlacklisted + (kSpamAudit + Junk("Delivering to junk folder")),
     "\\Junk E-mail", DeliverTo(1) + MakeBlacklisted},
    {"OnBothLists", std::string(kBlacklisted) + kBypassed, "\\Inbox", DeliverTo(1) + MakeBoth},
    {"NdrSkipsBothLists", kSpamRules, "\\Inbox", DeliverTo(1) + MakeBoth, "", "ndr"},
    {"Bulk", std::string(kBulkAudit) + kSpamRules, "\\Bulk E-mail", kBulkOn + MakeBulk,
     "GetOption acme/anna:DeliverToBulk 1 Value=1"},
    {"List", std::string(kBulkAudit) + kSpamRules, "\\Bulk E-mail", kBulkOn + MakeList,
     "GetOption acme/anna:DeliverToBulk 1 Value=1"},
    {"BulkNotWanted", kSpamRules, "\\Inbox", kBulkOn + MakeBulk,
     "GetOption acme/anna:DeliverToBulk 1 Value=2"},
    {"BulkOff", kSpamRules, "\\Inbox", MakeBulk, "GetOption acme/anna:DeliverToBulk 1 Value=1"},
    {"Receipts", kSpamRules, "\\Inbox\\RMail Receipts", kReceipts},
    {"ReceiptsOff", kSpamRules, "\\Inbox"},
    {"ReceiptsOverJunk", kSpamAudit + Junk("Delivering to junk folder"), "\\Inbox\\RMail Receipts",
     kReceipts + DeliverTo(1) + MakeJunk},
};

class FolderChoiceTest : public PipelineFixture,
                         public ::testing::WithParamInterface<FolderCase> {};

TEST_P(FolderChoiceTest, SortsByFlagsListsAndSenders) {
  const FolderCase& row = GetParam();
  Stub().Answer(std::string("MailboxGet * 1 Status=1\n") + row.options);
  Set({{"Debug Logging Level", 9}});
  Set("RMail Receipts Sender", "S@X.test", "Services\\WEBMAIL\\Options");
  SetText(Message().CommandType, row.commandType);
  if (row.arrange) row.arrange(*this);
  const std::string told = Told([&] { EXPECT_EQ(Deliver(), 1); });
  const std::string quota = told.substr(0, told.find('\n') + 1);
  EXPECT_NE(quota.find("Checking message of size"), std::string::npos);
  EXPECT_EQ(told.substr(quota.size()),
            row.told + "[ID] DeliverToMailbox:: Generating notification for message\n" +
                Delivered(row.folder));
  EXPECT_EQ(Message().DeliveryFolder, row.folder);
}
INSTANTIATE_TEST_SUITE_P(Table, FolderChoiceTest, ::testing::ValuesIn(kFolders),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace corvane::test
