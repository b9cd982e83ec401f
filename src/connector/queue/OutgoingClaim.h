// OutgoingClaim.h -- takes one queued message for this node.
//
// A message changes hands in its command file and nowhere else: whoever holds the file open without
// sharing and finds it due may set its state. The poller takes the file (Take), its worker puts the
// new state on the disk (Commit) before delivery begins, so that the flushes of several messages
// run side by side. From Take to the end of the claim nobody else can take the message, whatever
// its text says: not another thread, process or node, and not by the delivery expiry. A claim ends
// with its object or its process; what was committed stays.
//
// Touches the one command file. A failure, or death at any moment, leaves the old text or the new
// one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/File.h"

namespace corvane {

class OutgoingClaim {
 public:
  OutgoingClaim() = default;

  // Opens `<directory>\<fileName>` without sharing, one try, and looks whether it may be taken:
  // Unsent and due, or Delivering past the delivery expiry. An empty claim when it is not due, in
  // another state, gone, or held by somebody else; never waits, changes nothing.
  [[nodiscard]] static OutgoingClaim Take(std::string_view directory, std::string_view fileName);

  [[nodiscard]] bool IsHeld() const { return file_.IsOpen(); }
  // Whether the file will look after Commit as it does now (taken past its expiry, or its state
  // stands first in the file), so that a later sweep would take it again.
  [[nodiscard]] bool LeavesNoTrace() const;
  // The text of the command file as it stands, for the reader.
  [[nodiscard]] const std::string& Text() const { return text_; }

  // Puts `Status=<statusWord>` and `Server=<serverName>` into the file, durable, and keeps the
  // claim; from here on others can read the file and remove it, not change it. A message taken past
  // its expiry stays as it is. False when the file could not be written: it is as it was.
  [[nodiscard]] bool Commit(std::string_view statusWord, std::string_view serverName);

  void Release() { file_.Close(); }

 private:
  platform::File file_;
  std::string path_;
  std::string text_;
  bool expired_ = false;
};

// Claims `fileName` in `directory` if it is due.
//
//   directory    the queue directory, product path
//   statusWord   the new state, at most 15 bytes: "Delivering"
//   serverName   this node, at most 255 bytes; replaces the value of an existing Server= line
//
// 1  the caller owns the message now
// 0  not due, in another state, gone, or held by somebody else; never waits
//
// Any thread. Another node of a shared queue is kept off in the same way.
[[nodiscard]] std::int32_t LockOutgoingCommandFile(const char* directory, const char* fileName,
                                                   const char* statusWord, const char* serverName);

}  // namespace corvane
