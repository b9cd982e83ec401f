// DeliverToMailboxTest.cpp -- the ways that one delivery can end, each with what it tells, and what
// it leaves on disk.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/File.h"
#include "tests/connector/delivery/pipeline/PipelineFixture.h"

namespace corvane::test {
namespace {

constexpr const char* kNothing = "";
constexpr const char* kInInbox = "anna/Inbox/ID anna/Inbox/_CHANGE.DTY anna/_1.NEW";

std::string Exceeded(const std::string& rest) {
  const std::string line =
      "[ID] Message of size 1Kb for mailbox (anna) on postoffice (acme) would exceed mailbox quota "
      "of 10Kb (current size 10Kb).\n";
  return line + "> Audit 27 acme/anna 11.5 " + line + "> NotifyMailboxOfQuota acme/anna\n" + rest;
}

constexpr const char* kPlain = "MailboxGet * 1 Status=1";

struct MailboxCase {
  std::string name, told, files;
  const char* answers = kPlain;
  Arrangement arrange = {};
};

constexpr const char* kRulesOn =
    "GetOption acme:Postoffice-PostofficeRulesStatus 1 Value=1\n"
    "GetOption acme/anna:MailBox-MailboxRulesStatus 1 Value=1\nMailboxGet acme/anna 1 Status=1";
constexpr const char* kFull = "MailboxGet acme/anna 1 Status=1 Limit=10 Size=10";
constexpr const char* kRedirected =
    "MailboxGet acme/anna 1 Status=1 RedirectStatus=1 RedirectAddress=[SMTP:a@b.test]";
constexpr const char* kRedirectedAndKept =
    "MailboxGet acme/anna 1 Status=1 RedirectStatus=2 RedirectAddress=[SMTP:a@b.test]";

void RemoveSource(PipelineFixture& fixture) { fs::remove(fixture.Queued()); }
void RemoveSourceInRules(PipelineFixture& fixture) {
  stages.duringRules = [&fixture] { RemoveSource(fixture); };
}

constexpr const char* kDisabled =
    "[ID] Mailbox (anna) on postoffice (acme) either no longer exists or is disabled. The message "
    "has been returned to sender.\n> NDR [SF:acme/anna] The mailbox is not available on this "
    "system\n";
const std::string kRedirect = "> Redirect [SMTP:a@b.test] for [SF:acme/anna] of acme\n";
const std::string kRedirectAndKeep =
    "> Redirect [SMTP:a@b.test] for [SF:acme/anna] of acme, copy kept\n";
const std::string kTested = "> RemoveBlacklistedRedirects [SMTP:a@b.test]\n";

const Arrangement kBothRules = On("Process Postoffice Rules", 1) + On("Process Mailbox Rules", 1);
const Arrangement kRulesAndCheck = On("Process Mailbox Rules", 1) + On("Message Check Delay", 500);
const Arrangement kInsertion =
    On("Store Event Notification Mode", 4, ".") + On("Index Files Enabled", 1);
const Arrangement kRemoved = With(&Stages::redirectsRemoved, true);
void RemoveAllButOne(PipelineFixture&) {
  stages.redirectsRemoved = true;
  stages.redirectsLeft = "[SMTP:c@d.test]";
}
void RemoveCopyInEvent(PipelineFixture&) {
  stages.deliveryEvent = 1;
  stages.eventRemovesFile = true;
}
void MakeBulk(PipelineFixture&) { stages.flags.Bulk = 1; }
void UseSpill(PipelineFixture& fixture) {
  fixture.Set("Overflow Mailbox", "spill", "CONNECTORS\\SF");
  fs::create_directories(fixture.InMailRoot("spill/Inbox"));
}

const MailboxCase kEnds[] = {
    {"Plain", Delivered(), kInInbox},
    {"PostofficeRuleStops",
     "> Rules acme\n[ID] Message delivery processing to PO=acme was interupted because a filter "
     "prevented delivery of the original message.\n",
     kNothing, kRulesOn, On("Process Postoffice Rules", 1) + With(&Stages::postofficeRules, 2)},
    {"PostofficeRuleRemovesTheMessage",
     "> Rules acme\n[ID] Message does not exist after postoffice level filter for PO=acme.\n",
     kNothing, kRulesOn, On("Process Postoffice Rules", 1) + RemoveSourceInRules},
    {"RulesAreOffForThePostoffice", Delivered(), kInInbox,
     "GetOption acme:Postoffice-PostofficeRulesStatus 1 Value=2\nMailboxGet * 1 Status=1",
     kBothRules},
    {"MailboxUnknown",
     "[ID] Mailbox (anna) could not be found on postoffice (acme) and message bounced.\n> NDR "
     "[SF:acme/anna] The mailbox is not available on this system\n",
     kNothing, "MailboxGet * 0 Status=1"},
    {"MailboxDisabled", kDisabled, kNothing, "MailboxGet * 1 Status=0"},
    {"MailboxStatusIsPreset", kDisabled, kNothing, "MailboxGet * -1"},
    {"Redirected", kRedirect, kNothing, kRedirected},
    {"JunkIsNotRedirected", kRedirect, kNothing, kRedirected, With(&Stages::redirected, 0)},
    {"RedirectFailsAndIsTriedAgain",
     kRedirect + "[ID] Message could not be redirected due to error. Delivering to mailbox.\n" +
         kRedirectAndKeep + Delivered(),
     kInInbox, kRedirected, With(&Stages::redirected, 2)},
    {"RedirectedAndKept", kRedirectAndKeep + Delivered(), kInInbox, kRedirectedAndKept},
    {"RedirectionEnabledEndsIt", Delivered(), kInInbox, kRedirected, On("Redirection Enabled", 1)},
    {"RedirectionEnabledTwoDoesNot", kRedirect, kNothing, kRedirected,
     On("Redirection Enabled", 2)},
    {"RedirectWithoutAddress", Delivered(), kInInbox, "MailboxGet * 1 Status=1 RedirectStatus=1"},
    {"RedirectStatusUnset", Delivered(), kInInbox,
     "MailboxGet * 1 Status=1 RedirectAddress=[SMTP:a@b.test]"},
    {"BlacklistTakesSome",
     kTested + "[ID] Mailbox (anna) on postoffice (acme) could not be redirected to all recipient "
               "domain(s) due to redirection blacklist.\n> Redirect [SMTP:c@d.test] for "
               "[SF:acme/anna] of acme\n",
     kNothing, kRedirected, On("Redirection Blacklist Action", 1) + RemoveAllButOne},
    {"BlacklistBounces",
     kTested + "> NDR [SF:acme/anna] The email could not be delivered since the final destination "
               "domain is blocked.\n[ID] Mailbox (anna) on postoffice (acme) redirection to "
               "([SMTP:a@b.test]) bounced since recipient domain(s) is in redirection blacklist.\n",
     kNothing, kRedirected, On("Redirection Blacklist Action", 1) + kRemoved},
    {"BlacklistDeletes",
     kTested + "[ID] Mailbox (anna) on postoffice (acme) redirection to ([SMTP:a@b.test]) deleted "
               "since recipient domain(s) is in redirection blacklist.\n",
     kNothing, kRedirected, On("Redirection Blacklist Action", 2) + kRemoved},
    {"BlacklistOfAnotherAction", kTested + "> Redirect  for [SF:acme/anna] of acme\n", kNothing,
     kRedirected, On("Redirection Blacklist Action", 3) + kRemoved},
    {"BlacklistBouncesAndTheCopyStays",
     kTested +
         "> NDR [SF:acme/anna] The email could not be delivered since the final destination domain "
         "is blocked.\n[ID] Mailbox (anna) on postoffice (acme) redirection to ([SMTP:a@b.test]) "
         "bounced since recipient domain is in redirection blacklist.\n" +
         Delivered(),
     kInInbox, kRedirectedAndKept, On("Redirection Blacklist Action", 1) + kRemoved},
    {"QuotaExceeded", Exceeded("> NotifySenderOfQuota acme/anna\n"), kNothing, kFull},
    {"QuotaExceededByBulkMail", Exceeded(""), kNothing, kFull, MakeBulk},
    {"QuotaExceededBesideARedirection",
     "> Redirect [SMTP:a@b.test] for [SF:acme/anna] of acme, copy kept\n[ID] Message of size 1Kb "
     "for mailbox (anna) on postoffice (acme) would exceed mailbox quota of 10Kb (current size "
     "10Kb).\n> NotifyMailboxOfQuota acme/anna\n> NotifySenderOfQuota acme/anna\n",
     kNothing,
     "MailboxGet * 1 Status=1 RedirectStatus=2 RedirectAddress=[SMTP:a@b.test] Limit=10 Size=10"},
    {"OverflowMailboxIsMade",
     Exceeded("> NotifySenderOfQuota acme/anna\n[ID] Failed to copy message, error (3) occurred "
              "when delivering to PO=acme MBX=POSTMASTER. Retrying.\n[ID] Delivered message from "
              "[SMTP:s@x.test] to PO=acme MBX=POSTMASTER\n"),
     "POSTMASTER/Inbox/ID POSTMASTER/Inbox/_CHANGE.DTY POSTMASTER/_1.NEW", kFull,
     On("Postmaster Receives Mail When Quota Exceeded", 1)},
    {"OverflowMailboxOfAnotherName",
     Exceeded("> NotifySenderOfQuota acme/anna\n" + Delivered("\\Inbox", "spill")),
     "spill/Inbox/ID spill/Inbox/_CHANGE.DTY spill/_1.NEW", kFull,
     On("Postmaster Receives Mail When Quota Exceeded", 1) + UseSpill},
    {"MailboxRuleStops",
     "> Rules acme/anna\n[ID] Message delivery processing to PO=acme MBX=anna was interupted "
     "because a filter prevented delivery of the original message.\n> Audit 15 acme/anna 7.5 "
     "POSTOFFICE Message from: s@x.test was not delivered because a mailbox rules filter triggered "
     "non-delivery.\n",
     kNothing, kRulesOn, On("Process Mailbox Rules", 1) + With(&Stages::mailboxRules, 2)},
    {"MailboxRuleRemovesTheMessage",
     "> Rules acme/anna\n[ID] Message processing error occurred when delivering to PO=acme "
     "MBX=anna the original message was removed by a filter.\n> Audit 19 acme/anna 7.5 POSTOFFICE "
     "Message from: s@x.test was not delivered because the original message was removed by a "
     "filter.\n",
     kNothing, kRulesOn, kRulesAndCheck + RemoveSourceInRules},
    {"DeliveryEventRemovesTheCopy",
     "[ID] Mailbox delivery event removed a message to PO=acme MBX=anna.\n> Audit 16 acme/anna 7.5 "
     "POSTOFFICE Message from: s@x.test was removed by mailbox delivery event.\n",
     kNothing, kPlain, RemoveCopyInEvent},
    {"DeliveryEventLeavesTheCopy", Delivered(), kInInbox, kPlain, With(&Stages::deliveryEvent, 1)},
    {"SpamSettingDeletesTheCopy",
     "[ID] Message Spam processing occurred when delivering to PO=acme MBX=anna.\n> Audit 17 "
     "acme/anna 7.5 POSTOFFICE Message from: s@x.test was detected as spam and was not "
     "delivered.\n",
     kNothing, kPlain, With(&Stages::spamSettings, 2)},
    {"SpamSettingOfAnotherResult", Delivered(), kInInbox, kPlain, With(&Stages::spamSettings, 1)},
    {"NoticeToTheSender",
     Delivered() + "[ID] Delivery Success notification message generated for [SMTP:s@x.test] to "
                   "PO=acme MBX=anna FLD=\\Inbox\n",
     kInInbox, kPlain, With(&Stages::dsn, 1)},
    {"InsertionPostponed",
     "[ID] Direct Insertion of message into index (PO=acme MBX=anna FLD=\\Inbox) was postponed.\n" +
         Delivered(),
     kInInbox, kPlain, kInsertion},
};

class DeliverToMailboxTest : public PipelineFixture,
                             public ::testing::WithParamInterface<MailboxCase> {};

TEST_P(DeliverToMailboxTest, EndsInOneOfItsWays) {
  const MailboxCase& row = GetParam();
  Stub().Answer(row.answers);
  if (row.arrange) row.arrange(*this);
  std::int32_t result = 99;
  EXPECT_EQ(Told([&] { result = Deliver(); }), row.told);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(Files(), row.files);
}
INSTANTIATE_TEST_SUITE_P(Table, DeliverToMailboxTest, ::testing::ValuesIn(kEnds),
                         [](const auto& info) { return info.param.name; });

class MailboxPipelineTest : public PipelineFixture {
 protected:
  void DeliverWell() { EXPECT_EQ(Deliver(), 1); }
};

TEST_F(MailboxPipelineTest, RunsItsStagesInTheirOrder) {
  Stub().Answer(kRulesOn);
  Set({{"Debug Logging Level", 11},
       {"Process Postoffice Rules", 1},
       {"Process Mailbox Rules", 1},
       {"Auto Responders Enabled", 1},
       {"Remote Notification Mode", 1}});
  stages.tellAll = true;
  EXPECT_EQ(Told([&] { DeliverWell(); }),
            "[ID] Checking message for postoffice filters.\n"
            "> Rules acme\n"
            "[ID] Reading message flags.\n"
            "> Classify queue 1\n"
            "[ID] Getting mailbox details.\n"
            "[ID] Reading message size.\n"
            "[ID] Processing any autoresponder.\n"
            "> AutoResponder acme/anna\n"
            "[ID] Checking message of size 1Kb for mailbox (anna) on postoffice (acme) with quota "
            "of -1Kb (current size 4294967294Kb).\n"
            "> Blacklist s@x.test acme/anna\n"
            "> Whitelist s@x.test acme/anna\n"
            "> Rules acme/anna\n"
            "> Classify copy 1\n"
            "> DeliveryEvent acme/anna\n"
            "> SpamSettings acme/anna \\Inbox\n"
            "[ID] DeliverToMailbox:: acme/anna, Sender=s@x.test Spam Rules Result=0\n"
            "[ID] DeliverToMailbox:: Generating notification for message\n"
            "> NotifyClients ROOT/Mail\\acme\\MAILROOT\\anna \\Inbox -1 0 "
            "NEW\tMSG\tacme\tanna\t\\Inbox\t\tID\n" +
                Delivered() + "> DSN acme/anna\n");
  EXPECT_STREQ(Message().Account, "acme");
  EXPECT_STREQ(Message().User, "anna");
}

TEST_F(MailboxPipelineTest, TellsTheQuotaOfAMailboxThatAlsoRedirectsUnsigned) {
  Stub().Answer(kRedirectedAndKept);
  Set({{"Debug Logging Level", 7}});
  EXPECT_NE(Told([&] { static_cast<void>(Deliver()); }).find("with quota of 4294967295Kb (current"),
            std::string::npos);
}

TEST_F(MailboxPipelineTest, WaitsOnceForAMessageThatIsMissing) {
  Set({{"Message Check Delay", 500}});
  RemoveSource(*this);
  EXPECT_EQ(Told([&] { DeliverWell(); }),
            "[ID] Message does not exist after postoffice level filter for PO=acme.\n");
  EXPECT_EQ(Time().Slept(), 500);
  Time().onSleep = [&](std::int64_t) { WriteBytes(Queued(), kText); };
  EXPECT_EQ(Told([&] { DeliverWell(); }),
            "[ID] Message became available after wait for PO=acme.\n" + Delivered());
}

TEST_F(MailboxPipelineTest, AThrowingProviderIsReportedAndLeavesTheMessage) {
  Stub().Answer("MailboxGet * throw");
  const std::string told = Told([&] { EXPECT_ANY_THROW(static_cast<void>(Deliver())); });
  EXPECT_EQ(told.substr(0, told.find(", line")),
            "DeliverToMailbox handled an exception; session will be dropped.\n"
            "The exception was: the stub was told to\nThe exception occurred in : SFDeliver");
  EXPECT_EQ(ReadBytes(Queued()), kText);
}

// Nobody knows whether a rule's action has flushed what it wrote.
TEST_F(MailboxPipelineTest, ALinkedFileIsFlushedOnceRulesHaveRun) {
  Stub().Answer(kRulesOn);
  for (const std::uint32_t rules : {0U, 1U}) {
    Set({{"Process Mailbox Rules", rules}});
    Message().LastRecipient = true;
    Message().MessageFileFlushed = true;
    static_cast<void>(Told([&] { DeliverWell(); }));
    ASSERT_FALSE(Message().Delivered.empty());
    EXPECT_EQ(Message().Delivered.back().data, rules == 1);
  }
}

// The second copy of a recipient who is named twice takes the place of the first.
TEST_F(MailboxPipelineTest, TheSameRecipientTwiceGetsOneFile) {
  const std::string target = InMailRoot(std::string("anna/Inbox/") + kId);
  for (const bool last : {false, true}) {
    Message().LastRecipient = last;
    EXPECT_EQ(Told([&] { DeliverWell(); }), Delivered());
    EXPECT_EQ(ReadBytes(target), kText);
  }
  EXPECT_EQ(Files(), "anna/Inbox/ID anna/Inbox/_CHANGE.DTY anna/_2.NEW");
}

TEST_F(MailboxPipelineTest, MeasuresTheQuotaInKilobytesBegun) {
  const struct {
    const char *limit, *size;
    std::size_t bytes;
    bool fits;
  } cases[] = {
      {"100000", "99999", 1023, true},
      {"100000", "99999", 1024, false},
      {"0", "0", 0, false},
      {"-1", "4294967295", 5000, true},
      {"10", "4294967294", 0, false},
      {"0", "4294967295", 0, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.limit) + " " + row.size + " " + std::to_string(row.bytes));
    Stub().Answer(std::string("MailboxGet * 1 Status=1 Limit=") + row.limit + " Size=" + row.size);
    WriteBytes(Queued(), std::string(row.bytes, 'x'));
    const std::string told = Told([&] { DeliverWell(); });
    EXPECT_EQ(told == Delivered(), row.fits) << told;
  }
}

TEST_F(MailboxPipelineTest, WritesTheReturnPathForTheMailboxAndTheQueue) {
  Set("Bad Mail Notification Sender Address", "postmaster@x.test", "CONNECTORS\\SMTP");
  const struct {
    const char *commandType, *sender, *value;
  } cases[] = {
      {"NORMAL", "[SMTP:s@x.test]", "<s@x.test>"},
      {"ndr", "[SMTP:s@x.test]", "<>"},
      {"NORMAL", "[SMTP:PostMaster@X.test]", "<>"},
      {"", "[SF:acme/bob]", "<>"},
      {"", "[SMTP:s@x.test", "<>"},
  };
  for (const auto& row : cases) {
    for (const bool last : {false, true}) {
      SCOPED_TRACE(std::string(row.sender) + (last ? " last" : ""));
      const std::string before = "Subject: t\r\n\r\nbody\r\n";
      const std::string after =
          std::string("Subject: t\r\nReturn-Path: ") + row.value + "\r\n\r\nbody\r\n";
      WriteBytes(Queued(), before);
      SetText(Message().CommandType, row.commandType);
      SetText(Message().Sender, row.sender);
      Message().LastRecipient = last;
      static_cast<void>(Told([&] { DeliverWell(); }));
      EXPECT_EQ(ReadBytes(InMailRoot(std::string("anna/Inbox/") + kId)), after);
      EXPECT_EQ(ReadBytes(Queued()), last ? before : after);
    }
  }
}

}  // namespace
}  // namespace corvane::test
