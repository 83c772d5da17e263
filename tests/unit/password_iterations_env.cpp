// Every host test hashes passwords with few PBKDF2 iterations: the shipped
// count costs about 0.1 s per hash on a fast processor and several times that
// under the sanitizers. The shipped count is tested once, on its own
// (RefPlatPasswordTest.ShippedIterationCount).
#include <gtest/gtest.h>

#include "reference_platform/passwords.h"

namespace {

constexpr UINT32 kTestIterations = 3;

class LowIterations : public ::testing::Environment {
public:
  void SetUp() override { Password_SetIterations(kTestIterations); }
};

[[maybe_unused]] ::testing::Environment* const kLowIterations =
    ::testing::AddGlobalTestEnvironment(new LowIterations);

} // namespace
