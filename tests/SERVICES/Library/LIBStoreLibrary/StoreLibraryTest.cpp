#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "SERVICES/Library/LIBStoreLibrary/StoreLibrary.h"
#include "tests/support/HeardEvents.h"
#include "tests/support/StubProviders.h"

namespace corvane::test {
namespace {

constexpr const char* kInserts =
    "StoreLibrary_Init * 1\nDirect_StoreIndex_InsertItem acme/anna 1\n";

std::int32_t Insert(void* indexItem = nullptr) {
  return Lib_Direct_StoreIndex_InsertItem("acme", "anna", "\\Inbox", "A.MAI", indexItem);
}

TEST(StoreLibrary, AMissingLibraryMakesEveryWrapperReturnZero) {
  StubProviders stub("nowhere");
  EXPECT_EQ(Lib_StoreLibrary_Init(), 0);
  EXPECT_EQ(Insert(), 0);
  EXPECT_EQ(Lib_StoreFolder_Lock("abc", 1, std::uint64_t{2}), 0);
  EXPECT_EQ(Lib_Memory_Allocate(std::uint64_t{8}), nullptr);
  EXPECT_EQ(Lib_StoreLibrary_UnInit(), 0);
}

TEST(StoreLibrary, LivesFromInitToUnInit) {
  StubProviders stub;
  stub.Answer(kInserts);
  EXPECT_EQ(Lib_StoreLibrary_Init(), 1);
  EXPECT_EQ(Insert(), 1);
  EXPECT_EQ(Lib_StoreFolder_Lock("abc", 10, std::uint64_t{100}), 113);
  void* memory = Lib_Memory_Allocate(std::uint64_t{8});
  EXPECT_NE(memory, nullptr);
  EXPECT_EQ(Lib_Memory_Free(memory), 1);
  EXPECT_EQ(Lib_StoreItem_GetProperty(memory), 0) << "not exported";
  Lib_StoreLibrary_UnInit();
  EXPECT_EQ(Insert(), 0) << "freed";
  EXPECT_EQ(Lib_StoreLibrary_Init(), 1) << "bound anew";
  EXPECT_EQ(Insert(), 1);
  Lib_StoreLibrary_UnInit();
}

TEST(StoreLibrary, AMissingExportSilencesItsOwnWrapperOnly) {
  StubProviders stub("bare");
  stub.Answer(kInserts);
  EXPECT_EQ(Lib_StoreLibrary_Init(), 0);
  EXPECT_EQ(Insert(), 0);
  EXPECT_EQ(Lib_StoreFolder_Lock("abc", 10, std::uint64_t{100}), 113);
  Lib_StoreLibrary_UnInit();
}

TEST(StoreLibrary, AnInsertionTakesTheRightExport) {
  const std::string plain = "Direct_StoreIndex_InsertItem \\Inbox A.MAI\n";
  const struct {
    const char* variant;
    bool withItem;
    std::string calls;
  } cases[] = {
      {"full", false, plain},
      {"full", true, "Direct_StoreIndex_InsertItemEx \\Inbox A.MAI\n" + plain},
      {"noinsertex", true, plain},
  };
  for (const auto& row : cases) {
    StubProviders stub(row.variant);
    stub.Answer(kInserts);
    Lib_StoreLibrary_Init();
    stub.ForgetCalls();
    int item = 0;
    EXPECT_EQ(Insert(row.withItem ? &item : nullptr), 1) << row.variant;
    EXPECT_EQ(stub.Calls(), row.calls) << row.variant;
    Lib_StoreLibrary_UnInit();
  }
}

TEST(StoreLibrary, AnExceptionOfTheInsertionIsReportedAndGivesZero) {
  StubProviders stub;
  stub.Answer("Direct_StoreIndex_InsertItem * throw\n");
  Lib_StoreLibrary_Init();
  const HeardEvents heard;
  EXPECT_EQ(Insert(), 0);
  ASSERT_EQ(heard.all.size(), 1U);
  EXPECT_TRUE(heard.all[0].text.starts_with(
      "Lib_Direct_StoreIndex_InsertItem handled an exception; session will be dropped.\n"));
  Lib_StoreLibrary_UnInit();
}

TEST(StoreLibrary, EndingUnderCallersIsSafe) {
  StubProviders stub;
  stub.Answer(kInserts);
  std::atomic<bool> stop{false};
  std::vector<std::thread> callers;
  for (int t = 0; t < 4; ++t) {
    callers.emplace_back([&] {
      while (!stop) (void)Insert();
    });
  }
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(Lib_StoreLibrary_Init(), 1);
    Lib_StoreLibrary_UnInit();
  }
  stop = true;
  for (std::thread& caller : callers) caller.join();
}

}  // namespace
}  // namespace corvane::test
