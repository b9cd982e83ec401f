// CVAIPO.cpp -- postoffices, mailboxes and groups out of the configuration store. Any thread.
#include <algorithm>
#include <string>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "common/ExportGuard.h"
#include "common/RecordText.h"
#include "configuration/ConfiguredStore.h"
#include "configuration/Enumerations.h"
#include "configuration/Lookups.h"
#include "configuration/MailboxSizes.h"

namespace corvane::configuration {
namespace {

constexpr std::int32_t kUnreachable = static_cast<std::int32_t>(Answer::kUnreachable);
// -1 would say that the postoffice is disabled, and its mail be dropped; 0, and it be bounced. Any
// other number sends the caller on to GroupGet, whose -1 keeps the mail in the queue.
constexpr std::int32_t kPostofficeUnreachable = -2;
constexpr std::uint32_t kNoLimit = 0xFFFFFFFF;

// Never destroyed: threads may still ask while the process ends.
MailboxSizes& TheSizes() {
  static MailboxSizes& sizes = *new MailboxSizes;
  return sizes;
}

std::uint32_t SizeInKb(const MailboxEntry& mailbox, const std::string& customRoot) {
  const std::string directory = MailboxDirectory(mailbox.postoffice, mailbox.name, customRoot);
  if (directory.empty()) return 0;
  const std::uint64_t kilobytes = (TheSizes().BytesOf(directory) + 1023) / 1024;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(kilobytes, kNoLimit - 1));
}

std::int32_t GetPostoffice(PostofficeRecord& record) {
  PostofficeEntry found;
  const Answer answer = AskStore([&](platform::Database& store) {
    return FindPostoffice(store, TextOf(record.Postoffice), found);
  });
  if (answer == Answer::kUnreachable) return kPostofficeUnreachable;
  if (answer == Answer::kFound) record.Status = found.status;
  return static_cast<std::int32_t>(answer);
}

std::int32_t GetMailbox(MailboxRecord& record) {
  MailboxEntry found;
  std::string customRoot;
  const Answer answer = AskStore([&](platform::Database& store) {
    const Answer mailbox =
        FindMailbox(store, TextOf(record.Postoffice), TextOf(record.Mailbox), found);
    if (mailbox != Answer::kFound || !AllowsCustomRoots()) return mailbox;
    const Answer root = FindOption(store, static_cast<std::int32_t>(OptionKind::kPostoffice),
                                   found.postoffice, kPostofficeRootOption, customRoot);
    return root == Answer::kUnreachable ? root : mailbox;
  });
  if (answer == Answer::kUnreachable) {
    record.Status = kProviderUnreachable;
    return -1;
  }
  if (answer != Answer::kFound) return 0;
  SetText(record.RedirectAddress, found.redirect);
  record.RedirectStatus = found.redirectStatus;
  record.Status = found.status;
  record.Limit = found.quota.value_or(kNoLimit);
  record.Size = SizeInKb(found, customRoot);
  return 1;
}

std::int32_t GetGroup(GroupRecord& record) {
  GroupEntry found;
  const Answer answer = AskStore([&](platform::Database& store) {
    return FindGroup(store, TextOf(record.Postoffice), TextOf(record.GroupName), found);
  });
  if (answer == Answer::kFound) record.GroupStatus = found.status;
  return static_cast<std::int32_t>(answer);
}

Enumerations& WalksOfThread() {
  thread_local Enumerations walks;
  return walks;
}

// Hands out the member behind the last one of the walk, if the group is being walked. A walk whose
// store is out of reach stays where it is.
std::int32_t NextMember(GroupMemberRecord& record, std::int64_t* last) {
  if (last == nullptr) return 0;
  const std::string_view postoffice = TextOf(record.Postoffice);
  const std::string_view group = TextOf(record.GroupName);
  MemberEntry found;
  const Answer answer = AskStorePatiently([&](platform::Database& store) {
    return FindMember(store, postoffice, group, *last, found);
  });
  if (answer == Answer::kFound) {
    *last = found.number;
    SetText(record.MemberAddress, found.item);
    return 1;
  }
  if (answer == Answer::kUnreachable) return kProviderUnreachable;
  WalksOfThread().End(postoffice, group);
  return 0;
}

}  // namespace
}  // namespace corvane::configuration

using corvane::GuardExport;

extern "C" {

[[gnu::visibility("default")]] std::int32_t PostofficeGet(corvane::PostofficeRecord* record) {
  if (record == nullptr) return 0;
  return GuardExport("PostofficeGet", corvane::configuration::kPostofficeUnreachable,
                     [&] { return corvane::configuration::GetPostoffice(*record); });
}

[[gnu::visibility("default")]] std::int32_t MailboxGet(corvane::MailboxRecord* record) {
  if (record == nullptr) return 0;
  const std::int32_t answer =
      GuardExport("MailboxGet", -1, [&] { return corvane::configuration::GetMailbox(*record); });
  // Not 0 for an exception either: that would bounce good mail.
  if (answer == -1) record->Status = corvane::kProviderUnreachable;
  return answer;
}

[[gnu::visibility("default")]] std::int32_t GroupGet(corvane::GroupRecord* record) {
  if (record == nullptr) return 0;
  return GuardExport("GroupGet", corvane::configuration::kUnreachable,
                     [&] { return corvane::configuration::GetGroup(*record); });
}

[[gnu::visibility("default")]] std::int32_t GroupMemberFindFirst(
    corvane::GroupMemberRecord* record) {
  if (record == nullptr) return 0;
  return GuardExport("GroupMemberFindFirst", corvane::kProviderUnreachable, [&] {
    return corvane::configuration::NextMember(
        *record, corvane::configuration::WalksOfThread().Begin(corvane::TextOf(record->Postoffice),
                                                               corvane::TextOf(record->GroupName)));
  });
}

[[gnu::visibility("default")]] std::int32_t GroupMemberFindNext(
    corvane::GroupMemberRecord* record) {
  if (record == nullptr) return 0;
  return GuardExport("GroupMemberFindNext", corvane::kProviderUnreachable, [&] {
    return corvane::configuration::NextMember(
        *record, corvane::configuration::WalksOfThread().Find(corvane::TextOf(record->Postoffice),
                                                              corvane::TextOf(record->GroupName)));
  });
}

}  // extern "C"
