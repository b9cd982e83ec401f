#include "connector/delivery/ParsedAddress.h"

#include <algorithm>

#include "platform/Reports.h"

namespace corvane {
namespace {

constexpr std::size_t kMaximumItems = 1'000'000;
constexpr std::size_t kNone = std::string_view::npos;

}  // namespace

ParsedAddress ParsedAddress::Parse(std::string_view item) {
  ParsedAddress parsed;
  parsed.Raw = item;
  if (item.size() < 2 || item.front() != '[') return parsed;
  const std::size_t colon = item.find(':');
  if (colon == kNone) return parsed;
  parsed.Connector = item.substr(1, colon - 1);
  const std::string_view address = item.substr(colon + 1);
  if (parsed.Connector == "SMTP") {
    parsed.SmtpAddress = address.substr(0, address.find(']'));
  } else if (parsed.Connector == "SF" || parsed.Connector == "LS") {
    const std::size_t slash = address.find('/');
    if (slash == kNone) return parsed;
    const std::string_view name = address.substr(slash + 1);
    parsed.Postoffice = address.substr(0, slash);
    parsed.Mailbox = name.substr(0, name.find(']', 1));
  } else {
    platform::WriteDebugChannel("Unknown Format");
  }
  return parsed;
}

bool ParsedAddress::ToInternetAddress(std::string& address) const {
  address.clear();
  if (Connector == "SMTP") {
    address = SmtpAddress;
  } else if (Connector == "SF") {
    address.append(Mailbox).append("@").append(Postoffice);
  } else {
    return false;
  }
  return true;
}

RecipientNames SplitRecipient(std::string_view item) {
  RecipientNames names;
  const std::size_t colon = item.find(':');
  const std::size_t slash = item.find('/');
  if (colon == kNone || slash == kNone) return names;
  names.hasSigns = true;
  if (slash > colon) names.postoffice = item.substr(colon + 1, slash - colon - 1);
  const std::string_view name = item.substr(slash + 1);
  const std::size_t end = name.find(']', 1);
  names.closed = end != kNone;
  if (names.closed) names.name = name.substr(0, end);
  return names;
}

std::string_view SenderAddress(std::string_view sender) {
  constexpr std::string_view kPrefix = "[SMTP:";
  if (!sender.starts_with(kPrefix)) return {};
  const std::string_view address = sender.substr(kPrefix.size());
  const std::size_t end = address.find(']');
  if (end == kNone) return {};
  return address.substr(0, std::min<std::size_t>(end, 1023));
}

RecipientWalker::RecipientWalker(std::string_view list) : list_(list) {
  if (list.empty()) return;
  const std::size_t last = list.find_last_not_of(';');
  end_ = last == kNone ? 0 : last + 1;
  const auto separators = std::count(list.begin() + 1, list.end(), ';');
  count_ = std::min(static_cast<std::size_t>(separators) + 1, kMaximumItems);
}

std::optional<std::string_view> RecipientWalker::Next() {
  if (given_ == count_) return std::nullopt;
  // A separator at the very start belongs to the first item.
  const std::size_t end = list_.find(';', given_ == 0 ? 1 : at_);
  const std::string_view item = list_.substr(at_, end == kNone ? kNone : end - at_);
  at_ = end == kNone ? list_.size() : end + 1;
  ++given_;
  return item;
}

bool RecipientWalker::HasMore() const { return given_ < count_ && at_ < end_; }

}  // namespace corvane
