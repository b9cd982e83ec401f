// Which reader and which writer an index gets.
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/MSXMLStoreIndexSerialiser.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/NullStoreIndexDeserialiser.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StoreIndexSerialiser.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamXMLStoreIndexSerialiser.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/UnindexedStoreIndexSerialiser.h"
#include "connector/settings/Settings.h"
#include "platform/FileSystem.h"

namespace corvane {
namespace {

std::unique_ptr<StoreIndexSerialiser> MakeSerialiser(const settings::DwordSetting& streamSwitch) {
  if (settings::Get(streamSwitch) != 0) return std::make_unique<StreamXMLStoreIndexSerialiser>();
  return std::make_unique<MSXMLStoreIndexSerialiser>();
}

}  // namespace

std::unique_ptr<StoreIndexSerialiser> SelectDeserialiser(const std::string& folder,
                                                         std::int32_t messageClass,
                                                         bool useChangeFlag, bool forceRescan,
                                                         const FolderScans& scans) {
  if (folder.empty()) return std::make_unique<NullStoreIndexDeserialiser>();
  if (!WaitForIndexFile(folder, messageClass)) {
    if (!useChangeFlag) return std::make_unique<NullStoreIndexDeserialiser>();
    return std::make_unique<UnindexedStoreIndexSerialiser>(nullptr, scans);
  }
  auto reader = MakeSerialiser(settings::kUseXmlStreamIndexDeserialisation);
  if (forceRescan || (useChangeFlag && platform::FileExists(folder + "\\_change.dty"))) {
    return std::make_unique<UnindexedStoreIndexSerialiser>(std::move(reader), scans);
  }
  return reader;
}

std::unique_ptr<StoreIndexSerialiser> SelectSerialiser() {
  return MakeSerialiser(settings::kUseXmlStreamIndexSerialisation);
}

}  // namespace corvane
