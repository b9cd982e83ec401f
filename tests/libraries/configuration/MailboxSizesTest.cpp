// The size that is kept by what changes must at all times be the size that a plain walk finds, and
// must not cost a listing for a change.

#include <atomic>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "configuration/MailboxSizes.h"
#include "tests/support/AsNobody.h"
#include "tests/support/InDirectory.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TestClock.h"
#include "tests/support/Threads.h"

namespace corvane::configuration {
namespace {

namespace fs = std::filesystem;
using test::TemporaryDirectory;
using test::WriteBytes;

std::uint64_t PlainWalk(const std::string& directory) {
  std::uint64_t bytes = 0;
  if (!fs::exists(directory)) return 0;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    const std::string name = entry.path().filename();
    if (entry.is_regular_file() && name[0] != '_' && name[0] != '.') bytes += entry.file_size();
  }
  return bytes;
}

// Many files of one content, as quickly as the file system makes names.
void Spread(const std::string& directory, const std::string& prefix, int count,
            std::string_view content) {
  const std::string first = directory + "/" + prefix + "0";
  WriteBytes(first, content);
  for (int i = 1; i < count; ++i) {
    fs::create_hard_link(first, directory + "/" + prefix + std::to_string(i));
  }
}

std::string Bytes(std::size_t size) { return std::string(size, 'x'); }

// One random step of what programs do in a mailbox.
class Mailbox {
 public:
  Mailbox(std::string root, unsigned seed) : root_(std::move(root)), random_(seed) {
    for (const char* folder : {"Inbox", "Sent", "Archive/2025"})
      fs::create_directories(Path(folder));
  }

  void Step() {
    static constexpr void (Mailbox::*kSteps[])() = {
        &Mailbox::Add,          &Mailbox::Add,       &Mailbox::Link, &Mailbox::Delete,
        &Mailbox::Move,         &Mailbox::Rewrite,   &Mailbox::Flag, &Mailbox::AddFolder,
        &Mailbox::RemoveFolder, &Mailbox::MoveFolder};
    (this->*kSteps[random_() % std::size(kSteps)])();
  }

 private:
  [[nodiscard]] fs::path Path(const std::string& name) const { return fs::path(root_) / name; }
  fs::path NewName() { return AnyFolder() / (std::to_string(next_++) + ".MAI"); }

  std::vector<fs::path> All(bool directories) {
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(root_)) {
      if (entry.is_directory() == directories) found.push_back(entry.path());
    }
    return found;
  }
  fs::path AnyFolder() {
    const auto folders = All(true);
    return folders.empty() ? fs::path(root_) : folders[random_() % folders.size()];
  }
  fs::path AnyFile() {
    const auto files = All(false);
    return files.empty() ? fs::path() : files[random_() % files.size()];
  }

  void Add() { WriteBytes(NewName(), Bytes(random_() % 5000)); }
  // As delivery does: written under a name that doesn't count, then renamed or linked into place.
  void Link() {
    const fs::path temporary = AnyFolder() / "_new.tmp";
    WriteBytes(temporary, Bytes(random_() % 5000));
    const fs::path target = random_() % 2 == 0 ? NewName() : AnyFile();
    if (target.empty()) return;
    fs::rename(temporary, target);
  }
  void Delete() {
    if (const fs::path file = AnyFile(); !file.empty()) fs::remove(file);
  }
  void Move() {
    if (const fs::path file = AnyFile(); !file.empty()) fs::rename(file, NewName());
  }
  void Rewrite() {
    if (const fs::path file = AnyFile(); !file.empty()) WriteBytes(file, Bytes(random_() % 9000));
  }
  void Flag() { WriteBytes(AnyFolder() / "_CHANGE.DTY", Bytes(random_() % 90)); }
  void AddFolder() { fs::create_directories(AnyFolder() / ("_f" + std::to_string(next_++))); }
  void RemoveFolder() {
    if (const fs::path folder = AnyFolder(); folder != root_) fs::remove_all(folder);
  }
  void MoveFolder() {
    const fs::path folder = AnyFolder();
    if (folder != root_) fs::rename(folder, Path("moved" + std::to_string(next_++)));
  }

