// HeaderList.h -- the headers of a block, in file order.
//
// Parsing only notes where each header lies (16 bytes a header); a MessageHeader is made when
// somebody asks for it, and belongs to the caller. Time and memory are linear in the block. One
// thread at a time may change a list; any number may read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "message/Text.h"

namespace corvane {

struct HeaderParameter {
  std::string Name;  // lower case
  std::u16string Value;
  std::string Charset;
  std::string Language;
};

using HeaderParameters = std::map<std::string, HeaderParameter>;

struct MessageHeader {
  std::string Name;      // as it stands in the file
  std::u16string Value;  // unfolded: a fold's line end is gone, its white space is not
  // Of Content-Type and Content-Disposition only; by lower-case name.
  HeaderParameters Parameters;
  // Set while the value is the file's bytes, each widened as it stands, with encoded words in it.
  bool Raw = false;
};

// The parameters of a value, which is split at every ';'. Of several of one name the first counts;
// at most kMaximumPieces are read. `utf8` tells how to widen a plain value: as UTF-8, or byte by
// byte.
[[nodiscard]] HeaderParameters ParseHeaderParameters(std::string_view value, bool utf8);

class HeaderList {
 public:
  // Reads a block of at most 4 GB; with `decode` the values go through encoded-word decoding, else
  // they stay raw. A line without a colon is dropped.
  void Parse(Text text, bool decode);

  [[nodiscard]] std::size_t Size() const { return entries_.size(); }
  // The header at a position below Size().
  [[nodiscard]] MessageHeader At(std::size_t position) const;
  // The first or last header of that name, without regard to case.
  [[nodiscard]] std::optional<MessageHeader> FindFirst(std::string_view name) const;
  [[nodiscard]] std::optional<MessageHeader> FindLast(std::string_view name) const;
  // GetValue of FindFirst, in one step; empty when there is no such header.
  [[nodiscard]] std::string FirstValue(std::string_view name) const;
  // GetValue of At, in one step.
  [[nodiscard]] std::string ValueAt(std::size_t position) const;
  // FirstRawValue, of a position.
  [[nodiscard]] std::string RawValueAt(std::size_t position) const;
  // The name at a position, as it stands.
  [[nodiscard]] std::string NameAt(std::size_t position) const;
  // The first header's value as the file's bytes, unfolded, with its encoded words in it; a value
  // that Set gave is UTF-8.
  [[nodiscard]] std::string FirstRawValue(std::string_view name) const;

  // Gives the first header of that name this value, or adds a header at the end.
  void Set(std::string_view name, std::string_view utf8Value);
  // Whether Set has been called.
  [[nodiscard]] bool Changed() const { return changed_; }

  // All headers as text, folded and encoded where needed, joined by CR LF (HeaderWriter.cpp).
  [[nodiscard]] std::string Serialise() const;

  // The value as UTF-8; a raw one is decoded first.
  [[nodiscard]] static std::string GetValue(const MessageHeader& header);

 private:
  struct Entry {
    std::uint32_t begin;  // in the text; of a header set by Set its index in own_
    std::uint32_t nameLength;
    std::uint32_t end;
    std::uint32_t isOwn;
  };

  void AddEntry(std::size_t begin, std::size_t end);
  [[nodiscard]] bool HasName(const Entry& entry, std::string_view name) const;
  [[nodiscard]] std::string_view NameOf(const Entry& entry) const;
  [[nodiscard]] const Entry* FindEntry(std::string_view name) const;
  [[nodiscard]] std::string RawValue(const Entry& entry) const;
  [[nodiscard]] std::string RawValueOf(const Entry& entry) const;
  [[nodiscard]] std::string ValueOf(const Entry& entry) const;
  [[nodiscard]] MessageHeader Make(const Entry& entry) const;

  Text text_;
  std::vector<Entry> entries_;
  std::vector<MessageHeader> own_;
  bool decode_ = false;
  bool changed_ = false;
};

}  // namespace corvane
