// PartParser.cpp -- splits a message into its parts.
//
// One cursor runs through the text and never goes back; the levels of nesting stand on a stack of
// ours. A marker counts where it begins a line, whatever follows its boundary: mail whose inner
// level was never closed is ended by an outer boundary that begins like the inner one.
#include "message/Ascii.h"
#include "message/MimeMessage.h"

namespace corvane {
namespace {

constexpr std::string_view kNowhere{};

class PartParser {
 public:
  PartParser(const Text& raw, bool keepStructure, std::vector<MimePart>& parts)
      : raw_(raw), text_(raw), keepStructure_(keepStructure), parts_(parts) {}

  bool Parse() {
    do {
      if (!ReadPart()) return false;
    } while (!finished_);
    return true;
  }

 private:
  // One part at the cursor, and what ends levels behind it. False ends the parse.
  bool ReadPart() {
    MimePart part;
    if (!levels_.empty()) part.EnclosingBoundary = levels_.back();
    if (!ReadHeaders(part)) return false;
    while (cursor_ < text_.size() && IsLineSpace(text_[cursor_])) ++cursor_;
    if (part.IsMultipart()) return EnterMultipart(part);
    if (levels_.empty()) {
      finished_ = true;
      return AddLeaf(part, text_.substr(cursor_));
    }
    std::size_t marker = FindMarker(levels_.back(), cursor_);
    if (marker == text_.npos) return false;
    std::string_view body = text_.substr(cursor_, BodyEnd(marker) - cursor_);
    cursor_ = marker + 2 + levels_.back().size();
    return AddLeaf(part, body) && PassMarker();
  }

  bool ReadHeaders(MimePart& part) {
    if (cursor_ >= text_.size()) return false;
    if (text_[cursor_] == '\r') return true;
    std::size_t end = text_.find("\r\n\r\n", cursor_);
    if (end == text_.npos) return false;
    ReadPartHeaders(raw_, text_.substr(cursor_, end - cursor_), part);
    cursor_ = end + 4;
    return true;
  }

  bool EnterMultipart(MimePart& part) {
    if (part.Boundary.empty() || levels_.size() >= kMaximumParts) return false;
    if (keepStructure_ && !AddEntry(part)) return false;
    std::size_t marker = FindMarker(part.Boundary, cursor_);
    if (marker == text_.npos) return false;
    levels_.push_back(part.Boundary);
    std::string_view preamble = text_.substr(cursor_, marker - cursor_);
    if (keepStructure_ && !preamble.empty() && !AddMark(PartKind::kPreamble, preamble)) {
      return false;
    }
    std::size_t lineEnd = FindByte(text_, '\n', marker);
    cursor_ = lineEnd == text_.npos ? text_.size() : lineEnd + 1;
    return true;
  }

  // Behind a boundary: closes the level, and every level around it that is closed right behind, or
  // goes to the next part.
  bool PassMarker() {
    SkipBlanks();
    while (text_.substr(cursor_, 2) == "--") {
      cursor_ += 2;
      if (keepStructure_ && !AddMark(PartKind::kClosing, kNowhere)) return false;
      levels_.pop_back();
      if (levels_.empty()) return FinishMultipart();
      std::size_t marker = FindMarker(levels_.back(), cursor_);
      if (marker == text_.npos) return false;
      cursor_ = marker + 2 + levels_.back().size();
      SkipBlanks();
    }
    if (text_.substr(cursor_, 1) == "\r") ++cursor_;
    if (text_.substr(cursor_, 1) == "\n") ++cursor_;
    return true;
  }

  void SkipBlanks() {
    while (cursor_ < text_.size() && IsBlankOrTab(text_[cursor_])) ++cursor_;
  }

  bool FinishMultipart() {
    finished_ = true;
    return !keepStructure_ || AddMark(PartKind::kLast, text_.substr(cursor_));
  }

  // The position of the hyphens of the next "--boundary" that begins a line at or behind `from`.
  [[nodiscard]] std::size_t FindMarker(std::string_view boundary, std::size_t from) const {
    std::size_t line = from;
    while (!IsMarkerAt(line, boundary)) {
      std::size_t end = FindByte(text_, '\n', line);
      if (end == text_.npos) return end;
      line = end + 1;
    }
    return line;
  }

  [[nodiscard]] bool IsMarkerAt(std::size_t at, std::string_view boundary) const {
    return text_.substr(at, 2) == "--" && text_.substr(at + 2).starts_with(boundary);
  }

  // The line end before a marker belongs to it.
  [[nodiscard]] std::size_t BodyEnd(std::size_t marker) const {
    std::size_t end = marker;
    if (end > cursor_ && text_[end - 1] == '\n') --end;
    if (end > cursor_ && end < marker && text_[end - 1] == '\r') --end;
    return end;
  }

  bool AddLeaf(MimePart& part, std::string_view body) {
    part.Body = raw_.Piece(body);
    part.OriginalSize = static_cast<std::uint32_t>(body.size());
    part.PartNumber = ++count_;
    return AddEntry(part);
  }

  bool AddMark(PartKind kind, std::string_view body) {
    MimePart mark;
    mark.Kind = kind;
    mark.Body = raw_.Piece(body);
    mark.OriginalSize = static_cast<std::uint32_t>(body.size());
    if (!levels_.empty()) mark.EnclosingBoundary = levels_.back();
    return AddEntry(mark);
  }

  bool AddEntry(const MimePart& part) {
    parts_.push_back(part);
    return parts_.size() <= kMaximumParts;
  }

  [[nodiscard]] static bool IsLineSpace(char c) {
    return IsBlankOrTab(c) || c == '\r' || c == '\n';
  }

  const Text& raw_;
  std::string_view text_;
  bool keepStructure_;
  std::vector<MimePart>& parts_;
  std::vector<Text> levels_;  // the boundaries of the open levels
  std::size_t cursor_ = 0;
  std::uint32_t count_ = 0;
  bool finished_ = false;
};

}  // namespace

bool MimeMessage::ParseParts(bool keepStructure) {
  PartList.clear();
  return PartParser(RawText, keepStructure, PartList).Parse();
}

}  // namespace corvane
