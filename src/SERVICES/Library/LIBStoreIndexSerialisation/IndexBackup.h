// IndexBackup.h -- the copies beside an index: _index.xml.bak, of a file that loaded well, and
// _index.xml.bad, of the last one that didn't.
//
// They have these names for every class of folder. Under the folder's lock.
#pragma once

#include <cstdint>
#include <string>

namespace corvane {

[[nodiscard]] bool IndexBackupExists(const std::string& folder);
// Minutes since the backup was made, in months of 30 days and years of 365.
[[nodiscard]] std::int64_t IndexBackupAge(const std::string& folder);
// Copies the index over the backup, which counts as made now.
void CreateIndexBackup(const std::string& folder);
// Keeps the index as .bad and puts the backup in its place. False when there is none, or when one
// of the two can't be copied: what can't be kept stays where it is.
[[nodiscard]] bool RestoreIndexBackup(const std::string& folder);
// Keeps the index as .bad and deletes it, up to 10 tries a second apart; what can't be copied is
// renamed. True when it is gone.
[[nodiscard]] bool DiscardIndex(const std::string& folder);
void DeleteIndexBackup(const std::string& folder);

// The minutes of a span of seconds, taken apart as a date behind the beginning of 1601.
[[nodiscard]] std::int64_t MinutesOfSpan(std::int64_t seconds);

}  // namespace corvane
