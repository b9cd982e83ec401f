// What becomes of a recipient: every way that a delivery can end, with the real connector and
// provider libraries that answer as told. What is left on the disk is compared byte for byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/File.h"
#include "platform/Path.h"
#include "tests/endtoend/Installation.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using test::CommandFor;
using test::Installation;
using test::NameOf;
using test::ReadBytes;

using Files = std::map<std::string, std::string>;  // path below a directory, content

constexpr const char* kHead = "From: a@b.example\r\nSubject: one\r\n";
constexpr const char* kBody = "\r\nbody\r\n";
constexpr const char* kDirty =
    "This file is a flag file that denotes that this folder has been changed";
constexpr const char* kNoMailbox = "The mailbox is not available on this system";
constexpr const char* kNoAddress = "The email address is not available on this system";

// In all texts {p} stands for the case's own postoffice, {id} for its message.
struct OutcomeCase {
  std::string name{};
  std::string recipients{};
  std::string answers{};
  std::vector<std::string> boxes{};  // the mailboxes whose Inbox gets the message
  std::string bounce{};              // the reason text of one bounce
  std::string bounced{};             // the recipient that it names
  std::string badMail{};             // the value of X-CV-BADMAIL
  bool stays = false;                // in the queue
  std::string log{};                 // a line that the debug log must hold
  std::string command{};             // lines before the usual ones of the command file
  std::string sender = "sender@{p}.example";
  std::string returnPath = "<sender@{p}.example>";
  std::string head = kHead;
};

std::string Filled(std::string text, unsigned number) {
  const auto replace = [&](const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
      text.replace(at, what.size(), by);
    }
  };
  replace("{p}", "po" + std::to_string(number));
  replace("{id}", NameOf(number));
  return text;
}

Files FilesBelow(const std::string& directory) {
  Files files;
  std::error_code missing;
  for (const auto& entry : fs::recursive_directory_iterator(directory, missing)) {
    if (entry.is_regular_file()) {
      files[fs::relative(entry.path(), directory)] = ReadBytes(entry.path());
    }
  }
  return files;
}

constexpr const char* kOpen = "PostofficeGet {p} 1 Status=1\n";
constexpr const char* kBox = "MailboxGet {p}/box 1 Status=1 RedirectStatus=0\n";

std::vector<OutcomeCase> DispatchCases() {
  const std::string open = kOpen;
  const std::string box = kBox;
  return {
      {.name = "plain", .recipients = "[SF:{p}/box]", .answers = open + box, .boxes = {"box"}},
      {.name = "item without signs",
       .recipients = "nothing;[SMTP:x@y.example];[SF:{p}/box];",
       .answers = open + box,
       .boxes = {"box"}},
      {.name = "item without its end",
       .recipients = "[SF:{p}/box];[SF:{p}/anna;[SF:{p}/bob",
       .answers = open + box,
       .boxes = {"box"},
       .badMail = "CORRUPTRECIPIENT, Message has corrupt recipients",
       .log = "Message {id} has corrupted recipient [SF:{p}/anna. Recipient ignored."},
      {.name = "item without a name",
       .recipients = "[SF:{p}/]",
       .answers = open,
       .badMail = "CORRUPTRECIPIENT, Message has corrupt recipients",
       .log = "Message {id} has corrupted recipient [SF:{p}/]. Recipient ignored."},
      {.name = "postoffice that cannot be asked",
       .recipients = "[SF:{p}/box]",
       .answers = "PostofficeGet {p} -1\n" + box,
       .log = "[{id}] Postoffice ({p}) has been disabled by the system administrator."},
      {.name = "postoffice that is missing",
       .recipients = "[SF:{p}/box]",
       .answers = box,
       .bounce = kNoAddress,
       .bounced = "[SF:{p}/box]",
       .log = "[{id}] Message to ([SF:{p}/box]) could not be delivered because the Postoffice "
              "({p}) has been disabled by the system administrator."},
      {.name = "postoffice that is not enabled",
       .recipients = "[SF:{p}/box]",
       .answers = "PostofficeGet {p} 1 Status=0\n" + box,
       .bounce = kNoAddress,
       .bounced = "[SF:{p}/box]",
       .log = "Postoffice ({p}) has been disabled by the system administrator."},
      {.name = "postoffice with an unknown answer",
       .recipients = "[SF:{p}/box]",
       .answers = "PostofficeGet {p} 7 Status=0\n" + box,
       .boxes = {"box"}},
      {.name = "disabled group",
       .recipients = "[SF:{p}/sales];[SF:{p}/box]",
       .answers = open + box + "GroupGet {p}/sales 1 GroupStatus=0\n",
       .boxes = {"box"},
       .bounce = kNoAddress,
       .bounced = "[SF:{p}/sales]",
       .log = "Message {id} sent to disabled group [SF:{p}/sales]."},
      {.name = "group with an unknown answer",
       .recipients = "[SF:{p}/sales];[SF:{p}/box]",
       .answers = open + box + "GroupGet {p}/sales 5\n",
       .boxes = {"box"}},
      {.name = "configuration store out of reach",
       .recipients = "[SF:{p}/box];[SF:{p}/anna];[SF:{p}/bob]",
       .answers = open + box + "GroupGet {p}/anna -1\n",
       .boxes = {"box"},
       .stays = true},
      {.name = "exception out of delivery",
       .recipients = "[SF:{p}/box];[SF:{p}/anna]",
       .answers = open + box + "MailboxGet {p}/anna throw\n",
       .boxes = {"box"},
       .stays = true,
       .log = "The exception was: "},
  };
}

