#include "SERVICES/Library/LIBStoreIndexType/PropertyMap.h"

#include <algorithm>
#include <iterator>

#include "SERVICES/Library/xMutexLock/Mutex.h"
#include "connector/logs/ExceptionReport.h"

namespace corvane {
namespace {

constexpr std::string_view kNumberNames[] = {"SIZE",         "STATE", "IMPORTANCE", "ATTACHMENTS",
                                             "MODIFIEDDATE", "IDX",   "SEQ"};
// The names of mail items that hold texts.
constexpr std::string_view kTextNames[] = {"FLAGSTATUS", "SUBJECT",     "FROM",     "TO",
                                           "CC",         "MESSAGEDATE", "RECEIVED", "CLASS",
                                           "CATEGORIES", "ATTRIBUTES",  "THREAD",   "MSGID"};
constexpr std::size_t kLongestName = 255;

struct GlobalMap {
  Mutex mutex{nullptr, nullptr};
  PropertyMap names;
};

// Never destroyed: items may live as long as the process.
GlobalMap& Global() {
  static auto& global = *new GlobalMap;
  return global;
}

void SeedIfEmpty(PropertyMap& map) {
  if (!map.empty()) return;
  map.emplace("ID", kPropertyID);
  map.emplace("UID", kPropertyUID);
  map.emplace("READ", kPropertyREAD);
}

PropertyId FindOrEnter(PropertyMap& map, std::string_view name) {
  SeedIfEmpty(map);
  const auto found = map.find(name);
  if (found != map.end()) return found->second;
  const auto isOneOf = [name](const auto& names) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
  };
  const bool number = isOneOf(kNumberNames);
  if (map.size() >= kMaximumPropertyNames && !number && !isOneOf(kTextNames)) return {};
  const PropertyId id{static_cast<std::int32_t>(map.size()),
                      number ? kPropertyNumber : kPropertyText};
  map.emplace(name, id);
  return id;
}

PropertyMap CopyGlobal() {
  MutexLock lock(&Global().mutex);
  static_cast<void>(lock.lock());
  SeedIfEmpty(Global().names);
  return Global().names;
}

}  // namespace

PropertyId PropertyIDX() {
  static const PropertyId id = FindProperty(nullptr, "IDX");
  return id;
}

PropertyId PropertySEQ() {
  static const PropertyId id = FindProperty(nullptr, "SEQ");
  return id;
}

bool IsKeyOrPlace(std::string_view name) {
  return name == "ID" || name == "UID" || name == "IDX" || name == "SEQ";
}

PropertyId FindProperty(PropertyMap* dictionary, std::string_view name) {
  if (dictionary != nullptr) {
    SeedIfEmpty(*dictionary);
    const auto found = dictionary->find(name);
    if (found != dictionary->end()) return found->second;
  }
  MutexLock lock(&Global().mutex);
  static_cast<void>(lock.lock());
  const PropertyId id = FindOrEnter(Global().names, name);
  // A copy of all for each name that can't be entered, or each new one, would add up.
  if (dictionary == nullptr || id.Index < 0) return id;
  if (dictionary->size() + 1 == Global().names.size()) {
    dictionary->emplace(name, id);
  } else {
    *dictionary = Global().names;
  }
  return id;
}

PropertyMap CloneGlobalPropertyMap() {
  PropertyMap copy;
  static_cast<void>(EndException([&] { copy = CopyGlobal(); },
                                 [](const ExceptionDetails& details) {
                                   ReportException(FormatExceptionReport("CloneGlobalPropertyMap",
                                                                         CV_HERE, details));
                                 }));
  return copy;
}

bool IsPropertyName(std::string_view name) {
  if (name.empty() || name.size() > kLongestName) return false;
  for (const std::string_view own : {"ELEMENT", "BASEELEMENT"}) {
    if (name.substr(0, own.size()) == own) return false;
  }
  const auto isLetter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  };
  const auto isInside = [&](char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
  };
  return isLetter(name.front()) && std::all_of(name.begin() + 1, name.end(), isInside);
}

}  // namespace corvane
