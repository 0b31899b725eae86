#include "support/reference_drainage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

#include "grid/directions.h"
#include "grid/neighbours.h"

namespace terrain::test {

namespace {

constexpr float kNoAspect = -9999.0F;
constexpr float kLowest = std::numeric_limits<float>::lowest();

/// True for elevations that count as equal.
bool level(float a, float b) { return std::fabs(a - b) < 9e-5F; }

/// True for values that are equal within a relative 1e-5.
bool alike(float a, float b) {
  if (a == b) return true;
  const float larger = std::max(std::fabs(a), std::fabs(b));
  const float smaller = std::min(std::fabs(a), std::fabs(b));
  return smaller == 0.0F ? larger < 1e-5F : std::fabs(a - b) / larger < 1e-5F;
}

template <class T>
struct Raster {
  int32_t cols, rows;
  T outside;  ///< what is read past the border
  std::vector<T> cells;

  T& operator[](ColRow c) {
    return cells[static_cast<std::size_t>(c.row - 1) * static_cast<std::size_t>(cols) +
                 static_cast<std::size_t>(c.col - 1)];
  }
  T at(ColRow c) const {
    const bool inside = c.col >= 1 && c.col <= cols && c.row >= 1 && c.row <= rows;
    return inside ? const_cast<Raster&>(*this)[c] : outside;
  }
};

template <class T>
Raster<T> filled(int32_t cols, int32_t rows, T value, T outside) {
  const auto count = static_cast<std::size_t>(cols) * static_cast<std::size_t>(rows);
  return {.cols = cols, .rows = rows, .outside = outside, .cells = std::vector<T>(count, value)};
}

template <class Visit>
void everyCell(int32_t cols, int32_t rows, Visit visit) {
  for (int32_t row = 1; row <= rows; ++row)
    for (int32_t col = 1; col <= cols; ++col) visit(ColRow{.col = col, .row = row});
}

float height(const Raster<float>& elev, ColRow c) { return std::fabs(elev.at(c)); }

/// The code of a neighbour without data, straight ones first; 0 for none.
int32_t edgeDirection(const Raster<float>& elev, ColRow c) {
  for (const int32_t code : {1, 3, 5, 7, 2, 4, 6, 8})
    if (height(elev, stepFrom(c, code)) == 0.0F) return code;
  return 0;
}

struct Extremes {
  float lowest = 1e30F, highest = 0.0F;
};
/// Of the eight neighbours; one without data counts as 0.
Extremes neighbourHeights(const Raster<float>& elev, ColRow c) {
  Extremes found;
  for (int32_t code = 1; code <= 8; ++code) {
    const float z = height(elev, stepFrom(c, code));
    found.lowest = std::min(found.lowest, z);
    found.highest = std::max(found.highest, z);
  }
  return found;
}

/// The cells of a flat in the order in which they were found, and the ranks that direct its flow: away from
/// the high edge and towards the outlets.
struct Flat {
  std::vector<ColRow> cells;
  Raster<int32_t> position;  ///< in `cells`, -1 elsewhere
  std::vector<int32_t> away, toward, rank;
  std::vector<int32_t> outlets, highEdge;

  Flat(std::vector<ColRow> list, int32_t cols, int32_t rows)
      : cells(std::move(list)),
        position(filled<int32_t>(cols, rows, -1, -1)),
        away(cells.size(), 0),
        toward(cells.size(), 2) {
    for (int32_t k = 0; k < size(); ++k) position[cell(k)] = k;
  }
  [[nodiscard]] int32_t size() const { return static_cast<int32_t>(cells.size()); }
  [[nodiscard]] ColRow cell(int32_t k) const { return cells[static_cast<std::size_t>(k)]; }
  [[nodiscard]] int32_t rankOf(int32_t k) const { return rank[static_cast<std::size_t>(k)]; }
  [[nodiscard]] int32_t next(int32_t k, int32_t code) const { return position.at(stepFrom(cell(k), code)); }

  void makeOutlet(int32_t k) {
    away[static_cast<std::size_t>(k)] = -1;
    toward[static_cast<std::size_t>(k)] = 0;
    outlets.push_back(k);
  }
  void makeHighEdge(int32_t k) {
    away[static_cast<std::size_t>(k)] = 1;
    toward[static_cast<std::size_t>(k)] = 2;
    highEdge.push_back(k);
  }

