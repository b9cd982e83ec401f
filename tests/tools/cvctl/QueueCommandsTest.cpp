// cvctl queue on both queues: what it shows, what it changes, what it refuses.
#include <filesystem>

#include "platform/File.h"
#include "tests/tools/cvctl/CvctlFixture.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::Words;

constexpr const char* kFirst = "00000000000000000000000000000001.MAI";
constexpr const char* kSecond = "00000000000000000000000000000002.MAI";
constexpr const char* kNone = "00000000000000000000000000000009.MAI";

class QueueCommands : public test::Cvctl {
 protected:
  [[nodiscard]] std::string Inbound(const std::string& name) const {
    return Home() + "/connectors/SF/Inbound/" + name;
  }
  [[nodiscard]] std::string Outgoing(const std::string& name) const {
    return Home() + "/connectors/SF/Outgoing/" + name;
  }
  void FillInbound() const {
    test::WriteBytes(
        Inbound(kFirst),
        "Recipients=[SMTP:b@b.example]\r\nServer=NODE1\r\nSender=[SMTP:a@b.example]\r\n"
        "TimeAcquired=17\r\nStatus=Delivering\r\nSubject=\x1b[31mred\xff\r\n");
    test::WriteBytes(Inbound(std::string("Messages/") + kFirst), "Subject: x\r\n\r\ntext\r\n");
    test::WriteBytes(Inbound(kSecond),
                     "Recipients=[SMTP:c@c.example]\r\nServer=\r\nStatus=undelivered\r\n");
  }
  [[nodiscard]] json Values(const Words& queue, const char* name) const {
    Words words = {"queue", "show", name};
    words.insert(words.end(), queue.begin(), queue.end());
    return Json(words)["values"];
  }
};

TEST_F(QueueCommands, AMessageGoesInIsShownResetAndRemoved) {
  const auto submitted = Run({"queue", "submit", "-", "--from", "a@b.example", "--to", "acme/anna",
                              "[LS:acme/list]", "--json"},
                             "Subject: x\r\n\r\ntext\r\n");
  ASSERT_EQ(submitted.exitCode, 0) << submitted.errors;
  const std::string name = json::parse(submitted.output)["messageId"];
  json entry = Json({"queue", "list"})[0];
  EXPECT_EQ(entry["name"], name);
  EXPECT_EQ(entry["messageBytes"], 20);
  EXPECT_EQ(entry["values"]["Recipients"], "[SF:acme/anna];[LS:acme/list]");
  std::string text = test::ReadBytes(Outgoing(name));
  text.replace(text.find("Status=Unsent"), 13, "Status=Delivering");
  test::WriteBytes(Outgoing(name), text);
  EXPECT_EQ(Run({"queue", "reset", "--all"}).output, name + " reset\n");
  EXPECT_EQ(Values({}, name.c_str())["Status"], "Unsent");
  EXPECT_EQ(Json({"queue", "remove", name}),
            json::parse(R"({"messages": [{"name": ")" + name + R"(", "done": "removed"}]})"));
  EXPECT_TRUE(fs::is_empty(Outgoing("Messages")));
  EXPECT_TRUE(Json({"queue", "list"}).empty());
}

TEST_F(QueueCommands, AMessageCanComeOutOfAPipe) {
  Do({"queue", "submit", "/dev/stdin", "--from", "a@b.example", "--to", "acme/anna"},
     "Subject: x\r\n\r\ntext\r\n");
  EXPECT_EQ(Json({"queue", "list"})[0]["messageBytes"], 20);
}

TEST_F(QueueCommands, TheInboundQueueIsShownWithoutWhatSteersATerminal) {
  FillInbound();
  EXPECT_EQ(Json({"queue", "list", "--inbound"}).size(), 2U);
  EXPECT_TRUE(Json({"queue", "list"}).empty()) << "the other queue";
  EXPECT_NE(Run({"queue", "show", kFirst, "--inbound"}).output.find("Subject=?[31mred?\n"),
            std::string::npos);
  EXPECT_EQ(Values({"--inbound"}, kFirst)["Subject"], "\x1b[31mred\xef\xbf\xbd");
}

