// StoreIndexSerialiser.h -- moves an index to and from its folder.
//
// Four kinds stand behind it: the stream form, the document form, the rescan of the folder's files
// and the one that reads nothing. All work under the folder's lock, which their caller holds. One
// object serves one operation on one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "SERVICES/Library/LIBStoreIndexCore/IndexFiles.h"
#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"

namespace corvane {

// The scans of a folder's files, which lie above this library: they add the files that the index
// lacks, refresh what has changed, write the index and answer _CHANGE.DTY. The index is loaded
// whole or empty, and the listing, never null, is of that folder. The state after it, 0 when it
// failed.
struct FolderScans {
  std::int32_t (*mail)(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                       FolderListing* listing) = nullptr;
  std::int32_t (*contacts)(SORTEDSTOREINDEXTYPE* index, const std::string& folder) = nullptr;
};

class StoreIndexSerialiser {
 public:
  StoreIndexSerialiser() = default;
  virtual ~StoreIndexSerialiser() = default;
  StoreIndexSerialiser(const StoreIndexSerialiser&) = delete;
  StoreIndexSerialiser& operator=(const StoreIndexSerialiser&) = delete;

  virtual void CreateSerialisationBackup(const std::string& /*folder*/) {}
  // True when the backup stands in the index's place.
  virtual bool RestoreSerialisationBackup(const std::string& /*folder*/) { return false; }
  // True when the index file is gone; a copy of it is kept.
  virtual bool DiscardCorruptIndex(const std::string& /*folder*/) { return false; }
  // 1 written, 0 not.
  virtual std::int32_t SerialiseHook(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                                     std::int32_t messageClass) = 0;
  // The state reached, 0 on failure.
  virtual std::int32_t DeserialiseHook(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) = 0;
  // No part can be read or written alone.
  [[nodiscard]] virtual bool RequiresFullLoad() const = 0;
  // A load may use the backup.
  [[nodiscard]] virtual bool SupportsBackup() const = 0;
  [[nodiscard]] virtual bool SupportsFieldFilter() const { return false; }
  [[nodiscard]] virtual bool IndexXMLBackupExists(const std::string& /*folder*/) { return false; }
  // In minutes.
  [[nodiscard]] virtual std::int64_t IndexXMLBackupAge(const std::string& /*folder*/) { return 0; }
  virtual void IndexXMLDeleteBackupSerialisation(const std::string& /*folder*/) {}

  // DeserialiseHook with what every load has around it: the backup is kept fresh and, where the
  // file can't be read, put back and brought up to date by `scans`. The state reached, also in the
  // index.
  static std::int32_t Deserialise(StoreIndexSerialiser* serialiser, SORTEDSTOREINDEXTYPE* index,
                                  const IndexRead& read, const FolderScans& scans);
  // SerialiseHook inside the report of exceptions; 0 after one.
  static std::int32_t Serialise(StoreIndexSerialiser* serialiser, SORTEDSTOREINDEXTYPE* index,
                                const std::string& folder, std::int32_t messageClass);
};

// A new one for reading: null reader, stream or document, wrapped for a rescan where the folder
// asks for it.
[[nodiscard]] std::unique_ptr<StoreIndexSerialiser> SelectDeserialiser(const std::string& folder,
                                                                       std::int32_t messageClass,
                                                                       bool useChangeFlag,
                                                                       bool forceRescan,
                                                                       const FolderScans& scans);
// A new one for writing.
[[nodiscard]] std::unique_ptr<StoreIndexSerialiser> SelectSerialiser();

}  // namespace corvane