  /// The cells beside the frontier that hold `from`, which become `to`.
  std::vector<int32_t> spread(const std::vector<int32_t>& frontier, std::vector<int32_t>& values,
                              int32_t from, int32_t to) const {
    std::vector<int32_t> reached;
    for (const int32_t k : frontier) {
      for (int32_t code = 1; code <= 8; ++code) {
        const int32_t j = next(k, code);
        if (j < 0 || values[static_cast<std::size_t>(j)] != from) continue;
        values[static_cast<std::size_t>(j)] = to;
        reached.push_back(j);
      }
    }
    return reached;
  }

  void buildRanks() {
    for (std::vector<int32_t> frontier = highEdge;;) {
      for (int32_t& a : away)
        if (a > 0) ++a;
      if (frontier.empty()) break;
      frontier = spread(frontier, away, 0, 1);
      if (frontier.empty()) break;
    }
    std::vector<int32_t> frontier = outlets;
    for (int32_t step = 2;; step += 2) {
      for (int32_t& t : toward)
        if (t == step) t = step + 2;
      if (frontier.empty()) break;
      frontier = spread(frontier, toward, step + 2, step);
      if (frontier.empty()) break;
    }
    rank.resize(cells.size());
    for (std::size_t k = 0; k < cells.size(); ++k) rank[k] = std::max(away[k], 0) + toward[k];
  }

  /// The code of the steepest fall of the rank within the flat; 0 for none.
  [[nodiscard]] int32_t steepestFall(int32_t k) const {
    int32_t chosen = 0;
    float best = 0.0F;
    for (int32_t code = 1; code <= 8; ++code) {
      const int32_t j = next(k, code);
      if (j < 0) continue;
      const float fall = static_cast<float>(rankOf(k) - rankOf(j)) / stepLength(code);
      if (fall > best) {
        best = fall;
        chosen = code;
      }
    }
    return chosen;
  }
};

class MinHeap {
 public:
  [[nodiscard]] bool empty() const { return size() == 0; }

  void insert(ColRow cell, float key) {
    entries_.push_back({});
    std::size_t i = size();
    while (i != 1 && key < entries_[i / 2].key) {
      entries_[i] = entries_[i / 2];
      i = i / 2;
    }
    entries_[i] = {.cell = cell, .key = key};
  }

  ColRow pop() {
    const ColRow top = entries_[1].cell;
    entries_[1] = entries_[size()];
    entries_.pop_back();
    if (!empty()) siftDown();
    return top;
  }

 private:
  struct Entry {
    ColRow cell;
    float key = 0.0F;
  };
  [[nodiscard]] std::size_t size() const { return entries_.size() - 1; }

  void siftDown() {
    const Entry moved = entries_[1];
    std::size_t j = 2;
    while (j <= size()) {
      if (j < size() && entries_[j].key > entries_[j + 1].key) ++j;
      if (entries_[j].key >= moved.key) break;
      entries_[j / 2] = entries_[j];
      j = 2 * j;
    }
    entries_[j / 2] = moved;
  }

  std::vector<Entry> entries_{1};  // entry 0 is not used; the children of i are 2i and 2i + 1
};

class Flooding {
 public:
  explicit Flooding(const PlainTerrain& t)
      : elev{.cols = t.cols, .rows = t.rows, .outside = 0.0F, .cells = t.elev},
        plan_{.cols = t.cols, .rows = t.rows, .outside = kNoAspect, .cells = t.plan},
        d8_(filled<int32_t>(t.cols, t.rows, 0, 0)) {}

  PlainFloodResult run() {
    raisePits();
    everyCell(elev.cols, elev.rows, [&](ColRow c) { startDirection(c); });
    everyCell(elev.cols, elev.rows, [&](ColRow c) {
      if (elev[c] != 0.0F && edgeDirection(elev, c) >= 1) paint(c);
    });
    pushEdges();
    PlainFloodResult result;
    while (!heap_.empty()) {
      const ColRow c = heap_.pop();
      const int32_t entry = wayIn(c);
      if (entry == 0) continue;
      ++result.carved;
      carve(c, entry);
    }
    for (int32_t& code : d8_.cells) code = std::abs(code);
    result.drained = everyCellDrains();
    return result;
  }

  Raster<float> elev;

