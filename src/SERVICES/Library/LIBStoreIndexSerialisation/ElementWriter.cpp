#include "SERVICES/Library/LIBStoreIndexSerialisation/ElementWriter.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <new>

#include "SERVICES/Library/LIBStoreIndexCore/IndexFiles.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

// Of a mail item only these hold text from outside that isn't plain.
constexpr std::string_view kEscapedInMail[] = {"SUBJECT", "FROM", "TO", "CC", "MSGID", "THREAD"};

void AppendNumber(std::string* out, std::uint32_t number) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  out->append(digits, end);
}

}  // namespace

ElementWriter::ElementWriter(std::int32_t messageClass)
    : validUtf8_(settings::Get(settings::kIndexRequiresValidUtf8) != 0) {
  const PropertyMap names = CloneGlobalPropertyMap();
  // Without the names the elements would lose everything that they have.
  if (names.empty()) throw std::bad_alloc();
  for (const auto& [name, id] : names) {
    if (IsKeyOrPlace(name) || !IsPropertyName(name)) {
      continue;
    }
    const bool whole = messageClass != kClassMail ||
                       std::find(std::begin(kEscapedInMail), std::end(kEscapedInMail), name) !=
                           std::end(kEscapedInMail);
    properties_.push_back({name, id, whole});
  }
}

const std::string& ElementWriter::Write(const IndexItemPropertyContainer& item) {
  const std::uint32_t uid = item.GetNumber(kPropertyUID);
  element_ = indexformat::ElementHead(item.TextView(kPropertyID),
                                      item.Has(kPropertyUID) ? std::to_string(uid) : "");
  element_ += '>';
  for (const Property& property : properties_) {
    if (!item.Has(property.id)) continue;
    element_.append("<").append(property.name).append(">");
    if (property.id.Type == kPropertyNumber) {
      AppendNumber(&element_, item.GetNumber(property.id));
    } else {
      indexformat::AppendValue(&element_, item.TextView(property.id), property.whole, validUtf8_);
    }
    element_.append("</").append(property.name).append(">");
  }
  element_.append(indexformat::kElementEnd);
  return element_;
}

}  // namespace corvane
