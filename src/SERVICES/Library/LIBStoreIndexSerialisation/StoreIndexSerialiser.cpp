#include "SERVICES/Library/LIBStoreIndexSerialisation/StoreIndexSerialiser.h"

#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReports.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/UnindexedStoreIndexSerialiser.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"

namespace corvane {
namespace {

// One frame around one load.
class LoadFrame {
 public:
  LoadFrame(StoreIndexSerialiser* serialiser, SORTEDSTOREINDEXTYPE* index, const IndexRead& read,
            const FolderScans& scans)
      : serialiser_(serialiser), index_(index), read_(read), scans_(scans) {}

  std::int32_t Run() {
    index_->LoadState = serialiser_->DeserialiseHook(index_, read_);
    if (index_->LoadState == kAllProperties) {
      RefreshBackup();
    } else if (index_->LoadState == kNotLoaded) {
      TellFailure(Recover());
    }
    return index_->LoadState;
  }

 private:
  [[nodiscard]] bool UsesBackup() const {
    return !read_.quiet && settings::Get(settings::kBackupIndex) == 1 &&
           serialiser_->SupportsBackup();
  }

  // A filtered load hasn't looked at all of the file.
  void RefreshBackup() {
    if (!UsesBackup() || index_->IsFiltered()) return;
    const auto interval = static_cast<std::int64_t>(settings::Get(settings::kBackupIndexInterval));
    if (!serialiser_->IndexXMLBackupExists(read_.path) ||
        serialiser_->IndexXMLBackupAge(read_.path) > interval) {
      serialiser_->CreateSerialisationBackup(read_.path);
    }
  }

  // What was done about a file that can't be read, in words. One that is whole but couldn't be read
  // now is left alone; and what is kept beside an index is that of _index.xml, not of the groups.
  std::string Recover() {
    if (!UsesBackup() || !index_->FileIsMalformed || read_.messageClass == kClassGroups) return {};
    if (!serialiser_->IndexXMLBackupExists(read_.path)) {
      serialiser_->DiscardCorruptIndex(read_.path);
      return "Unable to find recovery index. Recovering Index (there may be some flag loss)";
    }
    if (!serialiser_->RestoreSerialisationBackup(read_.path)) {
      return "Failed to restore backup index. RestoreSerialisationBackup returned:" +
             std::to_string(platform::LastError());
    }
    if (read_.listing != nullptr) read_.listing->Forget();
    IndexRead rescan = read_;
    rescan.verifyFiles = 1;
    index_->LoadState = RescanFolder(serialiser_, index_, rescan, scans_, true);
    if (index_->LoadState != kNotLoaded) return "Successfully loaded recovery index.";
    if (!index_->FileIsMalformed) return {};
    serialiser_->IndexXMLDeleteBackupSerialisation(read_.path);
    return "Backup Index is also corrupt.";
  }

  void TellFailure(const std::string& outcome) {
    std::string text = "Failed to deserialise index: " + read_.path + ".";
    if (!outcome.empty()) text.append(" ").append(outcome);
    text += "\n";
    LogDebug(text);
    if (!read_.quiet) ReportIndex(text);
  }

  StoreIndexSerialiser* serialiser_;
  SORTEDSTOREINDEXTYPE* index_;
  const IndexRead& read_;
  const FolderScans& scans_;
};

}  // namespace

std::int32_t StoreIndexSerialiser::Deserialise(StoreIndexSerialiser* serialiser,
                                               SORTEDSTOREINDEXTYPE* index, const IndexRead& read,
                                               const FolderScans& scans) {
  std::int32_t state = kNotLoaded;
  static_cast<void>(EndException([&] { state = LoadFrame(serialiser, index, read, scans).Run(); },
                                 [](const ExceptionDetails& details) {
                                   ReportException(FormatExceptionReport(
                                       "StoreIndexSerialiser::Deserialise", CV_HERE, details));
                                 }));
  return state;
}

std::int32_t StoreIndexSerialiser::Serialise(StoreIndexSerialiser* serialiser,
                                             SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                                             std::int32_t messageClass) {
  std::int32_t written = 0;
  static_cast<void>(EndException(
      [&] { written = serialiser->SerialiseHook(index, folder, messageClass); },
      [](const ExceptionDetails& details) {
        ReportException(FormatExceptionReport("StoreIndexSerialiser::Serialise", CV_HERE, details));
      }));
  return written;
}

}  // namespace corvane
