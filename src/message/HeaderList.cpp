#include "message/HeaderList.h"

#include <algorithm>

#include "message/Ascii.h"
#include "message/EncodedWords.h"
#include "message/Unicode.h"

namespace corvane {
namespace {

// The header's lines put together: line ends go, and the TAB that begins a continuation becomes a
// blank.
std::string Unfold(std::string_view lines) {
  std::string result;
  result.reserve(lines.size());
  for (std::size_t at = 0; at < lines.size();) {
    std::size_t end = std::min(FindByte(lines, '\n', at), lines.size());
    std::string_view line = lines.substr(at, end - at);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (at > 0 && line.starts_with('\t')) {
      result.push_back(' ');
      line.remove_prefix(1);
    }
    result += line;
    at = end + 1;
  }
  return result;
}

std::u16string WidenBytes(std::string_view bytes) {
  std::u16string wide(bytes.size(), u'\0');
  std::transform(bytes.begin(), bytes.end(), wide.begin(),
                 [](char c) { return static_cast<char16_t>(static_cast<unsigned char>(c)); });
  return wide;
}

bool HasParameters(std::string_view name) {
  return EqualsIgnoringCase(name, "Content-Type") ||
         EqualsIgnoringCase(name, "Content-Disposition");
}

}  // namespace

void HeaderList::Parse(Text text, bool decode) {
  text_ = std::move(text);
  decode_ = decode;
  entries_.clear();
  own_.clear();
  changed_ = false;
  std::string_view block = text_.View().substr(0, UINT32_MAX);
  std::size_t begin = block.npos;
  for (std::size_t at = 0; at < block.size();) {
    std::size_t end = std::min(FindByte(block, '\n', at), block.size());
    if (!IsBlankOrTab(block[at])) {
      if (begin != block.npos) AddEntry(begin, at);
      begin = at;
    }
    at = end + 1;
  }
  if (begin != block.npos) AddEntry(begin, block.size());
}

void HeaderList::AddEntry(std::size_t begin, std::size_t end) {
  std::size_t colon = FindByte(text_.View().substr(0, end), ':', begin);
  if (colon == std::string_view::npos) return;
  entries_.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(colon - begin),
                      static_cast<std::uint32_t>(end), 0});
}

std::string_view HeaderList::NameOf(const Entry& entry) const {
  if (entry.isOwn != 0) return own_[entry.begin].Name;
  return text_.View().substr(entry.begin, entry.nameLength);
}

bool HeaderList::HasName(const Entry& entry, std::string_view name) const {
  return EqualsIgnoringCase(NameOf(entry), name);
}

std::string HeaderList::RawValue(const Entry& entry) const {
  std::size_t from = entry.begin + entry.nameLength + std::size_t{1};
  std::string value = Unfold(text_.View().substr(from, entry.end - from));
  std::size_t start = std::min(value.find_first_not_of(" \t"), value.size());
  value.erase(0, start);
  return value;
}

MessageHeader HeaderList::Make(const Entry& entry) const {
  if (entry.isOwn != 0) return own_[entry.begin];
  MessageHeader header;
  header.Name = Unfold(NameOf(entry));
  std::string value = RawValue(entry);
  if (value.empty()) return header;
  header.Raw = !decode_;
  if (decode_) value = DecodeEncodedWordsToUtf8(value);
  header.Value = decode_ ? ToWide(value) : WidenBytes(value);
  if (HasParameters(header.Name)) header.Parameters = ParseHeaderParameters(value, decode_);
  return header;
}

MessageHeader HeaderList::At(std::size_t position) const { return Make(entries_[position]); }

const HeaderList::Entry* HeaderList::FindEntry(std::string_view name) const {
  for (const Entry& entry : entries_) {
    if (HasName(entry, name)) return &entry;
  }
  return nullptr;
}

std::optional<MessageHeader> HeaderList::FindFirst(std::string_view name) const {
  const Entry* entry = FindEntry(name);
  return entry == nullptr ? std::nullopt : std::optional(Make(*entry));
}

std::optional<MessageHeader> HeaderList::FindLast(std::string_view name) const {
  for (std::size_t i = entries_.size(); i > 0; --i) {
    if (HasName(entries_[i - 1], name)) return Make(entries_[i - 1]);
  }
  return std::nullopt;
}

std::string HeaderList::ValueOf(const Entry& entry) const {
  return entry.isOwn != 0 ? GetValue(own_[entry.begin]) : DecodeEncodedWordsToUtf8(RawValue(entry));
}

std::string HeaderList::RawValueOf(const Entry& entry) const {
  return entry.isOwn != 0 ? GetValue(own_[entry.begin]) : RawValue(entry);
}

std::string HeaderList::FirstValue(std::string_view name) const {
  const Entry* entry = FindEntry(name);
  return entry == nullptr ? std::string() : ValueOf(*entry);
}

std::string HeaderList::FirstRawValue(std::string_view name) const {
  const Entry* entry = FindEntry(name);
  return entry == nullptr ? std::string() : RawValueOf(*entry);
}

std::string HeaderList::RawValueAt(std::size_t position) const {
  return RawValueOf(entries_[position]);
}

std::string HeaderList::ValueAt(std::size_t position) const { return ValueOf(entries_[position]); }

std::string HeaderList::NameAt(std::size_t position) const {
  return Unfold(NameOf(entries_[position]));
}

void HeaderList::Set(std::string_view name, std::string_view utf8Value) {
  changed_ = true;
  MessageHeader header;
  header.Name = std::string(name);
  header.Value = ToWide(utf8Value);
  if (HasParameters(name)) header.Parameters = ParseHeaderParameters(utf8Value, true);
  auto entry = std::find_if(entries_.begin(), entries_.end(),
                            [&](const Entry& e) { return HasName(e, name); });
  if (entry == entries_.end()) entry = entries_.insert(entry, Entry{});
  if (entry->isOwn == 0) {
    *entry = {static_cast<std::uint32_t>(own_.size()), 0, 0, 1};
    own_.emplace_back();
  }
  own_[entry->begin] = std::move(header);
}

std::string HeaderList::GetValue(const MessageHeader& header) {
  if (!header.Raw) return ToUtf8(header.Value);
  std::string bytes(header.Value.size(), '\0');
  std::transform(header.Value.begin(), header.Value.end(), bytes.begin(),
                 [](char16_t unit) { return static_cast<char>(unit); });
  return DecodeEncodedWordsToUtf8(bytes);
}

}  // namespace corvane
