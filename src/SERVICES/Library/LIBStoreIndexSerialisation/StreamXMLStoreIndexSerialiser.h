// StreamXMLStoreIndexSerialiser.h -- index files as a stream of bytes with a fixed layout.
//
// Read to any depth; changed in place wherever that can be, so that a change to a large folder
// costs what it changes. A rewrite of the whole file appears at once or not at all; a change in
// place that is cut short leaves a file that the next load refuses and recovery rebuilds.
#pragma once

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileSerialiser.h"

namespace corvane {

class StreamXMLStoreIndexSerialiser : public IndexFileSerialiser {
 public:
  // StreamDeserialise.cpp
  std::int32_t DeserialiseHook(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) override;
  // StreamSerialise.cpp
  std::int32_t SerialiseHook(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                             std::int32_t messageClass) override;
  [[nodiscard]] bool RequiresFullLoad() const override { return false; }
  [[nodiscard]] bool SupportsBackup() const override { return true; }
  [[nodiscard]] bool SupportsFieldFilter() const override { return true; }
};

}  // namespace corvane
