// BlockFile.h -- locks between programs by the existence of a file: "_activity.blk" beside an
// activity file, and others of the kind.
//
// A lock is taken by making a file that must not be there yet and given back by deleting it. The
// file is the lock, whether or not its maker keeps it open; one who keeps it open can't lose it. It
// is empty or, with "Block File Mode" 1, holds one line that names the holder:
//
//   11/23/26 09:05:07 MAILHOST CorvanePOConnector 4711     date, time, computer, program, thread
//
// A program that dies leaves its file behind; waiters delete it when they have waited long enough.
// Waits are sleeps of a second on the clock in force. Any thread, any program.
#pragma once

#include <cstdint>
#include <string>

#include "platform/File.h"

namespace corvane {

// Takes the lock, waiting for whoever has it.
//
//   keepHandle          the file stays open, in `handleOut`, so that nobody can delete it
//   retryPastThreshold  0 gives up where a lock can't be forced or no file be made, anything else
//                       goes on forever
//   thresholdSeconds    how long to wait before the file is deleted as left behind
//   writeHolder         the file names its holder
//
//  1  the lock is ours
//  0  its directory doesn't exist, or somebody was faster after it was forced
// -1  given up: the holder keeps it open, or it can't be made. No file is left behind by 0 and -1
[[nodiscard]] std::int32_t WaitForAccessToFile(const std::string& fileName,
                                               platform::File* handleOut, bool keepHandle,
                                               std::int32_t retryPastThreshold,
                                               std::int32_t thresholdSeconds, bool writeHolder);

// Deletes the block file and closes `handle`, if there is one; without one, or where it doesn't
// help, with up to 80 further tries a second apart. 1 deleted, 2 it was gone (or another's), 0 it
// could not be deleted.
std::int32_t UnBlockIndexFileAccess_Notify(const std::string& fileName, platform::File* handle);

}  // namespace corvane
