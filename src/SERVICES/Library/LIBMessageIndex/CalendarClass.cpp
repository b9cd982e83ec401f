#include "SERVICES/Library/LIBMessageIndex/CalendarClass.h"

#include "message/Ascii.h"

namespace corvane {
namespace {

struct ClassRow {
  std::string_view word;
  std::string_view messageClass;
};

constexpr std::string_view kAnswer = "IPM.Schedule.Meeting.Resp";
constexpr ClassRow kMethods[] = {
    {"REQUEST", "IPM.Schedule.Meeting.Request"},
    {"REPLY", kAnswer},
    {"CANCEL", "IPM.Schedule.Meeting.Canceled"},
    {"PUBLISH", "IPM.Schedule"},
};
constexpr ClassRow kAnswers[] = {
    {"PARTSTAT=ACCEPTED", "IPM.Schedule.Meeting.Resp.Pos"},
    {"PARTSTAT=DECLINED", "IPM.Schedule.Meeting.Resp.Neg"},
    {"PARTSTAT=TENTATIVE", "IPM.Schedule.Meeting.Resp.Tent"},
};

// The byte at or behind `at` that is no part of a fold: calendars break their lines anywhere, also
// inside a word.
std::size_t SkipFold(std::string_view text, std::size_t at) {
  std::size_t end = text.substr(at, 2) == "\r\n" ? at + 2
                    : text.substr(at, 1) == "\n" ? at + 1
                                                 : at;
  return end > at && end < text.size() && IsBlankOrTab(text[end]) ? end + 1 : at;
}

bool IsWordAt(std::string_view text, std::size_t at, std::string_view word) {
  for (char c : word) {
    at = SkipFold(text, at);
    if (at == text.size() || LowerCase(text[at]) != LowerCase(c)) return false;
    ++at;
  }
  return true;
}

bool HoldsFolded(std::string_view text, std::string_view word) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (LowerCase(text[at]) == LowerCase(word[0]) && IsWordAt(text, at, word)) return true;
  }
  return false;
}

std::string_view ClassOfAnswer(std::string_view calendar) {
  for (const ClassRow& row : kAnswers) {
    if (HoldsFolded(calendar, row.word)) return row.messageClass;
  }
  return kAnswer;
}

}  // namespace

void SetCalendarClass(MessageHeaders& headers, std::string_view contentType,
                      const std::function<Text()>& text) {
  if (!ContainsIgnoringCase(contentType, "text/calendar")) return;
  for (const ClassRow& row : kMethods) {
    if (!ContainsIgnoringCase(contentType, row.word)) continue;
    headers.Class = row.messageClass == kAnswer ? ClassOfAnswer(text()) : row.messageClass;
    return;
  }
}

}  // namespace corvane
