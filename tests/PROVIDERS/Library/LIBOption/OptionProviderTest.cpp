
#include <string>

#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "tests/support/StubProviders.h"

namespace corvane {
namespace {

struct OptionCase {
  std::string name, variant, answers;
  std::size_t size;
  std::int32_t result;
  std::string text, calls;
};
constexpr const char* kAskedEx = "GetOption_Ex acme/anna:DisplayName\n";
constexpr const char* kAsked = "GetOption acme/anna:DisplayName\n";

const OptionCase kOptions[] = {
    {"ExIsUsedWhenThere", "full", "acme/anna:DisplayName 1 Value=Anna%20B", 100, 1, "Anna B",
     kAskedEx},
    {"PlainCallOtherwise", "plainoption", "acme/anna:DisplayName 1 Value=Anna", 100, 1, "Anna",
     kAsked},
    {"PlainCallIsCutToTheBuffer", "plainoption", "* 1 Value=0123456789", 5, 1, "0123", kAsked},
    {"ExWithoutAnEndIsEnded", "full", "* 1 Value=<full>", 6, 1, "xxxxx", kAskedEx},
    {"ExAloneIsNotEnough", "onlyoptionex", "* 1 Value=Anna", 100, 0, "", ""},
    {"NoExport", "bare", "* 1 Value=Anna", 100, 0, "", ""},
    {"NoLibrary", "nowhere", "* 1 Value=Anna", 100, 0, "", ""},
    {"AZeroAnswerLeavesTheBufferEmpty", "full", "* 0 Value=Rest", 100, 0, "", kAskedEx},
    {"EmptyValueIsAnAnswer", "full", "* 1 Value=", 100, 1, "", kAskedEx},
    {"AnyNumberButZeroIsAnAnswer", "full", "* -1 Value=", 100, 1, "", kAskedEx},
};

class OptionProvider : public ::testing::Test {
 protected:
  ~OptionProvider() override { UnloadOptionProvider(); }

  char text_[300];
};

TEST_F(OptionProvider, GivesTheTextOrNothing) {
  for (const OptionCase& row : kOptions) {
    SCOPED_TRACE(row.name);
    test::StubProviders stub(row.variant);
    stub.Answer("GetOption " + row.answers);
    std::string buffer(200, '#');
    EXPECT_EQ(GetMailboxOption("acme", "anna", "DisplayName", buffer.data(), row.size), row.result);
    EXPECT_EQ(std::string(buffer.c_str()), row.text);
    EXPECT_EQ(buffer[row.size], '#') << "nothing is written behind the buffer";
    EXPECT_EQ(stub.Calls(), row.calls);
    UnloadOptionProvider();
  }
}

TEST_F(OptionProvider, IsLoadedAtTheFirstCallAndTriedAgainWhileItIsMissing) {
  test::StubProviders stub("nowhere");
  stub.Answer("GetOption * 1 Value=here");
  EXPECT_EQ(GetPostofficeOption("acme", "PostofficeRoot", text_, sizeof text_), 0);
  stub.Use(test::StubLibraries("full"));
  EXPECT_EQ(GetPostofficeOption("acme", "PostofficeRoot", text_, sizeof text_), 1);
  EXPECT_STREQ(text_, "here");
  EXPECT_EQ(stub.Calls(), "GetOption_Ex acme:PostofficeRoot\n");
}

TEST_F(OptionProvider, TheKeyOfAMailboxIsCutTo254Bytes) {
  test::StubProviders stub;
  const std::string postoffice(200, 'p');
  const std::string mailbox(100, 'm');
  (void)GetMailboxOption(postoffice.c_str(), mailbox.c_str(), "TimeZone", text_, sizeof text_);
  EXPECT_EQ(stub.Calls(),
            "GetOption_Ex " + postoffice + "/" + mailbox.substr(0, 53) + ":TimeZone\n");
}

TEST_F(OptionProvider, AnUnreachableStoreIsNeverAMissingOption) {
  test::StubProviders stub;
  stub.Answer("GetOption acme:x -1000 Value=\nGetOption acme:y -1000 Value=text");
  EXPECT_THROW(GetPostofficeOption("acme", "x", text_, sizeof text_), StoreUnreachable);
  EXPECT_EQ(GetPostofficeOption("acme", "y", text_, sizeof text_), 1) << "a text is an answer";
}

TEST_F(OptionProvider, AVeryLongValueOfAPlainLibraryDoesNoHarm) {
  test::StubProviders stub("plainoption");
  stub.Answer("GetOption * 1 Value=" + std::string(60'000, 'v'));
  EXPECT_EQ(GetPostofficeOption("acme", "x", text_, sizeof text_), 1);
  EXPECT_EQ(std::string(text_), std::string(299, 'v'));
  EXPECT_EQ(GetPostofficeOption("acme", "x", text_, 0), 0) << "a buffer of no bytes takes nothing";
}

}  // namespace
}  // namespace corvane
