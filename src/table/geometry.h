#pragma once
// The geometry of a table record: a point, a line with its parts, a polygon with its rings. Each
// owns its arrays; an absent array is empty. Plain data: a copy shares nothing.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace terrain {

inline constexpr double kLargestReal8 = std::numeric_limits<double>::max();  ///< 1.7976931348623157e+308
inline constexpr double kMissing = -9999.0;  ///< a coordinate, elevation or value that is not known
inline constexpr double kFeetPerMeter = 3.2808399200439453;      ///< the float32 3.28084 in float64
inline constexpr double kMetersPerFootR4 = 0.30480000376701355;  ///< the float32 0.3048 in float64
/// A measure below `kNoMeasureBelow` is missing, as the file format defines it; `kNoMeasure` is written for
/// one.
inline constexpr double kNoMeasureBelow = -1e38;
inline constexpr double kNoMeasure = -1e39;

/// The smallest and largest of some numbers; `add` widens it, a NaN does not.
struct Range {
  double low = kLargestReal8;
  double high = -kLargestReal8;

  void add(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  void add(const Range& other) {
    low = std::min(low, other.low);
    high = std::max(high, other.high);
  }
  void add(std::span<const double> values) {
    for (const double value : values) add(value);
  }
  [[nodiscard]] bool empty() const { return low > high; }
};

/// A bounding box.
struct Box {
  Range x{};
  Range y{};

  void add(double px, double py) {
    x.add(px);
    y.add(py);
  }
  void add(const Box& other) {
    x.add(other.x);
    y.add(other.y);
  }
  /// Sides included; false for a NaN.
  [[nodiscard]] bool contains(double px, double py) const {
    return x.low <= px && px <= x.high && y.low <= py && py <= y.high;
  }
};

/// Bytes of the elements of some arrays.
[[nodiscard]] inline std::uint64_t bytesIn(const auto&... arrays) {
  return (std::uint64_t{0} + ... + (arrays.size() * sizeof(arrays[0])));
}

struct PointType {
  int32_t col = -9999;  ///< grid cell
  int32_t row = -9999;
  std::vector<int64_t> linksA{};  ///< record numbers of linked points
  std::vector<int64_t> linksB{};
  int64_t linkValue = -9999;
  double x = 0;
  double y = 0;
  double xOffset = 0;  ///< added to `x` on request
  double yOffset = 0;
  bool flag = true;

  [[nodiscard]] std::uint64_t arrayBytes() const { return bytesIn(linksA, linksB); }
};

/// What `SegmentType::Vertices` gives beside x and y; null for outputs not wanted.
struct VerticesOptions {
  std::vector<double>* xAlt = nullptr;
  std::vector<double>* yAlt = nullptr;
  std::vector<double>* z = nullptr;
  bool useAlt = false;  ///< x and y are those of `xAlt` and `yAlt`, where the line has them
};

struct SegmentType {
  std::vector<int32_t> parts{};  ///< first vertex of each part, from 1; none: the line is one part
  std::vector<int32_t> col{};    ///< grid cell of each vertex, or of cells of their own
  std::vector<int32_t> row{};
  std::vector<int64_t> linksA{};  ///< record numbers of linked segments
  std::vector<int64_t> linksB{};
  std::vector<double> x{};
  std::vector<double> y{};
  std::vector<double> xAlt{};  ///< a second position of each vertex
  std::vector<double> yAlt{};
  std::vector<double> z{};  ///< -9999.0 where an elevation is missing
  bool flag = false;

  /// Copies of the vertices; empty where the segment has none. -1, reported, without memory.
  int Vertices(std::vector<double>& outX, std::vector<double>& outY,
               const VerticesOptions& options = {}) const;
  int ColsRows(std::vector<int32_t>& cols, std::vector<int32_t>& rows) const;
  /// Planar length, summed in float64 over consecutive vertices, rounded once.
  [[nodiscard]] float Length() const;
  [[nodiscard]] int32_t NumParts() const { return static_cast<int32_t>(parts.size()); }
  [[nodiscard]] std::uint64_t arrayBytes() const {
    return bytesIn(parts, col, row, linksA, linksB, x, y, xAlt, yAlt, z);
  }
};

struct ReferencePointType {
  double x = 0;
  double y = 0;
};

struct PolygonType {
  std::vector<int32_t> ring{};  ///< first vertex of each ring, from 0, as in the file
  double xmax = kMissing;       ///< bounding box
  double xmin = kMissing;
  double ymax = kMissing;
  double ymin = kMissing;
  std::vector<double> x{};  ///< the vertices of all rings; a ring's last repeats its first
  std::vector<double> y{};
  std::vector<double> dx{};  ///< vertices relative to the reference point
  std::vector<double> dy{};
  std::vector<double> z{};
  std::vector<double> m{};  ///< measure of each vertex; below -1e38: none
  bool flag = true;
  std::optional<ReferencePointType> reference{};
  float value = -9999.0F;

  /// Copies of all vertices, and of `z` where wanted; nothing without vertices. -1, reported, without memory.
  int PolyVertices(std::vector<double>& outX, std::vector<double>& outY,
                   std::vector<double>* outZ = nullptr) const;
  int Polyz(std::vector<double>& outZ) const;
  /// First vertex of each ring, from 1.
  int PolyParts(std::vector<int32_t>& starts) const;

  /// Sets the box from the vertices; -9999.0 on all sides without any.
  void updateBox();
  [[nodiscard]] std::uint64_t arrayBytes() const { return bytesIn(ring, x, y, dx, dy, z, m); }
};

}  // namespace terrain