TEST_F(QueueCommands, AnInboundResetPutsBackWhatIsNotUndelivered) {
  const Words kCalls[] = {{"queue", "reset", "--inbound", "--all"},
                          {"queue", "reset", "--inbound", kFirst, kSecond}};
  for (const Words& call : kCalls) {
    FillInbound();
    const json outcome = Json(call)["messages"];
    ASSERT_EQ(outcome.size(), 2U) << call.back();
    for (const json& message : outcome) {
      EXPECT_EQ(message["done"], message["name"] == kFirst ? "reset" : "was Undelivered already");
    }
    const json values = Values({"--inbound"}, kFirst);
    EXPECT_EQ(values["Status"], "Undelivered");
    EXPECT_EQ(values["Server"], "");
    EXPECT_NE(values["TimeAcquired"], "17");
    EXPECT_EQ(values["Recipients"], "[SMTP:b@b.example]");
    EXPECT_EQ(Values({"--inbound"}, kSecond)["Status"], "undelivered") << "left as it is";
  }
}

TEST_F(QueueCommands, RemovalTakesBothFilesAndOnlyThose) {
  FillInbound();
  EXPECT_EQ(Run({"queue", "remove", "--inbound", kFirst}).output,
            std::string(kFirst) + " removed\n");
  EXPECT_FALSE(fs::exists(Inbound(kFirst)));
  EXPECT_FALSE(fs::exists(Inbound(std::string("Messages/") + kFirst)));
  EXPECT_TRUE(fs::exists(Inbound(kSecond)));
}

TEST_F(QueueCommands, FailuresAreToldInOneLineAndStopNothing) {
  FillInbound();
  const auto held =
      platform::File::Open(Inbound(kFirst), platform::Access::kReadWrite, platform::kShareNone,
                           platform::Disposition::kOpenExisting);
  ASSERT_TRUE(held);
  const test::Refusal cases[] = {
      {{"queue", "show", kNone}, 1, "cvctl queue list"},
      {{"queue", "show", "Messages", "--inbound"}, 2, "no name of a queued message"},
      {{"queue", "remove", "../x.MAI"}, 2, "no name of a queued message"},
      {{"queue", "reset", kNone}, 1, "not in the queue"},
      {{"queue", "reset", "--inbound", kNone}, 1, "not in the queue"},
      {{"queue", "reset"}, 2, "--all"},
      {{"queue", "reset", "--all", kFirst}, 2, "--all"},
      {{"queue", "reset", "--inbound", kNone, kFirst}, 3, "2 of 2 messages failed"},
      {{"queue", "remove", "--inbound", kFirst}, 3, "try again later"},
      {{"queue", "submit", "-", "--from", "a", "--to", "b@c.example"}, 2, "not local"},
      {{"queue", "submit", "none.eml", "--from", "a", "--to", "acme/anna"}, 2, "check the name"},
  };
  for (const test::Refusal& row : cases) ExpectRefused(row);
  test::WriteBytes(Outgoing(kSecond), "Recipients=[SF:acme/anna]\r\n");
  ExpectRefused({{"queue", "reset", kSecond}, 3, kSecond});
  EXPECT_EQ(test::ReadBytes(Outgoing(kSecond)), "Recipients=[SF:acme/anna]\r\n");
  const auto mixed = Run({"queue", "remove", "--inbound", kNone, kSecond});
  EXPECT_EQ(mixed.exitCode, 1);
  EXPECT_EQ(mixed.output, std::string(kSecond) + " removed\n");
  EXPECT_TRUE(fs::exists(Inbound(kFirst))) << "held";
  fs::remove_all(Home() + "/connectors/SF/Outgoing");
  EXPECT_EQ(Run({"queue", "list"}).exitCode, 1);
}

}  // namespace
}  // namespace corvane
