// RegistryFileTest.cpp -- what registry files mean, where faulty ones are faulty, and that an
// export makes the same store again.
#include <gtest/gtest.h>

#include <string>

#include "connector/settings/RegistryFile.h"
#include "connector/settings/RegistryText.h"
#include "tests/support/TemporarySettings.h"

namespace corvane::settings {
namespace {

using platform::SettingChange;
using platform::SettingType;
using platform::SettingValue;
using Kind = SettingChange::Kind;

// One change in a short form: "K key", "-K key", "S key|name=text", "D ...=10", "B ...=00ff", "-
// ...".
std::string Describe(const SettingChange& change) {
  std::string place = change.key + "|" + change.name;
  switch (change.kind) {
    case Kind::kMakeKey:
      return "K " + change.key;
    case Kind::kDeleteKey:
      return "-K " + change.key;
    case Kind::kDeleteValue:
      return "- " + place;
    case Kind::kSet:
      break;
  }
  if (change.value.type == SettingType::kDword) {
    return "D " + place + "=" + std::to_string(change.value.number);
  }
  if (change.value.type == SettingType::kString) return "S " + place + "=" + change.value.bytes;
  std::string hex;
  for (char character : change.value.bytes) {
    hex += "0123456789abcdef"[static_cast<unsigned char>(character) >> 4];
    hex += "0123456789abcdef"[character & 15];
  }
  return "B " + place + "=" + hex;
}

std::string Describe(const RegistryFile& file) {
  if (file.errorLine != 0) return "line " + std::to_string(file.errorLine) + ": " + file.error;
  std::string text;
  for (const SettingChange& change : file.changes) text += Describe(change) + "\n";
  return text;
}

const std::string kVersion5 = "Windows Registry Editor Version 5.00\r\n\r\n";
const std::string kVersion4 = "REGEDIT4\n";
const std::string kKeyA = "[HKEY_LOCAL_MACHINE\\A]\r\n";

TEST(RegistryFileTest, SoundFilesMeanWhatTheySay) {
  struct Case {
    const char* name;
    std::string file, meaning;
  };
  std::vector<Case> cases = {
      {"nothing but a header", kVersion5, ""},
      {"a header without a line end", "REGEDIT4", ""},
      {"keys of both roots and spellings",
       kVersion5 + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\X Y]\r\n[hklm\\a\\\\b\\]\r\n",
       "K SOFTWARE\\X Y\nK a\\b\n"},
      {"the 64-bit view",
       kVersion4 + "[HKLM\\SOFTWARE\\Corvane\\Corvane]\n[HKLM\\Software\\Wow6432Node\\Corvane]",
       "K SOFTWARE\\Wow6432Node\\Corvane\\Corvane\nK Software\\Wow6432Node\\Corvane\n"},
      {"8-bit strings", kVersion4 + "[HKLM\\A]\n\"a\"=hex(1):41,e4,00\n\"b\"=hex(2):25,41\n",
       "K A\nS A|a=A\xe4\nS A|b=%A\n"},
      {"deletions", kVersion5 + "[-HKLM\\A\\B]\r\n" + kKeyA + "\"a\"=-\r\n@=-\r\n",
       "-K A\\B\nK A\n- A|a\n- A|\n"},
      {"comments and blanks",
       kVersion5 + " ; one\r\n\t\r\n" + kKeyA + " \"a\"=dword:1 ; two\r\n;three", "K A\nD A|a=1\n"},
      {"a key with brackets", kVersion5 + "[HKLM\\A [x]]\r\n", "K A [x]\n"},
      {"a comment with brackets", kVersion5 + "[HKLM\\A] ; see [1]\r\n", "K A\n"},
      {"lone CR line ends", "REGEDIT4\r[HKLM\\A]\r\"a\"=dword:1\r", "K A\nD A|a=1\n"},
      {"a UTF-8 mark", "\xef\xbb\xbf" + kVersion5 + kKeyA + "\"a\"=\"\xc3\xa4\"",
       "K A\nS A|a=\xc3\xa4\n"},
      {"8-bit texts stay", kVersion4 + "[HKLM\\A]\n\"a\"=\"\xe4\"", "K A\nS A|a=\xe4\n"},
  };
  const Case values[] = {
      {"a text with escapes", R"("a\\\"b"="C:\\new \"x\"")", "S A|a\\\"b=C:\\new \"x\"\n"},
      {"an empty text", "\"a\"=\"\"", "S A|a=\n"},
      {"a text over lines", "\"a\"=\"one\r\ntwo\"\r\n\"b\"=\"c\"", "S A|a=one\r\ntwo\nS A|b=c\n"},
      {"numbers", "\"a\"=dword:0000000a\r\n\"b\"=DWORD:ffffFFFF\r\n\"c\" = dword:1\r\n",
       "D A|a=10\nD A|b=4294967295\nD A|c=1\n"},
      {"bytes over lines", "\"a\"=hex:01,02,\\\r\n  ff,\\\r\n  0\r\n\"b\"=hex:\r\n",
       "B A|a=0102ff00\nB A|b=\n"},
      {"16-bit strings", "\"a\"=hex(1):41,00,e4,00,00,00\r\n\"b\"=hex(2):25,00,00,00\r\n",
       "S A|a=A\xc3\xa4\nS A|b=%\n"},
      {"a string of no bytes", "\"a\"=hex(1):\r\n", "B A|a=\n"},
      {"other types are bytes",
       "\"a\"=hex(7):41,00,00,00\r\n\"b\"=hex(b):01,02\r\n\"c\"=hex(0):\r\n",
       "B A|a=41000000\nB A|b=0102\nB A|c=\n"},
      {"a number in bytes", "\"a\"=hex(4):01,00,00,80\r\n\"b\"=hex(4):01\r\n",
       "D A|a=2147483649\nB A|b=01\n"},
      {"default values", "@=\"x\"\r\n\"@\"=\"y\"\r\n", "S A|=x\nS A|@=y\n"},
  };
  for (const auto& [name, lines, meaning] : values) {
    cases.push_back({name, kVersion5 + kKeyA + lines, "K A\n" + meaning});
  }
  for (const Case& row : cases) {
    EXPECT_EQ(Describe(ParseRegistryFile(row.file)), row.meaning) << row.name;
    std::optional<std::string> wide = Utf16FromUtf8(row.file);
    if (!wide || row.file[0] == '\xef') continue;
    EXPECT_EQ(Describe(ParseRegistryFile("\xff\xfe" + *wide)), row.meaning) << row.name << ", wide";
    for (std::size_t i = 0; i < wide->size(); i += 2) std::swap((*wide)[i], (*wide)[i + 1]);
    EXPECT_EQ(Describe(ParseRegistryFile("\xfe\xff" + *wide)), row.meaning)
        << row.name << ", swapped";
  }
}

