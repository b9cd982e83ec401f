// ConfigurationProviders.h -- postoffices, mailboxes, groups, domains and address maps, asked of
// the provider libraries CVAIPO.DLL, CVAISM.DLL and CVAIAM.DLL.
//
// The libraries are loaded at start. Each call looks its export up anew and answers 0 when the
// library or the export is missing. Any thread; a library may be unloaded while calls run: those
// finish in it, later ones answer 0. When it is unloaded because the connector stops, later ones
// throw ProviderUnloaded instead: on a 0 a worker that is still at work would bounce mail, on an
// exception it leaves the mail in the queue. Texts that a library leaves without an end are ended
// at the last byte of their field.
#pragma once

#include <cstdint>

#include "PROVIDERS/Library/LIBOption/ProviderErrors.h"
#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"

namespace corvane {

inline constexpr const char* kPostofficeProvider = "CVAIPO.DLL";
inline constexpr const char* kSmtpProvider = "CVAISM.DLL";
inline constexpr const char* kAddressMapProvider = "CVAIAM.DLL";

// Loads one of the three from the library directory, in place of one that is loaded. False when it
// can't be loaded or isn't one of the three.
[[nodiscard]] bool LoadConfigurationProvider(const char* libraryName);
void UnloadConfigurationProvider(const char* libraryName);

// Whether the library is loaded. Throws ProviderUnloaded like the calls.
[[nodiscard]] bool IsProviderLoaded(const char* libraryName);

// 1 with Status 1: enabled; 0, or 1 with another Status: disabled; -1: disabled, its mail is
// dropped; any other number says nothing of it. Exceptions of the library are reported and thrown
// on.
[[nodiscard]] std::int32_t PostofficeGet(PostofficeRecord& record);
// Not 0: found and filled, but for the shipped library's kProviderUnreachable.
[[nodiscard]] std::int32_t MailboxGet(MailboxRecord& record);
// 1 a group, 0 no group, -1 the store can't be reached.
[[nodiscard]] std::int32_t GroupGet(GroupRecord& record);
// 1: a member is in MemberAddress. The record names the group at each call. StoreUnreachable is
// thrown on the shipped library's kProviderUnreachable: the members still to come are not known.
[[nodiscard]] std::int32_t GroupMemberFindFirst(GroupMemberRecord& record);
[[nodiscard]] std::int32_t GroupMemberFindNext(GroupMemberRecord& record);
// 1: the domain is served here.
[[nodiscard]] std::int32_t SMTPDomainGet(DomainRecord& record);
// Not 0: SourceAddress holds the "[SMTP:...]" address of the item in DestinationAddress.
[[nodiscard]] std::int32_t AddressMapGet(AddressMapRecord& record);

}  // namespace corvane
