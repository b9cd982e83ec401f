#include "connector/settings/SettingKeys.h"

#include "connector/settings/SettingsTable.h"
#include "platform/Path.h"
#include "platform/SettingsSnapshot.h"

namespace corvane::settings {
namespace {

constexpr std::string_view kSoftware = "Software";
constexpr std::string_view kNode = "Wow6432Node\\";
constexpr std::string_view kCompany = "Corvane";

bool BeginsWith(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && platform::EqualsNoCase(text.substr(0, start.size()), start);
}

bool IsSeparator(char character) { return character == '\\' || character == '/'; }

bool IsAtOrBelow(std::string_view key, std::string_view top) {
  return BeginsWith(key, top) && (key.size() == top.size() || IsSeparator(key[top.size()]));
}

}  // namespace

std::string WithBitnessNode(std::string_view key) {
  std::string changed(key);
  for (std::size_t at = 0; at + kSoftware.size() < key.size(); ++at) {
    if (!BeginsWith(key.substr(at), kSoftware)) continue;
    std::size_t company = at + kSoftware.size();
    while (company < key.size() && IsSeparator(key[company])) ++company;
    const bool separated = company > at + kSoftware.size();
    if (separated && BeginsWith(key.substr(company), kCompany)) {
      return changed.insert(company, kNode);
    }
  }
  return changed;
}

std::string WholeKey(std::string_view key) {
  std::string canonical = platform::CanonicalSettingKey(key);
  bool rooted = IsAtOrBelow(key, "HKEY_LOCAL_MACHINE") || IsAtOrBelow(key, "HKLM");
  if (rooted || IsAtOrBelow(canonical, "SOFTWARE")) return WithBitnessNode(canonical);
  std::string product = WholeKey(Key::Product);
  return canonical.empty() || canonical == "." ? product : product + "\\" + canonical;
}

std::string_view RelativeKey(std::string_view wholeKey) {
  std::string_view product = WholeKey(Key::Product);
  if (!IsAtOrBelow(wholeKey, product)) return wholeKey;
  return wholeKey.size() == product.size() ? "." : wholeKey.substr(product.size() + 1);
}

}  // namespace corvane::settings
