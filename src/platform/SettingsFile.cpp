#include "platform/SettingsFile.h"

#include <utility>

#include "platform/Error.h"

namespace corvane::platform {
namespace {

constexpr std::int64_t kVersion = 1;

constexpr const char* kMakeTable =
    "CREATE TABLE IF NOT EXISTS setting("
    " key TEXT NOT NULL COLLATE NOCASE,"
    " name TEXT NOT NULL COLLATE NOCASE,"
    " type INTEGER NOT NULL,"
    " value,"
    " PRIMARY KEY(key, name),"
    " CHECK(type = 4 AND typeof(value) = 'integer' AND value BETWEEN 0 AND 4294967295"
    "  OR type = 1 AND typeof(value) = 'text'"
    "  OR type = 3 AND typeof(value) = 'blob'"
    "  OR type = 0 AND name = '' AND value IS NULL)"
    ") WITHOUT ROWID;"
    "PRAGMA user_version = 1";

constexpr const char* kReadAll = "SELECT key, name, type, value FROM setting";
constexpr const char* kTableIsThere = "SELECT 1 FROM sqlite_schema WHERE name = 'setting'";
constexpr const char* kSpellingOfKey = "SELECT key FROM setting WHERE key = ?1 LIMIT 1";
constexpr const char* kSet =
    "INSERT INTO setting(key, name, type, value) VALUES(?1, ?2, ?3, ?4)"
    " ON CONFLICT(key, name) DO UPDATE SET type = excluded.type, value = excluded.value";
constexpr const char* kMakeKey =
    "INSERT INTO setting(key, name, type, value) SELECT ?1, '', 0, NULL"
    " WHERE NOT EXISTS(SELECT 1 FROM setting WHERE key = ?1)";
constexpr const char* kDeleteValue =
    "DELETE FROM setting WHERE key = ?1 AND name = ?2 AND type <> 0";
// ']' is the byte behind '\', so the range holds all that begins with the key and a separator.
constexpr const char* kDeleteKey =
    "DELETE FROM setting WHERE key = ?1 OR key >= ?1 || '\\' AND key < ?1 || ']'";

// What is in the file. A file that can't be read is none without a table.
struct Contents {
  std::int64_t version = 0;
  bool hasTable = false;
};

// Nothing, with the reason, for a file that can't be read or is too new.
std::optional<Contents> LookInto(Database& database, std::string* why) {
  Contents contents;
  Statement version = database.Prepare("PRAGMA user_version");
  if (version.Step()) contents.version = version.Number(0);
  Statement table = database.Prepare(kTableIsThere);
  contents.hasTable = table.Step();
  if (version.Failed() || table.Failed()) {
    *why = database.ErrorText();
    return std::nullopt;
  }
  if (contents.version > kVersion) {
    *why = "the settings store was made by a newer version; update this program";
    SetLastError(kErrorInvalidParameter);
    return std::nullopt;
  }
  return contents;
}

SettingsSnapshot::Item ItemOf(const Statement& row) {
  SettingsSnapshot::Item item;
  item.key = row.Text(0);
  item.name = row.Text(1);
  item.type = static_cast<SettingType>(row.Number(2));
  if (item.type == SettingType::kDword) {
    item.number = static_cast<std::uint32_t>(row.Number(3));
  } else if (!row.IsNull(3)) {
    item.bytes = row.Text(3);
  }
  return item;
}

class Changer {
 public:
  explicit Changer(Database& database) : database_(database) {}

  bool Apply(const SettingChange& change) {
    std::string key = Spelling(CanonicalSettingKey(change.key));
    switch (change.kind) {
      case SettingChange::Kind::kSet:
        return Set(key, change.name, change.value);
      case SettingChange::Kind::kDeleteValue:
        return DeleteValue(key, change.name);
      case SettingChange::Kind::kDeleteKey:
        return database_.Prepare(kDeleteKey).Bind(1, key).Run();
      case SettingChange::Kind::kMakeKey:
        return database_.Prepare(kMakeKey).Bind(1, key).Run();
    }
    return false;
  }

 private:
  std::string Spelling(std::string key) {
    Statement stored = database_.Prepare(kSpellingOfKey);
    return stored.Bind(1, key).Step() ? std::string(stored.Text(0)) : std::move(key);
  }

  bool Set(const std::string& key, const std::string& name, const SettingValue& value) {
    Statement statement = database_.Prepare(kSet);
    statement.Bind(1, key).Bind(2, name).Bind(3, static_cast<std::int64_t>(value.type));
    if (value.type == SettingType::kDword) {
      statement.Bind(4, static_cast<std::int64_t>(value.number));
    } else if (value.type == SettingType::kString) {
      statement.Bind(4, value.bytes);
    } else {
      statement.BindBlob(4, value.bytes);
    }
    return statement.Run();
  }

  // A key outlives its last value.
  bool DeleteValue(const std::string& key, const std::string& name) {
    if (!database_.Prepare(kDeleteValue).Bind(1, key).Bind(2, name).Run()) return false;
    return database_.Changes() == 0 || database_.Prepare(kMakeKey).Bind(1, key).Run();
  }

  Database& database_;
};

}  // namespace

std::optional<SettingsSnapshot> LoadSettings(Database& database, std::string* why) {
  SettingsSnapshot::Builder builder;
  const auto contents = LookInto(database, why);
  if (!contents) return std::nullopt;
  if (contents->hasTable) {
    Statement row = database.Prepare(kReadAll);
    while (row.Step()) builder.Add(ItemOf(row));
    if (row.Failed()) {
      *why = database.ErrorText();
      return std::nullopt;
    }
  }
  return std::move(builder).Finish();
}

bool ChangeSettings(Database& database, const std::vector<SettingChange>& changes,
                    std::string* why) {
  const auto contents = LookInto(database, why);
  if (!contents) return false;
  bool done = contents->hasTable || database.Execute(kMakeTable);
  Changer changer(database);
  for (const SettingChange& change : changes) done = done && changer.Apply(change);
  if (!done) *why = database.ErrorText();
  return done;
}

}  // namespace corvane::platform
