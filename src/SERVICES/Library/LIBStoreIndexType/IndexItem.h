// IndexItem.h -- a handle on an item, which may own it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "SERVICES/Library/LIBStoreIndexType/IndexItemPropertyContainer.h"

namespace corvane {

class IndexItem {
 public:
  IndexItem() = default;
  virtual ~IndexItem() { Drop(); }
  IndexItem(const IndexItem&) = delete;
  IndexItem& operator=(const IndexItem&) = delete;

  // A new empty item, owned.
  void Create();
  // Lets go of the present item; refers to `container` without owning it, or owns a copy.
  void Attach(IndexItemPropertyContainer* container, bool clone);
  // Gives up ownership to the caller; the handle goes on referring to the item.
  IndexItemPropertyContainer* Release() {
    owned_ = false;
    return container_;
  }
  // Lets go of the item and destroys it if it is the handle's own.
  void Drop();

  [[nodiscard]] bool IsValid() const { return container_ != nullptr; }
  [[nodiscard]] bool IsOwned() const { return owned_; }
  [[nodiscard]] IndexItemPropertyContainer* Container() const { return container_; }

  // Those of the container; nothing, empty or 0 without one. Those that set tell whether the
  // property is there afterwards.
  [[nodiscard]] bool Has(const char* name) const;
  [[nodiscard]] std::string GetText(const char* name) const;
  void GetText(const char* name, char* buffer, std::size_t size) const;
  [[nodiscard]] std::uint32_t GetNumber(const char* name) const;
  // An empty text takes the property away. FLAGSTATUS goes through SetFlagStatus.
  bool SetText(const char* name, std::string_view text);
  bool SetNumber(const char* name, std::uint32_t value);
  // Stores the flags; READ becomes 1 when they hold \SEEN in any case, otherwise 0.
  bool SetFlagStatus(std::string_view flags);
  // Keeps ID and UID and clears all else.
  void ClearExceptKeys();

 private:
  IndexItemPropertyContainer* container_ = nullptr;
  bool owned_ = false;
};

inline constexpr const char* kFlagSeen = "\\SEEN";
inline constexpr const char* kFlagStatus = "FLAGSTATUS";

}  // namespace corvane
