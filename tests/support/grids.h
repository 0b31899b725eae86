#pragma once
// Grids for tests: written as text, or as seeded noise; in memory or on disk.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "grid/storage.h"
#include "support/reporting.h"
#include "support/tools.h"

namespace terrain::test {

enum class Storage { memory, disk, diskByCell };  // on disk in row access, unless said

inline std::string storageName(const ::testing::TestParamInfo<Storage>& info) {
  return info.param == Storage::memory ? "Memory" : info.param == Storage::disk ? "Disk" : "DiskByCell";
}

/// For operations that must give the same bytes whatever the storage and the access mode.
inline auto everyStorage() { return ::testing::Values(Storage::memory, Storage::disk, Storage::diskByCell); }

/// Tests that run with grids in memory and on disk: the parameter says which.
class InBothStorages : public ::testing::TestWithParam<Storage> {
 protected:
  ConsoleCapture console_;
  ScratchDir scratch_;
};

struct GridPlan {
  double xmin = 1000, ymin = 2000;
  double cellsize = 10;
  float nodata = kNodata;
  Storage storage = Storage::memory;
};

/// A grid of `G` with every cell set to nodata.
template <class G>
G emptyGrid(int32_t ncols, int32_t nrows, const GridPlan& plan = {}) {
  G grid;
  EXPECT_EQ(CreateGrid(grid, {.ncols = ncols,
                              .nrows = nrows,
                              .xmin = plan.xmin,
                              .ymin = plan.ymin,
                              .size = {.cellsize = plan.cellsize},
                              .nodata = plan.nodata,
                              .onDisk = plan.storage != Storage::memory,
                              .cellAccess = plan.storage == Storage::diskByCell}),
            0);
  return grid;
}

/// A grid from its rows, north first, one a line, cells between blanks; "." is nodata.
template <class G>
G gridOf(std::string_view text, const GridPlan& plan = {}) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::vector<std::string> row;
    for (std::string word; words >> word;) row.push_back(word);
    if (!row.empty()) rows.push_back(row);
  }
  const auto ncols = static_cast<int32_t>(rows.at(0).size());
  const auto nrows = static_cast<int32_t>(rows.size());
  G grid = emptyGrid<G>(ncols, nrows, plan);
  for (int32_t row = 1; row <= nrows; ++row) {
    const auto& words = rows[static_cast<std::size_t>(row - 1)];
    EXPECT_EQ(words.size(), rows[0].size()) << "row " << row;
    for (int32_t col = 1; col <= ncols; ++col) {
      const std::string& word = words.at(static_cast<std::size_t>(col - 1));
      if (word != ".") grid.setCell(col, row, static_cast<typename G::CellValue>(std::stod(word)), {});
    }
  }
  if (plan.storage == Storage::disk) grid.SetRowAccess();
  return grid;
}

/// Sets every cell to value(col, row).
template <class G, class Value>
void fillWith(G& grid, Value value) {
  for (int32_t row = 1; row <= grid.rows(); ++row)
    for (int32_t col = 1; col <= grid.cols(); ++col)
      grid.setCell(col, row, static_cast<typename G::CellValue>(value(col, row)), {});
}

struct NoisePlan {
  uint32_t seed = 1;
  double holes = 0;      ///< share of single cells without data
  int32_t lakes = 0;     ///< discs without data
  double roughness = 5;  ///< height of the noise on hills of about 100
};

/// Hills with noise and holes; the same for the same plan.
inline R4Grid_type noiseDem(int32_t ncols, int32_t nrows, const NoisePlan& noise, const GridPlan& plan = {}) {
  R4Grid_type grid = emptyGrid<R4Grid_type>(ncols, nrows, plan);
  std::mt19937 random(noise.seed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  struct Disc {
    double col, row, radius;
  };
  std::vector<Disc> lakes(static_cast<std::size_t>(noise.lakes));
  for (Disc& lake : lakes) lake = {unit(random) * ncols, unit(random) * nrows, 1 + unit(random) * 5};
  fillWith(grid, [&](int32_t col, int32_t row) {
    const double hills = 300 + 100 * std::sin(col * 0.13) * std::cos(row * 0.09) + 0.7 * col;
    const double z = hills + noise.roughness * unit(random);
    bool missing = unit(random) < noise.holes;
    for (const Disc& lake : lakes)
      missing = missing || std::hypot(col - lake.col, row - lake.row) < lake.radius;
    return missing ? grid.nodata : static_cast<float>(z);
  });
  return grid;
}

/// The cells as text, a line a row from the north; "." is nodata.
template <class G>
std::string show(const G& grid) {
  std::ostringstream text;
  for (int32_t row = 1; row <= grid.rows(); ++row) {
    for (int32_t col = 1; col <= grid.cols(); ++col) {
      const auto cell = grid.value(col, row, "show");
      if (col > 1) text << ' ';
      if (cell == grid.nodataValue())
        text << '.';
      else
        text << +cell;
    }
    text << '\n';
  }
  return text.str();
}

/// The cells as they stand, row after row from the north.
template <class G>
std::vector<typename G::CellValue> cellsOf(G& grid) {
  const auto width = static_cast<std::size_t>(grid.cols());
  std::vector<typename G::CellValue> cells(width * static_cast<std::size_t>(grid.rows()));
  for (int32_t row = 1; row <= grid.rows(); ++row)
    EXPECT_EQ(grid.readRow(row, std::span(cells).subspan(static_cast<std::size_t>(row - 1) * width, width)),
              kIoOk);
  return cells;
}

/// True if two values are the same bits; a NaN is the same as itself.
template <class T>
bool sameBits(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

}  // namespace terrain::test
