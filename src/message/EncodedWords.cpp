#include "message/EncodedWords.h"

#include "message/Ascii.h"
#include "message/Base64.h"
#include "message/CharsetTable.h"
#include "message/CodePages.h"
#include "message/QuotedPrintable.h"
#include "message/Recode.h"
#include "message/Unicode.h"

namespace corvane {
namespace {

constexpr std::string_view kWordStart = "=?";
constexpr std::string_view kWordEnd = "?=";

struct EncodedWord {
  std::string_view charset;
  char encoding = 'Q';
  std::string_view payload;
  std::size_t end = 0;  // position behind the word
};

// Reads the word whose "=?" stands at `at`. False for text that only looks like one.
bool ReadWord(std::string_view text, std::size_t at, EncodedWord& word) {
  std::size_t charsetAt = at + kWordStart.size();
  std::size_t charsetEnd = charsetAt;
  while (charsetEnd < text.size() && text[charsetEnd] != '?') {
    if (static_cast<unsigned char>(text[charsetEnd]) <= ' ') return false;
    ++charsetEnd;
  }
  std::size_t payloadMark = FindByte(text, '?', charsetEnd + 1);
  if (charsetEnd + 1 >= text.size() || payloadMark == text.npos) return false;
  std::string_view charset = text.substr(charsetAt, charsetEnd - charsetAt);
  word.charset = charset.substr(0, charset.find('*'));
  word.encoding = LowerCase(text[charsetEnd + 1]) == 'b' ? 'B' : 'Q';
  std::size_t payloadEnd = text.find(kWordEnd, payloadMark + 1);
  word.payload = text.substr(payloadMark + 1, payloadEnd - payloadMark - 1);
  word.end = payloadEnd == text.npos ? text.size() : payloadEnd + kWordEnd.size();
  return true;
}

// Collects plain text and words as bytes of the target charset, so that a character whose bytes
// are spread over two words comes together again.
class WordDecoder {
 public:
  WordDecoder(std::string& bytes, bool decode, std::string_view target, bool fixUnderscore,
              bool plainIsUtf8)
      : bytes_(bytes),
        target_(target),
        decode_(decode),
        fixUnderscore_(fixUnderscore),
        plainIsUtf8_(plainIsUtf8) {}

  void Walk(std::string_view text) {
    std::size_t at = text.find_first_not_of("\r\n ");
    if (at == text.npos) return;
    std::size_t plainFrom = at;
    std::size_t start = text.find(kWordStart, at);
    while (start != text.npos) {
      EncodedWord word;
      if (ReadWord(text, start, word)) {
        AddPlain(text.substr(plainFrom, start - plainFrom));
        AddWord(word);
        plainFrom = word.end;
        start = text.find(kWordStart, word.end);
      } else if (FindByte(text, '?', start + kWordStart.size()) == text.npos) {
        break;
      } else {
        start = text.find(kWordStart, start + 1);
      }
    }
    AddPlain(text.substr(plainFrom));
  }

 private:
  void AddPlain(std::string_view plain) {
    if (plain.empty()) return;
    if (plainIsUtf8_) {
      RecodeText("utf-8", plain, piece_, target_);
      bytes_ += piece_;
    } else {
      AddUnlabelled(plain);
    }
  }

  void AddUnlabelled(std::string_view text) {
    if (EqualsIgnoringCase(target_, "utf-8")) return UnlabelledToUtf8(text, bytes_);
    utf8_.clear();
    UnlabelledToUtf8(text, utf8_);
    RecodeText("utf-8", utf8_, piece_, target_);
    bytes_ += piece_;
  }

  void AddWord(const EncodedWord& word) {
    payload_.assign(word.payload);
    if (word.encoding == 'Q') TurnUnderscores();
    if (!decode_) {
      bytes_ += payload_;
      return;
    }
    // Wrong padding at the end of a word is common and does no harm.
    if (word.encoding == 'B') payload_.resize(payload_.find_last_not_of("= ") + 1);
    bool decoded = word.encoding == 'B' ? DecodeBase64(payload_, content_)
                                        : DecodeQuotedPrintable(payload_, content_);
    if (!decoded) {
      bytes_ += word.encoding == 'B' ? word.payload : payload_;
    } else if (RecodeText(word.charset, content_, piece_, target_)) {
      bytes_ += piece_;
    } else {
      AddUnlabelled(content_);
    }
  }

  void TurnUnderscores() {
    for (char& c : payload_) {
      if (c == '_') c = ' ';
    }
    if (!fixUnderscore_) return;
    std::string fixed;
    for (std::size_t at = 0; at < payload_.size();) {
      bool underscore = EqualsIgnoringCase(std::string_view(payload_).substr(at, 3), "=5F");
      fixed.push_back(underscore ? ' ' : payload_[at]);
      at += underscore ? 3 : 1;
    }
    payload_ = std::move(fixed);
  }

  std::string& bytes_;
  std::string_view target_;
  bool decode_;
  bool fixUnderscore_;
  bool plainIsUtf8_;
  std::string payload_;
  std::string content_;
  std::string piece_;
  std::string utf8_;
};

}  // namespace

void DecodeEncodedWords(std::string_view text, std::u16string& result, bool decode,
                        std::string_view targetCharset, bool fixUnderscore, bool plainIsUtf8) {
  std::string bytes;
  WordDecoder(bytes, decode, targetCharset, fixUnderscore, plainIsUtf8).Walk(text);
  result.clear();
  if (CodePageToUtf16(LookupCodePage(targetCharset), bytes, result)) return;
  std::string utf8;
  UnlabelledToUtf8(bytes, utf8);
  Utf8ToUtf16(utf8, result);
}

std::string DecodeEncodedWordsToUtf8(std::string_view text) {
  std::string bytes;
  WordDecoder(bytes, true, "utf-8", false, false).Walk(text);
  if (IsValidUtf8(bytes)) return bytes;
  std::string result;
  CodePageToUtf8(kPageUtf8, bytes, result);
  return result;
}

std::string JoinEncodedWords(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  std::size_t copied = 0;
  bool behindWord = false;
  for (std::size_t start = text.find(kWordStart); start != text.npos;) {
    EncodedWord word;
    if (!ReadWord(text, start, word)) {
      if (FindByte(text, '?', start + kWordStart.size()) == text.npos) break;
      start = text.find(kWordStart, start + 1);
      continue;
    }
    std::string_view between = text.substr(copied, start - copied);
    bool blank = between.find_first_not_of(" \t\r\n") == between.npos;
    if (!behindWord || !blank) result += between;
    result += text.substr(start, word.end - start);
    copied = word.end;
    behindWord = true;
    start = text.find(kWordStart, word.end);
  }
  result += text.substr(copied);
  return result;
}

}  // namespace corvane
