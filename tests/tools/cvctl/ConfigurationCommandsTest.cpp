// The tool's commands on an installation of its own, run as programs: exit codes, what they print,
// what the next command sees.
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/support/AsNobody.h"
#include "tests/tools/cvctl/CvctlFixture.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::Cvctl;
using test::Words;

TEST_F(Cvctl, InitMakesAWholeInstallationOnce) {
  EXPECT_TRUE(fs::is_directory(Home() + "/connectors/SF/Outgoing/Messages"));
  EXPECT_TRUE(fs::is_directory(Home() + "/connectors/SF/Inbound/Messages"));
  for (const char* library : {"CVAIPO", "CVAISM", "CVAIAM", "CVAISO", "CVAISP", "CVAINFY"}) {
    EXPECT_TRUE(fs::is_regular_file(Home() + "/lib64/" + library + ".so")) << library;
  }
  EXPECT_TRUE(Json({"postoffice", "list"})["postoffices"].empty()) << "an empty store";
  ExpectRefused({{"init", Home()}, 2, "already holds an installation"});
  const auto other = Run({"init", directory_ / "it's here"});
  EXPECT_EQ(other.exitCode, 0);
  const auto shell =
      test::RunProgram({"/bin/sh", "-c", other.output + "printf %s \"$CORVANE_SETTINGS\""});
  EXPECT_EQ(shell.output, directory_ / "it's here/settings.db");
}

TEST_F(Cvctl, InitRefusesWhatCannotHoldAnInstallation) {
  test::WriteBytes(directory_ / "file", "");
  fs::create_directories(directory_ / "half/config");
  test::WriteBytes(directory_ / "half/config/configuration.db", "");
  fs::create_directories(directory_ / "flat");
  test::WriteBytes(directory_ / "flat/configuration.db", "");
  for (const std::string name : {"file", "half", "flat", "back\\slash", "line\nend", "bell\a"}) {
    ExpectRefused({{"init", directory_ / name}, 2, "cvctl: "});
    EXPECT_FALSE(fs::exists(directory_ / name + "/settings.db")) << name;
  }
  EXPECT_EQ(Run({"init", ""}).exitCode, 2);
}

TEST_F(Cvctl, PostofficesComeChangeAndGo) {
  Do({"postoffice", "add", "acme"});
  Do({"postoffice", "add", "closed", "--disabled"});
  EXPECT_EQ(Json({"postoffice", "list"}),
            json::parse(R"({"postoffices": [{"name": "acme", "enabled": true},
                                            {"name": "closed", "enabled": false}]})"));
  Do({"postoffice", "set", "closed", "--enabled"});
  EXPECT_EQ(Json({"postoffice", "show", "CLOSED"}),
            json::parse(R"({"name": "closed", "enabled": true, "mailboxes": 0, "groups": 0})"));
  Do({"postoffice", "remove", "closed"});
  EXPECT_EQ(Run({"postoffice", "show", "closed"}).exitCode, 1);
}

TEST_F(Cvctl, MailboxesComeWithTheirDirectoryAndLeaveTheirMail) {
  Do({"postoffice", "add", "acme"});
  Do({"mailbox", "add", "acme/anna", "--quota", "500", "--redirect", "acme/bob; x@y.test",
      "--redirect-mode", "2", "--disabled"});
  const std::string inbox = Home() + "/mail/acme/MAILROOT/anna/Inbox";
  ASSERT_TRUE(fs::is_directory(inbox));
  test::WriteBytes(inbox + "/1.MAI", std::string(1500, 'x'));
  json anna = json::parse(R"({"postoffice": "acme", "mailbox": "anna", "enabled": false,
                              "quotaKb": 500, "redirect": "[SF:acme/bob];[SMTP:x@y.test]",
                              "redirectMode": 2})");
  EXPECT_EQ(Json({"mailbox", "list"})["mailboxes"], json::array({anna}));
  anna["sizeKb"] = 2;
  anna["directory"] = Home() + "/mail/acme/MAILROOT/anna";
  EXPECT_EQ(Json({"mailbox", "show", "acme/anna"}), anna);
  Do({"mailbox", "set", "acme/anna", "--enabled", "--quota", "none", "--redirect-mode", "0"});
  anna["enabled"] = true;
  anna["quotaKb"] = nullptr;
  anna["redirectMode"] = 0;
  EXPECT_EQ(Json({"mailbox", "show", "acme/anna"}), anna);
  Do({"mailbox", "set", "acme/anna", "--redirect-mode", "1"});
  Do({"mailbox", "set", "acme/anna", "--redirect="});
  anna["redirect"] = "";
  EXPECT_EQ(Json({"mailbox", "show", "acme/anna"}), anna) << "the mode goes with the list";
  Do({"mailbox", "remove", "acme/anna"});
  EXPECT_TRUE(fs::exists(inbox + "/1.MAI"));
  EXPECT_EQ(Run({"mailbox", "show", "acme/anna"}).exitCode, 1);
}

