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

TEST(Logging, FormatEndsWithTheChain) {
  // Made where no error is handled, so nothing is nested in it.
  struct Alone : std::runtime_error, std::nested_exception {
    Alone() : std::runtime_error("alone") {}
  };
  const Record alone{"test", Level::error, "failed", std::make_exception_ptr(Alone())};
  EXPECT_EQ(format(alone), "ERROR test: failed\n  caused by: alone");

  std::exception_ptr chain = std::make_exception_ptr(std::runtime_error("deepest"));
  for (int i = 0; i < 100; ++i) {
    try {
      std::rethrow_exception(chain);
    } catch (...) {
      try {
        std::throw_with_nested(std::runtime_error("x"));
      } catch (...) {
        chain = std::current_exception();
      }
    }
  }
  std::string expected = "ERROR test: failed";
  for (int i = 0; i < 32; ++i) expected += "\n  caused by: x";
  EXPECT_EQ(format({"test", Level::error, "failed", chain}), expected + "\n  caused by: ...");
}

}  // namespace
}  // namespace velmora::logging
