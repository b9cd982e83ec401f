// InDirectory.h -- a test with a directory of its own.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {

class InDirectory : public ::testing::Test {
 protected:
  const TemporaryDirectory root_;
};

}  // namespace corvane::test
