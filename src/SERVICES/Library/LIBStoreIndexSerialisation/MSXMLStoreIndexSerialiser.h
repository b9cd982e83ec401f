// MSXMLStoreIndexSerialiser.h -- index files as XML documents, read and written whole.
//
// Reads every form of the file. Writes the old form, LASTUID in decimal and items by name, or the
// new one, by UID. The written file appears at once or not at all.
#pragma once

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileSerialiser.h"

namespace corvane {

class MSXMLStoreIndexSerialiser : public IndexFileSerialiser {
 public:
  MSXMLStoreIndexSerialiser();

  std::int32_t DeserialiseHook(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) override;
  std::int32_t SerialiseHook(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                             std::int32_t messageClass) override;
  [[nodiscard]] bool RequiresFullLoad() const override { return true; }
  [[nodiscard]] bool SupportsBackup() const override { return false; }

  const bool OldFormat;
};

}  // namespace corvane
