#include "connector/queue/HeaderEdit.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "connector/queue/Durability.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kPieceBytes = 4096;
constexpr std::size_t kNone = std::string_view::npos;

// A piece of a line, with its line end if it comes to it.
struct Piece {
  std::uint64_t offset = 0;
  std::string_view text;
  bool startsLine = true;

  [[nodiscard]] bool EndsLine() const { return text.ends_with('\n'); }
  [[nodiscard]] bool IsBlankLine() const { return startsLine && (text == "\r\n" || text == "\n"); }
};

// Reads a file line by line in pieces.
class PieceReader {
 public:
  explicit PieceReader(platform::File& file) : file_(file) {}

  [[nodiscard]] std::optional<Piece> Next() {
    const char* end = FindEnd();
    while (end == nullptr && size_ - at_ < kPieceBytes && Fill()) end = FindEnd();
    if (at_ == size_) return std::nullopt;
    std::size_t length =
        end != nullptr ? static_cast<std::size_t>(end - &buffer_[at_]) + 1 : size_ - at_;
    if (length > kPieceBytes) length = kPieceBytes;
    Piece piece{offset_, {&buffer_[at_], length}, startsLine_};
    at_ += length;
    offset_ += length;
    startsLine_ = piece.EndsLine();
    return piece;
  }
  [[nodiscard]] bool Failed() const { return failed_; }

 private:
  [[nodiscard]] const char* FindEnd() const {
    return static_cast<const char*>(std::memchr(&buffer_[at_], '\n', size_ - at_));
  }

  bool Fill() {
    std::memmove(buffer_.data(), &buffer_[at_], size_ - at_);
    size_ -= at_;
    at_ = 0;
    const std::int64_t got = file_.Read(&buffer_[size_], buffer_.size() - 1 - size_);
    failed_ = got < 0;
    if (got > 0) size_ += static_cast<std::size_t>(got);
    return got > 0;
  }

  platform::File& file_;
  std::array<char, 2 * kPieceBytes + 1> buffer_;
  std::size_t at_ = 0;
  std::size_t size_ = 0;
  std::uint64_t offset_ = 0;
  bool startsLine_ = true;
  bool failed_ = false;
};

// Looks through the header block and notes what has to change.
class HeaderEditor {
 public:
  explicit HeaderEditor(const HeaderChange& change)
      : prefix_(std::string(change.name).append(change.separator)),
        line_(std::string(change.name).append(": ").append(change.value)),
        closesBlock_(change.closesBlock) {}

  // The edits in the order of the file, or nothing when it can't be read.
  [[nodiscard]] std::optional<std::vector<HeaderEdit>> Replace(platform::File& file) {
    PieceReader reader(file);
    bool found = false;
    bool inMatch = false;
    bool lineOpen = false;
    std::uint64_t end = 0;
    while (const auto piece = reader.Next()) {
      if (piece->IsBlankLine()) {
        if (!found) edits_.push_back({piece->offset, 0, line_ + "\r\n"});
        return Changes();
      }
      if (piece->startsLine) {
        const bool folded = piece->text.front() == ' ' || piece->text.front() == '\t';
        const bool matches = Matches(*piece);
        found = found || matches;
        inMatch = matches ? Begin(*piece) : inMatch && folded && Extend(*piece);
      } else if (inMatch) {
        inMatch = Extend(*piece);
      }
      lineOpen = !piece->EndsLine();
      end = piece->offset + piece->text.size();
    }
    if (reader.Failed()) return std::nullopt;
    if (!found) edits_.push_back({end, 0, (lineOpen ? "\r\n" : "") + line_ + BlockEnd()});
    return Changes();
  }

 private:
  [[nodiscard]] bool Matches(const Piece& piece) const {
    return piece.text.size() >= prefix_.size() &&
           platform::EqualsNoCase(piece.text.substr(0, prefix_.size()), prefix_);
  }

  // Begins to replace a line; true when more of it may follow.
  bool Begin(const Piece& piece) {
    const std::string_view old = HeaderText(piece.text);
    edits_.push_back({piece.offset, old.size(), line_ + "\r\n"});
    const std::size_t end = old.find_first_of("\r\n");
    same_.push_back(end != kNone && old.substr(0, end) == line_);
    return old.size() == piece.text.size();
  }

  bool Extend(const Piece& piece) {
    const std::string_view old = HeaderText(piece.text);
    edits_.back().length += old.size();
    same_.back() = false;
    return old.size() == piece.text.size();
  }

  // The text up to its line end. A CR alone ends a header too: in a file without LF what follows is
  // the rest of the message.
  [[nodiscard]] static std::string_view HeaderText(std::string_view text) {
    const std::size_t end = text.find('\r');
    if (end == kNone) return text;
    const std::size_t behind = text.find_first_not_of('\r', end);
    if (behind == kNone) return text;
    return text.substr(0, text[behind] == '\n' ? behind + 1 : end + 1);
  }

  // A line that says it already is left alone, with whatever line end it has.
  [[nodiscard]] std::vector<HeaderEdit> Changes() {
    std::vector<HeaderEdit> changes;
    for (std::size_t i = 0; i < edits_.size(); ++i) {
      if (i >= same_.size() || !same_[i]) changes.push_back(std::move(edits_[i]));
    }
    return changes;
  }

  [[nodiscard]] const char* BlockEnd() const { return closesBlock_ ? "\r\n\r\n" : "\r\n"; }

  std::string prefix_;
  std::string line_;
  bool closesBlock_;
  std::vector<HeaderEdit> edits_;
  std::vector<bool> same_;
};

bool WriteEdited(platform::WholeFile& target, const platform::File& source,
                 const std::vector<HeaderEdit>& edits) {
  std::uint64_t at = 0;
  for (const HeaderEdit& edit : edits) {
    if (edit.offset > at && !target.CopyFrom(source, at, edit.offset - at)) return false;
    if (!target.Write(edit.text)) return false;
    at = edit.offset + edit.length;
  }
  return target.CopyFrom(source, at);
}

}  // namespace

std::optional<std::vector<HeaderEdit>> ReplaceHeader(platform::File& file,
                                                     const HeaderChange& change) {
  return HeaderEditor(change).Replace(file);
}

std::vector<HeaderEdit> PrependHeader(std::string_view name, std::string_view value) {
  return {{0, 0, std::string(name).append(": ").append(value).append("\r\n")}};
}

bool PutEdited(const platform::File& source, platform::WholeFile target,
               const std::vector<HeaderEdit>& edits) {
  return target && WriteEdited(target, source, edits) &&
         target.Commit(true, DeliveryDurability(platform::Durability::kData));
}

}  // namespace corvane
