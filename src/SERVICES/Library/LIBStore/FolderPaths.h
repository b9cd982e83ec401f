// FolderPaths.h -- where a folder of a mailbox, a public folder or a file store folder lies.
//
//   root\MAILROOT\<mailbox>\<folder>   a mail folder, such as Inbox
//   root\PUBROOT\<path>                folder "Public" and what lies below it
//   root\FILEROOT\<mailbox>\<path>     folder "$FILEROOT" and what lies below it
//   root\VCFROOT                       shared contacts: folder "$VCFROOT"
//
// A folder's name may begin with a backslash and holds its parents: "\Inbox\Receipts". Names are
// compared without regard to case. Any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// Whether the folder is the public one or lies below it: "Public", "\Public", "public/x", but not
// "Publication".
[[nodiscard]] bool IsPublicFolderName(std::string_view folder);

// Whether two folders are one: leading separators don't count, '/' is '\'. A name that isn't given
// equals any.
[[nodiscard]] bool SameFolderName(std::optional<std::string_view> a,
                                  std::optional<std::string_view> b);

// The directory of a folder, or of the mailbox when none is given. Public folders are mail folders
// of that name while `Public Folders Enabled` is 0. `size` is what the buffer holds with its NUL;
// a longer path is cut. True when it wasn't.
bool GetFolderPath(char* buffer, std::size_t size, const std::string& postoffice,
                   const std::string& mailbox, std::optional<std::string_view> folder);
[[nodiscard]] std::string GetFolderPath(const std::string& postoffice, const std::string& mailbox,
                                        std::optional<std::string_view> folder);

// The path of an item in a folder below `Mail Root`, wherever the postoffice's own root lies; the
// folder alone when `item` is empty. The directories on the way are made.
[[nodiscard]] std::string GetStoreItemPath(const std::string& postoffice,
                                           const std::string& mailbox, std::string_view folder,
                                           std::string_view item);

// `path` up to its last '\' or '/', which goes too; empty when it has none.
[[nodiscard]] std::string GetParentPath(std::string_view path);

// Makes one directory. In a tree of folders (MAILROOT, PUBROOT, FILEROOT) it also leaves the mark
// that the parent's list of subfolders has changed, whether the directory could be made or not.
// False leaves the error as platform::LastError(): 183 it is there, 3 its parent isn't.
bool CreateStoreDirectory(std::string_view path);

}  // namespace corvane