 private:
  void raisePits() {
    const Raster<float> before = elev;
    everyCell(elev.cols, elev.rows, [&](ColRow c) {
      if (c.col == 1 || c.col == elev.cols || c.row == 1 || c.row == elev.rows) return;
      const float lowest = neighbourHeights(before, c).lowest;
      if (before.at(c) != 0.0F && lowest > before.at(c)) elev[c] = lowest;
    });
  }

  void startDirection(ColRow c) {
    if (elev[c] == 0.0F) return;
    d8_[c] = edgeDirection(elev, c);
    if (d8_[c] >= 1)
      elev[c] = -elev[c];
    else
      d8_[c] = steepestDescent(c);
  }

  int32_t steepestDescent(ColRow c) const {
    int32_t chosen = 0;
    float bestSlope = kLowest;
    float bestPlan = -999.0F;
    for (int32_t code = 1; code <= 8; ++code) {
      const ColRow n = stepFrom(c, code);
      const float there = height(elev, n);
      if (there == 0.0F) continue;
      const float rise = there - height(elev, c);
      if (std::fabs(rise) < 9e-5F || there > height(elev, c)) continue;
      const float slope = -rise / stepLength(code);
      if (slope > bestSlope) {
        bestSlope = slope;
        chosen = code;
      } else if (alike(slope, bestSlope)) {
        const float plan = plan_.at(n);
        if (plan > bestPlan) {
          bestPlan = plan;
          chosen = code;
        } else if (alike(plan, bestPlan) && stepLength(code) < stepLength(chosen)) {
          chosen = code;
        }
      }
    }
    return chosen;
  }

  /// Marks a cell and all that flows to it as drained.
  void paint(ColRow start) {
    elev[start] = -std::fabs(elev[start]);
    for (std::vector<ColRow> frontier{start}; !frontier.empty();) {
      std::vector<ColRow> next;
      for (const ColRow c : frontier) {
        holdEdge_.push_back(c);
        bool besideFlat = false;
        for (int32_t code = 1; code <= 8; ++code)
          besideFlat = besideFlat || level(elev.at(stepFrom(c, code)), height(elev, c));
        if (besideFlat) paintFlat(c);
        for (int32_t code = 1; code <= 8; ++code) {
          const ColRow n = stepFrom(c, code);
          if (!(elev.at(n) > 0.0F) || std::abs(d8_[n]) != opposite(code)) continue;
          next.push_back(n);
          elev[n] = -elev[n];
        }
      }
      frontier = next;
    }
  }

  /// Finds the flat around a cell that drains and directs those of its cells that have no direction.
  void paintFlat(ColRow start) {
    const float reference = height(elev, start);
    std::vector<ColRow> flat{start};
    d8_[start] = -std::abs(d8_[start]);
    for (std::vector<ColRow> frontier{start}; !frontier.empty();) {
      std::vector<ColRow> next;
      for (const ColRow c : frontier) {
        for (int32_t code = 1; code <= 8; ++code) {
          const ColRow n = stepFrom(c, code);
          if (elev.at(n) == 0.0F || d8_[n] < 0 || !level(height(elev, n), reference)) continue;
          flat.push_back(n);
          next.push_back(n);
          d8_[n] = d8_[n] == 0 ? -10 : -d8_[n];
        }
      }
      frontier = next;
    }
    int64_t undirected = 0;
    for (const ColRow c : flat) {
      if (d8_[c] != -10) continue;
      d8_[c] = 0;
      ++undirected;
    }
    if (undirected >= 1) drainFlat(Flat(flat, elev.cols, elev.rows));
  }

  void drainFlat(Flat flat) {
    for (int32_t k = 0; k < flat.size(); ++k) {
      const ColRow c = flat.cell(k);
      if (d8_[c] != 0)
        flat.makeOutlet(k);
      else if (neighbourHeights(elev, c).highest > height(elev, c))
        flat.makeHighEdge(k);
    }
    flat.buildRanks();
    for (int32_t k = 0; k < flat.size(); ++k)
      if (d8_[flat.cell(k)] == 0 && flat.rankOf(k) >= 1) d8_[flat.cell(k)] = -flat.steepestFall(k);
  }

  /// Puts every rim cell beside ground that does not drain into the heap, known there or not.
  void pushEdges() {
    for (const ColRow c : holdEdge_) {
      bool rim = false;
      for (int32_t code = 1; code <= 8; ++code) rim = rim || elev.at(stepFrom(c, code)) > 0.0F;
      if (rim) heap_.insert(c, height(elev, c));
    }
  }

