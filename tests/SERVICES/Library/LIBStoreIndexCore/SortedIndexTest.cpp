#include <gtest/gtest.h>

#include <array>

#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"
#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"

namespace corvane {
namespace {

class SortedIndex : public ::testing::Test {
 protected:
  SortedIndex() { index_.ResetToEmpty(); }

  bool Add(const std::string& id, std::uint32_t uid = 0, const std::string& flags = "") {
    IndexItem item;
    item.Create();
    item.SetText("ID", id);
    if (uid != 0) item.SetNumber("UID", uid);
    if (!flags.empty()) item.SetText("FLAGSTATUS", flags);
    return index_.AddItem(&item);
  }
  void Forget() { index_.FirstModifiedUID = index_.LastModifiedUID = 0; }
  [[nodiscard]] std::string Order() const {
    std::string order;
    for (const auto* item : index_.Sequence) {
      order += item->GetText("ID") + ":" + item->GetText("SEQ") + " ";
    }
    return order;
  }

  static std::string IdsOf(ItemList* list) {
    std::string ids;
    while (const auto* item = list->Next()) ids += item->GetText("ID") + " ";
    return ids;
  }

  SORTEDSTOREINDEXTYPE index_{nullptr};
};

TEST_F(SortedIndex, NewItemsGetUidsAboveAllOthers) {
  EXPECT_TRUE(Add("b", 7));
  EXPECT_TRUE(Add("a"));
  EXPECT_EQ(index_.GetLastUID(), 8U);
  EXPECT_EQ(index_.FirstModifiedUID, 7U);
  EXPECT_EQ(Order(), "b:1 a:2 ");
  EXPECT_FALSE(Add("a")) << "its ID is there already";
  EXPECT_FALSE(Add("c", kLargestUid + 1));
  EXPECT_TRUE(Add("d", kLargestUid));
  EXPECT_FALSE(Add("e")) << "there is no UID left";
  EXPECT_EQ(index_.ItemCount(), 3U);
}

TEST_F(SortedIndex, ATakenUidMakesWayOrIsRefused) {
  Add("a", 3);
  IndexItemPropertyContainer refused;
  refused.SetText("ID", "b", false);
  refused.SetNumber("UID", 3);
  EXPECT_FALSE(index_.InsertItem(&refused, true));
  EXPECT_FALSE(index_.ItemExists("b"));
  EXPECT_TRUE(Add("b", 3));
  EXPECT_EQ(index_.ByUID.at(4)->GetNumber("UID"), 3U) << "only its key differs";
  EXPECT_EQ(index_.RemoveItems("b"), 1U);
  EXPECT_EQ(index_.ByUID.size(), 1U);
}

TEST_F(SortedIndex, RemovalRenumbersAndMovesWhatIsCovered) {
  for (const char* id : {"a", "b", "c", "d"}) Add(id);
  Forget();
  index_.NoteModifiedUID(2);
  EXPECT_EQ(index_.RemoveItems("b,zzz"), 1U);
  EXPECT_EQ(index_.FirstModifiedUID, 0U) << "only the removed one had changed";
  EXPECT_EQ(Order(), "a:1 c:2 d:3 ");
  index_.NoteModifiedUID(3);
  index_.NoteModifiedUID(4);
  EXPECT_EQ(index_.RemoveItems("c"), 1U);
  EXPECT_EQ(index_.FirstModifiedUID, 4U) << "the change to d is still to be written";
  EXPECT_EQ(index_.Removed.size(), 2U);
}

// While its properties are cleared an item has no UID.
TEST_F(SortedIndex, ClearingAnItemForgetsNoOtherChange) {
  for (const char* id : {"a", "b", "c"}) Add(id);
  Forget();
  index_.NoteModifiedUID(1);
  IndexItem item;
  ASSERT_TRUE(index_.GetItemByID("c", &item, false));
  item.ClearExceptKeys();
  EXPECT_EQ(index_.FirstModifiedUID, 1U);
  EXPECT_EQ(item.GetText("ID") + item.GetText("UID"), "c3");
}

TEST_F(SortedIndex, UidRangesAreThoseOfImap) {
  for (const std::uint32_t uid : {10U, 20U, 50U}) Add("u" + std::to_string(uid), uid);
  const struct {
    std::uint32_t first, last;
    const char* items;
    std::uint32_t firstAfter;
  } kCases[] = {
      {10, 20, "u10 u20 ", 10},
      {11, 49, "u20 ", 11},
      {kUidStar, 20, "u10 u20 ", kUidStar},
      {100, kUidStar, "u50 ", 50},
      {100, 0xFFFFFFFE, "u50 ", 50},
      {100, 200, "", 100},
      {20, 20, "u20 ", 20},
      {15, 15, "", 15},
      {30, 40, "", 30},
      {1, kUidStar, "u10 u20 u50 ", 1},
  };
  for (const auto& c : kCases) {
    ItemList list;
    std::uint32_t first = c.first;
    index_.GetItemsByUID(&list, &first, c.last, false, nullptr);
    EXPECT_EQ(IdsOf(&list), c.items) << c.first << " to " << c.last;
    EXPECT_EQ(first, c.firstAfter) << c.first << " to " << c.last;
  }
}

TEST_F(SortedIndex, PositionRangesIncludeBothEnds) {
  for (const char* id : {"a", "b", "c"}) Add(id);
  const struct {
    std::int64_t first, last;
    const char* items;
  } kCases[] = {{0, 1, "a b "},  {-1, -1, ""}, {7, 7, ""},    {7, 1, "a b "},
                {1, 99, "b c "}, {2, 2, "c "}, {-1, 0, "a "}, {1, 0xFFFFFFFF, "b c "}};
  for (const auto& c : kCases) {
    ItemList list;
    index_.GetItemsBySequence(&list, c.first, c.last, true);
    EXPECT_EQ(IdsOf(&list), c.items) << c.first << " to " << c.last;
  }
}

TEST_F(SortedIndex, CountsReadFlagsInAnyCase) {
  Add("a", 1, "\\Recent");
  Add("b", 2, "\\seen \\Deleted");
  Add("c", 3, "\\SEEN \\ANSWERED \\FLAGGED");
  FolderDetails details;
  ASSERT_TRUE(index_.GetFolderDetails(&details));
  EXPECT_EQ((std::array{details.TotalCount, details.SeenCount, details.FirstSeenPosition,
                        details.LastUID}),
            (std::array{3U, 2U, 2U, 3U}));
  EXPECT_EQ((std::array{details.DeletedCount, details.AnsweredCount, details.FlaggedCount,
                        details.RecentCount}),
            (std::array{1U, 1U, 1U, 1U}));
  EXPECT_EQ(index_.CountLeadingUnseen(), 1U);
}

TEST_F(SortedIndex, ItemsAreFoundByNameAndByProperty) {
  for (const char* id : {"z", "a", "M"}) Add(id, 0, std::string("\\") + id);
  IndexItem handle;
  EXPECT_TRUE(index_.GetItemByID("a", &handle, false));
  EXPECT_EQ(handle.GetNumber("UID"), 2U);
  EXPECT_TRUE(index_.GetItemByProperty("FLAGSTATUS", "\\M", &handle, true));
  EXPECT_EQ(handle.GetText("ID"), "M");
  EXPECT_FALSE(index_.GetItemByID("m", &handle, false));
  EXPECT_FALSE(handle.IsValid());
  ItemList list;
  index_.GetAllItems(&list, false);
  EXPECT_EQ(IdsOf(&list), "M a z ");
}

// Erasing moves later entries of a full stretch up; none may be lost on the way.
TEST_F(SortedIndex, TheTableOfNamesSurvivesRandomRemovals) {
  std::vector<std::string> names;
  for (int i = 0; i < 3000; ++i) names.push_back("name" + std::to_string(i * 7919 % 3000));
  for (const std::string& name : names) Add(name);
  for (std::size_t i = 0; i < names.size(); i += 3) index_.RemoveItems(names[i]);
  for (std::size_t i = 0; i < names.size(); ++i) {
    ASSERT_EQ(index_.ItemExists(names[i]), i % 3 != 0) << names[i];
  }
}

TEST(StoreIndexCalls, ANullIndexIsTold) {
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(StoreIndex_Init(nullptr, 0), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "WARNING!: StoreIndex is NULL when passed to StoreIndex_Init\n");
  EXPECT_EQ(StoreIndex_Reset(nullptr), 0);
  EXPECT_EQ(StoreIndex_Release(nullptr), 0);
}

}  // namespace
}  // namespace corvane