std::vector<OutcomeCase> PipelineCases() {
  const std::string open = kOpen;
  const std::string box = kBox;
  return {
      {.name = "mailbox unknown",
       .recipients = "[SF:{p}/nobody];[SF:{p}/box]",
       .answers = open + box,
       .boxes = {"box"},
       .bounce = kNoMailbox,
       .bounced = "[SF:{p}/nobody]",
       .log =
           "[{id}] Mailbox (nobody) could not be found on postoffice ({p}) and message bounced."},
      {.name = "mailbox disabled",
       .recipients = "[SF:{p}/anna]",
       .answers = open + "MailboxGet {p}/anna 1 Status=0\n",
       .bounce = kNoMailbox,
       .bounced = "[SF:{p}/anna]",
       .log = "either no longer exists or is disabled. The message has been returned to sender."},
      {.name = "exactly to the limit",
       .recipients = "[SF:{p}/box]",
       .answers = open + "MailboxGet {p}/box 1 Status=1 RedirectStatus=0 Limit=100000 Size=99999\n",
       .boxes = {"box"}},
      {.name = "redirection without an address",
       .recipients = "[SF:{p}/box]",
       .answers = open + "MailboxGet {p}/box 1 Status=1 RedirectStatus=1\n",
       .boxes = {"box"}},
      {.name = "source that vanishes in the middle",
       .recipients = "[SF:{p}/box]",
       .answers =
           open + "MailboxGet {p}/box 1 Status=1 RedirectStatus=0 Remove={queue}/Messages/{id}\n",
       .log = "the original message was removed by a filter."},
      {.name = "bounce that is answered",
       .recipients = "[SF:{p}/box]",
       .answers = open + box,
       .boxes = {"box"},
       .command = "CommandType=ndr\r\n",
       .returnPath = "<>"},
      {.name = "sender within the system",
       .recipients = "[SF:{p}/box]",
       .answers = open + box,
       .boxes = {"box"},
       .sender = "",
       .returnPath = "<>"},
      {.name = "automatic answer to nobody",
       .recipients = "[SF:{p}/nobody];[SF:{p}/box]",
       .answers = open + box,
       .badMail = "POSTMASTERLOOP, Postmaster Null Sender Loop Detected",
       .log = "Message does not exist after postoffice level filter for PO={p}.",
       .head = std::string(kHead) + "auto-submitted: Auto-Replied\r\n"},
      {.name = "postmaster of a domain served here to nobody",
       .recipients = "[SF:{p}/nobody]",
       .answers = open + "SMTPDomainGet {p}.example 1\n",
       .badMail = "POSTMASTERLOOP, Postmaster Null Sender Loop Detected",
       .sender = "PostMaster@{p}.example"},
      {.name = "the notification address to nobody",
       .recipients = "[SF:{p}/nobody]",
       .answers = open,
       .badMail = "POSTMASTERLOOP, Postmaster Null Sender Loop Detected",
       .sender = "Post@House.example"},
  };
}

