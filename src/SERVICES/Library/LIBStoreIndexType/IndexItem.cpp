#include "SERVICES/Library/LIBStoreIndexType/IndexItem.h"

#include <cstring>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"

namespace corvane {

void IndexItem::Create() {
  Drop();
  container_ = std::make_unique<IndexItemPropertyContainer>().release();
  owned_ = true;
}

void IndexItem::Attach(IndexItemPropertyContainer* container, bool clone) {
  auto copy = clone && container != nullptr ? container->Clone(nullptr) : nullptr;
  Drop();
  owned_ = copy != nullptr;
  container_ = owned_ ? copy.release() : container;
}

void IndexItem::Drop() {
  if (owned_) delete container_;
  container_ = nullptr;
  owned_ = false;
}

bool IndexItem::Has(const char* name) const { return IsValid() && container_->Has(name); }

std::string IndexItem::GetText(const char* name) const {
  return IsValid() ? container_->GetText(name) : std::string();
}

void IndexItem::GetText(const char* name, char* buffer, std::size_t size) const {
  if (size > 0) buffer[0] = '\0';
  if (IsValid()) container_->GetText(name, buffer, size);
}

std::uint32_t IndexItem::GetNumber(const char* name) const {
  return IsValid() ? container_->GetNumber(name) : 0;
}

bool IndexItem::SetText(const char* name, std::string_view text) {
  if (!IsValid()) return false;
  if (std::strcmp(name, kFlagStatus) == 0) return SetFlagStatus(text);
  container_->SetText(name, text, true);
  return container_->Has(name);
}

bool IndexItem::SetNumber(const char* name, std::uint32_t value) {
  if (!IsValid()) return false;
  container_->SetNumber(name, value);
  return container_->Has(name);
}

bool IndexItem::SetFlagStatus(std::string_view flags) {
  if (!IsValid()) return false;
  container_->SetText(kFlagStatus, flags, true);
  const bool seen = PositionNoCase(flags, kFlagSeen) != std::string_view::npos;
  container_->SetText(kPropertyREAD, seen ? "1" : "0", true);
  return container_->Has(kFlagStatus);
}

void IndexItem::ClearExceptKeys() {
  if (!IsValid()) return;
  const std::string id = container_->GetText(kPropertyID);
  const std::uint32_t uid = container_->GetNumber(kPropertyUID);
  container_->Clear();
  container_->SetText(kPropertyID, id, true);
  container_->SetNumber(kPropertyUID, uid);
}

}  // namespace corvane
