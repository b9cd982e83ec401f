// IndexFileSerialiser.h -- what the two kinds of index files share: their backups.
#pragma once

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexBackup.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StoreIndexSerialiser.h"

namespace corvane {

class IndexFileSerialiser : public StoreIndexSerialiser {
 public:
  void CreateSerialisationBackup(const std::string& folder) override { CreateIndexBackup(folder); }
  bool RestoreSerialisationBackup(const std::string& folder) override {
    return RestoreIndexBackup(folder);
  }
  bool DiscardCorruptIndex(const std::string& folder) override { return DiscardIndex(folder); }
  [[nodiscard]] bool IndexXMLBackupExists(const std::string& folder) override {
    return IndexBackupExists(folder);
  }
  [[nodiscard]] std::int64_t IndexXMLBackupAge(const std::string& folder) override {
    return IndexBackupAge(folder);
  }
  void IndexXMLDeleteBackupSerialisation(const std::string& folder) override {
    DeleteIndexBackup(folder);
  }
};

}  // namespace corvane
