// MessageHeaders.h -- what the index keeps of one message, as read from its file.
//
// Filled by ParseMessage, and by the indexer for what only the folder knows (FileName, Size, Brand,
// UID). A plain record of one thread. Texts hold no NUL.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvane {

// The beginning of `text` that fits a buffer of `size` bytes with its NUL, cut between characters
// where the text is UTF-8.
[[nodiscard]] std::string_view CutToSize(std::string_view text, std::size_t size);

// A text that is cut to `Size` bytes, NUL included, when it is set.
template <std::size_t Size>
class SizedText {
 public:
  SizedText& operator=(std::string_view text) {
    text_.assign(CutToSize(text, Size));
    return *this;
  }
  [[nodiscard]] bool empty() const { return text_.empty(); }
  [[nodiscard]] std::string_view View() const { return text_; }
  operator const std::string&() const { return text_; }  // NOLINT: meant to convert

 private:
  std::string text_;
};

inline constexpr std::int32_t kDefaultImportance = 3;

struct MessageHeaders {
  std::string Headers;  // the header block, without the empty line behind it
  std::string To;
  std::string Cc;
  SizedText<512> From;  // "Unknown" when the message names nobody
  SizedText<512> Sender;
  SizedText<512> ReplyTo;
  SizedText<512> MessageId;
  SizedText<64> FileName;
  std::uint32_t Attachments = 0;  // 1 if the message has any
  SizedText<64> Received;         // YYYY-MM-DDThh:mm:ss, or empty
  SizedText<64> MessageDate;      // the same, of the Date header
  SizedText<1024> Subject;
  std::uint32_t Read = 0;  // 1 if seen
  std::uint32_t Size = 0;  // of the file, in bytes
  SizedText<128> Class;    // such as "IPM.Schedule.Meeting.Request"
  std::string Flags;       // flag text, blank-separated
  std::uint32_t Brand = 0;
  std::int32_t Importance = kDefaultImportance;
  std::uint32_t UID = 0;
  std::uint32_t ModifiedDate = 0;  // DOS date high, DOS time low
  std::string Categories;
  std::string Thread;
  std::string Attributes;
};

void ClearMessageHeaders(MessageHeaders& headers);

// Adds a flag to a flag text unless it is found there in any case. A name that begins with neither
// '$' nor '\' gets a '\' in front.
void AddFlag(std::string& flags, std::string_view name);

// The form of ModifiedDate for a file's last write time, in seconds since 1970.
[[nodiscard]] std::uint32_t ToModifiedDate(std::int64_t lastWriteTime);

}  // namespace corvane
