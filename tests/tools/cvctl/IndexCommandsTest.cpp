// cvctl index on folders of messages: what it shows, each fault that it finds, what it changes,
// what it refuses.
#include <filesystem>
#include <tuple>

#include "tests/tools/cvctl/CvctlFixture.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const std::string kFirst = "<ELEMENT ID=\"a.MAI\" UID=\"1\"><SUBJECT>one</SUBJECT></ELEMENT>";
const std::string kSecond = "<ELEMENT ID=\"b.MAI\" UID=\"2\"><SUBJECT>two</SUBJECT></ELEMENT>";
const std::string kStart = "<BASEELEMENT LASTUID=\"x00000002\">";
const std::string kEnd = "</BASEELEMENT>\r\n";

class IndexCommands : public test::Cvctl {
 protected:
  IndexCommands() {
    fs::create_directories(folder_);
    UseStreams(true);
  }
  void UseStreams(bool streams) const {
    for (const char* name :
         {"Use XML Stream Index Deserialisation", "Use XML Stream Index Serialisation"}) {
      Do({"settings", "set", ".", name, streams ? "1" : "0"});
    }
  }
  void Write(const std::string& name, const std::string& bytes) const {
    test::WriteBytes(folder_ + "/" + name, bytes);
  }
  void Deliver(const std::string& name, const std::string& subject = "s") const {
    Write(name, "From: a@b.example\r\nSubject: " + subject + "\r\n\r\n");
  }
  [[nodiscard]] json Dump() const { return Json({"index", "dump", folder_}); }
  // "ID:UID " of all items.
  [[nodiscard]] std::string Items() const {
    const json dump = Dump();
    std::string items;
    for (const json& item : dump["items"]) {
      items += item["ID"].get<std::string>() + ":" + std::to_string(item["UID"].get<int>()) + " ";
    }
    return items;
  }
  void ExpectSound() const {
    const auto check = Run({"index", "check", folder_});
    EXPECT_EQ(check.exitCode, 0) << check.output;
    EXPECT_EQ(check.output, "sound\n");
    EXPECT_EQ(check.errors, "");
  }

  const std::string folder_ = directory_ / "Inbox";
};

TEST_F(IndexCommands, ADumpTellsWhereEveryItemStandsAndWhatItHolds) {
  Write("_index.xml",
        kStart + kFirst + "<ELEMENT ID=\"------\" UID=\"-\"><CC>x</CC></ELEMENT>" + kSecond + kEnd);
  json dump = Dump();
  ASSERT_EQ(dump["items"].size(), 2U);
  const json& second = dump["items"][1];
  EXPECT_EQ(second["ID"], "b.MAI");
  EXPECT_EQ(second["UID"], 2);
  EXPECT_EQ(second["properties"]["SUBJECT"], "two");
  EXPECT_FALSE(second["properties"].contains("UID")) << "stands beside the properties";
  const std::string text = test::ReadBytes(folder_ + "/_index.xml");
  EXPECT_EQ(text.substr(second["offset"], second["length"]), kSecond);
  dump.erase("items");
  EXPECT_EQ(dump, json::parse(R"({"lastUid": 2, "form": "stream", "state": 4, "tombstones": 1,
                                  "error": ""})"));
  const auto plain = Run({"index", "dump", folder_});
  EXPECT_EQ(plain.output.rfind("stream, LASTUID 2, 2 items, 1 tombstones\n", 0), 0U)
      << plain.output;
  EXPECT_NE(plain.output.find("         2              b.MAI\n"), std::string::npos)
      << plain.output;
}

TEST_F(IndexCommands, ADumpNamesTheFormOfTheFile) {
  // A form, such a file, its LASTUID and the number of its items.
  const std::tuple<const char*, std::string, int, std::size_t> forms[] = {
      {"stream", kStart + kEnd, 2, 0},
      {"empty", "<BASEELEMENT LASTUID=\"x00000007\"/>", 7, 0},
      {"old", "<BASEELEMENT LASTUID=\"9\">\r\n" + kFirst + "</BASEELEMENT>", 9, 1},
  };
  EXPECT_EQ(Dump()["form"], "absent");
  for (const auto& [form, text, lastUid, items] : forms) {
    Write("_index.xml", text);
    const json dump = Dump();
    EXPECT_EQ(dump["form"], form);
    EXPECT_EQ(dump["lastUid"], lastUid) << form;
    EXPECT_EQ(dump["items"].size(), items) << form;
    EXPECT_EQ(dump["error"], "") << form;
  }
  Write("_groups.xml", kStart + kFirst + kEnd);
  EXPECT_EQ(Json({"index", "dump", folder_, "--class", "54"})["items"].size(), 1U);
}

