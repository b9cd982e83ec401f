#include "SERVICES/Library/LIBMessageIndex/IndexFile.h"

#include "SERVICES/Library/LIBMessageIndex/IndexHeaders.h"
#include "SERVICES/Library/LIBMessageIndex/ItemFiller.h"
#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"
#include "connector/settings/Settings.h"
#include "platform/Path.h"

namespace corvane {
namespace {

bool ParseFile(const std::string& folder, const platform::FoundFile& fileInfo,
               MessageHeaders* headers) {
  const bool branding = settings::Get(settings::kUidBrandingEnabled) != 0;
  headers->FileName = fileInfo.name;
  headers->Size = static_cast<std::uint32_t>(fileInfo.info.size);
  return ParseMessage(platform::JoinPath(folder, fileInfo.name), *headers, false, branding,
                      kVerifyAttachments, false) == 1;
}

// The UID that the item gets; `fromFile` is what the file carries, 0 for none.
std::uint32_t ChooseUid(const SORTEDSTOREINDEXTYPE& index, std::uint32_t fromFile, bool trusted,
                        std::uint32_t* uidCounter) {
  const bool stands = trusted && fromFile != 0 && fromFile <= *uidCounter &&
                      index.ByUID.find(fromFile) == index.ByUID.end();
  return stands ? fromFile : ++*uidCounter;
}

}  // namespace

std::int32_t IndexNewFile(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                          const platform::FoundFile& fileInfo, bool skipLookup, std::uint32_t brand,
                          std::uint32_t* uidCounter) {
  if (!skipLookup && index->ItemExists(fileInfo.name)) return 1;
  MessageHeaders headers;
  headers.Brand = brand;
  if (!ParseFile(folder, fileInfo, &headers)) return 0;
  const std::uint32_t fromFile = headers.UID;
  headers.UID = ChooseUid(*index, fromFile, brand != 0 && !skipLookup, uidCounter);
  IndexItem item;
  item.Create();
  FillNewItem(&item, headers, false);
  if (!index->AddItem(&item)) return 0;
  if (fromFile != 0 && fromFile != headers.UID &&
      SetMessageUID(folder, fileInfo.name, brand, headers.UID, {}) == RewriteResult::kRewritten) {
    const auto info = platform::GetFileInfo(platform::JoinPath(folder, fileInfo.name));
    if (info) item.SetNumber("SIZE", static_cast<std::uint32_t>(info->size));
  }
  return 1;
}

std::int32_t RefreshFile(IndexItem* item, const std::string& folder,
                         const platform::FoundFile& fileInfo, std::uint32_t brand, bool full) {
  MessageHeaders headers;
  headers.Brand = brand;
  if (!ParseFile(folder, fileInfo, &headers)) return 0;
  if (full) {
    UpdateItemFull(item, headers);
  } else {
    UpdateItemFields(item, headers);
  }
  return 1;
}

}  // namespace corvane
