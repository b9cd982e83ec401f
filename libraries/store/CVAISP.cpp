// CVAISP.cpp -- the store provider.
//
// It begins, ends and puts message files into the indexes of their folders. The operations on open
// folders and items are not exported. Any thread.
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "SERVICES/Library/LIBMessageIndex/FolderIndex.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "common/ExportGuard.h"
#include "connector/settings/Settings.h"
#include "platform/Path.h"

namespace {

// Whether `folder` names one below its mailbox: names with separators between them, one may stand
// in front.
bool IsFolderName(std::string_view folder) {
  if (!folder.empty() && (folder.front() == '\\' || folder.front() == '/')) folder.remove_prefix(1);
  for (;;) {
    const std::size_t end = folder.find_first_of("\\/");
    if (!corvane::platform::IsSafeName(folder.substr(0, end))) return false;
    if (end == std::string_view::npos) return true;
    folder.remove_prefix(end + 1);
  }
}

namespace settings = corvane::settings;

void HoldStored(const settings::DwordSetting& setting) {
  const auto stored = settings::Find(setting);
  if (stored) settings::Hold(setting, *stored);
}

// The library has settings of its own, which nobody loads for it: those that a program reads at its
// start are read at the first use that finds a mail root. False before that. The level decides what
// a folder's lock tells; the debug log itself stays the service host's, which alone opens, changes
// and closes its file.
bool HasStartSettings() {
  static std::mutex mutex;
  static bool read = false;
  const std::lock_guard lock(mutex);
  if (read) return true;
  std::string mailRoot = settings::Find(settings::kMailRoot).value_or("");
  if (mailRoot.empty()) mailRoot = settings::Find(settings::kMailRootDirectory).value_or("");
  if (mailRoot.empty()) return false;
  settings::Hold(settings::kMailRoot, mailRoot);
  HoldStored(settings::kAllowCustomPostofficePaths);
  HoldStored(settings::kDebugLoggingLevel);
  return read = true;
}

bool IsName(const char* name) { return name != nullptr && corvane::platform::IsSafeName(name); }

}  // namespace

extern "C" {

[[gnu::visibility("default")]] std::int32_t StoreLibrary_Init() { return 1; }

[[gnu::visibility("default")]] std::int32_t StoreLibrary_UnInit() { return 1; }

// 1: the item stands in the index of its folder. 0: it doesn't, and the folder is marked so that
// its next reader takes it in, or there is no such file.
[[gnu::visibility("default")]] std::int32_t Direct_StoreIndex_InsertItem(const char* postoffice,
                                                                         const char* mailbox,
                                                                         const char* folder,
                                                                         const char* item) {
  return corvane::GuardExport("Direct_StoreIndex_InsertItem", 0, [&]() -> std::int32_t {
    if (!IsName(postoffice) || !IsName(mailbox) || !IsName(item) || folder == nullptr ||
        !IsFolderName(folder)) {
      return 0;
    }
    if (!HasStartSettings()) return 0;
    const std::string path = corvane::GetPostofficeRoot(postoffice)
                                 .append("\\MAILROOT\\")
                                 .append(mailbox)
                                 .append("\\")
                                 .append(folder);
    return corvane::InsertIntoFolderIndex(path, item);
  });
}

}  // extern "C"
