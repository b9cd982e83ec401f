#include "configuration/Edits.h"

#include <algorithm>
#include <string>

#include "configuration/Lookups.h"
#include "platform/Path.h"

namespace corvane::configuration {
namespace {

using platform::Statement;
using platform::Transaction;

// A change that touches a row or, where the row isn't there, says `otherwise`.
EditResult RunOnOne(Database& store, Statement& statement, EditResult otherwise) {
  if (!statement.Run()) return EditResult::kFailed;
  return store.Changes() > 0 ? EditResult::kDone : otherwise;
}

// The change as a whole: what `body` did stays only if it is kDone.
template <typename Body>
EditResult InTransaction(Database& store, Body&& body) {
  Transaction transaction(store);
  if (!transaction.Begun()) return EditResult::kFailed;
  const EditResult result = body();
  if (result != EditResult::kDone) return result;
  return transaction.Commit() ? EditResult::kDone : EditResult::kFailed;
}

EditResult Expect(Answer answer, EditResult otherwise) {
  if (answer == Answer::kUnreachable) return EditResult::kFailed;
  return answer == Answer::kFound ? EditResult::kDone : otherwise;
}

EditResult ExpectPostoffice(Database& store, std::string_view name) {
  PostofficeEntry found;
  return Expect(FindPostoffice(store, name, found), EditResult::kNoOwner);
}

EditResult ExpectMailbox(Database& store, std::string_view postoffice, std::string_view name,
                         EditResult otherwise) {
  MailboxEntry found;
  return Expect(FindMailbox(store, postoffice, name, found), otherwise);
}

EditResult ExpectGroup(Database& store, std::string_view postoffice, std::string_view name,
                       EditResult otherwise) {
  GroupEntry found;
  return Expect(FindGroup(store, postoffice, name, found), otherwise);
}

std::string MailboxKey(std::string_view postoffice, std::string_view mailbox) {
  return std::string(postoffice) + "/" + std::string(mailbox);
}

std::string ItemOf(std::string_view postoffice, std::string_view name) {
  return "[SF:" + MailboxKey(postoffice, name) + "]";
}

// An item of this connector must name what is there. What others deliver is not known here.
EditResult ExpectTarget(Database& store, std::string_view item) {
  constexpr std::string_view kLocal = "[SF:";
  if (!platform::EqualsNoCase(item.substr(0, kLocal.size()), kLocal) || !item.ends_with(']')) {
    return EditResult::kDone;
  }
  const std::string_view names = item.substr(kLocal.size(), item.size() - kLocal.size() - 1);
  const std::size_t slash = std::min(names.find('/'), names.size());
  const std::string_view postoffice = names.substr(0, slash);
  const std::string_view name = names.substr(std::min(slash + 1, names.size()));
  const EditResult mailbox = ExpectMailbox(store, postoffice, name, EditResult::kNoTarget);
  if (mailbox != EditResult::kNoTarget) return mailbox;
  return ExpectGroup(store, postoffice, name, EditResult::kNoTarget);
}

bool DeleteOptions(Database& store, std::int32_t kind, std::string_view key) {
  Statement statement = store.Prepare("DELETE FROM option WHERE kind = ?1 AND key = ?2");
  return statement.Bind(1, std::int64_t{kind}).Bind(2, key).Run();
}

// What names the item elsewhere: its address maps and its places in groups.
bool DeleteMentions(Database& store, std::string_view item) {
  Statement maps = store.Prepare("DELETE FROM address_map WHERE item = ?1");
  Statement members = store.Prepare("DELETE FROM member WHERE item = ?1");
  return maps.Bind(1, item).Run() && members.Bind(1, item).Run();
}

// Options, maps and members hang on names, not on rows: those of everything in the postoffice.
bool DeleteWhatNames(Database& store, std::string_view postoffice) {
  Statement options = store.Prepare(
      "DELETE FROM option WHERE kind = 2 AND key IN ("
      "SELECT p.name || '/' || m.name FROM postoffice p JOIN mailbox m ON m.postoffice = p.id "
      "WHERE p.name = ?1)");
  const std::string items =
      "item IN (SELECT '[SF:' || p.name || '/' || n.name || ']' FROM postoffice p JOIN ("
      "SELECT postoffice, name FROM mailbox UNION ALL SELECT postoffice, name FROM mailgroup) n "
      "ON n.postoffice = p.id WHERE p.name = ?1)";
  Statement maps = store.Prepare("DELETE FROM address_map WHERE " + items);
  Statement members = store.Prepare("DELETE FROM member WHERE " + items);
  return DeleteOptions(store, 1, postoffice) && options.Bind(1, postoffice).Run() &&
         maps.Bind(1, postoffice).Run() && members.Bind(1, postoffice).Run();
}

EditResult ExpectNoContent(Database& store, std::string_view postoffice) {
  Statement statement = store.Prepare(
      "SELECT 1 FROM postoffice p WHERE p.name = ?1 AND ("
      "EXISTS (SELECT 1 FROM mailbox m WHERE m.postoffice = p.id) OR "
      "EXISTS (SELECT 1 FROM mailgroup g WHERE g.postoffice = p.id))");
  if (statement.Bind(1, postoffice).Step()) return EditResult::kInUse;
  return statement.Failed() ? EditResult::kFailed : EditResult::kDone;
}

EditResult SetStatus(Database& store, const char* sql, std::string_view postoffice,
                     std::string_view name, std::int32_t status) {
  Statement statement = store.Prepare(sql);
  statement.Bind(1, postoffice).Bind(2, std::int64_t{status});
  if (!name.empty()) statement.Bind(3, name);
  return RunOnOne(store, statement, EditResult::kMissing);
}

}  // namespace

EditResult AddPostoffice(Database& store, std::string_view name, std::int32_t status) {
  Statement statement =
      store.Prepare("INSERT OR IGNORE INTO postoffice (name, status) VALUES (?1, ?2)");
  statement.Bind(1, name).Bind(2, std::int64_t{status});
  return RunOnOne(store, statement, EditResult::kExists);
}

EditResult SetPostoffice(Database& store, std::string_view name, std::int32_t status) {
  return SetStatus(store, "UPDATE postoffice SET status = ?2 WHERE name = ?1", name, {}, status);
}

EditResult RemovePostoffice(Database& store, std::string_view name, bool withContent) {
  return InTransaction(store, [&] {
    const EditResult content = withContent ? EditResult::kDone : ExpectNoContent(store, name);
    if (content != EditResult::kDone) return content;
    if (!DeleteWhatNames(store, name)) return EditResult::kFailed;
    Statement statement = store.Prepare("DELETE FROM postoffice WHERE name = ?1");
    return RunOnOne(store, statement.Bind(1, name), EditResult::kMissing);
  });
}

EditResult AddMailbox(Database& store, std::string_view postoffice, std::string_view mailbox,
                      const MailboxChange& values) {
  return InTransaction(store, [&] {
    const EditResult owner = ExpectPostoffice(store, postoffice);
    if (owner != EditResult::kDone) return owner;
    const EditResult group = ExpectGroup(store, postoffice, mailbox, EditResult::kMissing);
    if (group != EditResult::kMissing) {
      return group == EditResult::kDone ? EditResult::kTaken : group;
    }
    Statement statement = store.Prepare(
        "INSERT OR IGNORE INTO mailbox (postoffice, name, status, quota, redirect, redirect_status)"
        " SELECT id, ?2, ?3, ?4, ?5, ?6 FROM postoffice WHERE name = ?1");
    statement.Bind(1, postoffice).Bind(2, mailbox);
    statement.Bind(3, std::int64_t{values.status.value_or(1)});
    const auto quota = values.quota.value_or(std::nullopt);
    if (quota) statement.Bind(4, std::int64_t{*quota});
    statement.Bind(5, values.redirect.value_or(""));
    statement.Bind(6, std::int64_t{values.redirectStatus.value_or(0)});
    return RunOnOne(store, statement, EditResult::kExists);
  });
}

EditResult SetMailbox(Database& store, std::string_view postoffice, std::string_view mailbox,
                      const MailboxChange& values) {
  return InTransaction(store, [&] {
    MailboxEntry entry;
    const EditResult found =
        Expect(FindMailbox(store, postoffice, mailbox, entry), EditResult::kMissing);
    if (found != EditResult::kDone) return found;
    Statement statement = store.Prepare(
        "UPDATE mailbox SET status = ?3, quota = ?4, redirect = ?5, redirect_status = ?6 "
        "WHERE name = ?2 AND postoffice = (SELECT id FROM postoffice WHERE name = ?1)");
    statement.Bind(1, postoffice).Bind(2, mailbox);
    statement.Bind(3, std::int64_t{values.status.value_or(entry.status)});
    const auto quota = values.quota.value_or(entry.quota);
    if (quota) statement.Bind(4, std::int64_t{*quota});
    statement.Bind(5, values.redirect.value_or(entry.redirect));
    statement.Bind(6, std::int64_t{values.redirectStatus.value_or(entry.redirectStatus)});
    return RunOnOne(store, statement, EditResult::kMissing);
  });
}

EditResult RemoveMailbox(Database& store, std::string_view postoffice, std::string_view mailbox) {
  return InTransaction(store, [&] {
    if (!DeleteOptions(store, 2, MailboxKey(postoffice, mailbox)) ||
        !DeleteMentions(store, ItemOf(postoffice, mailbox))) {
      return EditResult::kFailed;
    }
    Statement statement = store.Prepare(
        "DELETE FROM mailbox WHERE name = ?2 AND "
        "postoffice = (SELECT id FROM postoffice WHERE name = ?1)");
    statement.Bind(1, postoffice).Bind(2, mailbox);
    return RunOnOne(store, statement, EditResult::kMissing);
  });
}

EditResult AddGroup(Database& store, std::string_view postoffice, std::string_view group,
                    std::int32_t status) {
  return InTransaction(store, [&] {
    const EditResult owner = ExpectPostoffice(store, postoffice);
    if (owner != EditResult::kDone) return owner;
    const EditResult mailbox = ExpectMailbox(store, postoffice, group, EditResult::kMissing);
    if (mailbox != EditResult::kMissing) {
      return mailbox == EditResult::kDone ? EditResult::kTaken : mailbox;
    }
    Statement statement = store.Prepare(
        "INSERT OR IGNORE INTO mailgroup (postoffice, name, status) "
        "SELECT id, ?2, ?3 FROM postoffice WHERE name = ?1");
    statement.Bind(1, postoffice).Bind(2, group).Bind(3, std::int64_t{status});
    return RunOnOne(store, statement, EditResult::kExists);
  });
}

EditResult SetGroup(Database& store, std::string_view postoffice, std::string_view group,
                    std::int32_t status) {
  return SetStatus(store,
                   "UPDATE mailgroup SET status = ?2 WHERE name = ?3 AND "
                   "postoffice = (SELECT id FROM postoffice WHERE name = ?1)",
                   postoffice, group, status);
}

EditResult RemoveGroup(Database& store, std::string_view postoffice, std::string_view group) {
  return InTransaction(store, [&] {
    if (!DeleteMentions(store, ItemOf(postoffice, group))) return EditResult::kFailed;
    Statement statement = store.Prepare(
        "DELETE FROM mailgroup WHERE name = ?2 AND "
        "postoffice = (SELECT id FROM postoffice WHERE name = ?1)");
    statement.Bind(1, postoffice).Bind(2, group);
    return RunOnOne(store, statement, EditResult::kMissing);
  });
}

EditResult AddMember(Database& store, std::string_view postoffice, std::string_view group,
                     std::string_view item) {
  return InTransaction(store, [&] {
    const EditResult owner = ExpectGroup(store, postoffice, group, EditResult::kNoOwner);
    if (owner != EditResult::kDone) return owner;
    const EditResult target = ExpectTarget(store, item);
    if (target != EditResult::kDone) return target;
    Statement statement = store.Prepare(
        "INSERT OR IGNORE INTO member (mailgroup, item) SELECT g.id, ?3 FROM postoffice p "
        "JOIN mailgroup g ON g.postoffice = p.id WHERE p.name = ?1 AND g.name = ?2");
    statement.Bind(1, postoffice).Bind(2, group).Bind(3, item);
    return RunOnOne(store, statement, EditResult::kExists);
  });
}

EditResult RemoveMember(Database& store, std::string_view postoffice, std::string_view group,
                        std::string_view item) {
  return InTransaction(store, [&] {
    const EditResult owner = ExpectGroup(store, postoffice, group, EditResult::kNoOwner);
    if (owner != EditResult::kDone) return owner;
    Statement statement = store.Prepare(
        "DELETE FROM member WHERE item = ?3 AND mailgroup = (SELECT g.id FROM postoffice p "
        "JOIN mailgroup g ON g.postoffice = p.id WHERE p.name = ?1 AND g.name = ?2)");
    statement.Bind(1, postoffice).Bind(2, group).Bind(3, item);
    return RunOnOne(store, statement, EditResult::kMissing);
  });
}

EditResult AddDomain(Database& store, std::string_view name) {
  Statement statement = store.Prepare("INSERT OR IGNORE INTO domain (name) VALUES (?1)");
  return RunOnOne(store, statement.Bind(1, name), EditResult::kExists);
}

EditResult RemoveDomain(Database& store, std::string_view name) {
  Statement statement = store.Prepare("DELETE FROM domain WHERE name = ?1");
  return RunOnOne(store, statement.Bind(1, name), EditResult::kMissing);
}

EditResult AddMap(Database& store, std::string_view address, std::string_view item) {
  return InTransaction(store, [&] {
    const EditResult target = ExpectTarget(store, item);
    if (target != EditResult::kDone) return target;
    Statement statement =
        store.Prepare("INSERT OR IGNORE INTO address_map (address, item) VALUES (?1, ?2)");
    return RunOnOne(store, statement.Bind(1, address).Bind(2, item), EditResult::kExists);
  });
}

EditResult RemoveMap(Database& store, std::string_view address) {
  Statement statement = store.Prepare("DELETE FROM address_map WHERE address = ?1");
  return RunOnOne(store, statement.Bind(1, address), EditResult::kMissing);
}

EditResult SetOption(Database& store, std::int32_t kind, std::string_view key,
                     std::string_view name, std::string_view value) {
  return InTransaction(store, [&] {
    const std::size_t slash = key.find('/');
    const EditResult owner = kind == 1 || slash == std::string_view::npos
                                 ? ExpectPostoffice(store, key)
                                 : ExpectMailbox(store, key.substr(0, slash), key.substr(slash + 1),
                                                 EditResult::kNoOwner);
    if (owner != EditResult::kDone) return owner;
    Statement statement = store.Prepare(
        "INSERT INTO option (kind, key, name, value) VALUES (?1, ?2, ?3, ?4) "
        "ON CONFLICT (kind, key, name) DO UPDATE SET value = excluded.value");
    statement.Bind(1, std::int64_t{kind}).Bind(2, key).Bind(3, name).Bind(4, value);
    return RunOnOne(store, statement, EditResult::kFailed);
  });
}

EditResult DeleteOption(Database& store, std::int32_t kind, std::string_view key,
                        std::string_view name) {
  Statement statement =
      store.Prepare("DELETE FROM option WHERE kind = ?1 AND key = ?2 AND name = ?3");
  statement.Bind(1, std::int64_t{kind}).Bind(2, key).Bind(3, name);
  return RunOnOne(store, statement, EditResult::kMissing);
}

}  // namespace corvane::configuration