TEST(RegistryFileTest, FaultyFilesNameTheLineAndChangeNothing) {
  struct Case {
    const char* name;
    std::string file;
    std::size_t line;
    const char* words;
  };
  using namespace std::string_literals;
  const std::string kInKeyA = kVersion5 + kKeyA;
  const Case cases[] = {
      {"an empty file", "", 1, "must begin"},
      {"another header", "\r\nREGEDIT5\r\n", 2, "must begin"},
      {"another root", kInKeyA + "[HKEY_CURRENT_USER\\A]", 4, "HKEY_CURRENT_USER"},
      {"a root alone", kVersion5 + "[HKEY_LOCAL_MACHINE]", 3, "root"},
      {"a root to delete", kVersion5 + "[-HKLM\\]", 3, "root"},
      {"an open bracket", kVersion5 + "[HKLM\\A\r\n", 3, "]"},
      {"a value without a key", kVersion5 + "\"a\"=dword:1", 3, "no key"},
      {"a value in a deleted key", kInKeyA + "[-HKLM\\A]\r\n\"a\"=dword:1", 5, "no key"},
      {"no value", kInKeyA + "\"a\"=\r\n", 4, "value must be"},
      {"no equals sign", kInKeyA + "\"a\"dword:1", 4, "="},
      {"a bare word", kInKeyA + "a=1", 4, "a line must be"},
      {"a single backslash", kInKeyA + "\"a\"=\"C:\\mail\"", 4, "backslash"},
      {"an open quote at the end", kInKeyA + "\"a\"=\"x", 4, "quote is missing"},
      {"an open quote before more", kInKeyA + "\"a\"=\"x\r\n\"b\"=\"y\"\r\n", 4,
       "quote is missing"},
      {"digits that are none", kInKeyA + "\"a\"=dword:12g", 4, "unexpected"},
      {"no digits", kInKeyA + "\"a\"=dword:", 4, "hexadecimal"},
      {"nine digits", kInKeyA + "\"a\"=dword:123456789", 4, "hexadecimal"},
      {"a byte of three digits", kInKeyA + "\"a\"=hex:01,\\\r\n  123", 5, "hexadecimal"},
      {"text behind bytes", kInKeyA + "\"a\"=hex:01,,02", 4, "unexpected"},
      {"text behind a continuation", kInKeyA + "\"a\"=hex:01,\\ x", 4, "end the line"},
      {"half a pair in a value", kInKeyA + "\"a\"=hex(1):00,d8,41,00", 4, "UTF-16"},
      {"half a pair in the file", "\377\376R\0\n\0\0\330A\0"s, 2, "UTF-16"},
      {"half a character", "\377\376R", 1, "middle of a character"},
  };
  for (const Case& row : cases) {
    RegistryFile file = ParseRegistryFile(row.file);
    EXPECT_EQ(file.errorLine, row.line) << row.name << ": " << file.error;
    EXPECT_NE(file.error.find(row.words), std::string::npos) << row.name << ": " << file.error;
    EXPECT_TRUE(file.changes.empty()) << row.name;
  }
}

