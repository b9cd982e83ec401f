// RegistryFile.h -- the text form in which registry keys are exported and imported (".reg").
//
//   Windows Registry Editor Version 5.00        or REGEDIT4
//
//   [HKEY_LOCAL_MACHINE\SOFTWARE\Corvane\Corvane\CONNECTORS\SF]
//   "Maximum Pickup Threads"=dword:0000000a     a number, hexadecimal
//   "Overflow Mailbox"="POSTMASTER"             a text; \\ and \" stand for \ and "
//   "Icon"=hex:01,02,\                          bytes, going on in the next line
//     03
//   @="default value"                           the key's default value
//   "Old"=-                                     deletes a value
//   [-HKEY_LOCAL_MACHINE\SOFTWARE\Old]          deletes a key with everything below it
//   ; comment
//
// Files are UTF-16 with a byte order mark, UTF-8, or 8-bit. Texts of UTF-16 files are kept as
// UTF-8; those of other files are kept byte for byte. Only HKEY_LOCAL_MACHINE (HKLM) is taken. A
// key given as the 64-bit view shows it, without Wow6432Node, is the same key.
//
// hex(1) and hex(2), strings with and without references to the environment, become texts (the
// references stay as they are), hex(4) a number; a string of no bytes at all, lists of strings and
// all other types are kept as bytes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/SettingsStore.h"

namespace corvane::settings {

struct RegistryFile {
  std::vector<platform::SettingChange> changes;  // in the order of the file; empty after an error
  std::size_t errorLine = 0;                     // 0: the file is sound
  std::string error;                             // one line without the number
};

[[nodiscard]] RegistryFile ParseRegistryFile(std::string_view bytes);

// The file that makes a store with these entries, which stand in the order of List(): UTF-8, or the
// bytes of the texts where they are something else, with CR LF.
[[nodiscard]] std::string FormatRegistryFile(const std::vector<platform::SettingEntry>& entries);

}  // namespace corvane::settings
