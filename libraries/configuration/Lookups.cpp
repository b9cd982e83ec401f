#include "configuration/Lookups.h"

namespace corvane::configuration {
namespace {

using platform::Statement;

// One row, read into the caller's entry.
template <typename Entry>
Answer One(Statement& statement, Entry (*read)(const Statement&), Entry& found) {
  if (!statement.Step()) return statement.Failed() ? Answer::kUnreachable : Answer::kUnknown;
  found = read(statement);
  return Answer::kFound;
}

template <typename Entry>
Answer All(Statement& statement, Entry (*read)(const Statement&),
           const std::function<void(const Entry&)>& visit) {
  while (statement.Step()) visit(read(statement));
  return statement.Failed() ? Answer::kUnreachable : Answer::kFound;
}

std::string Text(const Statement& row, int column) { return std::string(row.Text(column)); }
std::int32_t Word(const Statement& row, int column) {
  return static_cast<std::int32_t>(row.Number(column));
}

std::string ReadText(const Statement& row) { return Text(row, 0); }

PostofficeEntry ReadPostoffice(const Statement& row) { return {Text(row, 0), Word(row, 1)}; }

MailboxEntry ReadMailbox(const Statement& row) {
  MailboxEntry entry;
  entry.postoffice = Text(row, 0);
  entry.name = Text(row, 1);
  entry.status = Word(row, 2);
  if (!row.IsNull(3)) entry.quota = static_cast<std::uint32_t>(row.Number(3));
  entry.redirect = Text(row, 4);
  entry.redirectStatus = Word(row, 5);
  return entry;
}

GroupEntry ReadGroup(const Statement& row) { return {Text(row, 0), Text(row, 1), Word(row, 2)}; }
MemberEntry ReadMember(const Statement& row) { return {row.Number(0), Text(row, 1)}; }
MapEntry ReadMap(const Statement& row) { return {Text(row, 0), Text(row, 1)}; }
OptionEntry ReadOption(const Statement& row) { return {Text(row, 0), Text(row, 1)}; }

}  // namespace

Answer FindPostoffice(Database& store, std::string_view name, PostofficeEntry& found) {
  Statement statement = store.Prepare("SELECT name, status FROM postoffice WHERE name = ?1");
  return One(statement.Bind(1, name), ReadPostoffice, found);
}

Answer FindMailbox(Database& store, std::string_view postoffice, std::string_view mailbox,
                   MailboxEntry& found) {
  Statement statement = store.Prepare(
      "SELECT p.name, m.name, m.status, m.quota, m.redirect, m.redirect_status "
      "FROM postoffice p JOIN mailbox m ON m.postoffice = p.id "
      "WHERE p.name = ?1 AND m.name = ?2");
  return One(statement.Bind(1, postoffice).Bind(2, mailbox), ReadMailbox, found);
}

Answer FindGroup(Database& store, std::string_view postoffice, std::string_view group,
                 GroupEntry& found) {
  Statement statement = store.Prepare(
      "SELECT p.name, g.name, g.status FROM postoffice p JOIN mailgroup g ON g.postoffice = p.id "
      "WHERE p.name = ?1 AND g.name = ?2");
  return One(statement.Bind(1, postoffice).Bind(2, group), ReadGroup, found);
}

Answer FindMember(Database& store, std::string_view postoffice, std::string_view group,
                  std::int64_t after, MemberEntry& found) {
  Statement statement = store.Prepare(
      "SELECT m.id, m.item FROM postoffice p JOIN mailgroup g ON g.postoffice = p.id "
      "JOIN member m ON m.mailgroup = g.id "
      "WHERE p.name = ?1 AND g.name = ?2 AND m.id > ?3 ORDER BY m.id LIMIT 1");
  return One(statement.Bind(1, postoffice).Bind(2, group).Bind(3, after), ReadMember, found);
}

Answer FindDomain(Database& store, std::string_view name) {
  Statement statement = store.Prepare("SELECT name FROM domain WHERE name = ?1");
  std::string found;
  return One(statement.Bind(1, name), ReadText, found);
}

Answer FindAddress(Database& store, std::string_view item, std::string& address) {
  Statement statement =
      store.Prepare("SELECT address FROM address_map WHERE item = ?1 ORDER BY id LIMIT 1");
  return One(statement.Bind(1, item), ReadText, address);
}

Answer FindOption(Database& store, std::int32_t kind, std::string_view key, std::string_view name,
                  std::string& value) {
  Statement statement =
      store.Prepare("SELECT value FROM option WHERE kind = ?1 AND key = ?2 AND name = ?3");
  return One(statement.Bind(1, std::int64_t{kind}).Bind(2, key).Bind(3, name), ReadText, value);
}

Answer ListPostoffices(Database& store, const std::function<void(const PostofficeEntry&)>& visit) {
  Statement statement = store.Prepare("SELECT name, status FROM postoffice ORDER BY name");
  return All(statement, ReadPostoffice, visit);
}

Answer ListMailboxes(Database& store, std::string_view postoffice,
                     const std::function<void(const MailboxEntry&)>& visit) {
  Statement statement = store.Prepare(
      "SELECT p.name, m.name, m.status, m.quota, m.redirect, m.redirect_status "
      "FROM postoffice p JOIN mailbox m ON m.postoffice = p.id "
      "WHERE ?1 = '' OR p.name = ?1 ORDER BY p.name, m.name");
  return All(statement.Bind(1, postoffice), ReadMailbox, visit);
}

Answer ListGroups(Database& store, std::string_view postoffice,
                  const std::function<void(const GroupEntry&)>& visit) {
  Statement statement = store.Prepare(
      "SELECT p.name, g.name, g.status FROM postoffice p JOIN mailgroup g ON g.postoffice = p.id "
      "WHERE ?1 = '' OR p.name = ?1 ORDER BY p.name, g.name");
  return All(statement.Bind(1, postoffice), ReadGroup, visit);
}

Answer ListMembers(Database& store, std::string_view postoffice, std::string_view group,
                   const std::function<void(const MemberEntry&)>& visit) {
  Statement statement = store.Prepare(
      "SELECT m.id, m.item FROM postoffice p JOIN mailgroup g ON g.postoffice = p.id "
      "JOIN member m ON m.mailgroup = g.id WHERE p.name = ?1 AND g.name = ?2 ORDER BY m.id");
  return All(statement.Bind(1, postoffice).Bind(2, group), ReadMember, visit);
}

Answer ListDomains(Database& store, const std::function<void(const std::string&)>& visit) {
  Statement statement = store.Prepare("SELECT name FROM domain ORDER BY name");
  return All(statement, ReadText, visit);
}

Answer ListMaps(Database& store, const std::function<void(const MapEntry&)>& visit) {
  Statement statement = store.Prepare("SELECT item, address FROM address_map ORDER BY item, id");
  return All(statement, ReadMap, visit);
}

Answer ListOptions(Database& store, std::int32_t kind, std::string_view key,
                   const std::function<void(const OptionEntry&)>& visit) {
  Statement statement =
      store.Prepare("SELECT name, value FROM option WHERE kind = ?1 AND key = ?2 ORDER BY name");
  return All(statement.Bind(1, std::int64_t{kind}).Bind(2, key), ReadOption, visit);
}

}  // namespace corvane::configuration