TEST_F(Cvctl, GroupsHaveMembersInOrder) {
  FillStore();
  Do({"mailbox", "add", "acme/zoe"});
  for (const char* item : {"acme/zoe", "[LS:acme/list]", "m@x.test"}) {
    Do({"group", "member", "add", "acme/sales", item});
  }
  Do({"group", "member", "remove", "acme/sales", "[LS:acme/list]"});
  Do({"group", "set", "acme/sales", "--disabled"});
  EXPECT_EQ(Json({"group", "show", "acme/sales"}),
            json::parse(R"({"postoffice": "acme", "group": "sales", "enabled": false,
                            "members": ["[SF:acme/zoe]", "[SMTP:m@x.test]"]})"));
  EXPECT_EQ(Json({"group", "list", "acme"})["groups"].size(), 1u);
  Do({"group", "remove", "acme/sales"});
  EXPECT_EQ(Run({"group", "show", "acme/sales"}).exitCode, 1);
}

TEST_F(Cvctl, DomainsMapsAndOptions) {
  FillStore();
  Do({"domain", "add", "acme.test"});
  EXPECT_EQ(Json({"domain", "list"}), json::parse(R"({"domains": ["acme.test"]})"));
  Do({"domain", "remove", "ACME.test"});
  EXPECT_TRUE(Json({"domain", "list"})["domains"].empty());
  Do({"map", "add", "anna@acme.test", "acme/anna"});
  EXPECT_EQ(Json({"map", "list"}),
            json::parse(R"({"maps": [{"address": "anna@acme.test", "item": "[SF:acme/anna]"}]})"));
  Do({"map", "remove", "anna@acme.test"});
  Do({"mailbox", "add", "acme/anna@acme.test"});
  Do({"map", "add", "a/b@acme.test", "acme/anna@acme.test"});
  EXPECT_EQ(Json({"map", "list"})["maps"][0]["item"], "[SF:acme/anna@acme.test]");
  Do({"map", "remove", "a/b@acme.test"});
  EXPECT_TRUE(Json({"map", "list"})["maps"].empty());
  Do({"option", "set", "acme/anna", "DisplayName", "Anna \"B\""});
  Do({"option", "set", "acme/anna", "displayname", "Anna C"});
  Do({"option", "set", "acme", "PostofficeRoot", "/elsewhere"});
  EXPECT_EQ(Run({"option", "get", "acme/anna", "DisplayName"}).output, "Anna C\n");
  EXPECT_EQ(Json({"option", "list", "acme/anna"}),
            json::parse(R"({"key": "acme/anna", "options": {"DisplayName": "Anna C"}})"));
  EXPECT_EQ(Json({"option", "get", "acme", "PostofficeRoot"})["value"], "/elsewhere");
  Do({"option", "set", "acme", "A", "--", "--b="});
  EXPECT_EQ(Run({"option", "get", "acme", "A"}).output, "--b=\n");
  Do({"option", "delete", "acme/anna", "DisplayName"});
  EXPECT_EQ(Run({"option", "get", "acme/anna", "DisplayName"}).exitCode, 1);
}

TEST_F(Cvctl, WhatGoesTakesAllThatHangsOnIt) {
  FillStore();
  Do({"map", "add", "anna@acme.test", "acme/anna"});
  Do({"option", "set", "acme/anna", "DisplayName", "Anna"});
  Do({"option", "set", "acme", "PostofficeRoot", "/elsewhere"});
  Do({"group", "member", "add", "acme/sales", "acme/anna"});
  EXPECT_EQ(Run({"postoffice", "remove", "acme"}).exitCode, 2);
  EXPECT_EQ(Json({"mailbox", "list"})["mailboxes"].size(), 1u) << "nothing went";
  Do({"postoffice", "remove", "acme", "--force"});
  Do({"postoffice", "add", "acme"});
  Do({"mailbox", "add", "acme/anna"});
  Do({"group", "add", "acme/sales"});
  EXPECT_TRUE(Json({"option", "list", "acme/anna"})["options"].empty());
  EXPECT_TRUE(Json({"option", "list", "acme"})["options"].empty());
  EXPECT_TRUE(Json({"map", "list"})["maps"].empty());
  EXPECT_TRUE(Json({"group", "show", "acme/sales"})["members"].empty());
}

