#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"

#include "SERVICES/Library/LIBFileLock/IndexBlockFile.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "platform/Path.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

std::string BlockFileOf(const std::string& folder) { return folder + "\\_index.blk"; }

}  // namespace

std::int32_t StoreIndex_Init(StoreIndex* index, std::int32_t /*flags*/) {
  if (index == nullptr) {
    platform::PrintConsole("WARNING!: StoreIndex is NULL when passed to StoreIndex_Init\n");
    return 0;
  }
  static_cast<void>(EndException(
      [index] {
        index->CurrentItem.Drop();
        index->Index.UnInit();
        index->Index.KeyFilter.clear();
        index->Index.Arguments = {};
        index->Index.Store = index;
        index->FolderPath.clear();
        index->BlockHandle.Close();
        index->Details = {};
      },
      [](const ExceptionDetails& details) {
        ReportException(FormatExceptionReport("StoreIndex_Init", CV_HERE, details));
      }));
  return 1;
}

std::int32_t StoreIndex_Reset(StoreIndex* index) {
  if (index == nullptr) {
    ReportException(
        "StoreIndex_Release::WARNING!: StoreIndex is NULL when passed to StoreIndex_Release\n");
    return 0;
  }
  index->CurrentItem.Drop();
  index->Index.UnInit();
  return 1;
}

std::int32_t StoreIndex_Release(StoreIndex* index) {
  if (index == nullptr) return 0;
  StoreIndex_Reset(index);
  index->BlockHandle.Close();
  return 1;
}

bool LockFolderIndex(StoreIndex* index, const std::string& folder) {
  return WaitForAccessToIndexFileEx(BlockFileOf(folder), 1, &index->BlockHandle) == 1;
}

void UnlockFolderIndex(StoreIndex* index, const std::string& folder) {
  UnBlockIndexFileAccessEx(BlockFileOf(folder), 1, &index->BlockHandle);
}

}  // namespace corvane