// Everything that a delivery leaves in a mailbox with the one message.
void ExpectMailbox(const OutcomeCase& outcome, unsigned number, const std::string& box,
                   const Files& files) {
  const std::string message =
      outcome.head + Filled("Return-Path: " + outcome.returnPath + "\r\n", number) + kBody;
  const Files expected = {
      {"_1.NEW", ""}, {"Inbox/" + NameOf(number), message}, {"Inbox/_CHANGE.DTY", kDirty}};
  Files found;
  for (const auto& [path, bytes] : files) {
    if (path.starts_with(box + "/")) found[path.substr(box.size() + 1)] = bytes;
  }
  EXPECT_EQ(found, expected) << box;
}

class OutcomeTest : public testing::Test {
 protected:
  OutcomeTest() {
    installation_.Set("CONNECTORS\\SMTP", "Bad Mail Notification Sender Address",
                      "post@house.example");
    installation_.Set("CONNECTORS\\SMTP", "Local Domain Name", "house.example");
    installation_.Set("CONNECTORS\\SF", "Reset Messages On Restart", "0");
  }

  void Run(const std::vector<OutcomeCase>& cases, bool emptyAtEnd) {
    std::string answers = "SMTPDomainGet house.example 0\n";
    for (unsigned i = 0; i < cases.size(); ++i) answers += Text(cases[i].answers, i);
    installation_.UseStubs(answers);
    for (unsigned i = 0; i < cases.size(); ++i) Put(cases[i], i);
    if (emptyAtEnd) {
      installation_.RunUntilEmpty();
    } else {
      installation_.RunSweeps(2);
    }
    log_ = installation_.DebugLog();
    for (unsigned i = 0; i < cases.size(); ++i) {
      SCOPED_TRACE(cases[i].name);
      Check(cases[i], i + 1);
    }
    EXPECT_EQ(FilesBelow(installation_.Path("connectors/SF/Inbound")).size(), 2 * bounces_);
  }

  // Cases are numbered from 1.
  [[nodiscard]] std::string Text(std::string text, unsigned index) const {
    text = Filled(std::move(text), index + 1);
    const std::string mark = "{queue}";
    if (const auto at = text.find(mark); at != std::string::npos) {
      text.replace(at, mark.size(), installation_.Queue());
    }
    return text;
  }

  void Put(const OutcomeCase& outcome, unsigned index) const {
    const std::string po = installation_.MailRoot() + Text("/{p}/MAILROOT/", index);
    for (const char* box : {"box", "anna", "bob", "nobody", "sales"}) {
      fs::create_directories(po + box + "/Inbox");
    }
    const std::string name = NameOf(index + 1);
    const std::string sender =
        outcome.sender.empty() ? "[SF:acme/anna]" : "[SMTP:" + Text(outcome.sender, index) + "]";
    installation_.PutRaw(
        name, outcome.command + CommandFor(name, Text(outcome.recipients, index), sender),
        outcome.head + kBody);
  }

  void Check(const OutcomeCase& outcome, unsigned number) {
    const std::string name = NameOf(number);
    const Files files = FilesBelow(installation_.MailRoot() + Filled("/{p}/MAILROOT", number));
    EXPECT_EQ(files.size(), 3 * outcome.boxes.size());
    for (const std::string& box : outcome.boxes) ExpectMailbox(outcome, number, box, files);
    EXPECT_EQ(installation_.InQueue(name), outcome.stays);
    EXPECT_EQ(fs::exists(installation_.Queue() + "/" + name), outcome.stays);
    EXPECT_EQ(fs::exists(installation_.Queue() + "/Messages/" + name), outcome.stays);
    EXPECT_NE(log_.find(Filled(outcome.log, number)), std::string::npos) << outcome.log;
    CheckBadMail(outcome, number);
    if (!outcome.bounce.empty()) CheckBounce(outcome, number);
  }

