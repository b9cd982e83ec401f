#include <gtest/gtest.h>

#include "SERVICES/Library/LIBStoreLibrary/StoreLibrary.h"
#include "tests/support/StubProviders.h"

namespace corvane {
namespace {

// A refused insertion leaves the message in its folder; the binding must tell it from success.
TEST(StoreProvider, LoadsBeginsEndsAndRefusesInsertions) {
  test::StubProviders settings;
  settings.Use(test::ShippedLibraries());
  EXPECT_EQ(Lib_StoreLibrary_Init(), 1);
  EXPECT_EQ(Lib_Direct_StoreIndex_InsertItem("acme", "anna", "\\Inbox", "A.MAI"), 0);
  EXPECT_EQ(Lib_StoreIndex_Init(), 0) << "not exported";
  EXPECT_EQ(Lib_StoreLibrary_UnInit(), 1);
}

}  // namespace
}  // namespace corvane
