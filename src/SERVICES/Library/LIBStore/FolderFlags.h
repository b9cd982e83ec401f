// FolderFlags.h -- the small files in a folder that tell other programs what has changed.
//
//   _CHANGE.DTY   the index is out of date
//   _CACHE.DTY    the folder was indexed anew in mode 3
//   _FOLDER.DTY   the list of subfolders has changed
//   _NOTIFY.NFY   clients of this folder are to look again
//
// Only that a flag exists carries meaning; nothing reads its text. A flag that can't be written is
// passed over. Any thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace corvane {

enum class FolderFlag : std::uint8_t {
  kChanged,          // _CHANGE.DTY
  kTooBigForInsert,  // _CHANGE.DTY, left by a direct insertion that was not made
  kCached,           // _CACHE.DTY
  kSubfolders,       // _FOLDER.DTY
  kNotify            // _NOTIFY.NFY
};

// Leaves the flag in `directory`. One that is there already stays as it is.
void WriteFolderFlag(std::string_view directory, FolderFlag flag);

[[nodiscard]] bool IsFolderFlagSet(std::string_view directory, FolderFlag flag);

// The question of a reader who holds the folder in memory: does it have to look again? True when
// the flag is there, when `Index Files Enabled` is 0 or when the folder has no index. With `remove`
// a flag that is there is taken away.
[[nodiscard]] bool TestFolderFlag(std::string_view directory, FolderFlag flag, bool remove);
// The same for all flags of the kind _*.DTY.
[[nodiscard]] bool TestAnyFolderFlag(std::string_view directory, bool remove);

// Leaves _NOTIFY.NFY and says so in the debug log; `folder` is its name there.
void FlagFolderForNotification(std::string_view directory, std::string_view folder);
// Gives the clients a second to see the notification flags (_*.NFY), then deletes them.
void ClearNotificationFlags(std::string_view directory);

}  // namespace corvane