const test::Refusal kRefused[] = {
    {{}, 2, "help"},
    {{"nonsense"}, 2, "see 'cvctl --help'"},
    {{"postoffice", "paint"}, 2, "one of add, list, show, set, remove"},
    {{"group", "member"}, 2, "one of add, remove"},
    {{"--paint"}, 2, "no command 'cvctl --paint'"},
    {{"mailbox", "list", "--paint"}, 2, "see cvctl mailbox list --help"},
    {{"two\nlines"}, 2, "two?lines"},
    {{"postoffice", "add", "ACME"}, 2, "already"},
    {{"postoffice", "add", "a\\b"}, 2, "separators"},
    {{"postoffice", "add", ".."}, 2, "can't be"},
    {{"postoffice", "add", "a]b"}, 2, "brackets"},
    {{"postoffice", "add", std::string(128, 'p')}, 2, "127"},
    {{"postoffice", "set", "acme"}, 2, "--enabled"},
    {{"postoffice", "set", "acme", "--enabled", "--disabled"}, 2, "--"},
    {{"postoffice", "remove", "nobody"}, 1, "no postoffice nobody"},
    {{"mailbox", "add", "acme/Anna"}, 2, "already"},
    {{"mailbox", "add", "anna"}, 2, "POSTOFFICE/MAILBOX"},
    {{"mailbox", "add", "nobody/x"}, 1, "no postoffice nobody"},
    {{"mailbox", "add", "acme/" + std::string(64, 'm')}, 2, "63"},
    {{"mailbox", "add", "acme/../x"}, 2, "can't be"},
    {{"mailbox", "add", "acme/SALES"}, 2, "taken"},
    {{"group", "add", "acme/anna"}, 2, "taken"},
    {{"mailbox", "set", "acme/anna", "--quota", "12x"}, 2, "quota"},
    {{"mailbox", "set", "acme/anna", "--quota", "", "--enabled"}, 2, "quota"},
    {{"mailbox", "set", "acme/anna", "--quota", "4294967295"}, 2, "quota"},
    {{"mailbox", "set", "acme/anna", "--redirect", "acme/x"}, 2, "mode"},
    {{"mailbox", "set", "acme/anna", "--redirect-mode", "1"}, 2, "items"},
    {{"mailbox", "set", "acme/anna", "--redirect", "", "--redirect-mode", "1"}, 2, "items"},
    {{"mailbox", "set", "acme/anna", "--redirect-mode", "3"}, 2, "mode"},
    {{"mailbox", "set", "acme/anna", "--redirect", "a@" + std::string(600, 'x'), "--redirect-mode",
      "1"},
     2,
     "too long"},
    {{"mailbox", "set", "acme/anna"}, 2, "nothing to set"},
    {{"mailbox", "set", "acme/x", "--quota", "1"}, 1, "no mailbox acme/x"},
    {{"mailbox", "list", "nobody"}, 1, "no postoffice nobody"},
    {{"group", "member", "add", "acme/x", "acme/anna"}, 1, "no group"},
    {{"group", "member", "add", "acme/sales", "acme/nobody"},
     1,
     "[SF:acme/nobody] names no mailbox or group"},
    {{"map", "add", "a@b.test", "acme/nobody"}, 1, "names no mailbox"},
    {{"option", "list", "acme/x"}, 1, "no mailbox acme/x"},
    {{"option", "list", "x"}, 1, "no postoffice x"},
    {{"group", "member", "add", "acme/sales", "anna"}, 2, "POSTOFFICE/MAILBOX"},
    {{"group", "member", "add", "acme/sales", "[SF:a/b];[SF:a/c]"}, 2, "can't be"},
    {{"group", "member", "add", "acme/sales", "m@" + std::string(255, 'x')}, 2, "255"},
    {{"group", "member", "remove", "acme/sales", "acme/x"}, 1, "no member"},
    {{"domain", "add", "a b"}, 2, "'a b' is no domain"},
    {{"domain", "add", "anna@acme.test"}, 2, "is no domain"},
    {{"domain", "remove", "x.test"}, 1, "no domain"},
    {{"map", "add", "anna", "acme/anna"}, 2, "NAME@DOMAIN"},
    {{"map", "add", "a@b.test", "c@d.test"}, 2, "local item"},
    {{"option", "set", "acme/x", "A", "1"}, 1, "no mailbox acme/x"},
    {{"option", "set", "acme", "A", std::string(1024, 'v')}, 2, "1023"},
    {{"option", "get", "x", "A"}, 1, "no postoffice x"},
    {{"option", "delete", "acme", "A"}, 1, "no option"},
};