  std::string root_;
  std::mt19937 random_;
  int next_ = 0;
};

using MailboxSizesTest = test::InDirectory;

// Writes in place leave a directory's stamp alone: without watches they show within the hour.
class SteppingMailbox : public MailboxSizesTest, public ::testing::WithParamInterface<unsigned> {};

TEST_P(SteppingMailbox, SizeIsThatOfAPlainWalkAfterEachStep) {
  Mailbox mailbox(root_.Path(), GetParam());
  MailboxSizes sizes;
  std::mt19937 random(GetParam());
  for (int step = 0; step < 1500; ++step) {
    mailbox.Step();
    if (random() % 3 == 0) continue;
    ASSERT_EQ(sizes.BytesOf(root_.Path()), PlainWalk(root_.Path())) << "step " << step;
  }
  EXPECT_LT(sizes.Listings(), 1500u);
}
INSTANTIATE_TEST_SUITE_P(Seeds, SteppingMailbox, ::testing::Values(1u, 2u, 3u, 4u));

TEST_F(MailboxSizesTest, SeesNamesComeAndGoWithoutWatches) {
  fs::create_directories(root_ / "Inbox/Deep");
  MailboxSizes sizes(false);
  for (int i = 0; i < 200; ++i) {
    const std::string name = root_ / ("Inbox/Deep/" + std::to_string(i % 20) + ".MAI");
    if (fs::exists(name)) {
      fs::remove(name);
    } else {
      WriteBytes(name, Bytes(static_cast<std::size_t>(i)));
    }
    ASSERT_EQ(sizes.BytesOf(root_.Path()), PlainWalk(root_.Path())) << i;
  }
}

