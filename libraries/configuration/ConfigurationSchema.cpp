#include "configuration/ConfigurationSchema.h"

namespace corvane::configuration {
namespace {

// "CVCS" in the file's own mark, so that another program's database is never taken for ours.
constexpr std::int64_t kApplicationId = 0x43564353;
constexpr std::int64_t kVersion = 1;

constexpr const char* kTables = R"sql(
CREATE TABLE IF NOT EXISTS postoffice (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL UNIQUE COLLATE NOCASE,
  status INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS mailbox (
  id INTEGER PRIMARY KEY,
  postoffice INTEGER NOT NULL REFERENCES postoffice ON DELETE CASCADE,
  name TEXT NOT NULL COLLATE NOCASE,
  status INTEGER NOT NULL,
  quota INTEGER,
  redirect TEXT NOT NULL,
  redirect_status INTEGER NOT NULL,
  UNIQUE (postoffice, name));
CREATE TABLE IF NOT EXISTS mailgroup (
  id INTEGER PRIMARY KEY,
  postoffice INTEGER NOT NULL REFERENCES postoffice ON DELETE CASCADE,
  name TEXT NOT NULL COLLATE NOCASE,
  status INTEGER NOT NULL,
  UNIQUE (postoffice, name));
CREATE TABLE IF NOT EXISTS member (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  mailgroup INTEGER NOT NULL REFERENCES mailgroup ON DELETE CASCADE,
  item TEXT NOT NULL COLLATE NOCASE,
  UNIQUE (mailgroup, item));
CREATE INDEX IF NOT EXISTS member_order ON member (mailgroup, id);
CREATE TABLE IF NOT EXISTS domain (
  name TEXT NOT NULL PRIMARY KEY COLLATE NOCASE) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS address_map (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  item TEXT NOT NULL COLLATE NOCASE,
  address TEXT NOT NULL UNIQUE COLLATE NOCASE);
CREATE INDEX IF NOT EXISTS address_map_item ON address_map (item, id);
CREATE TABLE IF NOT EXISTS option (
  kind INTEGER NOT NULL,
  key TEXT NOT NULL COLLATE NOCASE,
  name TEXT NOT NULL COLLATE NOCASE,
  value TEXT NOT NULL,
  PRIMARY KEY (kind, key, name)) WITHOUT ROWID;
PRAGMA application_id = 1129726803;
PRAGMA user_version = 1;
)sql";
static_assert(kApplicationId == 1129726803 && kVersion == 1, "the marks that kTables sets");

// -1 on failure.
std::int64_t NumberOf(platform::Database& database, const char* query) {
  platform::Statement statement = database.Prepare(query);
  return statement.Step() ? statement.Number(0) : -1;
}

}  // namespace

bool CreateTables(platform::Database& database) {
  platform::Transaction transaction(database);
  return transaction.Begun() && database.Execute(kTables) && transaction.Commit();
}

StoreForm FormOf(platform::Database& database) {
  const std::int64_t mark = NumberOf(database, "PRAGMA application_id");
  if (mark < 0) return StoreForm::kFailed;
  if (mark == kApplicationId) {
    return NumberOf(database, "PRAGMA user_version") == kVersion ? StoreForm::kSound
                                                                 : StoreForm::kForeign;
  }
  const std::int64_t tables = NumberOf(database, "SELECT count(*) FROM sqlite_schema");
  if (tables < 0) return StoreForm::kFailed;
  return tables == 0 ? StoreForm::kEmpty : StoreForm::kForeign;
}

}  // namespace corvane::configuration
