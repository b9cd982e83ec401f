#include "SERVICES/Library/LIBMessageIndex/ItemFiller.h"

#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

// Texts of an item that came from an old index are brought to plain ones.
std::string TextFor(std::string_view text, bool plain) {
  return plain ? indexformat::PlainText(text) : std::string(text);
}

void SetMessageId(IndexItem* item, const MessageHeaders& headers, bool plain) {
  if (settings::Get(settings::kPreventMessageDuplicates) == 0) return;
  item->SetText("MSGID", TextFor(headers.MessageId.View(), plain));
}

void FillFlags(IndexItem* item, const MessageHeaders& headers) {
  std::string flags = headers.Flags;
  AddFlag(flags, headers.Read == 1 && !flags.empty() ? "SEEN" : "RECENT");
  item->SetFlagStatus(flags);
}

void FillProperties(IndexItem* item, const MessageHeaders& headers, bool isNew) {
  const bool plain = !isNew;
  item->SetText("MESSAGEDATE", headers.MessageDate.View());
  item->SetNumber("MODIFIEDDATE", headers.ModifiedDate);
  item->SetNumber("IMPORTANCE", static_cast<std::uint32_t>(headers.Importance));
  FillFlags(item, headers);
  item->SetNumber("ATTACHMENTS", headers.Attachments);
  item->SetText("FROM", TextFor(headers.From.View(), plain));
  item->SetText("TO", TextFor(headers.To, plain));
  item->SetText("CC", TextFor(headers.Cc, plain));
  item->SetText("SUBJECT", TextFor(headers.Subject.View(), plain));
  item->SetText("RECEIVED", TextFor(headers.Received.View(), plain));
  item->SetNumber("READ", headers.Read);
  item->SetText("STATE", "0");
  item->SetText("CLASS", TextFor(headers.Class.View(), plain));
  if (isNew) item->SetText("CATEGORIES", headers.Categories);
  if (!headers.Attributes.empty()) item->SetText("ATTRIBUTES", headers.Attributes);
  if (!headers.Thread.empty()) item->SetText("THREAD", headers.Thread);
  item->SetNumber("SIZE", headers.Size);
  SetMessageId(item, headers, plain);
}

}  // namespace

void FillNewItem(IndexItem* item, const MessageHeaders& headers, bool keysOnly) {
  item->SetText("ID", headers.FileName.View());
  item->SetNumber("UID", headers.UID);
  if (!keysOnly) FillProperties(item, headers, true);
}

void UpdateItemFull(IndexItem* item, const MessageHeaders& headers) {
  FillProperties(item, headers, false);
}

void UpdateItemFields(IndexItem* item, const MessageHeaders& headers) {
  item->SetText("MESSAGEDATE", headers.MessageDate.View());
  item->SetText("SUBJECT", headers.Subject.View());
  item->SetText("RECEIVED", headers.Received.View());
  item->SetNumber("MODIFIEDDATE", headers.ModifiedDate);
  item->SetNumber("ATTACHMENTS", headers.Attachments);
  item->SetNumber("READ", headers.Read);
  item->SetNumber("SIZE", headers.Size);
  SetMessageId(item, headers, false);
}

bool RemoveRecentFlag(IndexItem* item) {
  std::string flags = item->GetText(kFlagStatus);
  if (ReplaceAll(flags, "\\RECENT ", "") == 0 && ReplaceAll(flags, "\\RECENT", "") == 0) {
    return false;
  }
  item->SetFlagStatus(flags);
  return true;
}

}  // namespace corvane
