// ParseMessageLines.cpp -- the plain reader: header lines as they stand, encoded words and all.
//
// It reads in pieces of up to 2,048 bytes and stops at the empty line. A longer line is one line
// still: none of its later pieces is taken for a header.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"
#include "connector/settings/Settings.h"
#include "message/Ascii.h"
#include "platform/FileSystem.h"
#include "platform/TextFile.h"

namespace corvane {
namespace {

constexpr std::size_t kPieceBytes = 2048;
constexpr int kMostPieces = 301;

struct Piece {
  std::string_view text;  // without its line end
  bool startsLine = true;
};

class PieceReader {
 public:
  explicit PieceReader(platform::TextFile& file) : file_(file) {}

  [[nodiscard]] std::optional<Piece> Next() {
    const auto read = file_.ReadLine(kPieceBytes);
    if (!read) return std::nullopt;
    Piece piece{*read, startsLine_};
    startsLine_ = read->ends_with('\n');
    if (startsLine_) piece.text.remove_suffix(1);
    if (piece.text.ends_with('\r')) piece.text.remove_suffix(1);
    return piece;
  }

 private:
  platform::TextFile& file_;
  bool startsLine_ = true;
};

// How the first character of a continuation line is treated.
enum class Fold : std::uint8_t {
  kNone,     // the header has no continuation lines for us
  kDrop,     // it goes
  kKeep,     // it stays
  kSubject,  // it goes behind an encoded word, so that encoded words join
  kBlank,    // it becomes a blank
};

class HeaderScan {
 public:
  HeaderScan(MessageHeaders& headers, bool branding, bool ignoreRead)
      : headers_(headers), branding_(branding), ignoreRead_(ignoreRead) {}

  // False when the file can't be read.
  [[nodiscard]] bool Read(platform::TextFile& file, PieceReader& reader) {
    for (int count = 0; count < kMostPieces; ++count) {
      const auto piece = reader.Next();
      if (!piece || (piece->startsLine && piece->text.empty())) break;
      Keep(*piece);
      Look(*piece);
    }
    Finish();
    return !file.Failed();
  }

  // Whether Attachments is a claim that the body has to bear out.
  [[nodiscard]] bool SettleAttachments() {
    if (hasAttachLine_) headers_.Attachments = 1;
    return headers_.Attachments == 1 && !foundAttachment_;
  }

 private:
  struct Row {
    std::string_view prefix;
    Fold fold;
    void (HeaderScan::*take)();
  };
  static const Row kRows[];

  void Keep(const Piece& piece) {
    if (piece.startsLine && !headers_.Headers.empty()) headers_.Headers += '\n';
    headers_.Headers += piece.text;
  }

  void Look(const Piece& piece) {
    if (!piece.startsLine) {
      if (row_ != nullptr && !inPassedLine_) value_ += piece.text;
      return;
    }
    inPassedLine_ = false;
    if (!IsBlankOrTab(piece.text.front())) {
      Finish();
      Begin(piece.text);
    } else if (row_ != nullptr && row_->fold != Fold::kNone) {
      Continue(piece.text);
    } else {
      inPassedLine_ = true;
    }
  }

  void Begin(std::string_view line);

  void Continue(std::string_view line) {
    const Fold fold = row_->fold;
    const bool keep = fold == Fold::kKeep || (fold == Fold::kSubject && !value_.ends_with("?="));
    if (!keep) line.remove_prefix(1);
    if (fold == Fold::kBlank) value_ += ' ';
    value_ += line;
  }

  // Takes the header that has come to its end.
  void Finish() {
    if (row_ == nullptr) return;
    value_ = WithoutNul(std::move(value_));
    (this->*row_->take)();
    row_ = nullptr;
  }

  void TakeTo() { headers_.To = value_; }
  void TakeCc() { headers_.Cc = value_; }
  void TakeReplyTo() { headers_.ReplyTo = value_; }
  void TakeSubject() { headers_.Subject = value_; }
  void TakeKeywords() { headers_.Categories = value_; }
  void TakeSender() {
    if (headers_.From.empty()) headers_.From = value_;
  }
  void TakeFrom() {
    headers_.From = value_.empty() ? std::string_view("Unknown") : std::string_view(value_);
  }
  void TakeReceived() {
    if (headers_.Received.empty()) headers_.Received = ReceivedDate(value_);
  }
  void TakeDate() {
    headers_.MessageDate = NormalisedDate(value_);
    if (headers_.Received.empty()) headers_.Received = headers_.MessageDate.View();
  }
  void TakeRead() {
    if (ignoreRead_ || TrimBlanks(value_) != "1") return;
    headers_.Read = 1;
    AddFlag(headers_.Flags, "SEEN");
  }
  void TakeUid() {
    const std::size_t dot = value_.find('.');
    if (!branding_ || dot == std::string::npos) return;
    const auto brand = ReadNumber(std::string_view(value_).substr(0, dot));
    const auto uid = ReadNumber(std::string_view(value_).substr(dot + 1));
    if (uid && brand == headers_.Brand) headers_.UID = *uid;
  }
  void TakeClass() { headers_.Class = value_; }
  void TakeFlags() { headers_.Flags = value_; }
  void TakeMessageId() { headers_.MessageId = value_; }
  void TakePriority() { headers_.Importance = ReadImportance(value_); }
  void TakeMailingList() { AddFlag(headers_.Flags, "$IsMailingList"); }
  void TakeContentType() {
    if (foundAttachment_) return;
    const bool alternative =
        settings::Get(settings::kIndexingParsesMultipartAlternativeForAttachments) == 1;
    const bool claims = ContainsIgnoringCase(value_, "multipart/mixed") ||
                        (alternative && ContainsIgnoringCase(value_, "multipart/alternative"));
    headers_.Attachments = claims ? 1 : 0;
  }
  void TakeDisposition() {
    if (!ContainsIgnoringCase(value_, "attachment")) return;
    headers_.Attachments = 1;
    foundAttachment_ = true;
  }
  void TakeHasAttach() {
    if (StartsWithIgnoringCase(value_, "yes")) hasAttachLine_ = true;
  }