  /// The code of the steepest step onto ground that does not drain; 0 for none.
  int32_t wayIn(ColRow c) const {
    int32_t chosen = 0;
    float best = kLowest;
    for (int32_t code = 1; code <= 8; ++code) {
      const float there = elev.at(stepFrom(c, code));
      if (!(there > 0.0F)) continue;
      const float slope = (height(elev, c) - there) / stepLength(code);
      if (slope > best || (alike(slope, best) && stepLength(code) < stepLength(chosen))) {
        best = slope;
        chosen = code;
      }
    }
    return chosen;
  }

  /// Opens a passage from the pit that neighbour `entry` leads to, out through the drained cell c.
  void carve(ColRow c, int32_t entry) {
    const float rim = height(elev, c);
    const ColRow first = stepFrom(c, entry);
    ColRow pit = first;
    int32_t code = std::abs(d8_[pit]);
    while (code != 0) {  // the path down to the pit is turned round
      pit = stepFrom(pit, code);
      const int32_t onward = std::abs(d8_[pit]);
      d8_[pit] = opposite(code);
      code = onward;
    }
    d8_[first] = opposite(entry);
    const float floor = elev[pit];
    for (ColRow k = stepFrom(pit, std::abs(d8_[pit])); !(k == c); k = stepFrom(k, std::abs(d8_[k])))
      elev[k] = floor;

    const float bed = std::min(floor, rim);
    ColRow k = c;
    for (;;) {
      elev[k] = bed;
      const ColRow below = stepFrom(k, std::abs(d8_[k]));
      if (bed >= height(elev, below)) break;
      k = below;
    }
    paint(k);
    pushEdges();
  }

  bool everyCellDrains() const {
    Raster<int32_t> drained = filled<int32_t>(elev.cols, elev.rows, 0, 1);
    everyCell(elev.cols, elev.rows, [&](ColRow outlet) {
      if (elev.at(outlet) == 0.0F || edgeDirection(elev, outlet) < 1 || drained[outlet] != 0) return;
      drained[outlet] = 1;
      for (std::vector<ColRow> stack{outlet}; !stack.empty();) {
        const ColRow c = stack.back();
        stack.pop_back();
        for (int32_t code = 1; code <= 8; ++code) {
          const ColRow n = stepFrom(c, code);
          if (drained.at(n) != 0 || d8_.at(n) != opposite(code)) continue;
          drained[n] = 1;
          stack.push_back(n);
        }
      }
    });
    bool all = true;
    everyCell(elev.cols, elev.rows, [&](ColRow c) { all = all && (elev.at(c) == 0.0F || drained[c] != 0); });
    return all;
  }

  Raster<float> plan_;
  Raster<int32_t> d8_;  // negative: the same direction, in a flat already looked at
  std::vector<ColRow> holdEdge_;
  MinHeap heap_;
};

class Flowing {
 public:
  explicit Flowing(const PlainTerrain& t)
      : elev{.cols = t.cols, .rows = t.rows, .outside = 0.0F, .cells = t.elev},
        aspect(filled<float>(t.cols, t.rows, kNoAspect, kNoAspect)) {}

  int64_t run() {
    int64_t flats = 0;
    everyCell(elev.cols, elev.rows, [&](ColRow c) {
      if (!(elev[c] < 0.0F) || !(aspect[c] < 0.0F)) return;
      const float lowest = neighbourHeights(elev, c).lowest;
      if (level(lowest, height(elev, c)) || height(elev, c) < lowest) {
        if (const int32_t code = edgeDirection(elev, c); code >= 1) aspect[c] = aspectOf(code);
        ++flats;
        flagFlat(c);
      } else {
        aspect[c] = localAngle(c);
        elev[c] = height(elev, c);
      }
    });
    return flats;
  }

  Raster<float> elev, aspect;

 private:
  static float aspectOf(int32_t code) {
    constexpr double pi = 3.141592653589793;
    constexpr std::array<double, 9> angles{0.0,        pi / 2,     pi / 4, 0.0,       7 * pi / 4,
                                           3 * pi / 2, 5 * pi / 4, pi,     3 * pi / 4};
    return static_cast<float>(angles[static_cast<std::size_t>(code)]);
  }

