#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>

namespace corvane::indexformat {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

std::uint32_t ReadNumber(std::string_view text, int base) {
  std::uint32_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value, base);
  return read.ec == std::errc::result_out_of_range ? std::numeric_limits<std::uint32_t>::max()
                                                   : value;
}

bool IsLineCharacter(unsigned char c) { return c == '\t' || c == '\n' || c == '\r'; }

bool IsPlain(unsigned char c) { return (c >= 32 && c <= 126) || IsLineCharacter(c); }

void AppendMarkup(std::string* out, char c) {
  switch (c) {
    case '&':
      out->append("&amp;");
      break;
    case '<':
      out->append("&lt;");
      break;
    case '>':
      out->append("&gt;");
      break;
    default:
      out->push_back(c);
  }
}

void AppendReference(std::string* out, std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "&#x%x;", number);
  out->append(text);
}

// The length of the well-formed sequence that `text` begins with and its character; 0 for none.
std::size_t ReadUtf8(std::string_view text, std::uint32_t* character) {
  const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned char lead = byte(0);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || length > text.size()) return 0;
  std::uint32_t value = length == 1 ? lead : lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    value = value << 6 | (byte(i) & 0x3F);
  }
  const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
  if (overlong || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000)) return 0;
  *character = value;
  return length;
}

void AppendUtf8(std::string* out, std::uint32_t c) {
  const auto put = [out](std::uint32_t byte) { out->push_back(static_cast<char>(byte)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | c >> 6);
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | c >> 12);
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | c >> 18);
    put(0x80 | (c >> 12 & 0x3F));
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

// A character by its 16-bit units, of which XML takes only some as they are.
void AppendCharacter(std::string* out, std::uint32_t c) {
  if (c >= 0x10000) {
    AppendReference(out, 0xD800 + ((c - 0x10000) >> 10));
    AppendReference(out, 0xDC00 + ((c - 0x10000) & 0x3FF));
  } else if (c > 0xFFFD || (c < 0x20 && !IsLineCharacter(static_cast<unsigned char>(c)))) {
    AppendReference(out, c);
  } else if (c < 0x80) {
    AppendMarkup(out, static_cast<char>(c));
  } else {
    AppendUtf8(out, c);
  }
}

// The number of a reference, of which the lowest byte counts; those beyond 32 bits are no
// character.
std::uint32_t ReadReferenceNumber(std::string_view digits, std::uint32_t base) {
  constexpr std::uint32_t kBeyond = 0xFFFFFF00;
  const std::uint32_t number = ReadNumber(digits, static_cast<int>(base));
  if (number < kBeyond) return number;
  std::uint32_t low = 0;
  for (const char digit : digits) low = (low * base + ReadNumber({&digit, 1}, 16)) & 0xFF;
  return kBeyond | low;
}

// A reference "&#...;" at the beginning of `text`: its length and number, or 0.
std::size_t ReadReference(std::string_view text, std::uint32_t* number) {
  if (text.substr(0, 2) != "&#") return 0;
  const bool hex = text.size() > 2 && (text[2] == 'x' || text[2] == 'X');
  const std::size_t digits = hex ? 3 : 2;
  const std::string_view set = kHexDigits.substr(0, hex ? kHexDigits.size() : 10);
  const std::size_t end = text.find_first_not_of(set, digits);
  if (end == std::string_view::npos || end == digits || text[end] != ';') return 0;
  *number = ReadReferenceNumber(text.substr(digits, end - digits), hex ? 16 : 10);
  return end + 1;
}

std::string DecodeReferences(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    std::uint32_t number = 0;
    const std::size_t length = text.front() == '&' ? ReadReference(text, &number) : 0;
    if (length == 0) {
      out.push_back(text.front());
      text.remove_prefix(1);
      continue;
    }
    text.remove_prefix(length);
    std::uint32_t low = 0;
    const std::size_t second = number >= 0xD800 && number < 0xDC00 ? ReadReference(text, &low) : 0;
    if (second != 0 && low >= 0xDC00 && low < 0xE000) {
      AppendUtf8(&out, 0x10000 + ((number - 0xD800) << 10) + (low - 0xDC00));
      text.remove_prefix(second);
    } else {
      out.push_back(static_cast<char>(number & 0xFF));
    }
  }
  return out;
}

