#include "velmora/logging.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/log_capture.h"

namespace velmora::logging {
namespace {

TEST(Logging, DisabledLevelFormatsNothing) {
  const Logger logger("test");
  const auto fail = []() -> std::string { throw std::logic_error("formatted"); };
  logger.log(Level::error, fail);  // no sink at all
  const testing::LogCapture capture(Level::warning);
  logger.log(Level::info, fail);
  logger.log(Level::warning, [] { return "seen"; });
  EXPECT_EQ(capture.lines(), std::vector<std::string>{"WARNING test: seen"});
}

TEST(Logging, FormatWritesTheChainOfNestedErrors) {
  const testing::LogCapture capture(Level::debug);
  try {
    try {
      throw std::runtime_error("inner");
    } catch (...) {
      std::throw_with_nested(std::runtime_error("outer"));
    }
  } catch (...) {
    Logger("test").log(
        Level::error, [] { return "failed"; }, std::current_exception());
  }
  EXPECT_EQ(capture.lines().at(0), "ERROR test: failed\n  caused by: outer\n  caused by: inner");
}

}  // namespace
}  // namespace velmora::logging
