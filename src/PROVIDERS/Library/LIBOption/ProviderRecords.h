// ProviderRecords.h -- the plain records that pass between the connector and the provider
// libraries.
//
// Caller and library fill one record between them. Natural alignment, fields in this order, texts
// NUL-terminated bytes; a text too long for its field is cut. Anybody may write a library of their
// own against them, so their layout never changes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace corvane {

struct PostofficeRecord {
  char Postoffice[128];   // set by the caller
  std::int32_t Status;    // preset 1; on return 1 is enabled, anything else is not
  std::int32_t Reserved;  // preset 0
};

struct MailboxRecord {
  char Postoffice[128];         // set by the caller
  char Mailbox[64];             // set by the caller
  char RedirectAddress[512];    // preset empty; on return address items joined by ";"
  std::int32_t RedirectStatus;  // preset -1; 0 none, 1 redirect only, 2 redirect and keep a copy
  std::int32_t Status;          // preset -1; on return 1 is enabled, anything else is not
  std::uint32_t Limit;          // preset -1; quota in KB, -1 for none
  std::uint32_t Size;           // preset -2; what the mailbox holds now, in KB
};

// How the shipped libraries say that their store can't be reached: the answer for an option, with
// an empty text, or for a group member; and MailboxRecord::Status beside the answer -1, which to a
// caller who doesn't know it is a mailbox that is not enabled. A number of their own: another
// library's -1 stays an answer.
inline constexpr std::int32_t kProviderUnreachable = -1000;

struct GroupRecord {
  char Address[1024];        // set by the caller: the recipient item
  char Postoffice[128];      // set by the caller
  char GroupName[256];       // set by the caller
  std::int32_t GroupStatus;  // on return 0 is disabled
};

struct GroupMemberRecord {
  char MemberAddress[256];  // preset empty; on return an address item
  char Postoffice[128];     // set by the caller before each call
  char GroupName[256];      // set by the caller before each call
};

struct DomainRecord {
  char Domain[512];        // set by the caller
  std::int32_t Reserved1;  // preset 1
  std::int32_t Reserved2;  // preset -1
  std::uint8_t Reserved3;  // preset 0
};

struct AddressMapRecord {
  char Account[1024];             // preset empty
  char SourceAddress[1024];       // preset empty; on return "[SMTP:...]"
  char DestinationAddress[1024];  // set by the caller: "[SF:postoffice/mailbox]"
  char Scope[1024];               // preset empty
  std::int32_t Status;            // preset -1
};

// What a record of its kind may not be: moved, padded or given a constructor.
template <typename Record, std::size_t kSize>
inline constexpr bool kIsPlainRecord =
    sizeof(Record) == kSize &&
    alignof(Record) <= 4 && std::is_trivial_v<Record>&& std::is_standard_layout_v<Record>;
static_assert(kIsPlainRecord<PostofficeRecord, 136>);
static_assert(kIsPlainRecord<MailboxRecord, 720>);
static_assert(kIsPlainRecord<GroupRecord, 1412>);
static_assert(kIsPlainRecord<GroupMemberRecord, 640>);
static_assert(kIsPlainRecord<DomainRecord, 524>);
static_assert(kIsPlainRecord<AddressMapRecord, 4100>);

// The kinds of key that an option hangs on.
enum class OptionKind : std::int32_t {
  kPostoffice = 1,  // key "postoffice"
  kMailbox = 2,     // key "postoffice/mailbox"
};

// The calls of the libraries, as their exports are typed. Plain C functions.
using PostofficeGetCall = std::int32_t(PostofficeRecord*);
using MailboxGetCall = std::int32_t(MailboxRecord*);
using GroupGetCall = std::int32_t(GroupRecord*);
using GroupMemberFindCall = std::int32_t(GroupMemberRecord*);
using SMTPDomainGetCall = std::int32_t(DomainRecord*);
using AddressMapGetCall = std::int32_t(AddressMapRecord*);
using GetOptionCall = std::int32_t(std::int32_t kind, const char* key, const char* name,
                                   char* buffer);
using GetOptionExCall = std::int32_t(std::int32_t kind, const char* key, const char* name,
                                     char* buffer, std::int32_t size);

}  // namespace corvane