TEST_F(IndexCommands, AnUnreadableFileIsToldAsFarAsItCouldBeRead) {
  Write("_index.xml", kStart + kFirst + "<ELEMENT ID=\"b.MAI\" UID=\"2\"><SUBJ");
  const json dump = Dump();
  EXPECT_EQ(dump["error"], "Did not find root element end tag");
  EXPECT_EQ(dump["state"], 0);
  const auto plain = Run({"index", "dump", folder_});
  EXPECT_EQ(plain.exitCode, 1);
  EXPECT_NE(plain.errors.find("cvctl index rebuild"), std::string::npos) << plain.errors;
}

TEST_F(IndexCommands, ACheckNamesEachFault) {
  Deliver("a.MAI");
  Deliver("b.MAI");
  const std::string both = kFirst + kSecond;
  const std::string loose = "<ELEMENT  ID='b.MAI' UID='2'></ELEMENT>";
  // What the check says, and the index that it says it of.
  const std::pair<const char*, std::string> cases[] = {
      {"the file can't be read: Did not find root element end tag", kStart + both},
      {"1 elements have an ID or a UID that another has already, or an ID that can't be written "
       "again",
       kStart + both + "<ELEMENT ID=\"a.MAI\" UID=\"2\"></ELEMENT>" + kEnd},
      {"LASTUID 1 is lower than the UID 2", "<BASEELEMENT LASTUID=\"x00000001\">" + both + kEnd},
      {"the element of 'b.MAI' isn't where it should be", kStart + kFirst + loose + kEnd},
      {"what stands before 'b.MAI' is no element", kStart + kFirst + "stray" + kSecond + kEnd},
      {"the file doesn't end with its trailer", kStart + both + "</BASEELEMENT>"},
      {"'b.MAI' lies in the folder and isn't in the index", kStart + kFirst + kEnd},
      {"'c.MAI' is in the index and there is no such file",
       "<BASEELEMENT LASTUID=\"x00000003\">" + both + "<ELEMENT ID=\"c.MAI\" UID=\"3\"></ELEMENT>" +
           kEnd},
  };
  for (const auto& [says, index] : cases) {
    Write("_index.xml", index);
    const auto check = Run({"index", "check", folder_});
    EXPECT_EQ(check.exitCode, 1) << says;
    EXPECT_EQ(check.output, std::string(says) + "\n");
    EXPECT_EQ(check.errors, "");
    const json told = json::parse(Run({"index", "check", folder_, "--json"}).output);
    EXPECT_EQ(told, (json{{"sound", false}, {"faults", {says}}}));
  }
  Write("_index.xml", kStart + both + kEnd);
  ExpectSound();
  EXPECT_EQ(Json({"index", "check", folder_}), (json{{"sound", true}, {"faults", json::array()}}));
  Write("_index.bin", std::string(24 + 16, '\0'));
  EXPECT_EQ(Run({"index", "check", folder_}).output,
            "the offset cache has not as many records as there are items\n");
}

TEST_F(IndexCommands, ACheckTellsAllFaultsAndThatTheFolderIsMarked) {
  Deliver("a.MAI");
  Write("_CHANGE.DTY", "");
  Deliver("_b.MAI");  // no message
  const auto check = Run({"index", "check", folder_});
  EXPECT_EQ(check.exitCode, 1);
  EXPECT_EQ(
      check.output,
      "there is no index file\n"
      "'a.MAI' lies in the folder and isn't in the index (the folder is marked as changed)\n");
}