  /// D-infinity: the steepest of the eight triangles between a straight and a diagonal neighbour.
  float localAngle(ColRow c) const {
    struct Facet {
      int32_t straight, diagonal;  // codes
      float base, sign, eighths;
    };
    constexpr std::array<Facet, 8> facets{{{3, 2, 0, +1, 1},
                                           {1, 2, 1, -1, 1},
                                           {1, 8, 1, +1, 3},
                                           {7, 8, 2, -1, 3},
                                           {7, 6, 2, +1, 5},
                                           {5, 6, 3, -1, 5},
                                           {5, 4, 3, +1, 7},
                                           {3, 4, 4, -1, 7}}};
    const float e0 = height(elev, c);
    float best = 0.0F;
    float angle = kNoAspect;
    float offDiagonal = kNoAspect;
    for (const Facet& facet : facets) {
      const float e1 = height(elev, stepFrom(c, facet.straight));
      const float e2 = height(elev, stepFrom(c, facet.diagonal));
      if (e1 == 0.0F) return facet.base * 1.5707964F;
      if (e2 == 0.0F) {
        offDiagonal = facet.eighths * 0.7853982F;
        continue;
      }
      float slope = 0.0F;
      float r = 0.0F;
      if (e0 > e1 && e1 > e2) {
        r = std::atan2(e1 - e2, e0 - e1);
        slope = std::sqrt((e0 - e1) * (e0 - e1) + (e1 - e2) * (e1 - e2));
        if (r > 0.7853982F) {
          r = 0.7853982F;
          slope = (e0 - e2) / 1.4142135F;
        }
      } else if (e0 > e1) {
        slope = e0 - e1;
      } else if (e0 > e2) {
        r = 0.7853982F;
        slope = (e0 - e2) / 1.4142135F;
      }
      if (slope > best) {
        best = slope;
        angle = facet.base * 1.5707964F + facet.sign * r;
      }
    }
    return offDiagonal >= 0.0F ? offDiagonal : angle;
  }

  /// The share of its flow that the neighbour by this code pours into a cell.
  float shareFrom(ColRow c, int32_t code) const { return FlowProportion(aspect.at(stepFrom(c, code)), code); }

  void flagFlat(ColRow start) {
    const float stored = elev[start];
    const float z = std::fabs(stored);
    std::vector<ColRow> cells{start};
    elev[start] = z;
    for (std::vector<ColRow> frontier{start}; !frontier.empty();) {
      std::vector<ColRow> next;
      for (const ColRow c : frontier) {
        for (int32_t code = 1; code <= 8; ++code) {
          const ColRow n = stepFrom(c, code);
          if (!(aspect.at(n) < 0.0F) || elev.at(n) == 0.0F || !level(elev.at(n), stored)) continue;
          elev[n] = height(elev, n);
          cells.push_back(n);
          next.push_back(n);
        }
      }
      frontier = next;
    }
    if (cells.size() == 1) {
      for (int32_t code = 1; code <= 8; ++code) {
        if (!flowsAt(start, code, z) || shareFrom(start, code) != 0.0F) continue;
        aspect[start] = aspectOf(code);
        return;
      }
      return;
    }
    Flat flat(cells, elev.cols, elev.rows);
    for (int32_t k = 0; k < flat.size(); ++k) classify(flat, k, z);
    flat.buildRanks();
    for (int32_t k = 0; k < flat.size(); ++k) {
      const int32_t code = flat.rankOf(k) < 1 ? wayOut(flat, k, z) : flat.steepestFall(k);
      if (code >= 1) aspect[flat.cell(k)] = aspectOf(code);
    }
  }

  /// True if the neighbour by this code lies at z and has an angle.
  bool flowsAt(ColRow c, int32_t code, float z) const {
    const ColRow n = stepFrom(c, code);
    return level(height(elev, n), z) && aspect.at(n) >= 0.0F;
  }

  void classify(Flat& flat, int32_t k, float z) const {
    const ColRow c = flat.cell(k);
    const auto [lowest, highest] = neighbourHeights(elev, c);
    if (!level(lowest, z)) {
      if (z > lowest) flat.makeOutlet(k);
      return;
    }
    for (int32_t code = 1; code <= 8; ++code)
      if (flowsAt(c, code, z) && shareFrom(c, code) == 0.0F) return flat.makeOutlet(k);
    if (!level(lowest, highest)) return flat.makeHighEdge(k);
    for (int32_t code = 1; code <= 8; ++code)
      if (aspect.at(stepFrom(c, code)) >= 0.0F && shareFrom(c, code) > 0.0F) return flat.makeHighEdge(k);
  }

