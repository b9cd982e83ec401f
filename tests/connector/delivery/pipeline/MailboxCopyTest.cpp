// MailboxCopyTest.cpp -- what a delivery does when the file can't be put where it should go.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "connector/delivery/FolderTransfer.h"
#include "platform/Error.h"
#include "platform/FaultInjection.h"
#include "tests/connector/delivery/pipeline/PipelineFixture.h"
#include "tests/support/FaultWalk.h"

namespace corvane::test {
namespace {

using platform::FaultAction;
using platform::FileCall;

// Placing a file under its name: with a link where files can be nameless, else with a rename.
constexpr std::uint32_t kPlacing =
    platform::FileCallBit(FileCall::kLink) | platform::FileCallBit(FileCall::kRename);

platform::Fault Failing(std::int32_t error, bool lasting) {
  return {.action = FaultAction::kFail, .error = error, .calls = kPlacing, .lasting = lasting};
}

std::string InboxFile(const std::string& prefix = "") {
  return "anna/Inbox/" + prefix + PipelineFixture::kId;
}

std::string FirstFailure(int error) {
  const std::string number = "(" + std::to_string(error) + ")";
  return error == 64 ? "[ID] Failed to copy message, network unavailable error " + number +
                           " occurred when delivering to PO=acme MBX=anna. Retrying after delay.\n"
                     : "[ID] Failed to copy message, error " + number +
                           " occurred when delivering to PO=acme MBX=anna. Retrying.\n";
}

std::string ToBadMail(int error) {
  return "> BadMail ROOT\\SF\\Outgoing TRANSFERCOPYFAILED, Message Transfer Copy Failed\n"
         "[ID] Delivery failure occurred (error " +
         std::to_string(error) +
         ") when delivering to PO=acme MBX=anna. Message moved to bad mail\n";
}

constexpr const char* kAtInbox =
    "[ID] Delivered message from [SMTP:s@x.test] to PO=acme MBX=anna\n";
constexpr const char* kCopyingFailed =
    "[ID] Delivery failure occurred when copying ROOT\\SF\\Outgoing\\Messages\\ID to "
    "ROOT/Mail\\acme\\MAILROOT\\anna\\Inbox\\ID.\n";
constexpr const char* kAtBackup =
    "[ID] Message ROOT/Mail\\acme\\MAILROOT\\anna\\Inbox\\GID delivered after 2 retries to PO=acme "
    "MBX=anna.\n";
constexpr const char* kBackupFailed =
    "[ID] Delivery failure occurred when delivering to backup file in PO=acme MBX=anna.\n";
constexpr const char* kInInbox = "anna/Inbox/ID anna/Inbox/_CHANGE.DTY anna/_1.NEW";
constexpr const char* kInBackup = "anna/Inbox/GID anna/Inbox/_CHANGE.DTY anna/_1.NEW";

struct CopyCase {
  const char* name;
  Arrangement arrange;
  std::int32_t result;
  std::int64_t slept;
  std::string told;  // how the transcript begins
  std::string files;
  bool tellsMore = false;  // of a copy kept elsewhere
};

void UseJunkFolder(PipelineFixture& fixture) {
  stages.flags.Junk = 1;
  fixture.Set({{"Deliver-To Status", 1}});
  fs::create_directories(fixture.InMailRoot("anna/Junk E-mail"));
}

Arrangement Broken(std::int32_t error, bool lasting) {
  return [=](PipelineFixture&) { platform::ArmFault(Failing(error, lasting)); };
}
void HoldTarget(PipelineFixture& fixture) { fixture.Hold(InboxFile()); }
void RemoveMailbox(PipelineFixture& fixture) { fs::remove_all(fixture.InMailRoot("anna")); }
void RemovePostoffice(PipelineFixture& fixture) { fs::remove_all(fixture.InMailRoot("")); }

const CopyCase kCopies[] = {
    {"InboxIsMade", RemoveMailbox, 1, 0, FirstFailure(3) + kAtInbox, kInInbox},
    {"PostofficeIsNotMade", RemovePostoffice, 0, 0, FirstFailure(3) + ToBadMail(3), ""},
    {"NetworkComesBack", Broken(64, false), 1, 5000, FirstFailure(64) + kAtInbox, kInInbox},
    {"NetworkComesBackLater",
     [](PipelineFixture& fixture) {
       fixture.Time().onSleep = [](std::int64_t milliseconds) {
         if (milliseconds == 2000) platform::DisarmFault();
       };
       platform::ArmFault(Failing(64, true));
     },
     0, 7000, FirstFailure(64) + kCopyingFailed + kAtBackup, kInBackup},
    {"NetworkStaysAway", Broken(64, true), 0, 7000,
     FirstFailure(64) + kCopyingFailed + kBackupFailed, "", true},
    {"TargetIsHeld", HoldTarget, 0, 2000, FirstFailure(32) + kCopyingFailed + kAtBackup,
     "anna/Inbox/ID anna/Inbox/GID anna/Inbox/_CHANGE.DTY anna/_1.NEW"},
    {"TargetAndBackupAreHeld",
     [](PipelineFixture& fixture) {
       fixture.Hold(InboxFile());
       fixture.Hold(InboxFile("G"));
     },
     0, 2000, FirstFailure(32) + kCopyingFailed + kBackupFailed, "anna/Inbox/ID anna/Inbox/GID",
     true},
    {"ChosenFolderFailsInboxTakes",
     [](PipelineFixture& fixture) {
       UseJunkFolder(fixture);
       fixture.Hold(std::string("anna/Junk E-mail/") + PipelineFixture::kId);
     },
     1, 0,
     "> Audit 14 acme/anna 8.5 POSTOFFICE Message was detected as spam. Sender [s@x.test].\n" +
         FirstFailure(32) + kAtInbox,
     std::string("anna/Inbox/ID anna/Inbox/_CHANGE.DTY anna/Junk E-mail/ID anna/_1.NEW")},
    {"DiskIsFull", Broken(112, true), 0, 0, FirstFailure(112) + ToBadMail(112), ""},
    {"DiskIsFullAfterRules",
     [](PipelineFixture& fixture) {
       fixture.Stub().Answer(
           "GetOption acme/anna:MailBox-MailboxRulesStatus 1 Value=1\nMailboxGet * 1 Status=1");
       fixture.Set({{"Process Mailbox Rules", 1}});
       stages.mailboxRules = 1;
       platform::ArmFault(Failing(112, true));
     },
     0, 0,
     "> Rules acme/anna\n" + FirstFailure(112) +
         "[ID] Message was not delivered to PO=acme MBX=anna because of filter\n",
     "", true},
    {"SourceVanishesDuringTheWait",
     [](PipelineFixture& fixture) {
       fixture.Time().onSleep = [&fixture](std::int64_t) { fs::remove(fixture.Queued()); };
       platform::ArmFault(Failing(64, false));
     },
     0, 5000, FirstFailure(64) + ToBadMail(2), ""},
    {"SourceVanishesBeforeTheBackup",
     [](PipelineFixture& fixture) {
       fixture.Time().onSleep = [&fixture](std::int64_t milliseconds) {
         if (milliseconds == 2000) fs::remove(fixture.Queued());
       };
       fixture.Hold(InboxFile());
     },
     0, 2000, FirstFailure(32) + kCopyingFailed + kBackupFailed, "anna/Inbox/ID", true},
};

// The last recipient's file is linked, every other one's copied: the road is the same.
class MailboxCopyTest : public PipelineFixture,
                        public ::testing::WithParamInterface<std::tuple<CopyCase, bool>> {};

TEST_P(MailboxCopyTest, GoesTheRoadToItsEnd) {
  const auto& [row, last] = GetParam();
  Message().LastRecipient = last;
  row.arrange(*this);
  std::int32_t result = 99;
  const std::string told = Told([&] { result = Deliver(); });
  platform::DisarmFault();
  EXPECT_EQ(row.tellsMore ? told.substr(0, row.told.size()) : told, row.told);
  EXPECT_EQ(result, row.result);
  EXPECT_EQ(Time().Slept(), row.slept);
  if (fs::exists(InMailRoot(""))) {
    EXPECT_EQ(Files(), row.files);
  }
  if (row.files == kInBackup) {
    EXPECT_EQ(ReadBytes(InMailRoot(InboxFile("G"))), kText);
  }
}
INSTANTIATE_TEST_SUITE_P(Table, MailboxCopyTest,
                         ::testing::Combine(::testing::ValuesIn(kCopies), ::testing::Bool()),
                         [](const auto& info) {
                           return std::string(std::get<0>(info.param).name) +
                                  (std::get<1>(info.param) ? "Linked" : "Copied");
                         });

using FolderTransferTest = PipelineFixture;

TEST_F(FolderTransferTest, AFolderThatHasGoneHoldsNothingUp) {
  for (const int copies : {1, 20}) {
    std::filesystem::create_directories(InMailRoot("anna/Sub"));
    for (int i = 0; i < copies; ++i) {
      ASSERT_TRUE(
          TransferToFolder(Message(), Queued(), InMailRoot("anna/Sub/") + std::to_string(i)));
    }
    std::filesystem::remove_all(InMailRoot("anna"));
    EXPECT_TRUE(FlushDelivered(Message())) << copies;
    EXPECT_TRUE(Message().Delivered.empty());
  }
}

TEST_F(FolderTransferTest, AMessageThatStaysSharesItsFileWithNoMailbox) {
  Message().LastRecipient = Message().KeepInQueue = true;
  ASSERT_TRUE(TransferToFolder(Message(), Queued(), InMailRoot("anna/Inbox/a")));
  EXPECT_EQ(std::filesystem::hard_link_count(Queued()), 1U);
}

// What a folder is marked with comes behind its copy and is flushed with it.
TEST_F(FolderTransferTest, TheLastCopyIsAlwaysLeftToTheEnd) {
  constexpr int kCopies = 1'100;
  for (int i = 0; i < kCopies; ++i) {
    ASSERT_TRUE(
        TransferToFolder(Message(), Queued(), InMailRoot("anna/Inbox/") + std::to_string(i)));
    ASSERT_EQ(Message().Delivered.back().path, InMailRoot("anna/Inbox/") + std::to_string(i));
  }
  EXPECT_LT(Message().Delivered.size(), 600U);
}

// Break every file call of a delivery in turn: a mailbox never holds a part of a message, and the
// queue keeps it whole.
class BrokenDeliveryTest : public PipelineFixture, public ::testing::WithParamInterface<bool> {
 protected:
  static constexpr const char* kBefore = "Subject: t\r\n\r\nbody\r\n";
  static constexpr const char* kAfter = "Subject: t\r\nReturn-Path: <s@x.test>\r\n\r\nbody\r\n";

