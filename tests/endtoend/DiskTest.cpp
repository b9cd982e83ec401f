// Disks that are full or can't be written, below each of the connector's directories: nothing is
// lost, and what waits arrives when the disk is well again.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/endtoend/Installation.h"
#include "tests/support/SmallDisk.h"

namespace corvane::test {
namespace {

constexpr std::size_t kDiskBytes = 512 << 10;
constexpr const char* kReason =
    "X-CV-BADMAIL: TRANSFERCOPYFAILED, Message Transfer Copy Failed\r\n";

const std::string kHead = "Subject: one\r\n";
const std::string kBody = "\r\n" + std::string(100'000, 'm') + "\r\n";
const std::string kMessage = kHead + kBody;

// An installation with the mailboxes acme/box0 and acme/box1, and one message to both.
class DiskTest : public testing::Test {
 protected:
  DiskTest() {
    installation_.AddMailboxes("box", 2);
    installation_.PutRaw(NameOf(1), CommandFor(NameOf(1), "[SF:acme/box0];[SF:acme/box1]"),
                         kMessage);
  }

  [[nodiscard]] std::string Box(const std::string& name) const {
    return installation_.MailRoot() + "/acme/MAILROOT/" + name;
  }
  [[nodiscard]] std::string Delivered(const std::string& box) const {
    return WithoutReturnPath(ReadBytes(installation_.MailboxFile(box, NameOf(1))));
  }
  [[nodiscard]] std::string BadMail() const {
    return WithoutReturnPath(ReadBytes(installation_.Path("badmail/Messages/") + NameOf(1)));
  }
  [[nodiscard]] std::string Queued() const {
    return WithoutReturnPath(ReadBytes(installation_.Queue() + "/Messages/" + NameOf(1)));
  }
  // What stayed in the queue is due again at the next start.
  void ExpectToArriveAtLast() const {
    installation_.RunUntilEmpty();
    EXPECT_EQ(Delivered("box0"), kMessage);
    EXPECT_EQ(Delivered("box1"), kMessage);
  }

  Installation installation_;
};

// Whether the disk is full or can't be written.
class BadDiskTest : public DiskTest, public testing::WithParamInterface<bool> {};

TEST_P(BadDiskTest, OfAMailboxSendsTheMessageToBadMail) {
  const SmallDisk disk(kDiskBytes, Box("box1"));
  if (!disk.IsMounted()) GTEST_SKIP() << "no right to mount";
  fs::create_directories(Box("box1") + "/Inbox");
  if (GetParam()) disk.Fill();
  ASSERT_TRUE(GetParam() || disk.MakeReadOnly());
  installation_.RunUntilEmpty();
  EXPECT_EQ(Delivered("box0"), kMessage);
  EXPECT_EQ(BadMail(), kHead + kReason + kBody);
  EXPECT_FALSE(fs::exists(installation_.MailboxFile("box1", NameOf(1)))) << "not even a piece";
}
INSTANTIATE_TEST_SUITE_P(FullOrReadOnly, BadDiskTest, testing::Bool());

TEST_F(DiskTest, WithBadMailFullTooTheMessageStaysInTheQueue) {
  const SmallDisk mailbox(kDiskBytes, Box("box1"));
  const SmallDisk badMail(kDiskBytes, installation_.Path("badmail"));
  if (!mailbox.IsMounted() || !badMail.IsMounted()) GTEST_SKIP() << "no right to mount";
  mailbox.Fill();
  badMail.Fill();
  installation_.RunSweeps(1, [this] { return Delivered("box0") == kMessage; });
  EXPECT_EQ(Delivered("box0"), kMessage);
  EXPECT_EQ(Queued(), kMessage);
  mailbox.Free();
  ExpectToArriveAtLast();
}

TEST_F(DiskTest, AFullQueueLosesNothing) {
  const fs::path root = fs::path(installation_.Queue()).parent_path().parent_path();
  const SmallDisk disk(kDiskBytes, root);
  if (!disk.IsMounted()) GTEST_SKIP() << "no right to mount";
  fs::create_directories(installation_.Queue() + "/Messages");
  fs::create_directories(root / "SF/Inbound/Messages");
  installation_.PutRaw(
      NameOf(1), CommandFor(NameOf(1), "[SF:acme/box0];[SF:acme/box1];[SF:acme/nobody]"), kMessage);
  disk.Fill();
  installation_.RunSweeps(1);
  disk.Free();
  ExpectToArriveAtLast();
}

TEST_F(DiskTest, FullLogsHoldNothingUp) {
  const fs::path logs = installation_.Path("logs");
  const SmallDisk disk(kDiskBytes, logs);
  if (!disk.IsMounted()) GTEST_SKIP() << "no right to mount";
  disk.Fill();
  ExpectToArriveAtLast();
}

// Stores that can be read and not written do for all that a delivery needs.
TEST_F(DiskTest, StoresThatCannotBeWrittenDoForDelivery) {
  const std::string config = installation_.Path("config");
  const std::string settings = ReadBytes(installation_.Path("settings.db"));
  const std::string configuration = ReadBytes(config + "/configuration.db");
  ASSERT_FALSE(configuration.empty());
  const SmallDisk disk(kDiskBytes, config);
  if (!disk.IsMounted()) GTEST_SKIP() << "no right to mount";
  WriteBytes(config + "/configuration.db", configuration);
  WriteBytes(config + "/settings.db", settings);
  ASSERT_TRUE(disk.MakeReadOnly());
  installation_.UseSettings(config + "/settings.db");
  ExpectToArriveAtLast();
}

TEST_F(DiskTest, MessagesWaitForAConfigurationStoreThatIsBack) {
  const std::string store = installation_.Path("config/configuration.db");
  fs::rename(store, installation_.Path("aside.db"));
  WriteBytes(store, "this is no database");
  installation_.RunSweeps(1);
  EXPECT_TRUE(installation_.InQueue(NameOf(1)));
  fs::rename(installation_.Path("aside.db"), store);
  ExpectToArriveAtLast();
}

// Directories of the installation that are not there are no reason to lose a message.
TEST_F(DiskTest, WithoutItsDirectoriesNothingIsLost) {
  fs::remove_all(Box("box0"));
  fs::remove_all(installation_.Path("logs"));
  fs::remove_all(installation_.Path("badmail"));
  ExpectToArriveAtLast();
}

}  // namespace
}  // namespace corvane::test