struct Entity {
  std::string_view name;
  char character;
};
// The last two stand in attributes only.
constexpr Entity kEntities[] = {
    {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
constexpr std::size_t kTextEntities = 3;

// The entity that stands at `text`; null without one.
const Entity* EntityAt(std::string_view text, std::size_t entities) {
  for (const Entity* entity = kEntities; entity != kEntities + entities; ++entity) {
    const std::size_t size = entity->name.size();
    if (text.size() >= size && text[1] == entity->name[1] &&
        std::memcmp(text.data(), entity->name.data(), size) == 0) {
      return entity;
    }
  }
  return nullptr;
}

// From `first` on, in one pass: what stands between two entities moves up.
void DecodeEntities(std::string* text, std::size_t first, std::size_t entities) {
  const std::string_view all = *text;
  char* to = text->data() + first;
  for (std::size_t from = first; from < all.size();) {
    const Entity* entity = all[from] == '&' ? EntityAt(all.substr(from), entities) : nullptr;
    *to++ = entity == nullptr ? all[from] : entity->character;
    from += entity == nullptr ? 1 : entity->name.size();
  }
  text->resize(static_cast<std::size_t>(to - text->data()));
}

std::string_view Decode(std::string_view text, std::string* buffer, std::size_t entities) {
  const std::size_t first = text.find('&');
  if (first == std::string_view::npos) return text;
  if (text.find("&#", first) == std::string_view::npos) {
    buffer->assign(text);
  } else {
    *buffer = DecodeReferences(text);
  }
  DecodeEntities(buffer, first, entities);
  return *buffer;
}

std::string Head(std::string_view id, std::string_view uid) {
  std::string head(kElementStart);
  if (!id.empty()) head.append(" ID=\"").append(id).append("\"");
  if (!uid.empty()) head.append(" UID=\"").append(uid).append("\"");
  return head;
}

}  // namespace

std::string LastUidDigits(std::uint32_t lastUid) {
  char digits[kLastUidDigits + 1];
  std::snprintf(digits, sizeof digits, "%08x", lastUid);
  return digits;
}

std::string Header(std::uint32_t lastUid) {
  return std::string(kHeaderStart).append(LastUidDigits(lastUid)).append(kHeaderEnd);
}

LastUid ParseLastUid(std::string_view text) {
  if (!text.empty() && text.front() == 'x') return {ReadNumber(text.substr(1), 16), true};
  if (!text.empty() && text.front() == '0') return {ReadNumber(text, 16), false};
  return {ReadNumber(text, 10), false};
}

bool FindLastUid(std::string_view tag, std::string_view* value) {
  constexpr std::string_view kName = "LASTUID=";
  const std::size_t at = tag.find(kName);
  if (at == std::string_view::npos || at + kName.size() >= tag.size()) return false;
  const char quote = tag[at + kName.size()];
  if (quote != '"' && quote != '\'') return false;
  const std::size_t begin = at + kName.size() + 1;
  const std::size_t end = tag.find(quote, begin);
  if (end == std::string_view::npos) return false;
  *value = tag.substr(begin, end - begin);
  return true;
}

bool IsTombstone(std::string_view attributeValue) {
  return attributeValue.find_first_not_of('-') == std::string_view::npos;
}

std::string ElementHead(std::string_view id, std::string_view uid) {
  return Head(EncodeID(id), uid);
}

std::string TombstoneHead(std::string_view id, std::string_view uid) {
  return Head(std::string(EncodeID(id).size(), '-'), std::string(uid.size(), '-'));
}

std::string EncodeID(std::string_view id) {
  std::string decoded;
  const bool breaks = std::any_of(id.begin(), id.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return c == '<' || c == '>' || c == '"' || byte < 32 || byte == 127;
  });
  if (!breaks && !IsTombstone(id) && DecodeAttribute(id, &decoded) == id) return std::string(id);
  std::string out;
  for (const char c : id) {
    const auto byte = static_cast<unsigned char>(c);
    const bool hyphens = c == '-' && IsTombstone(id);
    if (c == '"' || byte < 32 || byte == 127 || hyphens) {
      AppendReference(&out, byte);
    } else {
      AppendMarkup(&out, c);
    }
  }
  return out;
}

bool IsWritableID(std::string_view id) {
  constexpr std::size_t kLongestUid = 10;
  constexpr std::size_t kRest = std::string_view("ELEMENT ID=\"\" UID=\"\"").size() + kLongestUid;
  constexpr std::size_t kLongestCharacter = std::string_view("&#x7f;").size();
  constexpr std::size_t kLongest = kLongestTag - kRest;
  return id.size() <= kLongest / kLongestCharacter || EncodeID(id).size() <= kLongest;
}

void AppendValue(std::string* out, std::string_view value, bool whole, bool validUtf8) {
  const bool plain = !whole || std::all_of(value.begin(), value.end(), [](char c) {
    return IsPlain(static_cast<unsigned char>(c));
  });
  if (plain) {
    for (const char c : value) AppendMarkup(out, c);
    return;
  }
  while (!value.empty()) {
    std::uint32_t character = 0;
    const std::size_t length = ReadUtf8(value, &character);
    const bool control = length == 1 && !IsPlain(static_cast<unsigned char>(character));
    if (length == 0) {
      AppendCharacter(out, validUtf8 ? ' ' : 0xFFFD);
    } else if (control && validUtf8) {
      out->push_back(' ');
    } else {
      AppendCharacter(out, character);
    }
    value.remove_prefix(std::max<std::size_t>(length, 1));
  }
}

std::string PlainText(std::string_view value) {
  std::string text(value);
  std::replace_if(
      text.begin(), text.end(),
      [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte > 127 || (byte < 32 && !IsLineCharacter(byte));
      },
      ' ');
  return text;
}

std::string_view DecodeValue(std::string_view text, std::string* buffer) {
  return Decode(text, buffer, kTextEntities);
}

std::string_view DecodeAttribute(std::string_view text, std::string* buffer) {
  return Decode(text, buffer, std::size(kEntities));
}

}  // namespace corvane::indexformat
