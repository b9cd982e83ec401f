// ParseMessageMime.cpp -- the reader that knows MIME.
//
// The message is held once, and only if its parts have to be looked at.
#include <string>
#include <utility>

#include "SERVICES/Library/LIBMessageIndex/CalendarClass.h"
#include "SERVICES/Library/LIBMessageIndex/MessageFile.h"
#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"
#include "message/Ascii.h"
#include "message/EncodedWords.h"
#include "message/HeaderList.h"
#include "message/HeaderText.h"
#include "message/MimeMessage.h"

namespace corvane {
namespace {

constexpr std::string_view kAttachment = "attachment";
constexpr std::string_view kCalendar = "text/calendar";

// Takes the headers one after the other into the record.
class HeaderTaker {
 public:
  HeaderTaker(const HeaderList& list, MessageHeaders& headers) : list_(list), headers_(headers) {}

  void TakeAll() {
    for (at_ = 0; at_ < list_.Size(); ++at_) Take(list_.NameAt(at_));
    if (headers_.From.empty()) headers_.From = "Unknown";
    if (headers_.Received.empty()) headers_.Received = headers_.MessageDate.View();
  }

  // Of the first Content-Type and Content-Disposition.
  [[nodiscard]] const std::string& ContentType() const { return contentType_; }
  [[nodiscard]] const std::string& Disposition() const { return disposition_; }

 private:
  struct Row {
    std::string_view name;
    void (HeaderTaker::*take)();
  };
  static const Row kRows[];

  void Take(std::string_view name);

  [[nodiscard]] std::string Value() const { return WithoutNul(list_.ValueAt(at_)); }
  // The value with the white space gone that only keeps its encoded words apart.
  [[nodiscard]] std::string JoinedValue() const {
    return WithoutNul(DecodeEncodedWordsToUtf8(JoinEncodedWords(list_.RawValueAt(at_))));
  }

  void TakeTo() { headers_.To = JoinedValue(); }
  void TakeCc() { headers_.Cc = JoinedValue(); }
  void TakeFrom() { headers_.From = JoinedValue(); }
  void TakeSender() { headers_.Sender = JoinedValue(); }
  void TakeReplyTo() { headers_.ReplyTo = JoinedValue(); }
  void TakeSubject() { headers_.Subject = JoinedValue(); }
  void TakeMessageId() { headers_.MessageId = Value(); }
  void TakeKeywords() { headers_.Categories = Value(); }
  void TakeThread() { headers_.Thread = Value(); }
  void TakeClass() { headers_.Class = Value(); }
  void TakeFlags() { headers_.Flags = Value(); }
  void TakePriority() { headers_.Importance = ReadImportance(Value()); }
  void TakeDate() { headers_.MessageDate = NormalisedDate(Value()); }
  void TakeMailingList() { AddFlag(headers_.Flags, "$IsMailingList"); }
  void TakeContentType() {
    if (contentType_.empty()) contentType_ = Value();
  }
  void TakeDisposition() {
    if (disposition_.empty()) disposition_ = Value();
  }
  void TakeRead() {
    if (TrimBlanks(Value()) == "1") AddFlag(headers_.Flags, "SEEN");
  }
  void TakeReceived() {
    if (headers_.Received.empty()) headers_.Received = ReceivedDate(Value());
  }

  const HeaderList& list_;
  MessageHeaders& headers_;
  std::size_t at_ = 0;
  std::string contentType_;
  std::string disposition_;
};

const HeaderTaker::Row HeaderTaker::kRows[] = {
    {"Received", &HeaderTaker::TakeReceived},
    {"To", &HeaderTaker::TakeTo},
    {"Cc", &HeaderTaker::TakeCc},
    {"From", &HeaderTaker::TakeFrom},
    {"Sender", &HeaderTaker::TakeSender},
    {"Reply-To", &HeaderTaker::TakeReplyTo},
    {"Subject", &HeaderTaker::TakeSubject},
    {"Message-ID", &HeaderTaker::TakeMessageId},
    {"Keywords", &HeaderTaker::TakeKeywords},
    {"thread-index", &HeaderTaker::TakeThread},
    {"Date", &HeaderTaker::TakeDate},
    {"X-Priority", &HeaderTaker::TakePriority},
    {"X-Read", &HeaderTaker::TakeRead},
    {"X-CV-Class", &HeaderTaker::TakeClass},
    {"X-CVTempFlags", &HeaderTaker::TakeFlags},
    {"List-Unsubscribe", &HeaderTaker::TakeMailingList},
    {"Content-Type", &HeaderTaker::TakeContentType},
    {"Content-Disposition", &HeaderTaker::TakeDisposition},
};

void HeaderTaker::Take(std::string_view name) {
  for (const Row& row : kRows) {
    if (EqualsIgnoringCase(name, row.name)) return (this->*row.take)();
  }
}

bool HoldsAttachment(std::string_view disposition) {
  return ContainsIgnoringCase(disposition.substr(0, disposition.find(';')), kAttachment);
}

void TakePart(const MimePart& part, MessageHeaders& headers) {
  if (HoldsAttachment(part.Disposition)) headers.Attachments = 1;
  if (!headers.Class.empty() || !ContainsIgnoringCase(part.ContentType, kCalendar)) return;
  std::string contentType;
  FindHeaderInText(part.HeaderText, "Content-Type", contentType);
  SetCalendarClass(headers, contentType, [&] { return DecodedBody(part); });
}

// Looks at the body parts of the whole message.
bool TakeParts(MessageFile& file, std::string_view contentType, MessageHeaders& headers) {
  std::string whole;
  if (!file.TakeWhole(whole)) return false;
  MimeMessage message;
  message.Load(Text(std::move(whole)), false, false, false);
  message.ParseParts(false);
  SetCalendarClass(headers, contentType, [&] {
    const bool single = message.PartList.size() == 1 &&
                        ContainsIgnoringCase(message.PartList.front().ContentType, kCalendar);
    return single ? DecodedBody(message.PartList.front()) : message.RawText;
  });
  for (const MimePart& part : message.PartList) TakePart(part, headers);
  return true;
}

}  // namespace

std::int32_t ParseMessageMime(std::string_view path, MessageHeaders& headers) {
  auto file = MessageFile::Open(path);
  if (!file) return 0;
  headers.ModifiedDate = ToModifiedDate(file->Info().lastWriteTime);
  headers.Headers = file->HeaderBlock();
  if (headers.Headers.find_first_not_of("\r\n") == std::string::npos) return 0;
  HeaderList list;
  list.Parse(Text(headers.Headers), false);
  HeaderTaker taker(list, headers);
  taker.TakeAll();
  const std::string& contentType = taker.ContentType();
  if (ContainsIgnoringCase(contentType, "multipart/") ||
      ContainsIgnoringCase(contentType, kCalendar)) {
    return TakeParts(*file, contentType, headers) ? 1 : 0;
  }
  // The message is its only part, and its headers say all that counts of it.
  if (HoldsAttachment(taker.Disposition())) headers.Attachments = 1;
  return 1;
}

}  // namespace corvane