// One installation for the whole table: a refused command changes nothing.
TEST_F(Cvctl, RefusedCommandsSayWhyInOneLineAndChangeNothing) {
  FillStore();
  const auto State = [&] {
    return json{Json({"postoffice", "list"}), Json({"mailbox", "list"}),
                Json({"group", "show", "acme/sales"}), Json({"map", "list"})};
  };
  const json before = State();
  for (const test::Refusal& refused : kRefused) ExpectRefused(refused);
  EXPECT_EQ(State(), before);
  EXPECT_FALSE(fs::exists(Home() + "/mail/acme/x"));
  EXPECT_FALSE(fs::exists(Home() + "/mail/acme/MAILROOT/SALES"));
}

TEST_F(Cvctl, AChangeAnswersInJsonWhenAsked) {
  EXPECT_EQ(Json({"postoffice", "add", "acme"}),
            json::parse(R"({"postoffice": "acme", "done": "added"})"));
  EXPECT_EQ(Json({"mailbox", "add", "acme/anna"})["mailbox"], "acme/anna");
  EXPECT_EQ(Json({"group", "add", "acme/sales"})["done"], "added");
  EXPECT_EQ(Json({"group", "member", "add", "acme/sales", "acme/anna"})["member"],
            "[SF:acme/anna]");
  EXPECT_EQ(Json({"domain", "add", "acme.test"})["domain"], "acme.test");
  EXPECT_EQ(Json({"map", "add", "a@acme.test", "acme/anna"})["map"], "a@acme.test");
  EXPECT_EQ(Json({"option", "set", "acme", "A", "1"})["done"], "set");
  EXPECT_EQ(Json({"mailbox", "remove", "acme/anna"})["done"], "removed");
  EXPECT_EQ(Json({"init", directory_ / "second"})["settings"], directory_ / "second/settings.db");
}

TEST_F(Cvctl, StoredValuesNeitherSteerTheTerminalNorBreakLines) {
  FillStore();
  Do({"option", "set", "acme/anna", "A", "red \x1b[31m\nB\t\xff \xc3\xa4 \xc2\x9b"});
  EXPECT_EQ(Run({"option", "get", "acme/anna", "A"}).output, "red ?[31m?B?? \xc3\xa4 ?\n");
  EXPECT_EQ(Run({"option", "list", "acme/anna"}).output, "A\tred ?[31m?B?? \xc3\xa4 ?\n");
  EXPECT_EQ(Json({"option", "get", "acme/anna", "A"})["value"],
            "red \x1b[31m\nB\t\xef\xbf\xbd \xc3\xa4 \xc2\x9b");
}

TEST_F(Cvctl, AStoreThatMayOnlyBeReadIsReadAndNotChanged) {
  FillStore();
  for (const char* place : {"/config", "/config/configuration.db"}) {
    fs::permissions(Home() + place, fs::perms::owner_write | fs::perms::others_write,
                    fs::perm_options::remove);
  }
  fs::permissions(std::string(directory_ / ""), fs::perms::group_exec | fs::perms::others_exec,
                  fs::perm_options::add);
  test::AsNobody nobody;
  if (access(test::ProgramFile("cvctl").c_str(), X_OK) != 0) {
    GTEST_SKIP() << "the programs lie where only the superuser gets";
  }
  EXPECT_EQ(Run({"mailbox", "list"}).output, "acme/anna\tenabled\tquota 500 KB\n");
  ExpectRefused({{"mailbox", "add", "acme/new"}, 3, "rights"});
  EXPECT_FALSE(fs::exists(Home() + "/mail/acme/MAILROOT/new"));
}

TEST_F(Cvctl, AStoreThatIsMissingOrDamagedIsToldOf) {
  fs::remove(Home() + "/config/configuration.db");
  ExpectRefused({{"postoffice", "list"}, 3, "cvctl postoffice add"});
  Do({"postoffice", "add", "acme"});
  EXPECT_EQ(Json({"postoffice", "list"})["postoffices"].size(), 1u) << "made by the first change";
  test::WriteBytes(Home() + "/config/configuration.db", std::string(5000, 'x'));
  ExpectRefused({{"postoffice", "list"}, 3, "can't open the configuration store"});
  ExpectRefused({{"postoffice", "add", "other"}, 3, "can't open the configuration store"});
  fs::remove(Home() + "/settings.db");
  ExpectRefused({{"postoffice", "list"}, 3, "cvctl init"});
}

}  // namespace
}  // namespace corvane