  void CheckBadMail(const OutcomeCase& outcome, unsigned number) const {
    const std::string bad = installation_.Path("badmail");
    if (outcome.badMail.empty()) {
      EXPECT_FALSE(fs::exists(bad + "/" + NameOf(number)));
      EXPECT_FALSE(fs::exists(bad + "/Messages/" + NameOf(number)));
      return;
    }
    const std::string command = ReadBytes(bad + "/" + NameOf(number));
    EXPECT_NE(command.find(Filled("Recipients=" + outcome.recipients + "\r\n", number)),
              std::string::npos)
        << command;
    const std::string returnPath =
        outcome.boxes.empty() ? "" : Filled("Return-Path: " + outcome.returnPath + "\r\n", number);
    // The mailbox's own copy got the header, the queue's file only where more recipients followed.
    EXPECT_EQ(ReadBytes(bad + "/Messages/" + NameOf(number)),
              outcome.head + returnPath + "X-CV-BADMAIL: " + outcome.badMail + "\r\n" + kBody);
  }

  // Both files of the bounce, whose names and dates alone are not known beforehand.
  void CheckBounce(const OutcomeCase& outcome, unsigned number) {
    ++bounces_;
    const std::string inbound = installation_.Path("connectors/SF/Inbound");
    const std::string to = Filled(outcome.sender, number);
    for (const auto& [path, command] : FilesBelow(inbound)) {
      if (path.find('/') != std::string::npos) continue;
      if (command.find("Recipients=[SMTP:" + to + "]\r\n") == std::string::npos) continue;
      EXPECT_EQ(command, "CommandType=NDR\r\nRecipients=[SMTP:" + to +
                             "]\r\nServer=\r\nSender=[SMTP:post@house.example]\r\n"
                             "TimeAcquired=1700000000\r\nNextSendTime=1700000000\r\nMessageID=" +
                             path + "\r\nStatus=Undelivered\r\n");
      CheckBounceText(outcome, number, path, ReadBytes(inbound + "/Messages/" + path));
      return;
    }
    ADD_FAILURE() << "no bounce to " << to;
  }

  static void CheckBounceText(const OutcomeCase& outcome, unsigned number, const std::string& id,
                              std::string text) {
    const std::size_t date = text.find("Date: ");
    ASSERT_NE(date, std::string::npos);
    text.erase(date, text.find("\r\n", date) + 2 - date);
    const std::string start =
        "From: post@house.example\r\nTo: <" + Filled(outcome.sender, number) +
        ">\r\nSubject: Message Delivery Failure\r\nMessage-ID: <" + id +
        "@house.example>\r\nPrecedence: bulk\r\nAuto-Submitted: auto-replied\r\n\r\n\r\n"
        "Message could not be delivered. Error was: " +
        outcome.bounce + "\r\n\r\nThe following recipient(s) could not be reached:\r\n\r\n\t" +
        Filled(outcome.bounced, number) + "\r\n\r\nMessage contents follow:\r\n\r\n";
    EXPECT_EQ(text.substr(0, start.size()), start);
    EXPECT_EQ(test::WithoutReturnPath(text.substr(std::min(start.size(), text.size()))),
              outcome.head + kBody);
  }

  Installation installation_;
  std::string log_;
  std::size_t bounces_ = 0;
};

TEST_F(OutcomeTest, OfDispatch) { Run(DispatchCases(), false); }

TEST_F(OutcomeTest, OfTheMailboxPipeline) { Run(PipelineCases(), true); }

// A mailbox over its limit whose message goes to the overflow mailbox, made on the way.
TEST_F(OutcomeTest, OfAFullMailboxWithAnOverflowMailbox) {
  installation_.Set("CONNECTORS\\SF", "Postmaster Receives Mail When Quota Exceeded", "1");
  installation_.Set("CONNECTORS\\SF", "Overflow Mailbox", "spill");
  Run({{.name = "over the limit",
        .recipients = "[SF:{p}/box]",
        .answers = std::string(kOpen) +
                   "MailboxGet {p}/box 1 Status=1 RedirectStatus=0 Limit=10 Size=10\n",
        .boxes = {"spill"},
        .log = "[{id}] Message of size 1Kb for mailbox (box) on postoffice ({p}) would exceed "
               "mailbox quota of 10Kb (current size 10Kb)."}},
      true);
}

