#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamSave.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamXMLStoreIndexSerialiser.h"

namespace corvane {

std::int32_t StreamXMLStoreIndexSerialiser::SerialiseHook(SORTEDSTOREINDEXTYPE* index,
                                                          const std::string& folder,
                                                          std::int32_t messageClass) {
  return StreamSave(index, folder, messageClass).Run();
}

}  // namespace corvane
