#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "SERVICES/Library/LIBRPCNotify/RemoteNotification.h"
#include "SERVICES/Library/LIBRPCNotify/ServiceAction.h"
#include "tests/support/HeardEvents.h"
#include "tests/support/StubProviders.h"

namespace corvane::test {
namespace {

class RemoteNotification : public ::testing::Test {
 protected:
  ~RemoteNotification() override { UnbindRemoteNotification(); }
  StubProviders stub_;
  HeardEvents heard_;
};

TEST_F(RemoteNotification, WithoutTheLibraryNothingIsBoundAndTheEventLogSaysSo) {
  stub_.Use("/nowhere");
  EXPECT_EQ(BindRemoteNotification(), 0);
  EXPECT_FALSE(IsRemoteNotificationBound());
  EXPECT_EQ(
      heard_.all,
      (std::vector<HeardEvents::Event>{{"Corvane", platform::EventType::kInformation, 0x40000001U,
                                        "Notification Library CVAINFY.DLL could not be loaded. RPC "
                                        "notifications cannot be processed\n"}}));
  EXPECT_EQ(NotifyRemote("", "MTA", "text"), 0);
  EXPECT_EQ(DispatchServiceAction("", "MTA", "TRAIN-HAM", "x"), 0);
}

TEST_F(RemoteNotification, WithoutTheEntryTheEventLogGivesTheLastError) {
  stub_.Use(StubLibraries("bare"));
  EXPECT_EQ(BindRemoteNotification(), 0);
  EXPECT_FALSE(IsRemoteNotificationBound());
  ASSERT_EQ(heard_.all.size(), 1U);
  EXPECT_EQ(heard_.all[0].text,
            "Unable to find NotifyRemote entrypoint in CVAINFY.DLL. RPC notifications cannot be "
            "processed. Return Code: 127\n");
}

TEST_F(RemoteNotification, BindingTwiceLoadsOnce) {
  EXPECT_EQ(BindRemoteNotification(), 1);
  stub_.Use("/nowhere");
  EXPECT_EQ(BindRemoteNotification(), 1);
  EXPECT_TRUE(IsRemoteNotificationBound());
}

TEST_F(RemoteNotification, AServiceActionIsOneTextCutTo1023Bytes) {
  ASSERT_EQ(BindRemoteNotification(), 1);
  EXPECT_EQ(DispatchServiceAction("NODE2", "MTA", "TRAIN-HAM", "/mail/a.MAI"), 0);
  EXPECT_EQ(stub_.Calls(), "NotifyRemote NODE2 [CV_ACTION]\tTRAIN-HAM\t/mail/a.MAI\n");
  stub_.ForgetCalls();
  EXPECT_EQ(DispatchServiceAction("", "MTA", "TRAIN-SPAM", std::string(3000, 'p').c_str()), 0);
  EXPECT_EQ(stub_.Calls(),
            "NotifyRemote  [CV_ACTION]\tTRAIN-SPAM\t" + std::string(1000, 'p') + "\n");
}

TEST_F(RemoteNotification, AFailedActionIsReturnedAndPrinted) {
  stub_.Answer("NotifyRemote MTA 53\n");
  ASSERT_EQ(BindRemoteNotification(), 1);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(DispatchServiceAction("", "MTA", "TRAIN-HAM", "x"), 53);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "RPC Notify Failed");
}

TEST_F(RemoteNotification, AnExceptionIsReportedAndThrownOn) {
  stub_.Answer("NotifyRemote MTA throw\n");
  ASSERT_EQ(BindRemoteNotification(), 1);
  EXPECT_THROW(DispatchServiceAction("", "MTA", "TRAIN-HAM", "x"), std::runtime_error);
  ASSERT_FALSE(heard_.all.empty());
  EXPECT_TRUE(heard_.all.back().text.starts_with("DispatchServiceAction handled an exception;"));
}

}  // namespace
}  // namespace corvane::test
