#include "SERVICES/Library/LIBStoreIndexSerialisation/UnindexedStoreIndexSerialiser.h"

#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReports.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"

namespace corvane {
namespace {

bool IsOtherMail(std::int32_t messageClass) {
  return messageClass == kClassMail23 || messageClass == kClassMail25;
}

bool IsMail(std::int32_t messageClass) {
  return messageClass == kClassMail || IsOtherMail(messageClass);
}

// Without a scan of its files a folder of contacts keeps the index that it has, and its flag.
bool CanScan(const IndexRead& read, const FolderScans& scans) {
  return read.messageClass != kClassContacts || scans.contacts != nullptr;
}

std::int32_t ReadOnly(StoreIndexSerialiser* inner, SORTEDSTOREINDEXTYPE* index,
                      const IndexRead& read, const FolderScans& scans, bool restored) {
  LogDebugF("This build can't scan the contacts in %s; the index is taken as it stands.\n",
            read.path.c_str());
  IndexRead plain = read;
  plain.useChangeFlag = plain.forceRescan = false;
  plain.quiet = read.quiet || restored;  // a backup is put in place once
  if (inner != nullptr) return StoreIndexSerialiser::Deserialise(inner, index, plain, scans);
  if (!read.append) index->ResetToEmpty();
  return kAllProperties;
}

// A backup may take the place of an index that breaks the format: its flags are better than none.
bool HasBackup(StoreIndexSerialiser* inner, const IndexRead& read) {
  return !read.quiet && settings::Get(settings::kBackupIndex) == 1 && inner->SupportsBackup() &&
         inner->IndexXMLBackupExists(read.path);
}

// False, with a word, when the backup can't be put in place.
bool Restores(StoreIndexSerialiser* inner, const IndexRead& read) {
  if (inner->RestoreSerialisationBackup(read.path)) return true;
  LogDebugF("The backup of the index in %s can't be put in place (error %d).\n", read.path.c_str(),
            platform::LastError());
  return false;
}

// What breaks the format goes away. A backup that does was no good; .bad keeps what stood before.
void PutAside(StoreIndexSerialiser* inner, const IndexRead& read, bool restored) {
  if (!restored) {
    inner->DiscardCorruptIndex(read.path);
    return;
  }
  inner->IndexXMLDeleteBackupSerialisation(read.path);
  static_cast<void>(platform::DeleteFile(IndexFilePath(read.path, read.messageClass)));
}

// What the index file has, or an empty index that counts as complete. The state is the index's.
// False when the file, which may be good, couldn't be read.
bool ReadWhatIsThere(StoreIndexSerialiser* inner, SORTEDSTOREINDEXTYPE* index,
                     const IndexRead& read, const FolderScans& scans, bool restored) {
  IndexRead whole = read;
  whole.keyFilter.clear();
  whole.level = kAllProperties;
  whole.verifyFiles = 1;
  whole.useChangeFlag = whole.forceRescan = false;
  whole.quiet = true;
  // The files of backups are those of _index.xml, which isn't what failed here.
  const bool ownsBackup = read.messageClass != kClassGroups;
  while (inner != nullptr) {
    if (StoreIndexSerialiser::Deserialise(inner, index, whole, scans) != kNotLoaded) return true;
    if (!index->FileIsMalformed) return false;
    if (!ownsBackup) break;
    if (restored || !HasBackup(inner, read) || !Restores(inner, read)) {
      PutAside(inner, read, restored);
      break;
    }
    restored = true;
    if (read.listing != nullptr) read.listing->Forget();
  }
  if (!read.append) index->ResetToEmpty();
  return true;
}

std::int32_t ScanByClass(SORTEDSTOREINDEXTYPE* index, const IndexRead& read,
                         const FolderScans& scans) {
  switch (read.messageClass) {
    case kClassMail:
    case kClassMail23:
    case kClassMail25:
      return scans.mail(index, read.path, read.listing);
    case kClassContacts:
      return scans.contacts(index, read.path);
    case kClassCalendar:
      return kAllProperties;
    case kClassTasks:
      static_cast<void>(WaitForIndexFile(read.path, read.messageClass));
      return kAllProperties;
    case kClassGroups:
      if (!read.append) index->ResetToEmpty();
      return kAllProperties;
    default:
      LogAndReportIndex(
          "UnindexedStoreIndexSerialiser::DeserialiseHook called with invalid message "
          "class (" +
          std::to_string(read.messageClass) + ") for " + read.path);
      return kNotLoaded;
  }
}

// A scan of mail has written the index, as class 0 has it, and answered the flag itself.
void WriteRebuilt(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) {
  if (read.messageClass == kClassMail) return;
  index->MarkFullRewrite();
  const bool written = index->Save(read.path, read.messageClass, true) && index->LastSaveWorked();
  if (written && read.useChangeFlag && !IsOtherMail(read.messageClass)) {
    static_cast<void>(platform::DeleteFile(read.path + "\\_change.dty"));
  }
}

}  // namespace

std::int32_t RescanFolder(StoreIndexSerialiser* inner, SORTEDSTOREINDEXTYPE* index,
                          const IndexRead& read, const FolderScans& scans, bool restored) {
  std::int32_t state = kNotLoaded;
  static_cast<void>(EndException(
      [&] {
        index->KeyFilter.clear();
        if (!CanScan(read, scans)) {
          state = ReadOnly(inner, index, read, scans, restored);
          return;
        }
        FolderListing own(read.path);
        IndexRead listed = read;
        if (listed.listing == nullptr && IsMail(read.messageClass)) listed.listing = &own;
        if (!ReadWhatIsThere(inner, index, listed, scans, restored)) return;
        index->LoadState = kAllProperties;
        state = ScanByClass(index, listed, scans);
        if (state != kNotLoaded) WriteRebuilt(index, read);
      },
      [](const ExceptionDetails& details) {
        ReportException(FormatExceptionReport("UnindexedStoreIndexSerialiser::DeserialiseHook",
                                              CV_HERE, details));
      }));
  return state;
}

std::int32_t UnindexedStoreIndexSerialiser::DeserialiseHook(SORTEDSTOREINDEXTYPE* index,
                                                            const IndexRead& read) {
  return RescanFolder(Inner.get(), index, read, scans_, false);
}

}  // namespace corvane
