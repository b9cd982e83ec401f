#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexInspection.h"

#include <algorithm>

#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamIndexParser.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::uint64_t kPositionHeaderSize = 24;
constexpr std::uint64_t kPositionRecordSize = 16;

// A writer is waited for; a file that isn't there or can't be read is told at once.
platform::File OpenIndex(const std::string& path) {
  return OpenIndexFile(path, platform::Access::kRead, platform::kShareAll, true, nullptr);
}

const char* FormOf(platform::File* file, const StreamIndexParser& parser,
                   const SORTEDSTOREINDEXTYPE& index) {
  std::string head(indexformat::kHeaderSize + 1, '\0');
  const std::int64_t got = file->Seek(0) ? file->Read(head.data(), head.size()) : 0;
  head.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
  const bool closes = head.substr(0, head.find('>')).find('/') != std::string::npos;
  if (closes && index.ItemCount() == 0) return "empty";
  return parser.IsNewForm() ? "stream" : "old";
}

std::string Quoted(std::string_view id) { return "'" + std::string(id) + "'"; }

// The faults of one folder.
class IndexCheck {
 public:
  IndexCheck(const std::string& folder, std::int32_t messageClass)
      : folder_(folder), messageClass_(messageClass), index_(nullptr) {}

  std::vector<std::string> Run() {
    report_ = InspectIndex(&index_, folder_, messageClass_);
    if (!report_.error.empty()) {
      faults_.push_back("the file can't be read: " + report_.error);
    } else if (report_.form == "absent") {
      faults_.push_back("there is no index file");
    } else {
      CheckIdentifiers();
      if (report_.form == "stream") CheckPlaces();
      CheckPositionFile();
    }
    if (report_.error.empty()) CheckFiles();
    return std::move(faults_);
  }

 private:
  void CheckIdentifiers() {
    if (report_.elements != index_.ItemCount()) {
      faults_.push_back(std::to_string(report_.elements - index_.ItemCount()) +
                        " elements have an ID or a UID that another has already, or an ID "
                        "that can't be written again");
    }
    if (!index_.ByUID.empty() && index_.ByUID.rbegin()->first > index_.FileLastUID) {
      faults_.push_back("LASTUID " + std::to_string(index_.FileLastUID) +
                        " is lower than the UID " + std::to_string(index_.ByUID.rbegin()->first));
    }
    if (index_.Sequence.size() != index_.ByUID.size() ||
        index_.ByID.Size() != index_.ByUID.size()) {
      faults_.push_back("positions, UIDs and IDs don't list the same items");
    }
  }

  // Every element begins and ends where it is said to, and nothing else lies between them.
  void CheckPlaces() {
    auto file = OpenIndex(IndexFilePath(folder_, messageClass_));
    const auto bytesAt = [&file](std::uint64_t offset, std::size_t size) {
      std::string bytes(size, '\0');
      const std::int64_t got = file.Seek(offset) ? file.Read(bytes.data(), size) : 0;
      bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
      return bytes;
    };
    std::uint64_t end = indexformat::kHeaderSize;
    for (const IndexItemPropertyContainer* item : index_.Sequence) {
      const std::uint64_t begin = item->GetOffset();
      const std::string head =
          indexformat::ElementHead(item->TextView(kPropertyID), item->GetText(kPropertyUID));
      const std::uint64_t itemEnd = begin + item->GetLength();
      const auto tail = indexformat::kElementEnd;
      if (begin < end || bytesAt(begin, head.size()) != head ||
          bytesAt(itemEnd - tail.size(), tail.size()) != tail) {
        faults_.push_back("the element of " + Quoted(item->TextView(kPropertyID)) +
                          " isn't where it should be");
        return;
      }
      if (begin > end && bytesAt(begin - tail.size(), tail.size()) != tail) {
        faults_.push_back("what stands before " + Quoted(item->TextView(kPropertyID)) +
                          " is no element");
      }
      end = itemEnd;
    }
    const auto info = file.Info();
    const auto trailer = indexformat::kTrailer;
    if (!info || info->size < end + trailer.size() ||
        bytesAt(info->size - trailer.size(), trailer.size()) != trailer) {
      faults_.push_back("the file doesn't end with its trailer");
    }
  }

  void CheckPositionFile() {
    const auto info = platform::GetFileInfo(PositionFilePath(folder_, messageClass_));
    if (!info) return;
    if (info->size != kPositionHeaderSize + index_.ItemCount() * kPositionRecordSize) {
      faults_.push_back("the offset cache has not as many records as there are items");
    }
  }

  void CheckFiles() {
    const bool contacts = messageClass_ == kClassContacts;
    if (messageClass_ != kClassMail && !contacts) return;
    const bool marked = platform::FileExists(folder_ + "\\_CHANGE.DTY");
    platform::FileFinder finder(folder_ + (contacts ? "\\*.VCF" : "\\*.MAI"));
    while (const auto found = finder.Next(false)) {
      const std::string& name = found->name;
      if (!IsIndexedName(name) || index_.ByID.Find(name) != nullptr) continue;
      if (platform::DirectoryExists(platform::JoinPath(folder_, name))) continue;
      faults_.push_back(Quoted(name) + " lies in the folder and isn't in the index" +
                        (marked ? " (the folder is marked as changed)" : ""));
    }
    FolderNames files(folder_, nullptr);
    for (const IndexItemPropertyContainer* item : index_.Sequence) {
      if (!files.Has(item->TextView(kPropertyID))) {
        faults_.push_back(Quoted(item->TextView(kPropertyID)) +
                          " is in the index and there is no such file");
      }
    }
  }

  const std::string folder_;
  const std::int32_t messageClass_;
  SORTEDSTOREINDEXTYPE index_;
  IndexFileReport report_;
  std::vector<std::string> faults_;
};

}  // namespace

IndexFileReport InspectIndex(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                             std::int32_t messageClass) {
  IndexFileReport report;
  index->ResetToEmpty();
  auto file = OpenIndex(IndexFilePath(folder, messageClass));
  if (!file) {
    const std::int32_t error = platform::LastError();
    const bool absent =
        error == platform::kErrorFileNotFound || error == platform::kErrorPathNotFound;
    report.form = "absent";
    if (!absent) report.error = platform::ErrorText(error);
    return report;
  }
  IndexRead read;
  read.path = folder;
  read.messageClass = messageClass;
  IndexKeySet keys;
  StreamIndexParser parser(index, &file, folder, read, &keys);
  const ParseResult result = parser.Parse();
  index->LoadState = result == ParseResult::kGood ? kAllProperties : kNotLoaded;
  report.tombstones = parser.Tombstones();
  report.elements = parser.Elements();
  report.error = parser.Message();
  report.form = FormOf(&file, parser, *index);
  return report;
}

std::vector<std::string> CheckIndex(const std::string& folder, std::int32_t messageClass) {
  return IndexCheck(folder, messageClass).Run();
}

}  // namespace corvane
