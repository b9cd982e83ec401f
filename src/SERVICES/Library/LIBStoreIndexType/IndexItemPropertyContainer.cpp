#include "SERVICES/Library/LIBStoreIndexType/IndexItemPropertyContainer.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace corvane {
namespace {

bool IsText(PropertyId id) { return id.Type == kPropertyText; }

}  // namespace

std::uint32_t NumberOfText(std::string_view text) {
  constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
  const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  std::uint64_t number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    number = std::min(number * 10 + static_cast<std::uint64_t>(c - '0'), kLargest);
  }
  return static_cast<std::uint32_t>(number);
}

IndexItemPropertyContainer* IndexItemPropertyContainer::MakeIn(ItemMemory* memory) {
  auto* item = ::new (memory->Take(sizeof(IndexItemPropertyContainer))) IndexItemPropertyContainer;
  item->inItemMemory_ = true;
  return item;
}

// The room of an item in an index's memory stays; whoever comes back to it is to notice.
void IndexItemPropertyContainer::operator delete(IndexItemPropertyContainer* item,
                                                 std::destroying_delete_t) {
  constexpr int kDeleted = 0xDD;
  const bool inItemMemory = item->inItemMemory_;
  item->~IndexItemPropertyContainer();
  if (inItemMemory) {
    std::memset(static_cast<void*>(item), kDeleted, sizeof(IndexItemPropertyContainer));
  } else {
    ::operator delete(item);
  }
}

void* IndexItemPropertyContainer::operator new(std::size_t bytes) { return ::operator new(bytes); }

void IndexItemPropertyContainer::operator delete(void* memory) { ::operator delete(memory); }

bool IndexItemPropertyContainer::Has(PropertyId id) const {
  if (id.Index < 0 || static_cast<std::uint32_t>(id.Index) >= values_.Count()) return false;
  return !IsText(id) || values_.Text(id) != nullptr;
}

std::string_view IndexItemPropertyContainer::TextView(PropertyId id) const {
  if (id.Index < 0 || !IsText(id)) return {};
  const PropertyText* record = values_.Text(id);
  return record == nullptr ? std::string_view() : TextOf(record);
}

std::string IndexItemPropertyContainer::GetText(PropertyId id) const {
  if (!Has(id)) return {};
  return IsText(id) ? std::string(TextView(id)) : std::to_string(values_.Number(id));
}

void IndexItemPropertyContainer::GetText(std::string_view name, char* buffer,
                                         std::size_t size) const {
  if (size == 0) return;
  const std::string text = GetText(name);
  const std::size_t length = std::min(text.size(), size - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
}

std::uint32_t IndexItemPropertyContainer::GetNumber(PropertyId id) const {
  if (!Has(id)) return 0;
  return IsText(id) ? NumberOfText(TextView(id)) : values_.Number(id);
}

void IndexItemPropertyContainer::SetText(PropertyId id, std::string_view text, bool allowEmpty) {
  if (id.Index < 0 || (text.empty() && !allowEmpty)) return;
  if (IsText(id)) {
    values_.SetText(id, text);
  } else {
    values_.SetNumber(id, NumberOfText(text));
  }
  NoteModified(id);
}

void IndexItemPropertyContainer::SetNumber(PropertyId id, std::uint32_t value) {
  if (id.Index < 0) return;
  if (IsText(id)) {
    values_.SetText(id, std::to_string(value));
  } else {
    values_.SetNumber(id, value);
  }
  NoteModified(id);
}

void IndexItemPropertyContainer::Remove(std::string_view name) {
  const PropertyId id = Find(name);
  if (!Has(id)) return;
  if (IsText(id)) {
    values_.SetText(id, {});
  } else {
    values_.SetNumber(id, 0);
  }
  NoteModified(kPropertyID);
}

void IndexItemPropertyContainer::Clear() {
  const std::uint32_t uid = GetNumber(kPropertyUID);
  values_.Clear();
  if (owner_ != nullptr) owner_->NoteModifiedUID(uid);
}

void IndexItemPropertyContainer::NoteModified(PropertyId id) {
  if (owner_ == nullptr || id.Index == PropertySEQ().Index) return;
  owner_->NoteModifiedUID(GetNumber(kPropertyUID));
}

void IndexItemPropertyContainer::Export(PropertyTexts* texts,
                                        const std::vector<std::string>* fields) const {
  if (fields != nullptr) {
    for (const std::string& name : *fields) texts->insert_or_assign(name, GetText(name));
    return;
  }
  const PropertyMap names = dictionary_ == nullptr ? CloneGlobalPropertyMap() : *dictionary_;
  for (const auto& [name, id] : names) {
    if (Has(id)) texts->insert_or_assign(name, GetText(id));
  }
}

void IndexItemPropertyContainer::Import(const PropertyTexts& texts) {
  for (const auto& [name, text] : texts) SetText(name, text, true);
}

std::unique_ptr<IndexItemPropertyContainer> IndexItemPropertyContainer::Clone(
    const std::vector<std::string>* fields) const {
  auto copy = std::make_unique<IndexItemPropertyContainer>();
  PropertyTexts texts;
  Export(&texts, fields);
  copy->Import(texts);
  copy->SetOffset(offset_);
  copy->SetLength(length_);
  return copy;
}

}  // namespace corvane