TEST_F(IndexCommands, ARebuildInsertionsChangesAndRemovalsLeaveASoundIndex) {
  for (const bool streams : {true, false}) {
    UseStreams(streams);
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    Deliver("b.MAI", "\x1b[31mred");
    Deliver("a.MAI", "one & <two>");
    EXPECT_EQ(Run({"index", "rebuild", folder_}).output, "2 items, LASTUID 2\n");
    EXPECT_EQ(Items(), "a.MAI:1 b.MAI:2 ");
    Deliver("d.MAI");
    Deliver("c.MAI");
    Do({"index", "insert", folder_, "d.MAI"});
    Do({"index", "insert", folder_, "c.MAI"});
    EXPECT_EQ(Items(), "a.MAI:1 b.MAI:2 d.MAI:3 c.MAI:4 ");
    EXPECT_EQ(Dump()["items"][0]["properties"]["SUBJECT"], "one & <two>");
    Do({"index", "set", folder_, "b.MAI", "FLAGSTATUS", "\\SEEN $Work"});
    Do({"index", "set", folder_, "c.MAI", "CATEGORIES", "<a> & \"b\""});
    Do({"index", "remove", folder_, "a.MAI", "d.MAI"});
    EXPECT_TRUE(fs::exists(folder_ + "/a.MAI")) << "the file stays";
    fs::remove(folder_ + "/a.MAI");
    fs::remove(folder_ + "/d.MAI");
    const json items = Dump()["items"];
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0]["properties"]["FLAGSTATUS"], "\\SEEN $Work");
    EXPECT_EQ(items[0]["properties"]["READ"], "1");
    EXPECT_EQ(items[1]["properties"]["CATEGORIES"], "<a> & \"b\"");
    if (streams) ExpectSound();
    EXPECT_EQ(Json({"index", "insert", folder_, "b.MAI"}),
              (json{{"item", "b.MAI"}, {"done", "inserted"}}));
    EXPECT_EQ(Json({"index", "set", folder_, "c.MAI", "CATEGORIES", ""})["done"], "set");
    EXPECT_FALSE(Dump()["items"][1]["properties"].contains("CATEGORIES"));
    EXPECT_EQ(Json({"index", "rebuild", folder_}), (json{{"items", 2}, {"lastUid", 4}}));
    EXPECT_EQ(Items(), "b.MAI:2 c.MAI:4 ") << "identifiers stay";
    EXPECT_EQ(Dump()["items"][0]["properties"]["FLAGSTATUS"], "\\SEEN $Work") << "and flags";
    EXPECT_EQ(Dump()["form"], streams ? "stream" : "old");
  }
}

TEST_F(IndexCommands, JsonIsAllThatComesOut) {
  UseStreams(false);
  Deliver("a.MAI");
  Write("_index.xml", "torn");
  const auto rebuilt = Run({"index", "rebuild", folder_, "--json"});
  EXPECT_EQ(json::parse(rebuilt.output, nullptr, false), (json{{"items", 1}, {"lastUid", 1}}));
  EXPECT_EQ(rebuilt.errors, "");
}

TEST_F(IndexCommands, FailuresAreToldInOneLineAndChangeNothing) {
  Deliver("a.MAI");
  Deliver("_x.MAI");
  Do({"index", "rebuild", folder_});
  const std::string before = test::ReadBytes(folder_ + "/_index.xml");
  const std::string none = directory_ / "none";
  const test::Refusal cases[] = {
      {{"index", "dump", none}, 1, "there is no folder"},
      {{"index", "check", none}, 1, "there is no folder"},
      {{"index", "rebuild", none}, 1, "there is no folder"},
      {{"index", "insert", folder_, "b.MAI"}, 1, "put it there first"},
      {{"index", "insert", folder_, "../Inbox/a.MAI"}, 1, "put it there first"},
      {{"index", "insert", folder_, "_x.MAI"}, 2, "is never indexed"},
      {{"index", "remove", folder_, "b.MAI", "c.MAI"}, 1, "has none of these items"},
      {{"index", "remove", folder_}, 2, "items"},
      {{"index", "set", folder_, "b.MAI", "SUBJECT", "x"}, 1, "has no item 'b.MAI'"},
      {{"index", "set", folder_, "a.MAI", "UID", "7"}, 2, "no property that can be set"},
      {{"index", "set", folder_, "a.MAI", "A B", "7"}, 2, "no property that can be set"},
      {{"index", "set", folder_, "a.MAI", "SUBJECT"}, 2, "value"},
      {{"index", "set", folder_, "a.MAI", "SIZE", "12x"}, 2, "holds a number"},
      {{"index", "check", folder_, "--class", "5"}, 2, "--class"},
      {{"index", "dump", folder_, "--class", "many"}, 2, "--class"},
      {{"index", "rebuild", folder_, "--class", "1"}, 3, "folders of messages only"},
  };
  for (const test::Refusal& row : cases) ExpectRefused(row);
  EXPECT_EQ(test::ReadBytes(folder_ + "/_index.xml"), before);
  Deliver("b.MAI");
  Do({"index", "insert", folder_, "b.MAI"});
  Deliver("d.MAI");
  Do({"index", "insert", folder_, "d.MAI"});
  EXPECT_EQ(Json({"index", "remove", folder_, "d.MAI"}),
            (json{{"items", {"d.MAI"}}, {"done", "removed"}}));
  Deliver("[a]");
  Do({"index", "insert", folder_, "[a]"});
  Do({"index", "remove", folder_, "[a]", "[a]"});
  const auto partly = Run({"index", "remove", folder_, "b.MAI", "c.MAI"});
  EXPECT_EQ(partly.exitCode, 1);
  EXPECT_NE(partly.errors.find("removed 1 of 2 items"), std::string::npos) << partly.errors;
  EXPECT_EQ(Items(), "a.MAI:1 ");
}

}  // namespace
}  // namespace corvane
