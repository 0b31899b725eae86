#include "foundation/files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstring>
#include <fstream>
#include <random>

#include "foundation/field_text.h"
#include "foundation/file_names.h"
#include "foundation/log_file.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/run_clock.h"
#include "foundation/units.h"
#include "support/reporting.h"
#include "support/tools.h"

namespace terrain {
namespace {

using test::readBytes;
using test::writeBytes;

class Files : public test::Reporting {
 protected:
  test::ScratchDir dir_;
};

TEST_F(Files, SizesAndCopies) {
  const std::string name = dir_.path() + "a b";
  writeBytes(name, "x");
  EXPECT_EQ(fsize(name), 1);
  EXPECT_EQ(fsize("  " + name + "  "), 1);
  EXPECT_EQ(fsize(dir_.path() + "none"), -1);
  EXPECT_EQ(fsize(dir_.path()), -1);
  writeBytes(dir_.path() + "empty", "");
  EXPECT_EQ(fsize(dir_.path() + "empty"), -1);
  EXPECT_EQ(CopyFile(dir_.path() + "empty", dir_.path() + "copy"), -1);
  EXPECT_TRUE(console_.has("fsize returned zero file length for "));

  std::string big(3'000'001, '\0');
  std::mt19937 random(3);
  for (char& c : big) c = static_cast<char>(random());
  writeBytes(name, big);
  EXPECT_EQ(CopyFile(name, dir_.path() + "copy"), 0);
  EXPECT_EQ(readBytes(dir_.path() + "copy"), big);
  EXPECT_EQ(CopyFile(name, name), -1);  // it would be emptied
  EXPECT_EQ(fsize(name), 3'000'001);
  EXPECT_EQ(CopyFile(name, dir_.path() + "none/copy"), -1);

  const int32_t unit = freeUnit();
  EXPECT_EQ(fsizeByUnit(unit), 0);
  ASSERT_EQ(units().openRecords(unit, name, platform::Open::read, 4), kIoOk);
  EXPECT_EQ(fsizeByUnit(unit), 3'000'000);
  EXPECT_EQ(freeUnit(), unit + 1);
  units().close(unit);
  EXPECT_EQ(fsizeByUnit(0), -1);

  writeBytes(dir_.path() + "s.shp", "shape");
  std::vector<std::byte> shp;
  std::vector<std::byte> dbf;
  EXPECT_EQ(Load_shapefile(dir_.path() + "s", {.shp = &shp}), 0);
  EXPECT_EQ(shp.size(), 5u);
  EXPECT_EQ(Load_shapefile(dir_.path() + "s", {.shp = &shp, .dbf = &dbf}), -1);
  EXPECT_EQ(Load_shapefile(dir_.path() + "s", {}), -1);
}

TEST_F(Files, RecordsReadAsTheyWereWrittenWhateverTheirLength) {
  // Cells and rows of one file, against a copy in memory; more pages than the buffer holds.
  constexpr std::size_t size = RecordFile::kPageBytes * (RecordFile::kMostPages + 90) + 1234;
  std::vector<std::byte> shadow(size);
  const std::string name = dir_.path() + "records";
  const int32_t unit = freeUnit();
  ASSERT_EQ(units().openRecords(unit, name, platform::Open::create, 8), kIoOk);
  RecordFile& file = *units().records(unit);
  ASSERT_EQ(file.writeBytes(0, shadow), kIoOk);
  std::mt19937 random(11);
  for (int i = 0; i < 30'000; ++i) {
    const std::size_t length = i % 500 == 0 ? 10'000 : 1 + random() % 24;
    const std::size_t at = random() % (size - length);
    const auto part = std::span(shadow).subspan(at, length);
    if (i % 3 != 0) {
      for (std::byte& b : part) b = static_cast<std::byte>(random());
      ASSERT_EQ(file.writeBytes(at, part), kIoOk);
    } else {
      std::vector<std::byte> back(length);
      ASSERT_EQ(file.readBytes(at, back), kIoOk);
      ASSERT_TRUE(std::ranges::equal(back, part)) << i;
    }
  }
  // Another record length numbers the same bytes anew, those in the buffer too.
  std::byte one{};
  ASSERT_EQ(file.write(1, std::span(shadow).subspan(8, 8)), kIoOk);
  ASSERT_EQ(units().setRecordLength(unit, 2), kIoOk);
  ASSERT_EQ(file.read(4, {&one, 1}), kIoOk);
  EXPECT_EQ(one, shadow[14]);
  ASSERT_EQ(file.writeBytes(0, std::span(shadow).first(8)), kIoOk);
  EXPECT_EQ(units().setRecordLength(unit + 1, 2), kIoNotFound);
  EXPECT_EQ(file.readBytes(size, {&one, 1}), kIoPastEnd);
  EXPECT_EQ(file.readBytes(std::uint64_t{1} << 60, {&one, 1}), kIoPastEnd);
  EXPECT_EQ(units().close(unit), kIoOk);
  EXPECT_EQ(readBytes(name).size(), size);
  EXPECT_EQ(std::memcmp(readBytes(name).data(), shadow.data(), size), 0);
}

#if !defined(__SANITIZE_ADDRESS__)  // which needs address space of its own
TEST_F(Files, RecordsOutliveAShortageOfMemory) {
  const auto withLittleMemory = [&] {
    RecordFile file(platform::File(), "", 8);
    if (file.file().open(dir_.path() + "records", platform::Open::create) != kIoOk) std::_Exit(1);
    std::uint64_t pages = 0;  // of the process, as the host counts them
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t most = pages * 4096 + (8U << 20);
    const rlimit limit{most, most};
    ::setrlimit(RLIMIT_AS, &limit);
    constexpr std::size_t kPages = RecordFile::kMostPages;  // 32 MiB
    std::array<std::byte, 8> cell{};
    bool same = true;
    for (std::size_t i = 0; i < kPages; ++i) {
      cell.fill(static_cast<std::byte>(i));
      same = same && file.writeBytes(i * RecordFile::kPageBytes, cell) == kIoOk;
    }
    for (std::size_t i = 0; i < kPages; ++i) {
      same = same && file.readBytes(i * RecordFile::kPageBytes, cell) == kIoOk;
      same = same && cell[7] == static_cast<std::byte>(i);
    }
    same = same && file.writeBytes(std::uint64_t{1} << 50, cell) == kIoNoMemory;
    std::_Exit(same ? 0 : 2);
  };
  EXPECT_EXIT(withLittleMemory(), ::testing::ExitedWithCode(0), "");
}
#endif

TEST_F(Files, ScratchNamesStepOverWhatIsThere) {
  writeBytes(dir_.path() + "Scratch0", "old");
  int32_t first = 0;
  int32_t second = 0;
  std::string name;
  EXPECT_EQ(OpenBinaryScratchFile({.unit = &first, .fileName = &name, .recordLength = 4}), 0);
  EXPECT_EQ(name, dir_.path() + "Scratch1");
  EXPECT_EQ(OpenBinaryScratchFile({.unit = &second, .fileName = &name, .recordLength = 4}), 0);
  EXPECT_EQ(name, dir_.path() + "Scratch2");
  units().close(first, Closing::erase);
  units().close(second, Closing::erase);
  EXPECT_FALSE(platform::fileExists(dir_.path() + "Scratch1"));
  EXPECT_EQ(readBytes(dir_.path() + "Scratch0"), "old");
  // A file that took the name of an erased unit is another's.
  EXPECT_EQ(OpenBinaryScratchFile({.unit = &first, .fileName = &name, .recordLength = 4}), 0);
  platform::removeFile(name);
  writeBytes(name, "another's");
  units().close(first, Closing::erase);
  EXPECT_EQ(readBytes(name), "another's");

  EXPECT_NE(OpenBinaryScratchFile({.scratchPath = dir_.path() + "none/"}), 0);
  EXPECT_TRUE(console_.has("ScratchPath not found: " + dir_.path() + "none/"));
  scratchSpace().scratchReady = false;
  EXPECT_NE(OpenBinaryScratchFile({.unit = &first}), 0);
  EXPECT_EQ(first, -1);
}

TEST_F(Files, LogIsCopiedWithOneMoreBlankWhileItGoesOn) {
  writeBytes(dir_.path() + "in", "KEY: 1\r\n" + std::string(600, 'x') + "\n");
  int32_t unit = 0;
  startLogFile(unit, dir_.path() + "log", dir_.path() + "in",
               {.programName = "P ", .startText = "now", .version = "1"});
  ASSERT_GT(unit, 10);
  const std::string head = " P log file\n   Version 1\n   Started now\n " + std::string(62, '=') +
                           "\n Input file: " + dir_.path() + "in\n   copied below\n " + std::string(62, '-') +
                           "\n KEY: 1\n " + std::string(512, 'x') +
                           "\n ====================End Input File==========================\n \n Program "
                           "runtime output follows\n \n";
  EXPECT_EQ(readBytes(dir_.path() + "log"), head);
  putMessage("one");
  CopyLogFile(unit, dir_.path() + "copy");
  putMessage("two");
  CopyLogFile(unit, dir_.path() + "copy2");
  const std::string copy = readBytes(dir_.path() + "copy");
  EXPECT_TRUE(copy.starts_with("  P log file\n    Version 1\n"));
  EXPECT_TRUE(copy.ends_with("\n  one\n"));
  EXPECT_TRUE(readBytes(dir_.path() + "copy2").starts_with(copy));
  EXPECT_TRUE(
      readBytes(dir_.path() + "copy2").ends_with("  Created log file " + dir_.path() + "copy\n  two\n"));
  CopyLogFile(unit, dir_.path() + "none/copy");
  EXPECT_TRUE(console_.has("Error opening log file for " + dir_.path() + "none/copy\n"));
  EXPECT_TRUE(console_.has("  Error code: 29\n  no such file or directory\n"));

  // A second run of the same stamp takes the name, not the file.
  int32_t other = 0;
  startLogFile(other, dir_.path() + "log", dir_.path() + "in", {.programName = "Q"});
  units().close(unit, Closing::erase);
  EXPECT_TRUE(readBytes(dir_.path() + "log").starts_with(" Q log file"));
  units().close(other);
  startLogFile(other, dir_.path() + "none/log", dir_.path() + "in", {.programName = "Q"});
  EXPECT_EQ(other, 0);
}

TEST_F(Files, ClockTellsStartAndEnd) {
  const auto realClock = platform::clock();
  const ClockState before = clockState();
  std::string text;
  std::string stamp;
  platform::clock().now = [] {
    return platform::DateTime{
        .year = 2026, .month = 11, .day = 5, .hour = 0, .minute = 5, .second = 5, .millisecond = 7};
  };
  RunClock({.start = true, .startText = &text, .stamp = &stamp});
  EXPECT_EQ(text, "November 5, 2026 at 12:05 AM");
  EXPECT_EQ(stamp, "Nov_5_26_0_05_5");
  platform::clock().now = [] {
    return platform::DateTime{
        .year = 2026, .month = 12, .day = 31, .hour = 12, .minute = 40, .second = 59, .millisecond = 120};
  };
  RunClock({.stop = true, .stamp = &stamp, .stampLength = 10});
  EXPECT_EQ(stamp, "Dec_31_26_");
  EXPECT_EQ(console_.text(),
            " Started November 5, 2026 at 12:05 AM\n\n Started November 5, 2026 at 12:05: 5:  7 AM\n"
            " Done    December 31, 2026 at 12:40:59:120 PM\n");
  platform::clock() = realClock;
  clockState() = before;
}

TEST(FileNames, AreTakenApartAtEitherSeparator) {
  EXPECT_EQ(pathOfFile("c:\\data\\x.flt"), "c:\\data");
  EXPECT_EQ(pathOfFile("/x"), "");
  EXPECT_EQ(pathOfFile("x"), "");
  EXPECT_EQ(fileNameOf("c:\\data\\"), "c:\\data\\");
  EXPECT_EQ(fileNameOf("a/b\\c.x"), "c.x");
  EXPECT_EQ(baseNameOf(" d/elev_a.flt "), "elev_a");
  EXPECT_EQ(stripExtension("a.jpeg"), "a.jpeg");
  EXPECT_EQ(stripExtension(" a.tif "), "a");
  for (const char* whole : {"abc", "acc_0.125", "../ab", "./o4", "x.b2c", "d.e/f"})
    EXPECT_EQ(stripExtension(whole), whole);
  EXPECT_EQ(completeDirectory(" c:\\temp"), "c:\\temp\\");
  EXPECT_EQ(completeDirectory("c:\\temp\\ "), "c:\\temp\\");
  EXPECT_EQ(completeDirectory("/tmp"), "/tmp/");
  EXPECT_EQ(completeDirectory("out/s"), "out/s/");
  EXPECT_EQ(completeDirectory("  "), "");
}

TEST_F(Files, FieldsAndComparisons) {
  EXPECT_EQ(GetRealValue_sp(1234567.0F, 2, 8), "-9999.00");
  EXPECT_EQ(GetRealValue(3.14159, 3, 8), "3.142   ");
  EXPECT_EQ(GetRealValue(0.25, 2, 3), ".25");
  EXPECT_EQ(GetRealValue(-0.5, 1, 3), "-.5");
  EXPECT_EQ(GetRealValue(1.0, 21, 5), "     ");
  EXPECT_TRUE(console_.has("Currently handles up to 20 decimal places"));

  EXPECT_EQ(fieldType("2147483647").type, "I8");
  EXPECT_EQ(fieldType("2147483646 ").type, "I4");
  EXPECT_EQ(fieldType("1234.567").type, "R4");
  EXPECT_EQ(fieldType("1234.5678").type, "R8");
  EXPECT_EQ(fieldType("1-2").type, "C ");
  EXPECT_EQ(fieldType("  ").type, "  ");

  EXPECT_TRUE(sameR4(1000.0F, 1000.001F));
  EXPECT_FALSE(sameR4(0.0F, 0.00001F));
  EXPECT_TRUE(sameR8(2.0, -2.0, 1e-8, 0.1));
  EXPECT_FALSE(sameR8(2.0, -2.0));
  EXPECT_TRUE(isR8(1.0, " = ", 1.0 + 1e-10) && isI4(2, "<=", 2) && isChar("a ", "=", "a") &&
              isChar("a", "<", "b"));
  EXPECT_FALSE(isI8(1, "==", 1));
  EXPECT_TRUE(console_.has("unknown comparison test: =="));

  AnyValue target = int32_t{1};
  EXPECT_TRUE(assignValue(target, 7.9));
  EXPECT_EQ(std::get<int32_t>(target), 7);
  EXPECT_FALSE(assignValue(target, 3e10));
  EXPECT_FALSE(assignValue(target, std::string("x")));
}

}  // namespace
}  // namespace terrain
