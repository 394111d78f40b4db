// The logging macro family, the assertion handler and the small shared
// helpers built on them (Zel::function, BoundedInt, the unreachable report).
#include "LogCapture.h"

#include "Zel/BoundedInt.h"
#include "Zel/Function.h"
#include "Zel/Unreachable.h"
#include "Zel/Log.h"

#include <gtest/gtest.h>

#include <csignal>

#define ZEL_LOG_SOURCE "tests/LoggingTest"

namespace Zel {
namespace {

using Tests::Debug;
using Tests::Error;
using Tests::LogCapture;

int g_streamed = 0;
struct CountsStreaming {};
std::ostream& operator<<(std::ostream& os, CountsStreaming) {
  ++g_streamed;
  return os << "counted";
}

void WriteOneError() {
  ZEL_LOG_ERROR("value " << 42 << ", text " << std::string("x"));
}

TEST(Logging, EntryCarriesPrefixSourceLineAndSignature) {
  LogCapture log;
  WriteOneError();
  const auto entries = log.Entries();
  ASSERT_EQ(entries.size(), 1u);
  const Tests::LogEntry& entry = entries[0];
  EXPECT_EQ(entry.level, log4cplus::ERROR_LOG_LEVEL);
  EXPECT_EQ(entry.text, "value 42, text x");
  EXPECT_EQ(entry.source, "tests/LoggingTest");
  EXPECT_EQ(entry.function, "void Zel::{anonymous}::WriteOneError()");
  EXPECT_EQ(entry.message,
            "WriteOneError [tests/LoggingTest:" + std::to_string(entry.line) + "] - value 42, text x");
}

TEST(Logging, ContextAndRecursionPaddingPrefixTheText) {
  LogCapture log;
  SetLoggingContext("app1 ");
  {
    LoggingRecursionGuard nested;
    ZEL_LOG_INFO("inner");
  }
  SetLoggingContext("");
  const auto entries = log.Entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].message.rfind("app1 TestBody [", 0), 0u) << entries[0].message;
  EXPECT_EQ(entries[0].text, "  inner");
}

TEST(Logging, DisabledLevelBuildsNoText) {
  LogCapture log(log4cplus::ERROR_LOG_LEVEL);
  g_streamed = 0;
  ZEL_LOG_DEBUG("never " << CountsStreaming());
  ZEL_LOG_TRACE(CountsStreaming());
  EXPECT_EQ(g_streamed, 0);
  EXPECT_TRUE(log.Empty());
  ZEL_LOG_ERROR(CountsStreaming());
  EXPECT_EQ(g_streamed, 1);
  EXPECT_TRUE(log.Equals({Error("counted")}));
}

TEST(Logging, CaptureSeesEveryLevelItIsGiven) {
  LogCapture log(log4cplus::DEBUG_LOG_LEVEL);
  ZEL_LOG_TRACE("hidden");
  ZEL_LOG_DEBUG("d");
  ZEL_LOG_WARN("w");
  EXPECT_TRUE(log.Equals({Debug("d"), Tests::Warn("w")}));
  EXPECT_TRUE(log.EqualsIgnoringDebug({Tests::Warn("w")}));
}

TEST(Logging, DefaultLevelIsError) {
  EXPECT_EQ(GetGlobalDefaultLogger().getLogLevel(), log4cplus::ERROR_LOG_LEVEL);
}

TEST(Function, CallsTheStoredCallableAndSharesItBetweenCopies) {
  int calls = 0;
  BoolReader reader([&calls] { return ++calls % 2 == 1; });
  BoolReader copy = reader;
  EXPECT_TRUE(reader());
  EXPECT_FALSE(copy());
  EXPECT_EQ(calls, 2);
  EXPECT_TRUE(static_cast<bool>(copy));
  EXPECT_FALSE(static_cast<bool>(BoolReader()));
}

using FunctionDeathTest = ::testing::Test;
TEST_F(FunctionDeathTest, CallingAnEmptyFunctionFailsTheAssertion) {
  BoolReader empty;
  EXPECT_DEATH(empty(), " ZEL_ASSERT2\\(m_storage\\) failed");
}

using BoundedIntDeathTest = ::testing::Test;
TEST_F(BoundedIntDeathTest, ConstructionOutsideTheBoundsIsAProgrammingError) {
  EXPECT_DEATH(LogicalDeviceId(0), "ZEL_ASSERT\\(value >= Min && value <= Max\\) failed");
  EXPECT_DEATH(LogicalDeviceId(3), "ZEL_ASSERT");
  EXPECT_EQ(LogicalDeviceId(2), LogicalDeviceId(2));
  EXPECT_NE(LogicalDeviceId(1), LogicalDeviceId(2));
}

using UnreachableDeathTest = ::testing::Test;
// Reported at a fixed position, then aborted (SIGABRT: a core dump to look at).
TEST_F(UnreachableDeathTest, EmptyOptionalIsReportedAtItsFixedPosition) {
  EXPECT_EQ(UndefinedBehaviourIfNone(boost::optional<int>(7)), 7);
  EXPECT_EXIT(UndefinedBehaviourIfNone(boost::optional<int>()), ::testing::KilledBySignal(SIGABRT),
              "This statement should not be executed. There is a bug somewhere around "
              "Include/Zel/Unreachable:45");
}

}  // namespace
}  // namespace Zel