  void Prepare() {
    fs::remove_all(InMailRoot("anna"));
    fs::create_directories(InMailRoot("anna/Inbox"));
    WriteBytes(Queued(), kBefore);
    Message().Delivered.clear();
    Message().LastRecipient = GetParam();
    result_ = settled_ = false;
  }
  void Work() {
    result_ = Deliver() == 1;
    settled_ = FlushDelivered(Message());
  }
  void CheckWhole(const std::string& path) const {
    const std::string bytes = ReadBytes(path);
    EXPECT_TRUE(bytes == kBefore || bytes == kAfter) << path << ": " << bytes;
  }
  void Check(const std::string& told) {
    CheckWhole(Queued());
    const std::string target = InMailRoot(InboxFile());
    if (fs::exists(target)) CheckWhole(target);
    if (result_ && settled_) {
      EXPECT_TRUE(fs::exists(target)) << told;
    }
    if (!result_ && settled_) {
      EXPECT_NE(told.find("> BadMail"), std::string::npos) << told;
    }
  }

  bool result_ = false;
  bool settled_ = false;
};

TEST_P(BrokenDeliveryTest, NeverLeavesAPartOfAMessage) {
  std::string told;
  WalkFaults([&] { Prepare(); },
             [&] {
               told = Told([&] {
                 try {
                   Work();
                 } catch (const platform::FaultStop&) {
                   result_ = settled_ = false;
                 }
               });
             },
             [&](std::uint64_t call) {
               SCOPED_TRACE("call " + std::to_string(call));
               Check(told);
             });
}
INSTANTIATE_TEST_SUITE_P(Recipients, BrokenDeliveryTest, ::testing::Bool(), [](const auto& info) {
  return std::string(info.param ? "Last" : "Earlier");
});

}  // namespace
}  // namespace corvane::test
