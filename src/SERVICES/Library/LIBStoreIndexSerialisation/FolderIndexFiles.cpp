#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderIndexFiles.h"

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReports.h"

namespace corvane {

std::int32_t FolderIndexFiles::Read(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) {
  const auto serialiser = SelectDeserialiser(read.path, read.messageClass, read.useChangeFlag,
                                             read.forceRescan, scans_);
  return StoreIndexSerialiser::Deserialise(serialiser.get(), index, read, scans_);
}

std::int32_t FolderIndexFiles::Write(SORTEDSTOREINDEXTYPE* index, const std::string& path,
                                     std::int32_t messageClass) {
  if (messageClass == kClassContactsAndGroups) {
    LogAndReportIndex("Failed to serialise index: " + path +
                      ". Contacts and groups lie in two files and are saved one by one.\n");
    return 0;
  }
  const auto serialiser = SelectSerialiser();
  // What can't be written in part must be in memory whole.
  const bool incomplete =
      serialiser->RequiresFullLoad() && index->IsPartial() && IndexFileExists(path, messageClass);
  if (incomplete && !index->CompleteFromFile(path, messageClass)) return 0;
  return StoreIndexSerialiser::Serialise(serialiser.get(), index, path, messageClass);
}

bool FolderIndexFiles::WriterNeedsAll() const { return SelectSerialiser()->RequiresFullLoad(); }

std::int64_t FolderIndexFiles::FileTime(const std::string& path, std::int32_t messageClass) const {
  return IndexFileTime(path, messageClass);
}

}  // namespace corvane