  /// From an outlet: level ground that flows already before lower ground, and the gentlest fall before
  /// others.
  int32_t wayOut(const Flat& flat, int32_t k, float z) const {
    int32_t chosen = 0;
    float best = kLowest;
    for (int32_t code = 1; code <= 8; ++code) {
      if (flat.next(k, code) >= 0) continue;
      const float there = height(elev, stepFrom(flat.cell(k), code));
      if (best < 0.0F && flowsAt(flat.cell(k), code, z)) {
        best = 0.0F;
        chosen = code;
      } else if (z > there && (there - z) / stepLength(code) > best) {
        best = (there - z) / stepLength(code);
        chosen = code;
      }
    }
    return chosen;
  }
};

/// Counts cells downstream: a cell is finished once all that flows into it is, depth first in the order of
/// the codes. `flows(c)` tells a cell with a direction; `share(c, code)` is what the neighbour pours into c.
template <class T, class Flows, class Share>
std::vector<T> countUpstream(int32_t cols, int32_t rows, Flows flows, Share share) {
  Raster<T> area = filled<T>(cols, rows, 1, 0);
  everyCell(cols, rows, [&](ColRow c) { area[c] = flows(c) ? T{1} : T{0}; });
  Raster<int32_t> visited = filled<int32_t>(cols, rows, 0, 1);
  struct Visit {
    ColRow cell;
    int32_t code;  // the next one to look at
  };
  everyCell(cols, rows, [&](ColRow start) {
    if (!flows(start) || visited[start] != 0) return;
    visited[start] = 1;
    for (std::vector<Visit> stack{{start, 1}}; !stack.empty();) {
      Visit& top = stack.back();
      if (top.code > 8) {
        stack.pop_back();
        continue;
      }
      const ColRow c = top.cell;
      const ColRow n = stepFrom(c, top.code);
      const float p = flows(n) ? share(c, top.code) : 0.0F;
      if (p > 0.0F && visited[n] == 0) {  // first what is upstream of n; then this code once more
        visited[n] = 1;
        stack.push_back({n, 1});
        continue;
      }
      if (p > 0.0F) area[c] += area[n] * static_cast<T>(p);
      ++top.code;
    }
  });
  return area.cells;
}

template <class T>
std::vector<T> alongAspects(const PlainTerrain& t, const std::vector<float>& aspects) {
  const Raster<float> aspect{.cols = t.cols, .rows = t.rows, .outside = kNoAspect, .cells = aspects};
  return countUpstream<T>(
      t.cols, t.rows, [&](ColRow c) { return aspect.at(c) >= 0.0F; },
      [&](ColRow c, int32_t code) { return FlowProportion(aspect.at(stepFrom(c, code)), code); });
}

}  // namespace

PlainFloodResult plainFlood(PlainTerrain& terrain) {
  Flooding flooding(terrain);
  const PlainFloodResult result = flooding.run();
  terrain.elev = flooding.elev.cells;
  return result;
}

std::vector<float> plainFlow(PlainTerrain& terrain, int64_t& flats) {
  Flowing flowing(terrain);
  flats = flowing.run();
  terrain.elev = flowing.elev.cells;
  return flowing.aspect.cells;
}

std::vector<float> plainAccumulation(const PlainTerrain& terrain, const std::vector<float>& aspect) {
  return alongAspects<float>(terrain, aspect);
}
std::vector<double> plainAccumulationR8(const PlainTerrain& terrain, const std::vector<float>& aspect) {
  return alongAspects<double>(terrain, aspect);
}

std::vector<float> plainAccumulationD8(int32_t cols, int32_t rows, const std::vector<int32_t>& codes) {
  const Raster<int32_t> d8{.cols = cols, .rows = rows, .outside = 0, .cells = codes};
  return countUpstream<float>(
      cols, rows, [&](ColRow c) { return d8.at(c) > 0; },
      [&](ColRow c, int32_t code) { return d8.at(stepFrom(c, code)) == opposite(code) ? 1.0F : 0.0F; });
}

}  // namespace terrain::test
