// RealtimeTrainingTest.cpp -- what is submitted, and when training gives up.
#include <gtest/gtest.h>

#include <string>

#include "SERVICES/Library/LIBRPCNotify/RemoteNotification.h"
#include "connector/settings/Settings.h"
#include "tests/connector/delivery/pipeline/PipelineFixture.h"

namespace corvane::test {
namespace {

constexpr const char* kFilterKey = "Agents\\MTA\\Filters\\MTAFILTER";
constexpr const char* kMailbox = "MailboxGet * 1 Status=1\n";
constexpr const char* kTarget = "[ROOT/Mail\\acme\\MAILROOT\\anna\\\\Inbox\\ID].\n";

class RealtimeTrainingTest : public PipelineFixture {
 protected:
  RealtimeTrainingTest() { EXPECT_EQ(BindRemoteNotification(), 1); }
  ~RealtimeTrainingTest() override { UnbindRemoteNotification(); }

  void TurnOn() {
    Set({{"Bayesian Filtering Status", 0, kFilterKey},
         {"Bayesian Training Mode", 1, kFilterKey},
         {"Bayesian Realtime Training", 1, kFilterKey}});
    stages.whitelisted = true;
  }
  // Deliveries whose last submission is answered so; what the last one told of submissions.
  std::string Train(int answer, int times = 1) {
    Stub().Answer(kMailbox + ("NotifyRemote MTA " + std::to_string(answer)));
    std::string told;
    for (int i = 0; i < times; ++i) told = Told([&] { EXPECT_EQ(Deliver(), 1); });
    return told.substr(0, told.find("> Audit"));
  }
};

TEST_F(RealtimeTrainingTest, SubmitsWantedMailFirstThenSpam) {
  TurnOn();
  stages.blacklisted = true;
  EXPECT_EQ(Train(0), std::string("[ID] Message submitted as HAM ") + kTarget +
                          "[ID] Message submitted as SPAM " + kTarget);
  const std::string calls = Stub().Calls();
  const std::size_t ham = calls.find("NotifyRemote  [CV_ACTION]\tTRAIN-HAM\t");
  EXPECT_LT(ham, calls.find("NotifyRemote  [CV_ACTION]\tTRAIN-SPAM\t"));
}

TEST_F(RealtimeTrainingTest, TheTwelfthFailureInARowEndsIt) {
  TurnOn();
  Train(0);
  EXPECT_NE(Train(5, 11), "");
  EXPECT_NE(Train(0), "") << "a success begins anew";
  EXPECT_NE(Train(5, 11), "");
  EXPECT_EQ(settings::Find(settings::kBayesianRealtimeTraining), 1U);
  EXPECT_NE(Train(5), "") << "the twelfth is still made";
  EXPECT_EQ(settings::Find(settings::kBayesianRealtimeTraining), 0U);
  EXPECT_EQ(Train(0), "");
}

TEST_F(RealtimeTrainingTest, ADeliveryWithoutListsBeginsAnewToo) {
  TurnOn();
  Train(0);
  Train(5, 11);
  stages.whitelisted = false;
  Train(5);
  stages.whitelisted = true;
  EXPECT_NE(Train(5, 11), "");
  EXPECT_EQ(settings::Find(settings::kBayesianRealtimeTraining), 1U);
}

}  // namespace
}  // namespace corvane::test