  [[nodiscard]] static std::optional<std::uint32_t> ReadNumber(std::string_view digits) {
    std::uint32_t number = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return read.ec == std::errc() ? std::optional(number) : std::nullopt;
  }

  MessageHeaders& headers_;
  const bool branding_;
  const bool ignoreRead_;
  bool hasAttachLine_ = false;
  bool foundAttachment_ = false;
  bool inPassedLine_ = false;  // one that continues a header which has no continuation
  const Row* row_ = nullptr;   // the header in hand
  std::string value_;          // and what was read of it
};

const HeaderScan::Row HeaderScan::kRows[] = {
    {"Received: ", Fold::kBlank, &HeaderScan::TakeReceived},
    {"To:", Fold::kDrop, &HeaderScan::TakeTo},
    {"CC:", Fold::kDrop, &HeaderScan::TakeCc},
    {"reply-to:", Fold::kDrop, &HeaderScan::TakeReplyTo},
    {"sender:", Fold::kDrop, &HeaderScan::TakeSender},
    {"From:", Fold::kDrop, &HeaderScan::TakeFrom},
    {"Subject:", Fold::kSubject, &HeaderScan::TakeSubject},
    {"Keywords:", Fold::kKeep, &HeaderScan::TakeKeywords},
    {"Date: ", Fold::kNone, &HeaderScan::TakeDate},
    {"X-Read: ", Fold::kNone, &HeaderScan::TakeRead},
    {"X-UID: ", Fold::kNone, &HeaderScan::TakeUid},
    {"X-CV-Class: ", Fold::kNone, &HeaderScan::TakeClass},
    {"X-CVTempFlags: ", Fold::kNone, &HeaderScan::TakeFlags},
    {"Message-ID: ", Fold::kNone, &HeaderScan::TakeMessageId},
    {"X-Priority: ", Fold::kNone, &HeaderScan::TakePriority},
    {"List-Unsubscribe:", Fold::kNone, &HeaderScan::TakeMailingList},
    {"Content-Type: ", Fold::kNone, &HeaderScan::TakeContentType},
    {"Content-Disposition: ", Fold::kNone, &HeaderScan::TakeDisposition},
    {"X-MS-Has-Attach: ", Fold::kNone, &HeaderScan::TakeHasAttach},
};

void HeaderScan::Begin(std::string_view line) {
  for (const Row& row : kRows) {
    if (!StartsWithIgnoringCase(line, row.prefix)) continue;
    row_ = &row;
    line.remove_prefix(row.prefix.size());
    value_ = line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
    return;
  }
}

// Whether a line of the rest of the file begins an attachment.
bool HasAttachmentBelow(PieceReader& reader) {
  while (const auto piece = reader.Next()) {
    if (piece->startsLine &&
        StartsWithIgnoringCase(piece->text, "Content-Disposition: attachment")) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::int32_t ParseMessageLines(std::string_view path, MessageHeaders& headers, bool clearFlags,
                               bool branding, std::int32_t attachmentMode, bool ignoreRead) {
  if (clearFlags) headers.Flags.clear();
  const auto info = platform::GetFileInfo(path);
  auto file = platform::TextFile::Open(path, platform::TextMode::kRead, platform::kShareAll);
  if (!info || !file) return 0;
  headers.ModifiedDate = ToModifiedDate(info->lastWriteTime);
  headers.Headers.clear();
  PieceReader reader(file);
  HeaderScan scan(headers, branding, ignoreRead);
  if (!scan.Read(file, reader) || headers.Headers.empty()) return 0;
  if (scan.SettleAttachments() && attachmentMode == kVerifyAttachments) {
    headers.Attachments = HasAttachmentBelow(reader) ? 1 : 0;
  }
  return 1;
}

}  // namespace corvane
