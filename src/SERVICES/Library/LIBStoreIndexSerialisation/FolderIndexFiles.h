// FolderIndexFiles.h -- the files behind an index: its readers, its writers and the scans.
#pragma once

#include "SERVICES/Library/LIBStoreIndexCore/IndexFiles.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StoreIndexSerialiser.h"

namespace corvane {

// Any thread: it holds nothing but the scans that it was made with.
class FolderIndexFiles final : public IndexFiles {
 public:
  explicit FolderIndexFiles(const FolderScans& scans) : scans_(scans) {}

  std::int32_t Read(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) override;
  std::int32_t Write(SORTEDSTOREINDEXTYPE* index, const std::string& path,
                     std::int32_t messageClass) override;
  [[nodiscard]] bool WriterNeedsAll() const override;
  [[nodiscard]] std::int64_t FileTime(const std::string& path,
                                      std::int32_t messageClass) const override;

 private:
  const FolderScans scans_;
};

}  // namespace corvane
