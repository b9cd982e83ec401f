#include "connector/delivery/SmtpRoute.h"

#include "connector/delivery/AddressHelpers.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

constexpr std::size_t kDomainBytes = 255;
constexpr std::size_t kAddressBytes = 511;

std::string PostmasterOf(std::string_view domain) {
  return std::string("POSTMASTER@").append(domain);
}

}  // namespace

void ResolveSmtpRoute(std::string_view address, std::string& domainOut, std::string& addressOut) {
  const std::size_t colon = address.find(':');
  if (colon != std::string_view::npos) {
    const std::string_view hops = address.substr(0, colon);
    const std::size_t comma = hops.find(',');
    domainOut = hops.substr(0, comma).substr(0, kDomainBytes);
    addressOut = address.substr((comma == std::string_view::npos ? colon : comma) + 1);
    return;
  }
  const std::size_t at = address.find('@');
  if (at != std::string_view::npos) {
    domainOut = address.substr(at + 1, kDomainBytes);
    addressOut = address;
    return;
  }
  const std::string local = settings::Get(settings::kLocalDomainName);
  LogDebug(std::string("CV-E0117: ERR:Error resolving SMTP Address for ")
               .append(address)
               .append(". Message directed to Postmaster@")
               .append(local)
               .append(".\n"));
  domainOut = local;
  addressOut = PostmasterOf(local);
}

std::string_view BounceAddress(std::string_view senderItem) {
  const std::size_t colon = senderItem.find(':');
  const std::size_t end = senderItem.find(']');
  if (colon == std::string_view::npos || end == std::string_view::npos || end < colon) return {};
  return senderItem.substr(colon + 1, end - colon - 1);
}

std::string PostmasterForBounce(const ConnectorMessage& message, std::string_view senderAddress) {
  const std::size_t at = senderAddress.rfind('@');
  if (at == std::string_view::npos) {
    LogDebug(std::string("CV-E0003: [")
                 .append(message.MessageID)
                 .append("] Could not resolve return path address for ")
                 .append(senderAddress)
                 .append(".\n"));
    return PostmasterOf(settings::Get(settings::kLocalDomainName)).substr(0, kAddressBytes);
  }
  const std::string_view domain = senderAddress.substr(at + 1);
  const std::string from = IsLocalDomain(domain) ? PostmasterOf(domain) : PostmasterAddress();
  return from.substr(0, kAddressBytes);
}

}  // namespace corvane
