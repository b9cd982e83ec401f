// The quick looks at an index file's text against plain ones, at every place of a block.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexScan.h"

namespace corvane {
namespace {

TEST(IndexScan, AValueEndsAtTheNextTagWhereverItStands) {
  std::mt19937 random(4711);
  const std::string_view letters = "ab &<\xC3\xBC\xBC";
  for (int round = 0; round < 20'000; ++round) {
    std::string text(random() % 70, 'x');
    for (int change = 0; change < round % 4 && !text.empty(); ++change) {
      text[random() % text.size()] = letters[random() % letters.size()];
    }
    const std::size_t end = text.find('<');
    const indexscan::Value value = indexscan::FindValue(text);
    ASSERT_EQ(value.size, end) << text;
    if (end == text.npos) continue;
    ASSERT_EQ(value.hasAmpersand, text.substr(0, end).find('&') != text.npos) << text;
  }
}

TEST(IndexScan, AnExpectedTagIsFoundByAllItsBytes) {
  const std::string behind = "a text that is longer than what is compared at once";
  for (const std::string tag : {"<A>", "<SIZE>", "<ATTACHMENTS>", "</ATTACHMENTS>X",
                                "<SIXTEEN-BYTES-X>", "<A-NAME-BEYOND-WHAT-IS-COMPARED-AT-ONCE>"}) {
    const indexscan::ExpectedTag expected(tag);
    EXPECT_TRUE(expected.Begins(tag + behind)) << tag;
    EXPECT_TRUE(expected.Begins(tag)) << tag;
    for (std::size_t at = 0; at < tag.size(); ++at) {
      std::string other = tag + behind;
      other[at] ^= 1;
      EXPECT_FALSE(expected.Begins(other)) << other;
      EXPECT_FALSE(expected.Begins(tag.substr(0, at))) << tag << at;
    }
  }
}

TEST(IndexScan, AnElementEndsBehindItsProperties) {
  const std::string end = "</CC></ELEMENT>";
  for (std::size_t size = 0; size < 50; ++size) {
    const std::string element = "><CC>" + std::string(size, 'E') + "T " + end;
    EXPECT_EQ(indexscan::EndOfElement(element + "<ELEMENT ", 0), element.size()) << size;
    EXPECT_EQ(indexscan::EndOfElement(element.substr(0, element.size() - 1), 0), std::string::npos);
    EXPECT_EQ(indexscan::EndOfElement("><CC>" + std::string(size, 'L') + "ELEMENT</CC>", 0),
              std::string::npos)
        << "a text that holds the word isn't plain";
  }
}

}  // namespace
}  // namespace corvane