TEST_F(MailboxSizesTest, ADeliveryIntoTwentyThousandMessagesListsNothing) {
  fs::create_directories(root_ / "Inbox");
  Spread(root_ / "Inbox", "", 20'000, "12345");
  MailboxSizes sizes;
  ASSERT_EQ(sizes.BytesOf(root_.Path()), 100'000u);
  const std::uint64_t first = sizes.Listings();
  EXPECT_EQ(first, 2u) << "the mailbox and its Inbox, once";
  for (std::uint64_t i = 1; i <= 300; ++i) {
    WriteBytes(root_ / ("Inbox/_" + std::to_string(i)), "1234567");
    fs::rename(root_ / ("Inbox/_" + std::to_string(i)), root_ / ("Inbox/n" + std::to_string(i)));
    ASSERT_EQ(sizes.BytesOf(root_.Path()), 100'000u + 7 * i);
  }
  for (std::uint64_t i = 0; i < 300; ++i) {
    fs::remove(root_ / ("Inbox/" + std::to_string(i)));
    ASSERT_EQ(sizes.BytesOf(root_.Path()), 102'100u - 5 * (i + 1));
  }
  EXPECT_EQ(sizes.Listings(), first);
  EXPECT_LE(sizes.Looks(), 650u) << "about one look for each name that changed";
}

TEST_F(MailboxSizesTest, AnUnchangedMailboxCostsNoListingWithoutWatchesEither) {
  fs::create_directories(root_ / "Inbox");
  WriteBytes(root_ / "Inbox/a.MAI", "12345");
  for (const char* folder : {"", "Inbox"}) {
    fs::last_write_time(root_ / folder, fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  MailboxSizes sizes(false);
  // The change time can't be set back: measured until it is old enough to be trusted.
  std::uint64_t listings = 0;
  do {
    listings = sizes.Listings();
    ASSERT_EQ(sizes.BytesOf(root_.Path()), 5u);
  } while (sizes.Listings() != listings && listings < 1'000'000);
  for (int i = 0; i < 50; ++i) ASSERT_EQ(sizes.BytesOf(root_.Path()), 5u);
  EXPECT_EQ(sizes.Listings(), listings);
}

TEST_F(MailboxSizesTest, SeesWhatAnotherProcessDoes) {
  fs::create_directories(root_ / "Inbox");
  WriteBytes(root_ / "Inbox/old.MAI", Bytes(100));
  MailboxSizes sizes;
  ASSERT_EQ(sizes.BytesOf(root_.Path()), 100u);
  const std::string script = "cd '" + root_.Path() +
                             "' && printf 12345 > Inbox/new.MAI && rm Inbox/old.MAI && mkdir Sent "
                             "&& printf 1 > Sent/s.MAI";
  ASSERT_EQ(test::RunProgram({"/bin/sh", "-c", script}).exitCode, 0);
  EXPECT_EQ(sizes.BytesOf(root_.Path()), 6u);
  EXPECT_EQ(sizes.Listings(), 3u) << "the mailbox, its Inbox and the new folder, each once";
}

// What is beyond the lists of names, and what the kernel drops, is found by listing anew.
TEST_F(MailboxSizesTest, ManyChangesBetweenTwoMeasurementsAreAllSeen) {
  for (const int files : {1500, 17'000}) {
    const TemporaryDirectory directory;
    fs::create_directories(directory / "Inbox");
    WriteBytes(directory / "Inbox/first.MAI", "1");
    MailboxSizes sizes;
    ASSERT_EQ(sizes.BytesOf(directory.Path()), 1u);
    Spread(directory / "Inbox", "m", files, "12");
    EXPECT_EQ(sizes.BytesOf(directory.Path()), 1u + 2u * static_cast<unsigned>(files));
    fs::remove(directory / "Inbox/first.MAI");
    EXPECT_EQ(sizes.BytesOf(directory.Path()), 2u * static_cast<unsigned>(files));
  }
}

TEST_F(MailboxSizesTest, IsListedAnewAfterAnHour) {
  test::TestClock clock;
  WriteBytes(root_ / "a.MAI", "12345");
  MailboxSizes sizes;
  ASSERT_EQ(sizes.BytesOf(root_.Path()), 5u);
  clock.Advance(3'599'999);
  ASSERT_EQ(sizes.BytesOf(root_.Path()), 5u);
  EXPECT_EQ(sizes.Listings(), 1u);
  clock.Advance(1);
  ASSERT_EQ(sizes.BytesOf(root_.Path()), 5u);
  EXPECT_EQ(sizes.Listings(), 2u);
}

// A folder that can't be watched is listed at each change, but only new names are looked at; a file
// that was written anew shows after five minutes.
TEST_F(MailboxSizesTest, UnwatchedFoldersKeepTheSizesOfTheirFiles) {
  test::TestClock clock;
  Spread(root_.Path(), "m", 100, "12345");
  MailboxSizes sizes(false);
  ASSERT_EQ(sizes.BytesOf(root_.Path()), 500u);
  WriteBytes(root_ / "m7", "1234567");
  WriteBytes(root_ / "new", "1");
  EXPECT_EQ(sizes.BytesOf(root_.Path()), 501u);
  fs::remove(root_ / "new");
  clock.Advance(300'000);
  EXPECT_EQ(sizes.BytesOf(root_.Path()), 700u) << "all are one file";
}

// A folder that can't be looked at keeps its size: an empty mailbox would have room for anything.
TEST_F(MailboxSizesTest, AFolderThatCannotBeReadKeepsItsSize) {
  fs::create_directories(root_ / "Inbox");
  fs::permissions(root_.Path(), fs::perms::all);
  WriteBytes(root_ / "Inbox/a.MAI", "12345");
  MailboxSizes sizes(false);
  ASSERT_EQ(sizes.BytesOf(root_.Path()), 5u);
  WriteBytes(root_ / "Inbox/b.MAI", "1");
  fs::permissions(root_ / "Inbox", fs::perms::none);
  {
    const test::AsNobody nobody;
    EXPECT_EQ(sizes.BytesOf(root_.Path()), 5u);
  }
  fs::permissions(root_ / "Inbox", fs::perms::all);
  EXPECT_EQ(sizes.BytesOf(root_.Path()), 6u);
}

TEST_F(MailboxSizesTest, ADirectoryMayComeGoAndBeReplaced) {
  const std::string mailbox = root_ / "anna";
  MailboxSizes sizes;
  EXPECT_EQ(sizes.BytesOf(mailbox), 0u);
  fs::create_directories(mailbox + "/Inbox");
  WriteBytes(mailbox + "/Inbox/a.MAI", "12345");
  EXPECT_EQ(sizes.BytesOf(mailbox), 5u);
  fs::rename(mailbox, root_ / "gone");
  EXPECT_EQ(sizes.BytesOf(mailbox), 0u);
  fs::create_directories(mailbox + "/Inbox");
  WriteBytes(mailbox + "/Inbox/b.MAI", "123");
  EXPECT_EQ(sizes.BytesOf(mailbox), 3u);
  fs::remove_all(mailbox + "/Inbox");
  fs::rename(root_ / "gone/Inbox", mailbox + "/Inbox");
  EXPECT_EQ(sizes.BytesOf(mailbox), 5u);
  WriteBytes(mailbox + "/Inbox/c.MAI", "1");
  EXPECT_EQ(sizes.BytesOf(mailbox), 6u);
}

TEST_F(MailboxSizesTest, LinksLeadToFilesAndNeverInCircles) {
  fs::create_directories(root_ / "Inbox");
  WriteBytes(root_ / "Inbox/a.MAI", "12345");
  fs::create_symlink(root_.Path(), root_ / "Inbox/up");
  fs::create_symlink(root_ / "Inbox/a.MAI", root_ / "Inbox/b.MAI");
  MailboxSizes sizes;
  EXPECT_EQ(sizes.BytesOf(root_.Path()), 10u);
}

TEST_F(MailboxSizesTest, StaysWithinItsMemoryOverManyMailboxes) {
  constexpr int kMailboxes = 60;
  for (int i = 0; i < kMailboxes; ++i) {
    fs::create_directories(root_ / (std::to_string(i) + "/Inbox"));
    Spread(root_ / (std::to_string(i) + "/Inbox"), "", 40, "12345");
  }
  const MeasuringLimits limits{.warmBytes = 30'000, .folders = 60, .watches = 30};
  MailboxSizes sizes(true, limits);
  std::mt19937 random(5);
  for (int step = 0; step < 1200; ++step) {
    const std::string mailbox = root_ / std::to_string(random() % kMailboxes);
    if (random() % 2 == 0) {
      WriteBytes(mailbox + "/Inbox/_new", Bytes(random() % 9));
      fs::rename(mailbox + "/Inbox/_new", mailbox + "/Inbox/" + std::to_string(random() % 60));
    }
    ASSERT_EQ(sizes.BytesOf(mailbox), PlainWalk(mailbox)) << step;
    ASSERT_LE(sizes.MemoryBytes(), limits.warmBytes + 5000) << step;
  }
}

TEST_F(MailboxSizesTest, ManyThreadsMeasureWhileOthersDeliver) {
  for (int i = 0; i < 3; ++i) fs::create_directories(root_ / (std::to_string(i) + "/Inbox"));
  MailboxSizes sizes(true, {.warmBytes = 30'000, .folders = 12'000, .watches = 4});
  std::atomic<bool> stop{false};
  test::Threads measuring(4, [&](int first) {
    for (int i = first; !stop; ++i) (void)sizes.BytesOf(root_ / std::to_string(i % 3));
  });
  test::Threads(3, [&](int mailbox) {
    const std::string inbox = root_ / (std::to_string(mailbox) + "/Inbox/");
    for (int i = 0; i < 400; ++i) {
      WriteBytes(inbox + "_tmp", Bytes(static_cast<std::size_t>(i)));
      fs::rename(inbox + "_tmp", inbox + std::to_string(i % 300));
      if (i % 5 == 0) fs::remove(inbox + std::to_string(i % 37));
    }
  }).Join();
  stop = true;
  measuring.Join();
  for (int i = 0; i < 3; ++i) {
    const std::string mailbox = root_ / std::to_string(i);
    EXPECT_EQ(sizes.BytesOf(mailbox), PlainWalk(mailbox));
  }
}

}  // namespace
}  // namespace corvane::configuration
