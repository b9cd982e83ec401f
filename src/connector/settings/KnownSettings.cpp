#include "connector/settings/KnownSettings.h"

#include <algorithm>
#include <numeric>

#include "platform/Path.h"

namespace corvane::settings {
namespace {

using platform::EqualsNoCase;

constexpr std::size_t kKeys = static_cast<std::size_t>(Key::Auditing) + 1;

// Keys whose value names are data. The counters among them are declared one by one as well.
constexpr Key kCounterFamilies[] = {Key::ConnectorsLsCounters, Key::MtaFilterCounters};
constexpr std::string_view kWhiteList = "\\White List";

char Fold(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

// Letters to insert, drop or change to make one text of the other, without regard to case.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      std::size_t replaced = diagonal + (Fold(a[i - 1]) == Fold(b[j - 1]) ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

// Keeps the best of the texts offered to it, if one is near enough to be a slip.
class Nearest {
 public:
  explicit Nearest(std::string_view wanted)
      : wanted_(wanted), limit_(std::min<std::size_t>(3, wanted.size() / 4) + 1) {}

  void Offer(std::string_view candidate) {
    std::size_t longer = std::max(candidate.size(), wanted_.size());
    std::size_t shorter = std::min(candidate.size(), wanted_.size());
    if (longer - shorter >= limit_) return;
    std::size_t distance = Distance(wanted_, candidate);
    if (distance >= limit_) return;
    limit_ = distance;
    best_ = candidate;
  }
  [[nodiscard]] std::string_view Best() const { return best_; }

 private:
  std::string_view wanted_;
  std::size_t limit_;
  std::string_view best_;
};

}  // namespace

const Setting* FindSetting(std::string_view wholeKey, std::string_view name) {
  for (const Setting* setting : AllSettings()) {
    if (EqualsNoCase(setting->name, name) && EqualsNoCase(WholeKey(setting->key), wholeKey)) {
      return setting;
    }
  }
  return nullptr;
}

const DwordSetting* AsNumber(const Setting* setting) {
  auto found = std::find(AllNumbers().begin(), AllNumbers().end(), setting);
  return found == AllNumbers().end() ? nullptr : *found;
}

const TextSetting* AsText(const Setting* setting) {
  auto found = std::find(AllTexts().begin(), AllTexts().end(), setting);
  return found == AllTexts().end() ? nullptr : *found;
}

KeyKind KindOfKey(std::string_view wholeKey) {
  if (EqualsNoCase(wholeKey, std::string(WholeKey(Key::ConnectorsSmtp)).append(kWhiteList))) {
    return KeyKind::kFamily;
  }
  for (Key family : kCounterFamilies) {
    if (EqualsNoCase(wholeKey, WholeKey(family))) return KeyKind::kFamily;
  }
  for (std::size_t i = 0; i < kKeys; ++i) {
    if (EqualsNoCase(wholeKey, WholeKey(static_cast<Key>(i)))) return KeyKind::kDeclared;
  }
  return KeyKind::kForeign;
}

std::string_view NearestName(std::string_view wholeKey, std::string_view name) {
  Nearest nearest(name);
  for (const Setting* setting : AllSettings()) {
    if (EqualsNoCase(WholeKey(setting->key), wholeKey)) nearest.Offer(setting->name);
  }
  return nearest.Best();
}

std::string_view NearestKey(std::string_view wholeKey) {
  Nearest nearest(wholeKey);
  for (std::size_t i = 0; i < kKeys; ++i) nearest.Offer(WholeKey(static_cast<Key>(i)));
  return nearest.Best();
}

std::vector<std::string_view> KeysOfName(std::string_view name) {
  std::vector<std::string_view> keys;
  for (const Setting* setting : AllSettings()) {
    if (EqualsNoCase(setting->name, name)) keys.emplace_back(RelativeKey(setting->key));
  }
  return keys;
}

const char* WhenAChangeWorks(Read read) {
  switch (read) {
    case Read::EachUse:
      return "at once";
    case Read::StartOfFilters:
      return "next filter pass";
    case Read::Written:
      return "written by the connector";
    case Read::Cached:
    case Read::Start:
    case Read::StartOfPoller:
      return "next start";
  }
  return "";
}

}  // namespace corvane::settings
