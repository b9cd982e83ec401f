// WorkerTest.cpp -- one claimed message from its claim to its end, whatever the providers do.
#include <filesystem>

#include "connector/queue/OutgoingCommandFile.h"
#include "connector/queue/QueueStatistics.h"
#include "connector/service/Worker.h"
#include "connector/settings/ProcessState.h"
#include "connector/settings/Settings.h"
#include "platform/FaultInjection.h"
#include "platform/Thread.h"
#include "tests/connector/service/PollerFixture.h"
#include "tests/support/Threads.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOne = "ONE.MAI";
constexpr const char* kOpen =
    "PostofficeGet acme 1 Status=1\nMailboxGet acme/anna 1 Status=1\nMailboxGet acme/bob 1 "
    "Status=1\n";

class WorkerTest : public PollerFixture {
 protected:
  // As the poller hands it over; what the worker printed.
  std::string Work() {
    OutgoingClaim claim = OutgoingClaim::Take(QueueDirectory(), kOne);
    EXPECT_TRUE(claim.IsHeld());
    auto claimed = std::make_unique<ClaimedMessage>();
    SetText(claimed->message.Connector, "SF");
    SetText(claimed->message.MessageID, kOne);
    EXPECT_TRUE(ParseOutgoingCommandText(claim.Text(), claimed->message));
    claimed->claim = std::move(claim);
    claimed->serverName = "NODE";
    settings::ActiveDeliveryThreads() = 1;
    testing::internal::CaptureStdout();
    WorkerThread(std::move(claimed));
    EXPECT_EQ(settings::ActiveDeliveryThreads(), 0);
    return testing::internal::GetCapturedStdout();
  }
  [[nodiscard]] fs::path Inbox(const char* mailbox) const {
    return fs::path(Directory() / "mail/acme/MAILROOT") / mailbox / "Inbox";
  }
  [[nodiscard]] bool IsDelivered(const char* mailbox) const {
    return fs::exists(Inbox(mailbox) / kOne);
  }
};

struct WorkCase {
  const char* name;
  const char* recipients;
  std::string answers;
  bool gone;
  bool anna, bob;    // delivered to
  const char* line;  // of the log
};
const WorkCase kCases[] = {
    {"nobody", "", "", true, false, false, "Delivering ONE.MAI to message store (0 Recipients)"},
    {"both", "[SF:acme/anna];[SF:acme/bob]", kOpen, true, true, true,
     "Delivering ONE.MAI to message store (2 Recipients)"},
    {"empty items", ";[SF:acme/anna];;", kOpen, true, true, false,
     "Delivering ONE.MAI to message store (3 Recipients)"},
    {"an unreachable store ends the walk", "[SF:acme/anna];[SF:acme/x];[SF:acme/bob]",
     std::string(kOpen) + "GroupGet acme/x -1\n", false, true, false,
     "An error occurred connecting to the configuration store. You should review your connectivity "
     "to the configuration store (ODBC settings or permissions on CONFIG directory).\n"},
    {"an exception ends the walk", "[SF:acme/x];[SF:acme/bob]",
     std::string(kOpen) + "GroupGet acme/x throw\n", false, false, false,
     "CVPOCS: WorkerThread handled an exception for thread "},
};

TEST_F(WorkerTest, EachEndLeavesWhatItShould) {
  for (const WorkCase& row : kCases) {
    for (const char* mailbox : {"anna", "bob"}) {
      fs::remove_all(Inbox(mailbox));
      fs::create_directories(Inbox(mailbox));
    }
    Answer(row.answers);
    Put(kOne, {.recipients = row.recipients, .server = "OLD"});
    const std::uint32_t attempts = OutboundDeliveryAttempts().Value();
    EXPECT_NE(Work().find(row.line), std::string::npos) << row.name;
    EXPECT_EQ(IsQueued(kOne), !row.gone) << row.name;
    EXPECT_EQ(HasMessageFile(kOne), !row.gone) << row.name;
    EXPECT_EQ(IsDelivered("anna"), row.anna) << row.name;
    EXPECT_EQ(IsDelivered("bob"), row.bob) << row.name;
    EXPECT_EQ(OutboundDeliveryAttempts().Value() - attempts, row.gone ? 1U : 0U) << row.name;
    if (row.gone) continue;
    EXPECT_NE(Command(kOne).find("Server=NODE\r\n"), std::string::npos) << row.name;
    EXPECT_NE(Command(kOne).find("Status=Delivering\r\n"), std::string::npos) << row.name;
    EXPECT_NE(Command(kOne).find("Retries=0\r\nNextSendTime=0\r\n"), std::string::npos);
  }
  EXPECT_EQ(settings::Find(settings::kOutboundDeliveryAttempts),
            OutboundDeliveryAttempts().Value());
  EXPECT_EQ(settings::Find(settings::kOutboundDeliveryCount), OutboundDeliveryCount().Value());
}

TEST_F(WorkerTest, AnExceptionIsToldInTheEventLogToo) {
  Answer("PostofficeGet acme throw\n");
  Put(kOne, {.recipients = "[SF:acme/anna]"});
  (void)Work();
  EXPECT_EQ(events_.all.back().text, "CVPOCS: WorkerThread handled an exception for thread " +
                                         std::to_string(platform::CurrentThreadId()) +
                                         " and attempted to continue.\n");
}

TEST_F(WorkerTest, AClaimThatCannotBeWrittenLeavesTheMessageUnsent) {
  Put(kOne, {.recipients = "[SF:acme/anna]"});
  const std::string before = Command(kOne);
  platform::ArmFault({.error = 112, .lasting = true});
  const std::string printed = Work();
  platform::DisarmFault();
  EXPECT_NE(printed.find("Unable to write the claim of message ONE.MAI (error 112). It stays in "
                         "the queue.\n"),
            std::string::npos);
  EXPECT_EQ(Command(kOne), before);
  EXPECT_EQ(Calls(), "") << "nobody was delivered to";
}

// As when the share with the messages isn't mounted.
TEST_F(WorkerTest, ACommandStaysWhileTheDirectoryOfItsMessageIsAway) {
  Put(kOne, {.recipients = "[SF:acme/anna]"});
  const std::string messages = QueueDirectory() + "/Messages";
  std::filesystem::rename(messages, messages + "-away");
  (void)Work();
  EXPECT_TRUE(IsQueued(kOne));
}

// Between the two deletes a command file without a message is the worst that can be left.
TEST_F(WorkerTest, TheMessageFileGoesFirst) {
  Put(kOne, {});
  platform::ArmFault({.number = 2,
                      .error = 5,
                      .calls = platform::FileCallBit(platform::FileCall::kUnlink),
                      .lasting = true});
  const std::string printed = Work();
  platform::DisarmFault();
  EXPECT_TRUE(IsQueued(kOne));
  EXPECT_FALSE(HasMessageFile(kOne));
  EXPECT_NE(printed.find("Unable to remove file: "), std::string::npos);
}

TEST_F(WorkerTest, ManyWorkersLeaveTheWholeTotalInTheStore) {
  RunningTotal total(settings::kInboundDeliveryCount);
  test::Threads(8, [&](int) {
    for (int step = 0; step < 50; ++step) total.Increment();
  }).Join();
  EXPECT_EQ(settings::Find(settings::kInboundDeliveryCount), 8 * 50);
}

}  // namespace
}  // namespace corvane