// Libraries without the calls make every recipient a mailbox that is not there.
TEST_F(OutcomeTest, OfLibrariesThatLackTheirCalls) {
  installation_.Set("CONNECTORS\\SF", "Disabled Postoffice Bounce Mode", "0");
  installation_.UseStubs("", "bare");
  const OutcomeCase outcome{
      .recipients = "[SF:{p}/box]", .answers = "", .bounce = kNoMailbox, .bounced = "[SF:{p}/box]"};
  Put(outcome, 0);
  installation_.RunUntilEmpty();
  Check(outcome, 1);
}

// A target that somebody holds: to the Inbox, then under the backup name, then kept in bad mail.
TEST_F(OutcomeTest, OfATargetThatIsHeld) {
  const auto hold = [&](unsigned number, const std::string& name) {
    const std::string path =
        installation_.MailRoot() + Filled("/{p}/MAILROOT/box/Inbox/", number) + name;
    fs::create_directories(fs::path(path).parent_path());
    return platform::File::Open(path, platform::Access::kReadWrite, platform::kShareNone,
                                platform::Disposition::kCreateAlways);
  };
  const auto first = hold(1, NameOf(1));
  const auto second = hold(2, NameOf(2));
  const auto backup = hold(2, "G" + NameOf(2));
  ASSERT_TRUE(first && second && backup);
  const OutcomeCase held{.recipients = "[SF:{p}/box]", .answers = std::string(kOpen) + kBox};
  installation_.UseStubs(Filled(held.answers, 1) + Filled(held.answers, 2));
  Put(held, 0);
  Put(held, 1);
  installation_.RunUntilEmpty();
  const std::string message = kHead + Filled("Return-Path: " + held.returnPath + "\r\n", 1) + kBody;
  Files files = FilesBelow(installation_.MailRoot() + "/po1/MAILROOT/box");
  EXPECT_EQ(files["Inbox/G" + NameOf(1)], message);
  EXPECT_EQ(files.count("_1.NEW"), 1U);
  EXPECT_EQ(files["Inbox/_CHANGE.DTY"], kDirty);
  EXPECT_EQ(test::WithoutReturnPath(ReadBytes(installation_.Path("badmail/Messages/") + NameOf(2))),
            std::string(kHead) +
                "X-CV-BADMAIL: TRANSFERCOPYFAILED, Message Transfer Copy Failed\r\n" + kBody);
  const std::string log = installation_.DebugLog();
  EXPECT_NE(log.find("delivered after 2 retries to PO=po1 MBX=box."), std::string::npos);
  EXPECT_NE(log.find("Delivery failure occurred when delivering to backup file in PO=po2 MBX=box."),
            std::string::npos);
}

// An Inbox that can't be one: the message goes to bad mail, whole.
TEST_F(OutcomeTest, OfAnInboxThatIsAFile) {
  const OutcomeCase blocked{.recipients = "[SF:{p}/box];[SF:{p}/anna]",
                            .answers = std::string(kOpen) + kBox,
                            .badMail = "TRANSFERCOPYFAILED, Message Transfer Copy Failed"};
  installation_.UseStubs(Filled(blocked.answers, 1));
  Put(blocked, 0);
  const std::string inbox = installation_.MailRoot() + "/po1/MAILROOT/box/Inbox";
  fs::remove_all(inbox);
  test::WriteBytes(inbox, "");
  installation_.RunUntilEmpty();
  EXPECT_EQ(test::WithoutReturnPath(ReadBytes(installation_.Path("badmail/Messages/") + NameOf(1))),
            std::string(kHead) + "X-CV-BADMAIL: " + blocked.badMail + "\r\n" + kBody);
  EXPECT_NE(ReadBytes(installation_.Path("badmail/") + NameOf(1)).find("Recipients=[SF:po1/box]"),
            std::string::npos);
  EXPECT_NE(
      installation_.DebugLog().find("when delivering to PO=po1 MBX=box. Message moved to bad mail"),
      std::string::npos);
}

}  // namespace
}  // namespace corvane
