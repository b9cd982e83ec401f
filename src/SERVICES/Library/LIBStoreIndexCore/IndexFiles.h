// IndexFiles.h -- what an index asks of those who know its files.
//
// The index lies below its readers and writers; they stand behind this interface.
#pragma once

#include <cstdint>
#include <string>

namespace corvane {

class FolderListing;
class SORTEDSTOREINDEXTYPE;

// Classes of folders.
inline constexpr std::int32_t kClassMail = 0;
inline constexpr std::int32_t kClassContacts = 1;
inline constexpr std::int32_t kClassCalendar = 2;
inline constexpr std::int32_t kClassTasks = 3;
inline constexpr std::int32_t kClassMail23 = 23;
inline constexpr std::int32_t kClassMail25 = 25;
inline constexpr std::int32_t kClassGroups = 54;
inline constexpr std::int32_t kClassContactsAndGroups = 55;

// How far an index is loaded, and what a caller can ask for.
inline constexpr std::int32_t kNotLoaded = 0;   // or the load failed
inline constexpr std::int32_t kHeaderOnly = 1;  // LastUID is known, no items
inline constexpr std::int32_t kKeys = 2;        // every item with ID, UID, Offset and Length
inline constexpr std::int32_t kAllProperties = 4;

// One reading of one file.
struct IndexRead {
  std::string path;  // of the folder
  std::int32_t messageClass = kClassMail;
  std::string keyFilter;  // comma-separated IDs; empty or "*" for all
  std::int32_t level = kAllProperties;
  bool append = false;           // to what the index holds already
  std::int32_t verifyFiles = 0;  // 1 drops items without a file
  // The names of the folder's message files, for that check and a scan behind it; null: the check
  // lists the folder itself.
  FolderListing* listing = nullptr;
  bool useChangeFlag = false;  // a folder marked as changed is scanned
  bool forceRescan = false;    // it is scanned in any case
  bool quiet = false;          // no event log, no recovery
};

class IndexFiles {
 public:
  // Reads into `index`, with recovery; the state reached, 0 on failure. The lock is held.
  virtual std::int32_t Read(SORTEDSTOREINDEXTYPE* index, const IndexRead& read) = 0;
  // Writes what has changed; 1, or 0 with the file as it was or as its messages say. The lock is
  // held.
  virtual std::int32_t Write(SORTEDSTOREINDEXTYPE* index, const std::string& path,
                             std::int32_t messageClass) = 0;
  // Whether what is written must have been read whole.
  [[nodiscard]] virtual bool WriterNeedsAll() const = 0;
  // The last write time of the class's file in nanoseconds since 1970; 0 when it can't be told.
  [[nodiscard]] virtual std::int64_t FileTime(const std::string& path,
                                              std::int32_t messageClass) const = 0;

 protected:
  ~IndexFiles() = default;
};

}  // namespace corvane
