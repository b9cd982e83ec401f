// IndexFormat.h -- the bytes of an index file.
//
//   <BASEELEMENT LASTUID="x0000002a"><ELEMENT ID="a.MAI" UID="1"><CC>...</CC>...</ELEMENT>...
//   </BASEELEMENT> CR LF
//
// No XML declaration and no line ends between the parts. The header is 33 bytes always, so that
// LASTUID can be written over where it stands; so can ID and UID, with hyphens, when an element is
// removed; and a new element is written over the trailer. Files that a document writer made may
// have LASTUID in decimal ("old form") and "/>" for an index without items.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvane::indexformat {

inline constexpr std::string_view kHeaderStart = "<BASEELEMENT LASTUID=\"x";
inline constexpr std::string_view kHeaderEnd = "\">";
inline constexpr std::size_t kLastUidAt = 23;
inline constexpr std::size_t kLastUidDigits = 8;
inline constexpr std::size_t kHeaderSize = 33;
inline constexpr std::size_t kHeaderSlashAt = 32;
inline constexpr std::string_view kTrailer = "</BASEELEMENT>\r\n";
inline constexpr std::string_view kTrailerTag = "</BASEELEMENT>";
inline constexpr std::string_view kElementStart = "<ELEMENT";
inline constexpr std::string_view kElementEnd = "</ELEMENT>";
static_assert(kHeaderStart.size() == kLastUidAt && kTrailer.size() == 16);

// A tag is read as far as this.
inline constexpr std::size_t kLongestTag = 1024;

// The 8 digits.
[[nodiscard]] std::string LastUidDigits(std::uint32_t lastUid);
[[nodiscard]] std::string Header(std::uint32_t lastUid);

// The value of LASTUID: "x" and hexadecimal digits is the new form; a leading "0" means hexadecimal
// too, anything else decimal, and both are old forms.
struct LastUid {
  std::uint32_t value = 0;
  bool isNewForm = false;
};
[[nodiscard]] LastUid ParseLastUid(std::string_view text);
// The text of the attribute LASTUID in a tag or in the beginning of a file; false without one.
[[nodiscard]] bool FindLastUid(std::string_view tag, std::string_view* value);

// An element that was removed: its ID is hyphens only, or empty.
[[nodiscard]] bool IsTombstone(std::string_view attributeValue);
// The attributes of an element, from "<ELEMENT" on, without ">".
[[nodiscard]] std::string ElementHead(std::string_view id, std::string_view uid);
// The same with hyphens for every byte of the two values as they stand in the file.
[[nodiscard]] std::string TombstoneHead(std::string_view id, std::string_view uid);
// An ID as it stands in the file: unchanged, but for the bytes that would break the tag or would
// read back as another name.
[[nodiscard]] std::string EncodeID(std::string_view id);
// Whether an element with that ID has a head that is read again, whatever its UID is. Names that
// are indexed are far shorter.
[[nodiscard]] bool IsWritableID(std::string_view id);

// Appends `value` as the file has it. `whole`: with all that a text property needs, bytes that are
// no XML characters included; otherwise only "&", "<" and ">" are written as entities.
// `validUtf8`: what is no UTF-8 becomes a blank first.
void AppendValue(std::string* out, std::string_view value, bool whole, bool validUtf8);

// A text that any document can hold: bytes below 32 or above 127, but for tabs and line ends, are
// blanks.
[[nodiscard]] std::string PlainText(std::string_view value);

// The value that the file's text stands for: "&#...;" is a byte (two that are the halves of a
// character are that character), then "&lt;", "&gt;" and "&amp;". Texts without "&" are not
// copied; otherwise `buffer` holds the result.
[[nodiscard]] std::string_view DecodeValue(std::string_view text, std::string* buffer);
// The same for the value of an attribute, in which document writers put "&quot;" and "&apos;" too.
[[nodiscard]] std::string_view DecodeAttribute(std::string_view text, std::string* buffer);

}  // namespace corvane::indexformat
