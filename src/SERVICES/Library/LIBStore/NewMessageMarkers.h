// NewMessageMarkers.h -- how many messages a mailbox has got that no client has seen yet.
//
// The count is the name of a file in the mailbox's directory, wherever its postoffice lies:
// _<n>.NEW; its content is free text, usually empty. A reader takes the count by deleting the file.
// Several markers collapse into the highest. Writers and readers, of this process and of others,
// may meet at any time: they go one after the other by a lock on the mailbox's directory, so that
// each message is counted once. Where the file system has no such lock a count may come out wrong
// when they meet. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvane {

// Takes the count of a mailbox; 0 when it has no marker. A `textOut` that isn't
// null and not empty gets the marker's lines appended, `textSize` - 1 bytes in all, 2,047 of them
// from the marker at most.
[[nodiscard]] std::int32_t GetNewMessageCount(const std::string& postoffice,
                                              const std::string& mailbox, char* textOut,
                                              std::size_t textSize);

// Counts one message more. A text becomes the marker's content. What can't be written is not
// reported.
void AddNewMessageMarker(const std::string& postoffice, const std::string& mailbox,
                         std::string_view text);

}  // namespace corvane
