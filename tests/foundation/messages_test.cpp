#include "foundation/messages.h"

#include <gtest/gtest.h>

#include "foundation/units.h"
#include "support/reporting.h"
#include "support/tools.h"

namespace terrain {
namespace {

class Messages : public ::testing::Test {
 protected:
  ~Messages() override {
    if (logUnit_ > 0) units().close(logUnit_);
  }
  void openLog() {
    logUnit_ = units().freeUnit();
    ASSERT_EQ(units().openText(logUnit_, dir_.path() + "log", platform::Open::replace), kIoOk);
    putMessage({.unit = logUnit_, .echo = true});
  }
  std::string logText() {
    std::string all;
    TextFile& log = *units().text(logUnit_);
    log.rewind();
    for (std::string line; log.readLine(line);) all += line + '\n';
    return all;
  }

  test::ConsoleCapture console_;
  test::ScratchDir dir_;
  int32_t logUnit_ = 0;
};

TEST_F(Messages, GoToTheConsoleUntilThereIsALogAndThenToBoth) {
  putMessage("early");
  EXPECT_EQ(console_.text(), " early\n");
  openLog();
  putMessage("  Ncols = ", int32_t{1200});
  putMessage("CPU seconds: ", 0.25F);
  putMessage("  Cellsize = ", 30.0);
  putMessage("   ");
  const std::string both = "   Ncols = 1200\n CPU seconds: 0.2500000\n   Cellsize = 30.0000000000000\n\n";
  EXPECT_EQ(logText(), both);
  EXPECT_EQ(console_.text(), " early\n" + both);
  // A destination alone writes nothing; without echo the log alone is written.
  putMessage({.echo = false});
  putMessage(std::string(600, 'x'));
  EXPECT_EQ(logText(), both + ' ' + std::string(512, 'x') + '\n');
  EXPECT_EQ(console_.text(), " early\n" + both);
}

TEST_F(Messages, ReportHasItsLinesInOrderOnlyWhereGiven) {
  reportError({.routine = "r",
               .code = 200,
               .file = "f  ",
               .message1 = "m1",
               .message3 = "m3",
               .line = 7,
               .text = "Real_Row"});
  EXPECT_EQ(console_.text(),
            " ERROR: r\n Unable to allocate memory for object\n FILE: f\n m1\n m3\n LINE: 7\n Real_Row\n");
}

TEST_F(Messages, ListIsKeptPrintedOrDroppedAsAsked) {
  ErrorList list;
  EXPECT_EQ(reportError(list, {.code = kOwnWords, .message1 = std::string(300, 'a'), .print = false}), -1);
  EXPECT_EQ(list.lines(), std::vector{std::string(256, 'a')});
  reportError(list, {.message1 = "b", .discard = false});
  EXPECT_EQ(console_.text(), "");
  const std::string longLine(256, 'a');
  EXPECT_EQ(errorText(list, 1000, "UNIX"), longLine + "\nb\n");
  EXPECT_EQ(errorText(list, 200), longLine.substr(0, 200));
  EXPECT_EQ(errorText(list, 3), "");
  reportError(list, {.message1 = "c"});
  EXPECT_EQ(console_.text(), ' ' + longLine + "\n b\n c\n");
  EXPECT_FALSE(list.hasLines());

  reportError(list, {.message1 = "d", .discard = true});
  // A warning takes what was held with it, unless warnings are shown; without a routine it has no effect.
  reportError(list, {.message1 = "held", .print = false});
  reportError(list, {.routine = "w", .message1 = "e", .warning = true});
  EXPECT_FALSE(list.hasLines());
  reportError({.message1 = "f", .warning = true});
  EXPECT_EQ(console_.text(), ' ' + longLine + "\n b\n c\n f\n");
  messages().showWarnings = true;
  reportError({.routine = "w", .warning = true});
  EXPECT_TRUE(console_.text().ends_with(" WARNING: w\n"));
}

TEST_F(Messages, StopEndsTheRunWithStatusOneAndACompleteLog) {
  openLog();
  platform::console().out = &std::cerr;
  EXPECT_EXIT(reportError({.message1 = "last words", .stop = true, .unit = logUnit_}),
              ::testing::ExitedWithCode(1), " last words\n PROGRAM ABORTED\n");
  EXPECT_EQ(logText(), " last words\n RETURN CODE = -1\n PROGRAM ABORTED\n");
}

}  // namespace
}  // namespace terrain
