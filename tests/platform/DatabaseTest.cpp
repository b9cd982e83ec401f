// DatabaseTest.cpp -- what callers of the SQLite layer rely on: a transaction is all or nothing,
// and each kind of failure has its number.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/Database.h"
#include "platform/Error.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::platform {
namespace {

class DatabaseTest : public testing::Test {
 protected:
  Database Make(std::string_view name = "test.db") {
    Database database = Database::Open(directory_ / name, DatabaseMode::kCreate);
    EXPECT_TRUE(database.Execute("CREATE TABLE IF NOT EXISTS item(name TEXT UNIQUE, value)"));
    return database;
  }

  static std::int64_t Count(Database& database) {
    Statement statement = database.Prepare("SELECT count(*) FROM item");
    return statement.Step() ? statement.Number(0) : -1;
  }

  test::TemporaryDirectory directory_;
};

TEST_F(DatabaseTest, ATransactionWithoutCommitLeavesNothing) {
  Database database = Make();
  {
    Transaction transaction(database);
    ASSERT_TRUE(transaction.Begun());
    ASSERT_TRUE(database.Execute("INSERT INTO item VALUES('dropped', 1)"));
  }
  EXPECT_EQ(Count(database), 0);
  {
    Transaction transaction(database);
    ASSERT_TRUE(database.Execute("INSERT INTO item VALUES('kept', 1)"));
    ASSERT_TRUE(transaction.Commit());
  }
  EXPECT_EQ(Count(database), 1);
}

TEST_F(DatabaseTest, FailuresHaveNumbersAndWords) {
  Database database = Make();
  test::WriteBytes(directory_ / "noise.db", std::string(5000, 'x'));
  struct Case {
    const char* name;
    const char* file;
    std::int32_t error;
  };
  const Case cases[] = {
      {"a missing file", "missing.db", kErrorFileNotFound},
      {"a missing directory", "none/missing.db", kErrorPathNotFound},
      {"no database", "noise.db", kErrorFileCorrupt},
  };
  for (const Case& row : cases) {
    std::string why;
    SetLastError(0);
    EXPECT_FALSE(Database::Open(directory_ / row.file, DatabaseMode::kReadWrite, 0, &why))
        << row.name;
    EXPECT_EQ(LastError(), row.error) << row.name;
    EXPECT_NE(why.find(row.file), std::string::npos) << why;
  }
  EXPECT_FALSE(database.Prepare("SELECT nonsense FROM nowhere").Step());
  EXPECT_EQ(database.ErrorText(), "no such table: nowhere");
}

TEST_F(DatabaseTest, ABusyDatabaseIsA32AfterTheWait) {
  Database first = Make();
  Transaction holder(first);
  ASSERT_TRUE(holder.Begun());
  Database second = Database::Open(directory_ / "test.db", DatabaseMode::kReadWrite, 1);
  Transaction waiter(second);
  EXPECT_FALSE(waiter.Begun());
  EXPECT_EQ(LastError(), kErrorSharingViolation);
  EXPECT_EQ(Count(second), 0) << "a reader goes on beside a writer";
}

}  // namespace
}  // namespace corvane::platform
