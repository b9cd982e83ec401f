// ItemFiller.h -- puts what was read of a message into an index item.
#pragma once

#include "SERVICES/Library/LIBMessageIndex/MessageHeaders.h"
#include "SERVICES/Library/LIBStoreIndexType/IndexItem.h"

namespace corvane {

// A new item, of a new file. With `keysOnly` it gets ID and UID alone.
void FillNewItem(IndexItem* item, const MessageHeaders& headers, bool keysOnly);
// An item that came from an index without a date: all but ID, UID and CATEGORIES.
void UpdateItemFull(IndexItem* item, const MessageHeaders& headers);
// An item whose file has changed. Its flags stay as the index has them.
void UpdateItemFields(IndexItem* item, const MessageHeaders& headers);

// Takes \RECENT out of FLAGSTATUS. True when it was there.
bool RemoveRecentFlag(IndexItem* item);

}  // namespace corvane
