// OptionProvider.h -- options of postoffices and mailboxes, asked of the library CVAISO.DLL.
//
// The library is loaded from the library directory at the first option call; while it can't be
// loaded each call tries again, so that a library that was being replaced at that moment is not
// given up for good. Any thread. A missing library or export leaves an empty value.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PROVIDERS/Library/LIBOption/ProviderErrors.h"
#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"

namespace corvane {

inline constexpr const char* kOptionProvider = "CVAISO.DLL";

// Loads the library if it isn't loaded. False when it can't be. An exception is reported and thrown
// on.
bool InitializeOptionProvider();
void UnloadOptionProvider();

// The text of an option.
//
//   key     "postoffice" or "postoffice/mailbox", as `kind` says
//   buffer  receives the text, cut to `size` - 1 bytes; empty when there is none
//
// 1  `buffer` holds the text
// 0  there is no such option, or nobody to ask
//
// Throws StoreUnreachable when the shipped library says so: a caller must not take the option for
// one that isn't set.
//
// Goes to GetOption_Ex when the library exports it, else to GetOption; GetOption must be there in
// either case.
std::int32_t GetOptionText(OptionKind kind, const char* key, const char* name, char* buffer,
                           std::size_t size);

std::int32_t GetPostofficeOption(const char* postoffice, const char* name, char* buffer,
                                 std::size_t size);
// The key "postoffice/mailbox" is cut to 254 bytes.
std::int32_t GetMailboxOption(const char* postoffice, const char* mailbox, const char* name,
                              char* buffer, std::size_t size);

}  // namespace corvane
