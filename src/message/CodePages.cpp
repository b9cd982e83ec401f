#include "message/CodePages.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>
#include <vector>

#include "message/Ascii.h"
#include "message/BuiltInPages.h"
#include "message/CharsetTable.h"
#include "message/LibraryConverter.h"
#include "message/SingleBytePage.h"
#include "message/Unicode.h"

namespace corvane {
namespace {

enum class Keeper {
  kUtf8,
  kUnits,       // UTF-16 and UTF-32
  kUnlabelled,  // ASCII by name; what lies beyond is read as UnlabelledToUtf8 does
  kBuiltIn,     // single bytes, our own table
  kIcuTable,    // single bytes, the table filled from ICU
  kIconvTable,  // single bytes, the table filled from the C library
  kIcu,
  kIconv,
  kNobody,
};

struct PageRow {
  int page;
  Keeper keeper;
  const char* converter;
  AsciiForm ascii;  // for single-byte pages the table itself tells
};

// ICU's IBM PC tables exchange control characters, and its 437 and relatives have a Greek mu for
// the micro sign: those pages come from the C library. ICU alone fills the gaps of windows-125x as
// Windows does. The Macintosh pages of East Asia take their nearest relative.
constexpr PageRow kPages[] = {
    {37, Keeper::kIcuTable, "ibm-37", AsciiForm::kOther},
    {154, Keeper::kIconvTable, "PT154", AsciiForm::kOther},
    {437, Keeper::kIconvTable, "CP437", AsciiForm::kOther},
    {500, Keeper::kIcuTable, "ibm-500", AsciiForm::kOther},
    {708, Keeper::kIconvTable, "ASMO-708", AsciiForm::kOther},
    {720, Keeper::kIcuTable, "ibm-720", AsciiForm::kOther},
    {737, Keeper::kIconvTable, "CP737", AsciiForm::kOther},
    {775, Keeper::kIconvTable, "CP775", AsciiForm::kOther},
    {850, Keeper::kIconvTable, "CP850", AsciiForm::kOther},
    {852, Keeper::kIconvTable, "CP852", AsciiForm::kOther},
    {853, Keeper::kBuiltIn, "", AsciiForm::kOther},
    {855, Keeper::kIconvTable, "CP855", AsciiForm::kOther},
    {857, Keeper::kIconvTable, "CP857", AsciiForm::kOther},
    {858, Keeper::kIconvTable, "CP858", AsciiForm::kOther},
    {860, Keeper::kIconvTable, "CP860", AsciiForm::kOther},
    {861, Keeper::kIconvTable, "CP861", AsciiForm::kOther},
    {862, Keeper::kIconvTable, "CP862", AsciiForm::kOther},
    {863, Keeper::kIconvTable, "CP863", AsciiForm::kOther},
    {864, Keeper::kIconvTable, "CP864", AsciiForm::kOther},
    {865, Keeper::kIconvTable, "CP865", AsciiForm::kOther},
    {866, Keeper::kIconvTable, "CP866", AsciiForm::kOther},
    {869, Keeper::kIconvTable, "CP869", AsciiForm::kOther},
    {870, Keeper::kIcuTable, "ibm-870", AsciiForm::kOther},
    {874, Keeper::kIcuTable, "windows-874-2000", AsciiForm::kOther},
    {875, Keeper::kIcuTable, "ibm-875", AsciiForm::kOther},
    {932, Keeper::kIconv, "CP932", AsciiForm::kSame},
    {936, Keeper::kIcu, "windows-936-2000", AsciiForm::kSame},
    {949, Keeper::kIcu, "windows-949-2000", AsciiForm::kSame},
    {950, Keeper::kIcu, "windows-950-2000", AsciiForm::kSame},
    {1026, Keeper::kIcuTable, "ibm-1026", AsciiForm::kOther},
    {1047, Keeper::kIcuTable, "ibm-1047", AsciiForm::kOther},
    {1125, Keeper::kIconvTable, "CP1125", AsciiForm::kOther},
    {1133, Keeper::kIconvTable, "IBM1133", AsciiForm::kOther},
    {1140, Keeper::kIcuTable, "ibm-1140", AsciiForm::kOther},
    {1141, Keeper::kIcuTable, "ibm-1141", AsciiForm::kOther},
    {1142, Keeper::kIcuTable, "ibm-1142", AsciiForm::kOther},
    {1143, Keeper::kIcuTable, "ibm-1143", AsciiForm::kOther},
    {1144, Keeper::kIcuTable, "ibm-1144", AsciiForm::kOther},
    {1145, Keeper::kIcuTable, "ibm-1145", AsciiForm::kOther},
    {1146, Keeper::kIcuTable, "ibm-1146", AsciiForm::kOther},
    {1147, Keeper::kIcuTable, "ibm-1147", AsciiForm::kOther},
    {1148, Keeper::kIcuTable, "ibm-1148", AsciiForm::kOther},
    {1149, Keeper::kIcuTable, "ibm-1149", AsciiForm::kOther},
    {1200, Keeper::kUnits, "", AsciiForm::kOther},
    {1201, Keeper::kUnits, "", AsciiForm::kOther},
    {1250, Keeper::kIcuTable, "windows-1250", AsciiForm::kOther},
    {1251, Keeper::kIcuTable, "windows-1251", AsciiForm::kOther},
    {1252, Keeper::kIcuTable, "windows-1252", AsciiForm::kOther},
    {1253, Keeper::kIcuTable, "windows-1253", AsciiForm::kOther},
    {1254, Keeper::kIcuTable, "windows-1254", AsciiForm::kOther},
    {1255, Keeper::kIcuTable, "windows-1255", AsciiForm::kOther},
    {1256, Keeper::kIcuTable, "windows-1256", AsciiForm::kOther},
    {1257, Keeper::kIcuTable, "windows-1257", AsciiForm::kOther},
    {1258, Keeper::kIcuTable, "windows-1258", AsciiForm::kOther},
    {1361, Keeper::kIconv, "JOHAB", AsciiForm::kOther},
    {10000, Keeper::kIcuTable, "macintosh", AsciiForm::kOther},
    {10001, Keeper::kIconv, "CP932", AsciiForm::kSame},
    {10002, Keeper::kIcu, "windows-950-2000", AsciiForm::kSame},
    {10003, Keeper::kIcu, "windows-949-2000", AsciiForm::kSame},
    {10004, Keeper::kBuiltIn, "", AsciiForm::kOther},
    {10005, Keeper::kBuiltIn, "", AsciiForm::kOther},
    {10006, Keeper::kIcuTable, "x-mac-greek", AsciiForm::kOther},
    {10007, Keeper::kIcuTable, "x-mac-cyrillic", AsciiForm::kOther},
    {10008, Keeper::kIcu, "windows-936-2000", AsciiForm::kSame},
    {10010, Keeper::kBuiltIn, "", AsciiForm::kOther},
    {10017, Keeper::kIconvTable, "MAC-UK", AsciiForm::kOther},
    {10021, Keeper::kBuiltIn, "", AsciiForm::kOther},
    {10029, Keeper::kIcuTable, "x-mac-ce", AsciiForm::kOther},
    {10079, Keeper::kBuiltIn, "", AsciiForm::kOther},
    {10081, Keeper::kIcuTable, "x-mac-turkish", AsciiForm::kOther},
    {10082, Keeper::kBuiltIn, "", AsciiForm::kOther},
    {12000, Keeper::kUnits, "", AsciiForm::kOther},
    {12001, Keeper::kUnits, "", AsciiForm::kOther},
    {20000, Keeper::kIconv, "EUC-TW", AsciiForm::kSame},
    {20001, Keeper::kNobody, "", AsciiForm::kOther},
    {20002, Keeper::kIcu, "windows-950-2000", AsciiForm::kSame},
    {20003, Keeper::kNobody, "", AsciiForm::kOther},
    {20004, Keeper::kNobody, "", AsciiForm::kOther},
    {20005, Keeper::kNobody, "", AsciiForm::kOther},
    {20105, Keeper::kIconvTable, "ISO_646.IRV:1991", AsciiForm::kOther},
    {20106, Keeper::kIconvTable, "ISO646-DE", AsciiForm::kOther},
    {20107, Keeper::kIconvTable, "ISO646-SE", AsciiForm::kOther},
    {20108, Keeper::kIconvTable, "ISO646-NO", AsciiForm::kOther},
    {20127, Keeper::kUnlabelled, "", AsciiForm::kSame},
    {20261, Keeper::kIconv, "T.61-8BIT", AsciiForm::kOther},
    {20269, Keeper::kIconv, "ISO_6937", AsciiForm::kOther},
    {20273, Keeper::kIcuTable, "ibm-273", AsciiForm::kOther},
    {20277, Keeper::kIcuTable, "ibm-277", AsciiForm::kOther},
    {20278, Keeper::kIcuTable, "ibm-278", AsciiForm::kOther},
    {20280, Keeper::kIcuTable, "ibm-280", AsciiForm::kOther},
    {20284, Keeper::kIcuTable, "ibm-284", AsciiForm::kOther},
    {20285, Keeper::kIcuTable, "ibm-285", AsciiForm::kOther},
    {20290, Keeper::kIcuTable, "ibm-290", AsciiForm::kOther},
    {20297, Keeper::kIcuTable, "ibm-297", AsciiForm::kOther},
    {20420, Keeper::kIcuTable, "ibm-420", AsciiForm::kOther},
    {20423, Keeper::kIconvTable, "IBM423", AsciiForm::kOther},
    {20424, Keeper::kIcuTable, "ibm-424", AsciiForm::kOther},
    {20833, Keeper::kIconvTable, "IBM933", AsciiForm::kOther},
    {20838, Keeper::kIcuTable, "ibm-838", AsciiForm::kOther},
    {20866, Keeper::kIcuTable, "KOI8-R", AsciiForm::kOther},
    {20871, Keeper::kIcuTable, "ibm-871", AsciiForm::kOther},
    {20880, Keeper::kIconvTable, "IBM880", AsciiForm::kOther},
    {20905, Keeper::kIconvTable, "IBM905", AsciiForm::kOther},
    {20924, Keeper::kIcuTable, "ibm-1047", AsciiForm::kOther},
    {20936, Keeper::kIcu, "windows-936-2000", AsciiForm::kSame},
    {20949, Keeper::kIcu, "windows-949-2000", AsciiForm::kSame},
    {21025, Keeper::kIcuTable, "ibm-1025", AsciiForm::kOther},
    {21866, Keeper::kIcuTable, "KOI8-U", AsciiForm::kOther},
    {28591, Keeper::kIcuTable, "iso-8859-1", AsciiForm::kOther},
    {28592, Keeper::kIcuTable, "iso-8859-2", AsciiForm::kOther},
    {28593, Keeper::kIcuTable, "iso-8859-3", AsciiForm::kOther},
    {28594, Keeper::kIcuTable, "iso-8859-4", AsciiForm::kOther},
    {28595, Keeper::kIcuTable, "iso-8859-5", AsciiForm::kOther},
    {28596, Keeper::kIcuTable, "iso-8859-6", AsciiForm::kOther},
    {28597, Keeper::kIcuTable, "iso-8859-7", AsciiForm::kOther},
    {28598, Keeper::kIcuTable, "iso-8859-8", AsciiForm::kOther},
    {28599, Keeper::kIcuTable, "iso-8859-9", AsciiForm::kOther},
    {28603, Keeper::kIcuTable, "iso-8859-13", AsciiForm::kOther},
    {28605, Keeper::kIcuTable, "iso-8859-15", AsciiForm::kOther},
    {29001, Keeper::kNobody, "", AsciiForm::kOther},
    {38598, Keeper::kIcuTable, "iso-8859-8", AsciiForm::kOther},
    {50220, Keeper::kIcu, "ISO_2022,locale=ja,version=0", AsciiForm::kEscapes},
    {50221, Keeper::kIcu, "ISO_2022,locale=ja,version=3", AsciiForm::kEscapes},
    {50222, Keeper::kIcu, "ISO_2022,locale=ja,version=4", AsciiForm::kEscapes},
    {50225, Keeper::kIcu, "ISO-2022-KR", AsciiForm::kEscapes},
    {50227, Keeper::kIcu, "ISO-2022-CN", AsciiForm::kEscapes},
    {51932, Keeper::kIcu, "euc-jp-2007", AsciiForm::kSame},
    {51936, Keeper::kIcu, "windows-936-2000", AsciiForm::kSame},
    {51949, Keeper::kIcu, "windows-949-2000", AsciiForm::kSame},
    {52936, Keeper::kIcu, "HZ", AsciiForm::kEscapes},
    {54936, Keeper::kIcu, "gb18030", AsciiForm::kSame},
    {57002, Keeper::kIcu, "ISCII,version=0", AsciiForm::kOther},
    {57003, Keeper::kIcu, "ISCII,version=1", AsciiForm::kOther},
    {57004, Keeper::kIcu, "ISCII,version=5", AsciiForm::kOther},
    {57005, Keeper::kIcu, "ISCII,version=6", AsciiForm::kOther},
    {57006, Keeper::kIcu, "ISCII,version=1", AsciiForm::kOther},
    {57007, Keeper::kIcu, "ISCII,version=4", AsciiForm::kOther},
    {57008, Keeper::kIcu, "ISCII,version=7", AsciiForm::kOther},
    {57009, Keeper::kIcu, "ISCII,version=8", AsciiForm::kOther},
    {57010, Keeper::kIcu, "ISCII,version=3", AsciiForm::kOther},
    {57011, Keeper::kIcu, "ISCII,version=2", AsciiForm::kOther},
    {65001, Keeper::kUtf8, "", AsciiForm::kSame},
};
constexpr std::size_t kPageCount = std::size(kPages);

// What a library has wrong in single bytes: pairs of a byte and its character.
struct Mending {
  int page;
  std::u16string_view pairs;
};
constexpr Mending kMendings[] = {
    {720,
     u"\x1A\x1A\x1C\x1C\x7F\x7F\x80\x80\x81\x81\x84\x84\x86\x86\x8D\x8D\x8E\x8E\x8F\x8F"
     u"\x90\x90"},
    {1026, u"\x9A\xAA"},
    {20424, u"\xB3\xB7\xBC\xAF"},
    {20833, u"\x0E\x0E\x0F\x0F"},
    {20924,
     u"\x15\x0A\x25\x85\x6A\x160\x9D\x17E\x9F\x20AC\xB7\x152\xB8\x153\xB9\x178\xBB\x161"
     u"\xBE\x17D"},
};

// The row number of a page, or kPageCount.
std::size_t FindRow(int page) {
  const auto* row = std::lower_bound(std::begin(kPages), std::end(kPages), page,
                                     [](const PageRow& a, int b) { return a.page < b; });
  if (row == std::end(kPages) || row->page != page) return kPageCount;
  return static_cast<std::size_t>(row - std::begin(kPages));
}

bool IsSingleByte(Keeper keeper) {
  return keeper == Keeper::kBuiltIn || keeper == Keeper::kIcuTable || keeper == Keeper::kIconvTable;
}

std::unique_ptr<LibraryConverter> OpenConverter(const PageRow& row) {
  bool icu = row.keeper == Keeper::kIcu || row.keeper == Keeper::kIcuTable;
  return icu ? OpenIcuConverter(row.converter) : OpenIconvConverter(row.converter);
}

bool FillFromLibrary(const PageRow& row, SingleBytePage::Characters& characters) {
  std::unique_ptr<LibraryConverter> converter = OpenConverter(row);
  if (!converter) return false;
  for (std::size_t i = 0; i < 256; ++i) {
    char byte = static_cast<char>(i);
    std::u16string character;
    converter->ToUtf16({&byte, 1}, [&](std::u16string_view piece) { character += piece; });
    if (character.size() == 1) characters[i] = character[0];
  }
  return true;
}

std::unique_ptr<SingleBytePage> MakeSingleBytePage(const PageRow& row) {
  SingleBytePage::Characters characters;
  characters.fill(static_cast<char16_t>(kReplacementCharacter));
  if (row.keeper == Keeper::kBuiltIn) {
    for (std::size_t i = 0; i < 128; ++i) characters[i] = static_cast<char16_t>(i);
    std::copy_n(BuiltInUpperHalf(row.page), 128, characters.begin() + 128);
  } else if (!FillFromLibrary(row, characters)) {
    return nullptr;
  }
  for (const Mending& mending : kMendings) {
    if (mending.page != row.page) continue;
    for (std::size_t i = 0; i + 1 < mending.pairs.size(); i += 2) {
      characters[mending.pairs[i]] = mending.pairs[i + 1];
    }
  }
  return std::make_unique<SingleBytePage>(characters);
}

// Null when the library that should fill it isn't there.
const SingleBytePage* GetSingleBytePage(std::size_t row) {
  struct Slot {
    std::once_flag once;
    std::unique_ptr<SingleBytePage> page;
  };
  static std::vector<Slot> slots(kPageCount);
  std::call_once(slots[row].once, [&] { slots[row].page = MakeSingleBytePage(kPages[row]); });
  return slots[row].page.get();
}

LibraryConverter* GetConverter(std::size_t row) {
  thread_local std::vector<std::unique_ptr<LibraryConverter>> converters(kPageCount);
  if (!converters[row]) converters[row] = OpenConverter(kPages[row]);
  return converters[row].get();
}

std::size_t UnitSize(int page) { return page == kPageUtf16 || page == kPageUtf16BigEndian ? 2 : 4; }
bool IsBigEndian(int page) { return page == kPageUtf16BigEndian || page == kPageUtf32BigEndian; }

bool LibraryToUtf16(std::size_t row, std::string_view bytes, std::u16string& result) {
  LibraryConverter* converter = GetConverter(row);
  if (converter == nullptr) return false;
  converter->ToUtf16(bytes, [&](std::u16string_view piece) { result += piece; });
  return true;
}

// Through pieces, so that no UTF-16 form of the whole text is needed.
bool LibraryToUtf8(std::size_t row, std::string_view bytes, std::string& result) {
  LibraryConverter* converter = GetConverter(row);
  if (converter == nullptr) return false;
  result.reserve(result.size() + bytes.size() + bytes.size() / 2);
  std::u16string pending;  // the first half of a character whose second half is to come
  converter->ToUtf16(bytes, [&](std::u16string_view piece) {
    pending += piece;
    bool half = !pending.empty() && (pending.back() & 0xFC00) == 0xD800;
    std::size_t whole = pending.size() - (half ? 1 : 0);
    Utf16ToUtf8(std::u16string_view(pending).substr(0, whole), result);
    pending.erase(0, whole);
  });
  Utf16ToUtf8(pending, result);
  return true;
}

}  // namespace

bool HasCodePage(int codePage) {
  std::size_t row = FindRow(codePage);
  return row != kPageCount && kPages[row].keeper != Keeper::kNobody;
}

AsciiForm CodePageAscii(int codePage) {
  std::size_t row = FindRow(codePage);
  if (row == kPageCount) return AsciiForm::kOther;
  if (!IsSingleByte(kPages[row].keeper)) return kPages[row].ascii;
  const SingleBytePage* page = GetSingleBytePage(row);
  return page != nullptr && page->AsciiMeansItself() ? AsciiForm::kSame : AsciiForm::kOther;
}

bool CodePageToUtf16(int codePage, std::string_view bytes, std::u16string& result) {
  std::size_t row = FindRow(codePage);
  if (!HasCodePage(codePage)) return false;
  Keeper keeper = kPages[row].keeper;
  if (keeper == Keeper::kUtf8) {
    Utf8ToUtf16(bytes, result);
  } else if (keeper == Keeper::kUnits) {
    EncodedUnitsToUtf16(bytes, UnitSize(codePage), IsBigEndian(codePage), result);
  } else if (keeper == Keeper::kUnlabelled) {
    std::string utf8;
    UnlabelledToUtf8(bytes, utf8);
    Utf8ToUtf16(utf8, result);
  } else if (IsSingleByte(keeper)) {
    const SingleBytePage* page = GetSingleBytePage(row);
    if (page == nullptr) return false;
    page->ToUtf16(bytes, result);
  } else {
    return LibraryToUtf16(row, bytes, result);
  }
  return true;
}

bool Utf16ToCodePage(int codePage, std::u16string_view text, std::string& result) {
  std::size_t row = FindRow(codePage);
  if (!HasCodePage(codePage)) return false;
  Keeper keeper = kPages[row].keeper;
  if (keeper == Keeper::kUtf8) {
    Utf16ToUtf8(text, result);
  } else if (keeper == Keeper::kUnits) {
    Utf16ToEncodedUnits(text, UnitSize(codePage), IsBigEndian(codePage), result);
  } else if (keeper == Keeper::kUnlabelled) {
    for (char16_t unit : text) result.push_back(unit < 0x80 ? static_cast<char>(unit) : '?');
  } else if (IsSingleByte(keeper)) {
    const SingleBytePage* page = GetSingleBytePage(row);
    if (page == nullptr) return false;
    page->FromUtf16(text, result);
  } else {
    LibraryConverter* converter = GetConverter(row);
    if (converter == nullptr) return false;
    converter->FromUtf16(text, result);
  }
  return true;
}

bool CodePageToUtf8(int codePage, std::string_view bytes, std::string& result) {
  std::size_t row = FindRow(codePage);
  if (row != kPageCount && IsSingleByte(kPages[row].keeper)) {
    const SingleBytePage* page = GetSingleBytePage(row);
    if (page == nullptr) return false;
    page->ToUtf8(bytes, result);
    return true;
  }
  if (row != kPageCount && kPages[row].keeper == Keeper::kUnlabelled) {
    UnlabelledToUtf8(bytes, result);
    return true;
  }
  if (codePage == kPageUtf8 && IsValidUtf8(bytes)) {
    result.append(bytes);
    return true;
  }
  Keeper keeper = row == kPageCount ? Keeper::kNobody : kPages[row].keeper;
  if (keeper == Keeper::kIcu || keeper == Keeper::kIconv) return LibraryToUtf8(row, bytes, result);
  std::u16string wide;
  if (!CodePageToUtf16(codePage, bytes, wide)) return false;
  Utf16ToUtf8(wide, result);
  return true;
}

void UnlabelledToUtf8(std::string_view bytes, std::string& result) {
  if (IsValidUtf8(bytes)) {
    result.append(bytes);
  } else {
    CodePageToUtf8(kPageWindows1252, bytes, result);
  }
}

void MixedToUtf8(std::string_view bytes, std::string& result) {
  result.reserve(result.size() + bytes.size());
  while (!bytes.empty()) {
    std::size_t length = WellFormedLength(bytes);
    result.append(bytes.substr(0, length));
    bytes.remove_prefix(length);
    CodePageToUtf8(kPageWindows1252, bytes.substr(0, 1), result);
    bytes.remove_prefix(std::min<std::size_t>(1, bytes.size()));
  }
}

}  // namespace corvane
