// UnindexedStoreIndexSerialiser.h -- an index from the files of its folder.
//
// What can be read of the index comes first, so that identifiers and flags stay; items without
// files go, files without items are added, and the result is written at once. A flag _CHANGE.DTY is
// answered by it. An index that breaks the format is put aside; one that only couldn't be read ends
// the rescan, and all stays as it is.
#pragma once

#include <memory>

#include "SERVICES/Library/LIBStoreIndexSerialisation/StoreIndexSerialiser.h"

namespace corvane {

class UnindexedStoreIndexSerialiser : public StoreIndexSerialiser {
 public:
  // `inner` reads the index that is there; null when there is none.
  UnindexedStoreIndexSerialiser(std::unique_ptr<StoreIndexSerialiser> inner,
                                const FolderScans& scans)
      : Inner(std::move(inner)), scans_(scans) {}

  std::int32_t SerialiseHook(SORTEDSTOREINDEXTYPE* /*index*/, const std::string& /*folder*/,
                             std::int32_t /*messageClass*/) override {
    return 0;
  }
  std::int32_t DeserialiseHook(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) override;
  [[nodiscard]] bool RequiresFullLoad() const override { return true; }
  [[nodiscard]] bool SupportsBackup() const override { return false; }

  const std::unique_ptr<StoreIndexSerialiser> Inner;

 private:
  FolderScans scans_;
};

// The rescan itself, around a reader that stays its owner's. `restored`: what lies there as the
// index is a copy of the backup.
[[nodiscard]] std::int32_t RescanFolder(StoreIndexSerialiser* inner, SORTEDSTOREINDEXTYPE* index,
                                        const IndexRead& read, const FolderScans& scans,
                                        bool restored);

}  // namespace corvane
