// The values of an item against a plain map, through growth and replaced texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexType/ItemValues.h"

namespace corvane {
namespace {

constexpr std::int32_t kSlots = 40;

// Even slots are texts.
PropertyId Slot(std::int32_t index) {
  return {index, index % 2 == 0 ? kPropertyText : kPropertyNumber};
}

std::string TextAt(const ItemValues& values, PropertyId id) {
  const PropertyText* record = values.Text(id);
  return record == nullptr ? std::string() : std::string(TextOf(record));
}

void ExpectEqual(const ItemValues& values, const std::map<std::int32_t, std::string>& expected) {
  for (std::int32_t index = 0; index < kSlots; ++index) {
    const auto found = expected.find(index);
    const std::string text = found == expected.end() ? "" : found->second;
    if (Slot(index).Type == kPropertyText) {
      ASSERT_EQ(TextAt(values, Slot(index)), text);
    } else {
      ASSERT_EQ(values.Number(Slot(index)), text.empty() ? 0 : std::stoul(text));
    }
  }
}

// Through small pieces, large ones, and one beyond any.
TEST(ItemMemory, KeepsWhatItGaveOut) {
  ItemMemory memory;
  std::vector<std::pair<char*, std::size_t>> taken;
  for (const std::size_t size :
       {1U, 100U, 5'000U, 1'000'000U, 3'000'000U, 9'000'000U, 3U, 3'000'000U}) {
    for (int i = 0; i < 9; ++i) {
      char* const place = memory.Take(size);
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(place) % alignof(void*), 0U);
      std::memset(place, static_cast<int>(taken.size()), size);
      taken.emplace_back(place, size);
    }
  }
  ItemMemory heir;
  heir.TakeOver(&memory);
  *memory.Take(1) = 'x';
  for (std::size_t i = 0; i < taken.size(); ++i) {
    const auto [place, size] = taken[i];
    ASSERT_EQ(static_cast<std::size_t>(std::count(place, place + size, static_cast<char>(i))),
              size);
  }
}

TEST(ItemValues, HoldWhatWasSetLast) {
  std::mt19937 random(4711);
  for (int round = 0; round < 50; ++round) {
    ItemMemory memory;
    ItemValues values;
    std::map<std::int32_t, std::string> expected;
    if (round % 2 == 0) {
      PropertyBatch batch;
      for (std::int32_t index = 0; index < kSlots; index += 3) {
        expected[index] = std::to_string(index * 1000);
        if (Slot(index).Type == kPropertyText) {
          batch.AddText(Slot(index), "is replaced");
          batch.AddText(Slot(index), expected[index]);
        } else {
          batch.AddNumber(Slot(index), static_cast<std::uint32_t>(index * 1000));
        }
      }
      values.Take(batch, &memory);
    }
    for (int step = 0; step < 200; ++step) {
      const auto index = static_cast<std::int32_t>(random() % kSlots);
      const auto number = static_cast<std::uint32_t>(random());
      if (Slot(index).Type == kPropertyText) {
        expected[index] = std::string(number % 300, static_cast<char>('a' + number % 26));
        values.SetText(Slot(index), expected[index]);
      } else {
        expected[index] = std::to_string(number);
        values.SetNumber(Slot(index), number);
      }
    }
    ExpectEqual(values, expected);
  }
}

TEST(ItemValues, TakeATextOfTheSameItem) {
  ItemValues values;
  std::string text = "begin";
  values.SetText(Slot(0), text);
  for (std::int32_t index = 2; index < kSlots; index += 2) {
    values.SetText(Slot(index), TextOf(values.Text(Slot(index - 2))));
    ASSERT_EQ(TextAt(values, Slot(index)), text);
  }
}

}  // namespace
}  // namespace corvane
