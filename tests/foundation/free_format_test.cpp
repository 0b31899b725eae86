#include "foundation/free_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace terrain {
namespace {

/// Every field of a text: words in brackets, "-" an empty field, "." the end.
std::string fieldsOf(std::string_view text, FreeFormat format = {}) {
  FreeFormatReader reader(text, format);
  std::string shown;
  for (int i = 0; i < 20; ++i) {
    std::string word;
    switch (reader.next(word)) {
      case FieldStatus::value:
        shown += '[' + word + ']';
        break;
      case FieldStatus::empty:
        shown += '-';
        break;
      default:
        return shown + '.';
    }
    if (shown.ends_with("-----")) return shown;  // after a slash empty fields never end
  }
  return shown;
}

TEST(FreeFormat, SplitsFields) {
  EXPECT_EQ(fieldsOf("  a b,c ,\td\r"), "[a][b][c][d].");
  EXPECT_EQ(fieldsOf(",a,,b"), "-[a]-[b].");
  EXPECT_EQ(fieldsOf("3*x 2*,y"), "[x][x][x]--[y].");
  EXPECT_EQ(fieldsOf("'it''s' \"a, b/c\""), "[it's][a, b/c].");
  EXPECT_EQ(fieldsOf("a/b"), "[a]-----");
  EXPECT_EQ(fieldsOf("/a/b c", {.slashEnds = false}), "[/a/b][c].");
  EXPECT_EQ(fieldsOf("\"open , end"), "[open , end].");
  EXPECT_EQ(fieldsOf(""), ".");
  EXPECT_EQ(fieldsOf(std::string_view("\0 7\0", 4)), "[7].");
}

TEST(FreeFormat, ReadsNumbersInEveryForm) {
  struct Case {
    const char* text;
    double value;
  };
  for (const Case& c : {Case{"15", 15},
                        {"+15.", 15},
                        {".5", 0.5},
                        {"-1.5e1", -15},
                        {"1.5d1", 15},
                        {"1.5Q+1", 15},
                        {"1.5+3", 1500},
                        {"15-1", 1.5},
                        {"1e-400", 0},
                        {"0.000e999", 0},
                        {"15 m", 15},
                        {"'15',2", 15},
                        {"15/2", 15}}) {
    SCOPED_TRACE(c.text);
    double value = -1;
    EXPECT_TRUE(readFree(c.text, value));
    EXPECT_EQ(value, c.value);
  }
  for (const char* text :
       {"", "x", "1.5x", "1e", "--1", "1.2.3", "1e400", "e5", "+", ".", "'35'x", "'3", "2*'3"}) {
    SCOPED_TRACE(text);
    double value = -1;
    EXPECT_FALSE(readFree(text, value));
    EXPECT_EQ(value, -1);
  }
  float single = 0;
  EXPECT_FALSE(readFree("1e39", single));
  EXPECT_TRUE(readFree("1e-60", single));
  EXPECT_EQ(single, 0.0F);
  EXPECT_TRUE(readFree("nan", single) && std::isnan(single));
  int32_t whole = 3;
  EXPECT_FALSE(readFree("15.0", whole));
  EXPECT_FALSE(readFree("2147483648", whole));
  EXPECT_TRUE(readFree("+2147483647", whole));
  EXPECT_EQ(whole, 2147483647);
  EXPECT_TRUE(readFree(",5", whole));  // an empty field leaves it
  EXPECT_EQ(whole, 2147483647);
}

TEST(FreeFormat, ShowsSignificantDigits) {
  EXPECT_EQ(freeText(1200.0F), "1200.000");
  EXPECT_EQ(freeText(0.1F), "0.1000000");
  EXPECT_EQ(freeText(0.01F), "1.000000E-02");
  EXPECT_EQ(freeText(9999999.0F), "9999999.");
  EXPECT_EQ(freeText(1e7F), "1.000000E+07");
  EXPECT_EQ(freeText(-2.5), "-2.50000000000000");
  EXPECT_EQ(freeText(std::numeric_limits<float>::quiet_NaN()), "NaN");
  EXPECT_EQ(fixedText(0.5, 2), "0.50");
  EXPECT_EQ(fixedText(-3.0, 0), "-3.");
  EXPECT_EQ(fixedText(4373130.0, 9), "4373130.000000000");
}

TEST(FreeFormat, ShortestTextReadsBackAsTheSameBits) {
  std::mt19937 random(7);
  for (int i = 0; i < 2000; ++i) {
    const auto bits = static_cast<uint32_t>(random());
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    if (!std::isfinite(value)) continue;
    float back = 1;
    ASSERT_TRUE(readFree(shortestText(value), back)) << value;
    ASSERT_EQ(std::memcmp(&back, &value, sizeof value), 0) << value;
  }
}

}  // namespace
}  // namespace terrain
