// NullStoreIndexDeserialiser.h -- stands in where no index file is to be read: the folder reads as
// empty and complete.
#pragma once

#include "SERVICES/Library/LIBStoreIndexSerialisation/StoreIndexSerialiser.h"

namespace corvane {

class NullStoreIndexDeserialiser : public StoreIndexSerialiser {
 public:
  std::int32_t SerialiseHook(SORTEDSTOREINDEXTYPE* /*index*/, const std::string& /*folder*/,
                             std::int32_t /*messageClass*/) override {
    return 0;
  }
  std::int32_t DeserialiseHook(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) override {
    if (!read.append) {
      index->UnInit();
      index->KeyFilter.clear();
    }
    return kAllProperties;
  }
  [[nodiscard]] bool RequiresFullLoad() const override { return true; }
  [[nodiscard]] bool SupportsBackup() const override { return false; }
};

}  // namespace corvane
