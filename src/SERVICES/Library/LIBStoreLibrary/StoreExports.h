// StoreExports.h -- every export of the store provider, in the order of binding.
//
// One table makes the slots, their names and the wrappers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

// clang-format off
// ROW(export, its result); OWN(export) for those that have a wrapper of their own
#define CORVANE_STORE_EXPORTS(ROW, OWN) \
  OWN(StoreLibrary_Init) \
  OWN(StoreLibrary_UnInit) \
  ROW(StoreLibrary_ThreadInit, std::int32_t) \
  ROW(StoreLibrary_ThreadRelease, std::int32_t) \
  ROW(StoreFolder_Open, std::int32_t) \
  ROW(StoreFolder_Close, std::int32_t) \
  ROW(StoreFolder_Save, std::int32_t) \
  ROW(StoreFolder_OpenItem, std::int32_t) \
  ROW(StoreFolder_Reset, std::int32_t) \
  ROW(StoreFolder_SelectItem, std::int32_t) \
  ROW(StoreFolder_CommitItem, std::int32_t) \
  ROW(StoreFolder_SelectItemByField, std::int32_t) \
  ROW(StoreFolder_SelectItemByField_Ex, std::int32_t) \
  ROW(StoreFolder_Lock, std::int32_t) \
  ROW(StoreFolder_UnLock, std::int32_t) \
  ROW(StoreFolder_DeleteItem, std::int32_t) \
  ROW(StoreFolder_CreateItem, std::int32_t) \
  ROW(StoreItem_GetProperty, std::int32_t) \
  ROW(StoreItem_SetProperty, std::int32_t) \
  ROW(StoreIndex_GetItemPropertyItem, std::int32_t) \
  ROW(StoreIndex_SetItemPropertyItem, std::int32_t) \
  ROW(StoreItem_FreeProperty, std::int32_t) \
  ROW(StoreItem_SaveToStore, std::int32_t) \
  ROW(Store_Save, std::int32_t) \
  ROW(StoreFolder_FindFirstItem, std::int32_t) \
  ROW(StoreFolder_FindNextItem, std::int32_t) \
  ROW(StoreFolder_FindClose, std::int32_t) \
  ROW(GetMailboxSize, std::int32_t) \
  ROW(GetMailboxSize_Ex, std::int32_t) \
  ROW(StoreFolderAdd, std::int32_t) \
  ROW(StoreFolderGet, std::int32_t) \
  ROW(StoreFolderGet_Ex, std::int32_t) \
  ROW(StoreFolderRemove, std::int32_t) \
  ROW(StoreFolderEdit, std::int32_t) \
  ROW(StoreFolderCopy, std::int32_t) \
  ROW(StoreFolderFindNext, std::int32_t) \
  ROW(StoreFolderFindFirst, std::int32_t) \
  ROW(StoreFolderFindClose, std::int32_t) \
  ROW(StoreLibrary_SetAffinity, std::int32_t) \
  ROW(StoreItemProperty_GetType, std::int32_t) \
  ROW(Memory_Allocate, void*) \
  ROW(Memory_Free, std::int32_t) \
  ROW(StoreFolder_GetHierarchyModificationDate, std::int32_t) \
  ROW(StoreFolder_GetContentsModificationDate, std::int32_t) \
  ROW(StoreIndex_SetPaths, std::int32_t) \
  ROW(StoreIndexItem_Clear, std::int32_t) \
  ROW(StoreIndex_Open, std::int32_t) \
  ROW(StoreIndex_Init, std::int32_t) \
  ROW(StoreIndex_Close, std::int32_t) \
  ROW(StoreIndex_Release, std::int32_t) \
  ROW(StoreIndex_Get, std::int32_t) \
  ROW(StoreIndex_Save, std::int32_t) \
  ROW(GetStoreItemByMessageID, std::int32_t) \
  ROW(Direct_StoreIndex_UpdateItem, std::int32_t) \
  OWN(Direct_StoreIndex_InsertItem) \
  ROW(Direct_StoreIndex_InsertItemEx, std::int32_t) \
  ROW(Direct_StoreIndex_RemoveItem, std::int32_t) \
  ROW(StoreIndex_UpdateItem, std::int32_t) \
  ROW(StoreIndex_InsertItem, std::int32_t) \
  ROW(StoreIndex_RemoveItem, std::int32_t) \
  ROW(RemoveMailboxShares, std::int32_t)
// clang-format on

namespace corvane {

enum class StoreExport : std::size_t {
#define CORVANE_STORE_SLOT(name, ...) name,
  CORVANE_STORE_EXPORTS(CORVANE_STORE_SLOT, CORVANE_STORE_SLOT)
#undef CORVANE_STORE_SLOT
};

inline constexpr const char* kStoreExportNames[] = {
#define CORVANE_STORE_NAME(name, ...) #name,
    CORVANE_STORE_EXPORTS(CORVANE_STORE_NAME, CORVANE_STORE_NAME)
#undef CORVANE_STORE_NAME
};
inline constexpr std::size_t kStoreExportCount = std::size(kStoreExportNames);

}  // namespace corvane
