// PropertyMap.h -- the names of item properties and their slots.
//
// A name has one slot and one type for the life of the process: ID, UID and READ come first, every
// other name gets the next slot when it is first used. Slots are never stored.
//
// The one map of the process is guarded by a mutex. A parse takes a copy for itself, so that its
// look-ups take no lock.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace corvane {

inline constexpr std::uint32_t kPropertyText = 0;
inline constexpr std::uint32_t kPropertyNumber = 1;

struct PropertyId {
  std::int32_t Index = -1;  // the slot; -1 there is no such property
  std::uint32_t Type = kPropertyText;
};

using PropertyMap = std::map<std::string, PropertyId, std::less<>>;

// Slots that are the same in every process.
inline constexpr PropertyId kPropertyID{0, kPropertyText};
inline constexpr PropertyId kPropertyUID{1, kPropertyNumber};
inline constexpr PropertyId kPropertyREAD{2, kPropertyNumber};

// Places of an item, which are numbers that no file holds: among the elements read, and in the
// folder's order.
[[nodiscard]] PropertyId PropertyIDX();
[[nodiscard]] PropertyId PropertySEQ();
// The attributes of an element and the places: what isn't written as a tag of its own.
[[nodiscard]] bool IsKeyOrPlace(std::string_view name);

// Names beyond so many in one process have no slot, so that a file of made-up names can't fill the
// memory of a service that runs for years. Those of mail items always get theirs.
inline constexpr std::size_t kMaximumPropertyNames = 4096;

// The slot of `name`, which is entered when it is new; in the process's map, or, when one is given,
// in the private copy `dictionary`, which then takes over all new names. Any thread; a private copy
// belongs to one.
[[nodiscard]] PropertyId FindProperty(PropertyMap* dictionary, std::string_view name);

// A private copy of the process's map; empty, after a report, when it can't be made.
[[nodiscard]] PropertyMap CloneGlobalPropertyMap();

// Whether an index file can hold a property of that name: a name that XML takes, of at most 255
// bytes, which isn't read as one of the format's own tags.
[[nodiscard]] bool IsPropertyName(std::string_view name);

}  // namespace corvane
