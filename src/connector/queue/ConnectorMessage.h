// ConnectorMessage.h -- the record of one queued message, as its worker carries it through
// delivery.
//
// Plain fields and fixed character arrays: a text too long for its field is cut. A message belongs
// to one thread; copies are deep. The texts come from a command file (OutgoingCommandFile.h), so no
// field is trusted to form a path unchecked.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// A file in a mailbox that may not be on the disk yet.
struct PendingFlush {
  std::string path;
  bool data = false;         // its bytes too, not its name alone
  std::uint64_t device = 0;  // FileInfo::device of its directory, 0 not known
};

// The fields of fixed size.
struct QueueFields {
  char ClientIP[66] =
      {};  // address of the client that submitted the message; 63 characters are read
  char Priority[32] = {};         // a word such as "Normal"
  std::int32_t Retries = 0;       // retries so far
  char Account[128] = {};         // the account; during delivery the current recipient's postoffice
  char Server[256] = {};          // written out as Server=, never read back
  char Status[16] = {};           // state of the message
  std::int32_t TimeAcquired = 0;  // seconds since 1970
  std::int32_t NextSendTime = 0;  // seconds since 1970; 0 is at once
  char CommandType[32] = {};      // kind of command: "NORMAL", "NDR"
  char Connector[64] = {};        // connector code, "SF"
  char MessageID[64] = {};        // the name of both its files
  char Sender[512] = {};          // envelope sender, an address item
  char User[128] = {};            // during delivery the current recipient's mailbox
  std::int32_t AuthenticationStatus = 0;  // not 0: the sender was authenticated
  char DomainName[256] = {};
  char DSNFlags[128] = {};  // delivery status request
  char Campaign[128] = {};  // campaign tag
  char Subject[1024] = {};
};

struct ConnectorMessage : QueueFields {
  std::string Recipients;  // address items joined by ";"

  // Working fields of the walk over the recipients; no command file holds them.
  std::string DeliveryFolder;           // folder chosen for the current recipient
  bool LastRecipient = false;           // nobody after this one needs the queue's message file
  bool MessageFileFlushed = false;      // we rewrote the message file, and it is on the disk
  bool KeepInQueue = false;             // a recipient is not settled: the files stay in the queue
  std::vector<PendingFlush> Delivered;  // put into mailboxes and not yet made durable

  // Clears every field and keeps the memory of the growing ones.
  void Reset();
  // A message of its own with the same fields of fixed size, for what is sent because of this one.
  [[nodiscard]] ConnectorMessage Derive() const;
};

// Copies `text` into a fixed field, cut to the field and to `limit` bytes.
template <std::size_t Size>
void SetText(char (&field)[Size], std::string_view text, std::size_t limit = Size - 1) {
  const std::size_t length = std::min({text.size(), limit, Size - 1});
  std::memcpy(field, text.data(), length);
  std::memset(field + length, 0, Size - length);
}

}  // namespace corvane
