#include "SERVICES/Library/LIBStore/FolderPaths.h"

#include <algorithm>
#include <cstring>

#include "SERVICES/Library/LIBStore/FolderFlags.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::string_view kPublic = "Public";
constexpr std::string_view kFileRoot = "$FILEROOT";
constexpr std::string_view kContactRoot = "$VCFROOT";
constexpr std::string_view kFolderTrees[] = {"\\MAILROOT\\", "\\PUBROOT\\", "\\FILEROOT\\"};

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

bool BeginsWithName(std::string_view folder, std::string_view name) {
  return folder.size() >= name.size() &&
         platform::EqualsNoCase(folder.substr(0, name.size()), name) &&
         (folder.size() == name.size() || IsSeparator(folder[name.size()]));
}

// What follows the name of a special folder, which begins at the first or second character: empty
// for the folder itself, nothing when the folder is another one.
std::optional<std::string_view> RestBehind(std::string_view folder, std::string_view name) {
  for (const std::size_t start : {0U, 1U}) {
    if (folder.size() < start || !BeginsWithName(folder.substr(start), name)) continue;
    // A path below is looked for behind one separator only.
    const bool led = start == 1 && !IsSeparator(folder[0]);
    const std::string_view rest = folder.substr(start + name.size());
    return led || rest.empty() ? std::string_view() : rest.substr(1);
  }
  return std::nullopt;
}

std::string Below(std::string path, std::string_view rest) {
  if (!rest.empty()) path.append("\\").append(rest);
  return path;
}

std::string PathUnder(const std::string& root, const std::string& mailbox,
                      std::optional<std::string_view> folder) {
  std::string mailboxPath = root + "\\MAILROOT\\" + mailbox;
  if (!folder) return mailboxPath;
  const auto inPublic = RestBehind(*folder, kPublic);
  if (inPublic && settings::Get(settings::kPublicFoldersEnabled) != 0) {
    return Below(root + "\\PUBROOT", *inPublic);
  }
  if (const auto inFiles = RestBehind(*folder, kFileRoot)) {
    return Below(root + "\\FILEROOT\\" + mailbox, *inFiles);
  }
  return mailboxPath.append("\\").append(*folder);
}

std::string_view WithoutLeadingSeparators(std::string_view folder) {
  while (!folder.empty() && IsSeparator(folder.front())) folder.remove_prefix(1);
  return folder;
}

bool SameCharacter(char a, char b) {
  return (IsSeparator(a) && IsSeparator(b)) ||
         platform::EqualsNoCase(std::string_view(&a, 1), std::string_view(&b, 1));
}

bool LiesInFolderTree(std::string_view path) {
  const auto holds = [path](std::string_view tree) {
    return std::search(path.begin(), path.end(), tree.begin(), tree.end(), SameCharacter) !=
           path.end();
  };
  return std::any_of(std::begin(kFolderTrees), std::end(kFolderTrees), holds);
}

}  // namespace

bool IsPublicFolderName(std::string_view folder) { return RestBehind(folder, kPublic).has_value(); }

bool SameFolderName(std::optional<std::string_view> a, std::optional<std::string_view> b) {
  if (!a || !b) return true;
  const std::string_view left = WithoutLeadingSeparators(*a);
  const std::string_view right = WithoutLeadingSeparators(*b);
  return std::equal(left.begin(), left.end(), right.begin(), right.end(), SameCharacter);
}

std::string GetFolderPath(const std::string& postoffice, const std::string& mailbox,
                          std::optional<std::string_view> folder) {
  return PathUnder(GetPostofficeRoot(postoffice), mailbox, folder);
}

bool GetFolderPath(char* buffer, std::size_t size, const std::string& postoffice,
                   const std::string& mailbox, std::optional<std::string_view> folder) {
  const std::string path = GetFolderPath(postoffice, mailbox, folder);
  if (size == 0) return false;
  const std::size_t length = std::min(path.size(), size - 1);
  std::memcpy(buffer, path.data(), length);
  buffer[length] = '\0';
  return length == path.size();
}

std::string GetStoreItemPath(const std::string& postoffice, const std::string& mailbox,
                             std::string_view folder, std::string_view item) {
  const std::string root = settings::MailRoot() + "\\" + postoffice;
  const std::string directory = platform::EqualsNoCase(folder, kContactRoot)
                                    ? root + "\\VCFROOT"
                                    : PathUnder(root, mailbox, folder);
  static_cast<void>(platform::CreateDirectories(directory));
  return Below(directory, item);
}

std::string GetParentPath(std::string_view path) {
  const std::size_t last = path.find_last_of("\\/");
  return std::string(path.substr(0, last == std::string_view::npos ? 0 : last));
}

bool CreateStoreDirectory(std::string_view path) {
  const bool made = platform::CreateDirectory(path);
  const std::int32_t error = platform::LastError();
  if (LiesInFolderTree(path)) WriteFolderFlag(GetParentPath(path), FolderFlag::kSubfolders);
  platform::SetLastError(error);
  return made;
}

}  // namespace corvane
