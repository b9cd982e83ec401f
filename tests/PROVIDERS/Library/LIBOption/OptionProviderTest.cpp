#include <gtest/gtest.h>

#include <string>

#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "tests/support/StubProviders.h"

namespace corvane {
namespace {

struct OptionCase {
  const char* name;
  const char* variant;
  const char* answers;
  std::size_t size;
  std::int32_t result;
  std::string text;
  std::string calls;
};

const OptionCase kOptions[] = {
    {"ExIsUsedWhenThere", "full", "GetOption acme/anna:DisplayName 1 Value=Anna%20B", 100, 1,
     "Anna B", "GetOption_Ex acme/anna:DisplayName\n"},
    {"PlainCallOtherwise", "plainoption", "GetOption acme/anna:DisplayName 1 Value=Anna", 100, 1,
     "Anna", "GetOption acme/anna:DisplayName\n"},
    {"PlainCallIsCutToTheBuffer", "plainoption", "GetOption * 1 Value=0123456789", 5, 1, "0123",
     "GetOption acme/anna:DisplayName\n"},
    {"ExWithoutAnEndIsEnded", "full", "GetOption * 1 Value=<full>", 6, 1, "xxxxx",
     "GetOption_Ex acme/anna:DisplayName\n"},
    {"ExAloneIsNotEnough", "onlyoptionex", "GetOption * 1 Value=Anna", 100, 0, "", ""},
    {"NoExport", "bare", "GetOption * 1 Value=Anna", 100, 0, "", ""},
    {"NoLibrary", "nowhere", "GetOption * 1 Value=Anna", 100, 0, "", ""},
    {"AZeroAnswerLeavesTheBufferEmpty", "full", "GetOption * 0 Value=Rest", 100, 0, "",
     "GetOption_Ex acme/anna:DisplayName\n"},
    {"EmptyValueIsAnAnswer", "full", "GetOption * 1 Value=", 100, 1, "",
     "GetOption_Ex acme/anna:DisplayName\n"},
    {"AnyNumberButZeroIsAnAnswer", "full", "GetOption * -1 Value=", 100, 1, "",
     "GetOption_Ex acme/anna:DisplayName\n"},
};

class OptionCases : public ::testing::TestWithParam<OptionCase> {};

TEST_P(OptionCases, GivesTheTextOrNothing) {
  test::StubProviders stub(GetParam().variant);
  stub.Answer(GetParam().answers);
  std::string buffer(100, '#');
  EXPECT_EQ(GetMailboxOption("acme", "anna", "DisplayName", buffer.data(), GetParam().size),
            GetParam().result);
  EXPECT_EQ(std::string(buffer.c_str()), GetParam().text);
  EXPECT_EQ(buffer[GetParam().size == 100 ? 99 : GetParam().size],
            GetParam().size == 100 ? buffer[99] : '#')
      << "nothing is written behind the buffer";
  EXPECT_EQ(stub.Calls(), GetParam().calls);
  UnloadOptionProvider();
}
INSTANTIATE_TEST_SUITE_P(Table, OptionCases, ::testing::ValuesIn(kOptions),
                         [](const auto& info) { return info.param.name; });

TEST(OptionProvider, IsLoadedAtTheFirstCallAndTriedAgainWhileItIsMissing) {
  test::StubProviders stub("nowhere");
  stub.Answer("GetOption * 1 Value=here");
  char text[20];
  EXPECT_EQ(GetPostofficeOption("acme", "PostofficeRoot", text, sizeof text), 0);
  stub.Use(test::StubLibraries("full"));
  EXPECT_EQ(GetPostofficeOption("acme", "PostofficeRoot", text, sizeof text), 1);
  EXPECT_STREQ(text, "here");
  EXPECT_EQ(stub.Calls(), "GetOption_Ex acme:PostofficeRoot\n");
  UnloadOptionProvider();
}

TEST(OptionProvider, TheKeyOfAMailboxIsCutTo254Bytes) {
  test::StubProviders stub;
  const std::string postoffice(200, 'p');
  const std::string mailbox(100, 'm');
  char text[20];
  (void)GetMailboxOption(postoffice.c_str(), mailbox.c_str(), "TimeZone", text, sizeof text);
  EXPECT_EQ(stub.Calls(),
            "GetOption_Ex " + postoffice + "/" + mailbox.substr(0, 53) + ":TimeZone\n");
  UnloadOptionProvider();
}

TEST(OptionProvider, AnUnreachableStoreIsNeverAMissingOption) {
  test::StubProviders stub;
  stub.Answer("GetOption acme:x -1000 Value=\nGetOption acme:y -1000 Value=text");
  char text[20];
  EXPECT_THROW(GetPostofficeOption("acme", "x", text, sizeof text), StoreUnreachable);
  EXPECT_EQ(GetPostofficeOption("acme", "y", text, sizeof text), 1) << "a text is an answer";
  UnloadOptionProvider();
}

TEST(OptionProvider, AVeryLongValueOfAPlainLibraryDoesNoHarm) {
  test::StubProviders stub("plainoption");
  stub.Answer("GetOption * 1 Value=" + std::string(60'000, 'v'));
  char text[300];
  EXPECT_EQ(GetPostofficeOption("acme", "x", text, sizeof text), 1);
  EXPECT_EQ(std::string(text), std::string(299, 'v'));
  EXPECT_EQ(GetPostofficeOption("acme", "x", text, 0), 0) << "a buffer of no bytes takes nothing";
  UnloadOptionProvider();
}

}  // namespace
}  // namespace corvane
