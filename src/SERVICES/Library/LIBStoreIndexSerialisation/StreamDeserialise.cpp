// Reading an index file as far as it is asked for.
#include <algorithm>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReports.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamIndexParser.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamXMLStoreIndexSerialiser.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Thread.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kProbeSize = 1023;
constexpr std::string_view kTimestampText = "Index Timestamp file";

void MakeTimestampFile(const std::string& folder) {
  if (settings::Get(settings::kTimestampFile) == 0) return;
  static_cast<void>(platform::WriteWholeFile(folder + "\\_index.dat", kTimestampText, false,
                                             platform::Durability::kNone));
}

// One reading of one index file.
class StreamRead {
 public:
  StreamRead(SORTEDSTOREINDEXTYPE* index, const IndexRead& read)
      : index_(index),
        read_(read),
        path_(IndexFilePath(read.path, read.messageClass)),
        keys_(MakeKeySet(read.keyFilter)) {}

  std::int32_t Run() {
    const std::int64_t started = platform::CurrentClock().Monotonic();
    index_->FileIsMalformed = false;
    if (!read_.append) {
      index_->UnInit();
      index_->KeyFilter = read_.keyFilter;
    }
    const std::int32_t state = Read();
    index_->FileInSync = state != kNotLoaded;
    const long elapsed = static_cast<long>(platform::CurrentClock().Monotonic() - started);
    LogDebugF(
        "[Thread:%ld]StreamXMLStoreIndexSerialiser::DeserialiseHook Elapse: %ld, Item= %s, "
        "Count=%ld, Instance=%ld\n",
        static_cast<long>(platform::CurrentThreadId()), elapsed, path_.c_str(),
        static_cast<long>(index_->ItemCount()), static_cast<long>(secondsWaited_));
    return state;
  }

 private:
  std::int32_t Read() {
    if (!Open("Failed to open index ")) return kNotLoaded;
    if (read_.level == kHeaderOnly) {
      const std::int32_t state = ProbeHeader();
      if (state != kNotLoaded) return state;
      read_.level = kAllProperties;
      ForgetFilter();
    }
    ParseResult result = Parse();
    if (result == ParseResult::kStartAgain) {
      read_.level = kAllProperties;
      ForgetFilter();
      if (!Open("Failed to re-open index ")) return kNotLoaded;
      result = Parse();
    }
    return result == ParseResult::kGood ? read_.level : kNotLoaded;
  }

  void ForgetFilter() {
    index_->KeyFilter.clear();
    keys_.clear();
    index_->MarkFullRewrite();
  }

  // A writer may have the file for a while. What is read from here on is this one file.
  bool Open(const char* failure) {
    file_ =
        OpenIndexFile(path_, platform::Access::kRead, platform::kShareAll, false, &secondsWaited_);
    const auto info = file_ ? file_.Info() : std::nullopt;
    if (info) {
      index_->FileTime = WriteTimeOf(*info);
      index_->FileSize = info->size;
      return true;
    }
    ReportIndex(failure + path_ + " (" + platform::ErrorText(platform::LastError()) + ").");
    return false;
  }

  // What the first line tells: 1, 4 for a file that says it is empty, 0 when it has to be parsed.
  std::int32_t ProbeHeader() {
    std::string head(kProbeSize, '\0');
    const std::int64_t got = file_.Read(head.data(), head.size());
    head.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    if (head.find('\n') != std::string::npos) head.resize(head.find('\n'));
    static_cast<void>(file_.Seek(0));
    std::string_view text;
    if (head.size() <= indexformat::kHeaderSize || !indexformat::FindLastUid(head, &text)) {
      return kNotLoaded;
    }
    const indexformat::LastUid lastUid = indexformat::ParseLastUid(text);
    if (!lastUid.isNewForm || lastUid.value > kLargestUid) return kNotLoaded;
    index_->LastUID = read_.append ? std::max(index_->LastUID, lastUid.value) : lastUid.value;
    index_->FileLastUID = lastUid.value;
    if (head[indexformat::kHeaderSlashAt] == '/') {
      ForgetFilter();
      return kAllProperties;
    }
    return kHeaderOnly;
  }

  ParseResult Parse() {
    StreamIndexParser parser(index_, &file_, read_.path, read_, &keys_);
    const ParseResult result = parser.Parse();
    if (result == ParseResult::kMalformed || result == ParseResult::kUnreadable) {
      if (!read_.append) index_->UnInit();
      index_->FileIsMalformed = result == ParseResult::kMalformed;
      if (!read_.quiet) TellFault(parser.Message());
    }
    return result;
  }

  void TellFault(const std::string& fault) {
    ReportIndex(index_->FileIsMalformed
                    ? "Malformed index detected: " + fault + " (" + read_.path + ")\n"
                    : "Failed to read index " + path_ + " (" + fault + ").");
  }

  SORTEDSTOREINDEXTYPE* index_;
  IndexRead read_;
  const std::string path_;
  IndexKeySet keys_;
  platform::File file_;
  std::int64_t secondsWaited_ = 0;
};

}  // namespace

std::int32_t StreamXMLStoreIndexSerialiser::DeserialiseHook(SORTEDSTOREINDEXTYPE* index,
                                                            const IndexRead& read) {
  MakeTimestampFile(read.path);
  return StreamRead(index, read).Run();
}

}  // namespace corvane
