#include "connector/settings/SettingsTable.h"

#include <array>

namespace corvane::settings {
namespace {

#define CV_PRODUCT_KEY "SOFTWARE\\Wow6432Node\\Corvane\\Corvane"

struct KeyRow {
  const char* whole;
  const char* relative;
};

// In the order of Key.
#define CV_KEY(relative) \
  { CV_PRODUCT_KEY "\\" relative, relative }
constexpr KeyRow kKeys[] = {
    {CV_PRODUCT_KEY, "."},
    CV_KEY("CONNECTORS"),
    CV_KEY("CONNECTORS\\SF"),
    CV_KEY("CONNECTORS\\SMTP"),
    CV_KEY("Connectors\\LS\\Counters"),
    CV_KEY("Agents\\MTA\\Filters\\MTAFILTER"),
    CV_KEY("Agents\\MTA\\Filters\\MTAFILTER\\Counters"),
    CV_KEY("Services\\WEBMAIL"),
    CV_KEY("Services\\WEBMAIL\\Options"),
    CV_KEY("SERVICES\\IMAP"),
    CV_KEY("Providers"),
    CV_KEY("Providers\\Store"),
    CV_KEY("Providers\\Authentication"),
    CV_KEY("Auditing"),
};
static_assert(std::size(kKeys) == static_cast<std::size_t>(Key::Auditing) + 1);

constexpr const Setting* kSettings[] = {
#define CV_NUMBER(constant, ...) &constant,
#define CV_NUMBER_UNREAD(constant, ...) &constant,
#define CV_TEXT(constant, ...) &constant,
#define CV_COUNTER(constant, ...) &constant,
#include "connector/settings/SettingsRows.inc"
};

constexpr const DwordSetting* kNumbers[] = {
#define CV_NUMBER(constant, ...) &constant,
#define CV_NUMBER_UNREAD(constant, ...) &constant,
#define CV_TEXT(constant, ...)
#define CV_COUNTER(constant, ...) &constant,
#include "connector/settings/SettingsRows.inc"
};

constexpr const TextSetting* kTexts[] = {
#define CV_NUMBER(constant, ...)
#define CV_NUMBER_UNREAD(constant, ...)
#define CV_TEXT(constant, ...) &constant,
#define CV_COUNTER(constant, ...)
#include "connector/settings/SettingsRows.inc"
};

}  // namespace

const char* WholeKey(Key key) { return kKeys[static_cast<std::size_t>(key)].whole; }
const char* RelativeKey(Key key) { return kKeys[static_cast<std::size_t>(key)].relative; }

std::span<const Setting* const> AllSettings() { return kSettings; }
std::span<const DwordSetting* const> AllNumbers() { return kNumbers; }
std::span<const TextSetting* const> AllTexts() { return kTexts; }

}  // namespace corvane::settings
