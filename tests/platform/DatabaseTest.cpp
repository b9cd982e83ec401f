// DatabaseTest.cpp -- what callers of the SQLite layer rely on: values come back as they were
// given, a transaction is all or nothing, and each kind of failure has its number.

#include "platform/Database.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/InDirectory.h"

namespace corvane::platform {
namespace {

class DatabaseTest : public test::InDirectory {
 protected:
  Database Make() {
    Database database = Database::Open(root_ / "test.db", DatabaseMode::kCreate);
    EXPECT_TRUE(database.Execute("CREATE TABLE IF NOT EXISTS item(name TEXT UNIQUE, value)"));
    return database;
  }

  static std::int64_t Count(Database& database) {
    Statement statement = database.Prepare("SELECT count(*) FROM item");
    return statement.Step() ? statement.Number(0) : -1;
  }
};

TEST_F(DatabaseTest, ValuesComeBackAsTheyWereGiven) {
  Database database = Make();
  const std::string_view texts[] = {"plain", "", std::string_view("a\0b", 3), "\xff\xfe"};
  for (std::string_view text : texts) {
    ASSERT_TRUE(database.Prepare("DELETE FROM item").Run());
    ASSERT_TRUE(
        database.Prepare("INSERT INTO item VALUES(?1, ?2)").Bind(1, text).BindBlob(2, text).Run());
    Statement read = database.Prepare("SELECT name, value, NULL, 5000000000 FROM item");
    ASSERT_TRUE(read.Step());
    EXPECT_EQ(read.Text(0), text);
    EXPECT_EQ(read.Text(1), text);
    EXPECT_TRUE(read.IsNull(2));
    EXPECT_FALSE(read.IsNull(0));
    EXPECT_EQ(read.Number(3), 5'000'000'000);
    EXPECT_FALSE(read.Step());
    EXPECT_FALSE(read.Failed());
  }
}

TEST_F(DatabaseTest, AKeptStatementForgetsItsBindings) {
  Database database = Make();
  ASSERT_TRUE(database.Prepare("INSERT INTO item VALUES(?1, ?2)").Bind(1, "a").Bind(2, 7).Run());
  ASSERT_TRUE(database.Prepare("INSERT INTO item VALUES(?1, ?2)").Bind(1, "b").Run());
  Statement read = database.Prepare("SELECT value FROM item WHERE name = 'b'");
  ASSERT_TRUE(read.Step());
  EXPECT_TRUE(read.IsNull(0));
}

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
  test::WriteBytes(root_ / "noise.db", std::string(5000, 'x'));
  const std::pair<const char*, std::int32_t> cases[] = {
      {"missing.db", kErrorFileNotFound},
      {"missing/directory.db", kErrorPathNotFound},
      {"noise.db", kErrorFileCorrupt},
  };
  for (const auto& [file, error] : cases) {
    std::string why;
    SetLastError(0);
    const auto opened = Database::Open(root_ / file, DatabaseMode::kReadWrite, 0, &why);
    EXPECT_EQ(test::ErrorOf(opened), error) << file;
    EXPECT_NE(why.find(file), std::string::npos) << why;
  }
  EXPECT_FALSE(database.Prepare("SELECT nonsense FROM nowhere").Step());
  EXPECT_EQ(database.ErrorText(), "no such table: nowhere");
}

TEST_F(DatabaseTest, ABusyDatabaseIsA32AfterTheWait) {
  Database first = Make();
  Transaction holder(first);
  ASSERT_TRUE(holder.Begun());
  Database second = Database::Open(root_ / "test.db", DatabaseMode::kReadWrite, 1);
  Transaction waiter(second);
  EXPECT_EQ(test::ErrorOf(waiter.Begun()), kErrorSharingViolation);
  EXPECT_EQ(Count(second), 0) << "a reader goes on beside a writer";
}

TEST_F(DatabaseTest, AFullDatabaseIsA112AndKeepsWhatItHad) {
  Database database = Make();
  ASSERT_TRUE(database.Execute("PRAGMA max_page_count=4"));
  {
    Transaction transaction(database);
    EXPECT_EQ(test::ErrorOf(database.Execute("INSERT INTO item VALUES('big', zeroblob(100000))")),
              kErrorDiskFull);
  }
  EXPECT_EQ(database.ErrorText(), "database or disk is full");
  EXPECT_EQ(Count(database), 0);
}

}  // namespace
}  // namespace corvane::platform
