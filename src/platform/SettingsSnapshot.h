// SettingsSnapshot.h -- all settings of one moment, in memory, immutable.
//
// What SettingsStore answers reads from. Texts stand one after the other in one block that copies
// share; a look-up hashes key and name without regard to case and allocates nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/SettingsStore.h"

namespace corvane::platform {

// `key` without the root's name, with '\' for every separator, none doubled, none at either end.
[[nodiscard]] std::string CanonicalSettingKey(std::string_view key);

class SettingsSnapshot {
 public:
  // One value; the views live as long as the snapshot or a copy of it.
  struct Item {
    std::string_view key;
    std::string_view name;
    SettingType type = SettingType::kNone;
    std::uint32_t number = 0;
    std::string_view bytes;
  };

  // Takes rows in any order; Finish() orders and indexes them.
  class Builder {
   public:
    void Add(const Item& item);
    [[nodiscard]] SettingsSnapshot Finish() &&;

   private:
    struct Row {
      std::size_t keyAt, keySize, nameAt, nameSize, bytesAt, bytesSize;
      SettingType type;
      std::uint32_t number;
    };
    std::string texts_;
    std::vector<Row> rows_;
  };

  // Null when it isn't there.
  [[nodiscard]] const Item* Find(std::string_view key, std::string_view name) const;
  [[nodiscard]] std::vector<SettingEntry> List(std::string_view key) const;
  // The same with another number in a DWORD that is there; nothing where there is none.
  [[nodiscard]] std::optional<SettingsSnapshot> WithNumber(std::string_view key,
                                                           std::string_view name,
                                                           std::uint32_t number) const;

 private:
  void BuildIndex();

  std::shared_ptr<const std::string> texts_;
  std::vector<Item> items_;           // ordered by key, then name
  std::vector<std::uint32_t> slots_;  // open addressing, item number + 1, 0 free; a power of two
};

}  // namespace corvane::platform