TEST(RegistryFileTest, AnExportMakesTheSameStoreAgain) {
  test::TemporaryDirectory directory;
  platform::SettingsStore first(directory / "first.db");
  auto set = [](std::string key, std::string name, SettingValue value) {
    return SettingChange{Kind::kSet, std::move(key), std::move(name), std::move(value)};
  };
  const std::string longBytes(300, '\x7f');
  ASSERT_TRUE(first.Apply({
      set("SOFTWARE\\B", "number", SettingValue::Dword(0xDEADBEEF)),
      set("SOFTWARE\\A", "path \"x\"", SettingValue::String("C:\\Mail\\")),
      set("SOFTWARE\\A", "empty", SettingValue::String("")),
      set("SOFTWARE\\A", "", SettingValue::String("default")),
      set("SOFTWARE\\A", "@", SettingValue::String("at")),
      set("SOFTWARE\\A", "utf-8", SettingValue::String("\xc3\xa4\xf0\x9f\x93\xab")),
      set("SOFTWARE\\A", "8 bit", SettingValue::String("\xe4\xff")),
      set("SOFTWARE\\A", "lines", SettingValue::String("one\r\ntwo\n\xc3\xa4\tthree")),
      set("SOFTWARE\\A", "8 bit lines", SettingValue::String("\xe4\r\n;\"]")),
      set("SOFTWARE\\A", "nul", SettingValue::String({"a\0b\0", 4})),
      set("SOFTWARE\\A", "bytes", SettingValue::Binary(longBytes)),
      set("SOFTWARE\\A", "no bytes", SettingValue::Binary("")),
      {Kind::kMakeKey, "SOFTWARE\\A\\Bare [key]", "", {}},
  }));
  std::string text = FormatRegistryFile(first.List(""));
  RegistryFile file = ParseRegistryFile(text);
  ASSERT_EQ(file.errorLine, 0U) << file.error << "\n" << text;
  platform::SettingsStore second(directory / "second.db");
  ASSERT_TRUE(second.Apply(file.changes));
  EXPECT_EQ(second.List(""), first.List(""));
  EXPECT_EQ(FormatRegistryFile(second.List("")), text);
}

TEST(RegistryFileTest, AnExportLooksAsTheFormatHasIt) {
  std::vector<platform::SettingEntry> entries = {
      {"S\\A", "", SettingValue::String("d")},
      {"S\\A", "b", SettingValue::Binary(std::string(26, '\xab'))},
      {"S\\A", "n", SettingValue::Dword(10)},
      {"S\\B", "", {SettingType::kNone, 0, ""}},
  };
  EXPECT_EQ(FormatRegistryFile(entries),
            "Windows Registry Editor Version 5.00\r\n\r\n"
            "[HKEY_LOCAL_MACHINE\\S\\A]\r\n"
            "@=\"d\"\r\n"
            "\"b\"=hex:ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,\\\r\n"
            "  ab,ab,ab\r\n"
            "\"n\"=dword:0000000a\r\n\r\n"
            "[HKEY_LOCAL_MACHINE\\S\\B]\r\n");
}

}  // namespace
}  // namespace corvane::settings
