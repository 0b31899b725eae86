#include "support/plain_surface.h"

#include <cmath>

namespace terrain::test {

namespace {

constexpr double pi = 3.141592653589793;
constexpr double half = 0.7071067811865475;

bool zeroWithin(double v) { return std::fabs(v) < 0.00000001; }

void columnAndRow(const PlainGrid& g, double x, double y, int32_t& col, int32_t& row) {
  const double e = 1e-8;
  const double d = x - g.xmin + e;
  col = static_cast<int32_t>(d / g.xcellsize) + (d >= 0 ? 1 : -1);
  if (std::fabs(y - g.ymax) < e) {
    row = 1;
  } else if (y < g.ymax && y >= g.ymin) {
    row = g.nrows - static_cast<int32_t>((y - g.ymin + e) / g.ycellsize);
  } else if (y < g.ymin) {
    row = g.nrows + static_cast<int32_t>((g.ymin - y) / g.ycellsize);
    if (std::fabs(std::fmod(g.ymin - y, g.ycellsize)) > e) row = row + 1;
  } else {
    row = -1 - static_cast<int32_t>((y - e - g.ymax) / g.ycellsize);
  }
}

void pointOf(const PlainGrid& g, int32_t col, int32_t row, double& x, double& y) {
  x = col >= 1 ? g.xmin + (col - 1) * g.xcellsize : g.xmin + col * g.xcellsize;
  y = row >= 1 ? g.ymin + (g.nrows - row) * g.ycellsize : g.ymax + std::fabs(row * g.ycellsize);
}

struct Nine {
  double z[10];
};

double readSample(const PlainGrid& g, double x, double y, bool absolute) {
  return static_cast<double>(plainValueXY(g, x, y, {.absolute = absolute}));
}

/// The circle's samples, not normalised, and the final radius. False without a centre.
bool sampleCircle(const PlainGrid& g, double x, double y, double length, bool absolute, Nine& n, double& r) {
  const double dx[10] = {0, -half, 0, half, -1, 0, 1, -half, 0, half};
  const double dy[10] = {0, half, 1, half, 0, 0, 0, -half, -1, -half};
  const double nodata = static_cast<double>(g.nodata);
  double* z = n.z;
  r = length;
  for (;;) {
    bool all = true;
    for (int k = 1; k <= 9; ++k) {
      z[k] = readSample(g, x + dx[k] * r, y + dy[k] * r, absolute);
      if (z[k] <= nodata) all = false;
    }
    if (all) return true;
    if (z[5] == nodata) return false;
    if (r >= 2 * g.cellsize) {
      const double whole = std::trunc(r / g.cellsize);
      r = ((whole > 2 ? whole : 2) - 1) * g.cellsize;
      continue;
    }
    const int pairs[4][2] = {{1, 9}, {2, 8}, {3, 7}, {4, 6}};
    for (const auto& pair : pairs) {
      const double one = z[pair[0]];
      const double other = z[pair[1]];
      if (one == nodata && other > nodata) z[pair[0]] = 2 * z[5] - other;
      if (other == nodata && one > nodata) z[pair[1]] = 2 * z[5] - one;
    }
    for (int k = 1; k <= 9; ++k)
      if (z[k] <= nodata) z[k] = z[5];
    return true;
  }
}

double angle(double u, double v) {
  double t = 1.5707963705062866;
  if (u != 0) t = std::atan(std::fabs(v / u));
  if (u < 0) {
    if (v > 0) return 2 * pi - t;
    return t;
  }
  if (v > 0) return pi + t;
  return pi - t;
}

void mirror(double* z, bool ridge) {
  const double sums[8] = {z[4] + z[1] + z[2], z[1] + z[2] + z[3], z[2] + z[3] + z[6], z[3] + z[6] + z[9],
                          z[6] + z[9] + z[8], z[9] + z[8] + z[7], z[8] + z[7] + z[4], z[7] + z[4] + z[1]};
  int chosen = 0;
  for (int k = 1; k < 8; ++k)
    if (ridge ? sums[k] > sums[chosen] : sums[k] < sums[chosen]) chosen = k;
  switch (chosen + 1) {
    case 1:
      z[8] = -z[4];
      z[9] = -z[1];
      z[6] = -z[2];
      break;
    case 2:
      z[7] = -z[1];
      z[8] = -z[2];
      z[9] = -z[3];
      break;
    case 3:
      z[4] = -z[2];
      z[7] = -z[3];
      z[8] = -z[6];
      break;
    case 4:
      z[1] = -z[3];
      z[4] = -z[6];
      z[7] = -z[9];
      break;
    case 5:
      z[2] = -z[6];
      z[1] = -z[9];
      z[4] = -z[8];
      break;
    case 6:
      z[3] = -z[9];
      z[2] = -z[8];
      z[1] = -z[7];
      break;
    case 7:
      z[6] = -z[8];
      z[3] = -z[7];
      z[2] = -z[4];
      break;
    case 8:
      z[9] = -z[7];
      z[6] = -z[4];
      z[3] = -z[1];
      break;
    default:
      break;
  }
}

void facets(const double* z, float* direction, float* width) {
  const int e1[8] = {2, 6, 6, 8, 8, 4, 4, 2};
  const int e2[8] = {3, 3, 9, 9, 7, 7, 1, 1};
  const double ac[8] = {0, pi / 2, pi / 2, pi, pi, 3 * pi / 2, 3 * pi / 2, 2 * pi};
  const double af[8] = {1, -1, 1, -1, 1, -1, 1, -1};
  double best = 0;
  double bestDirection = -1.0;
  double sum = 0;
  for (int k = 0; k < 8; ++k) {
    if (!(z[e1[k]] < 0)) continue;
    const double s1 = -z[e1[k]];
    double rho = 0;
    double s = s1;
    if (z[e1[k]] > z[e2[k]]) {
      const double s2 = z[e1[k]] - z[e2[k]];
      rho = std::atan2(s2, s1);
      if (rho > pi / 4) {
        rho = pi / 4;
        s = -z[e2[k]] / std::sqrt(2.0);
      } else {
        s = std::sqrt(s1 * s1 + s2 * s2);
      }
    }
    if (s > best) {
      best = s;
      bestDirection = ac[k] + af[k] * rho;
    }
    sum += s1 / s;
  }
  if (direction != nullptr) *direction = static_cast<float>(bestDirection);
  if (width != nullptr) *width = static_cast<float>(sum > 0 ? sum / 2 : 1.0);
}

}  // namespace

PlainGrid plainCopy(R4Grid_type& grid) {
  PlainGrid g{.ncols = *grid.ncols,
              .nrows = *grid.nrows,
              .xmin = grid.xmin,
              .ymin = grid.ymin,
              .xmax = grid.xmax,
              .ymax = grid.ymax,
              .cellsize = grid.cellsize,
              .xcellsize = grid.xcellsize,
              .ycellsize = grid.ycellsize,
              .nodata = grid.nodata,
              .cells = {}};
  for (int32_t row = 1; row <= g.nrows; ++row)
    for (int32_t col = 1; col <= g.ncols; ++col) g.cells.push_back(grid.ExtractR4ValueColRow(col, row));
  return g;
}

float plainValue(const PlainGrid& g, int32_t col, int32_t row) {
  if (col < 1 || row < 1 || col > g.ncols || row > g.nrows) return g.nodata;
  const float v = g.cells[static_cast<std::size_t>(row - 1) * static_cast<std::size_t>(g.ncols) +
                          static_cast<std::size_t>(col - 1)];
  return std::isnan(v) ? g.nodata : v;
}

float plainValueXY(const PlainGrid& g, double x, double y, const PointOptions& o) {
  if (x < g.xmin || x > g.xmax + g.xcellsize || y < g.ymin || y > g.ymax + g.ycellsize) return g.nodata;
  bool interpolation = true;
  if (o.interpolate && !*o.interpolate) interpolation = false;
  if (o.noInterpolate || o.nearest) interpolation = false;
  if (o.interpolate && *o.interpolate && o.noInterpolate) return g.nodata;

  int32_t col = 0, row = 0;
  double x0 = 0, y0 = 0;
  columnAndRow(g, x, y, col, row);
  if (o.nearest) {
    pointOf(g, col, row, x0, y0);
    if ((x - x0) / g.xcellsize >= 0.5) col = col + 1 < g.ncols ? col + 1 : g.ncols;
    if ((y - y0) / g.ycellsize >= 0.5) row = row - 1 > 1 ? row - 1 : 1;
  }
  if (col == -1) col = 1;
  if (col == g.ncols + 1) col = g.ncols;
  if (row == -1) row = 1;
  if (row == g.nrows + 1) row = g.nrows;

  const auto finish = [&](float v) { return o.absolute && v != g.nodata ? std::fabs(v) : v; };
  const float itself = plainValue(g, col, row);
  if (!interpolation) return finish(itself);
  pointOf(g, col, row, x0, y0);
  const double dx = x - x0;
  const double dy = y - y0;
  if (zeroWithin(dx) && zeroWithin(dy)) return finish(itself);
  if (col == 1 || col == g.ncols || row == 1 || row == g.nrows) return finish(itself);

  double corner[4] = {static_cast<double>(itself), static_cast<double>(plainValue(g, col + 1, row)),
                      static_cast<double>(plainValue(g, col, row - 1)),
                      static_cast<double>(plainValue(g, col + 1, row - 1))};
  const double nodata = static_cast<double>(g.nodata);
  const auto isMissing = [&](double c) { return o.absolute || nodata > 0 ? c == nodata : c <= nodata; };
  int missing = 0;
  for (const double c : corner)
    if (isMissing(c)) ++missing;
  if (missing > 0) {
    if (!o.ignoreNodata) return isMissing(corner[0]) ? g.nodata : finish(itself);
    if (missing == 4) return g.nodata;
    for (double& c : corner)
      if (c == nodata) c = 0;
  }
  if (o.absolute)
    for (double& c : corner) c = std::fabs(c);
  const double u = dx / g.xcellsize;
  const double v = dy / g.ycellsize;
  const float result = static_cast<float>(corner[0] * (1 - u) * (1 - v) + corner[1] * u * (1 - v) +
                                          corner[2] * (1 - u) * v + corner[3] * u * v);
  return std::isnan(result) ? g.nodata : finish(result);
}

int plainSurfaceMetrics(const PlainGrid& g, const SurfaceMetricsArgs& a) {
  const double nodata = static_cast<double>(g.nodata);
  for (float* out : {a.gradient, a.plan, a.profile, a.flowWidth, a.aspect, a.dinfAspect})
    if (out != nullptr) *out = -9999.0F;
  if (a.plan != nullptr || a.profile != nullptr)
    for (float* out : {a.planScaled, a.profileScaled})
      if (out != nullptr) *out = -9999.0F;
  if (a.steepest != nullptr) *a.steepest = 0;

  double x = 0, y = 0;
  int32_t col = 0, row = 0;
  if (a.col) {
    col = *a.col;
    row = *a.row;
    if (plainValue(g, col, row) == g.nodata) return -1;
    pointOf(g, col, row, x, y);
  } else {
    x = *a.x;
    y = *a.y;
    columnAndRow(g, x, y, col, row);
    if (col == -1) col = 1;
    if (col == g.ncols + 1) col = g.ncols;
    if (row == -1) row = 1;
    if (row == g.nrows + 1) row = g.nrows;
  }

  Nine n{};
  double* z = n.z;
  double r = 0;
  if (!sampleCircle(g, x, y, static_cast<double>(a.length), a.absolute, n, r)) return -1;
  const double centre = z[5];
  for (int k = 1; k <= 9; ++k) z[k] = (z[k] - centre) / r;

  if (a.steepest != nullptr) {
    const int32_t stepCol[9] = {0, 1, 1, 0, -1, -1, -1, 0, 1};
    const int32_t stepRow[9] = {0, 0, -1, -1, -1, 0, 1, 1, 1};
    const int sample[9] = {0, 6, 3, 2, 1, 4, 7, 8, 9};
    for (int k = 1; k <= 8; ++k) {
      double neighbour = static_cast<double>(plainValue(g, col + stepCol[k], row + stepRow[k]));
      if (a.absolute) neighbour = std::fabs(neighbour);
      if (!(neighbour < centre)) continue;
      if (*a.steepest == 0 || z[sample[k]] < z[sample[*a.steepest]]) *a.steepest = k;
    }
  }

  if (a.ridge) {
    if (*a.ridge) mirror(z, true);
  } else if (a.valley && *a.valley) {
    mirror(z, false);
  }

  const double fx = (z[6] - z[4]) / 2, fy = (z[2] - z[8]) / 2;
  const double d1 = (z[9] - z[1]) / 2, d2 = (z[3] - z[7]) / 2;
  if (a.plan != nullptr || a.profile != nullptr) {
    const double p = fx * fx + fy * fy;
    double plan = 0, profile = 0, planScaled = 0, profileScaled = 0;
    if (p != 0) {
      const double A = (z[4] + z[6]) / 2, B = (z[2] + z[8]) / 2, C = (z[3] + z[7] - z[1] - z[9]) / 2;
      plan = 2 * (fy * fy * A + fx * fx * B - fy * fx * C) / (r * p);
      planScaled = plan / std::sqrt((1 + p) * (1 + p) * (1 + p));
      profile = 2 * (fx * fx * A + fy * fy * B + fy * fx * C) / (r * p);
      profileScaled = profile / std::sqrt(1 + p);
    }
    if (a.plan != nullptr) *a.plan = static_cast<float>(plan);
    if (a.profile != nullptr) *a.profile = static_cast<float>(profile);
    if (a.planScaled != nullptr) *a.planScaled = static_cast<float>(planScaled);
    if (a.profileScaled != nullptr) *a.profileScaled = static_cast<float>(profileScaled);
  }
  if (a.aspect != nullptr) {
    const double a1 = angle(fy, fx);
    double a2 = angle(d2, d1) + 0.7853981633974483;
    if (a2 > 2 * pi) a2 = a2 - 2 * pi;
    double aspect = 0;
    if (std::fabs(a2 - a1) > pi) {
      aspect = ((a1 < a2 ? a1 : a2) + 2 * pi + (a1 < a2 ? a2 : a1)) / 2;
      if (aspect > 2 * pi) aspect = aspect - 2 * pi;
    } else {
      aspect = (a1 + a2) / 2;
    }
    *a.aspect = static_cast<float>(aspect);
  }
  if (a.gradient != nullptr)
    *a.gradient = static_cast<float>(0.5 * (std::sqrt(fx * fx + fy * fy) + std::sqrt(d1 * d1 + d2 * d2)));

  if (a.dinfAspect == nullptr) {
    if (a.flowWidth != nullptr) facets(z, nullptr, a.flowWidth);
    return 0;
  }
  const double sx[10] = {0, -1, 0, 1, -1, 0, 1, -1, 0, 1};
  const double sy[10] = {0, 1, 1, 1, 0, 0, 0, -1, -1, -1};
  const double toward[10] = {0,
                             5.497787143782138,
                             0,
                             0.7853981633974483,
                             4.71238898038469,
                             0,
                             1.5707963267948966,
                             3.9269908169872414,
                             3.141592653589793,
                             2.356194490192345};
  for (const int k : {2, 4, 6, 8, 1, 3, 5, 7, 9}) {
    z[k] = readSample(g, x + sx[k] * r, y + sy[k] * r, a.absolute);
    if (z[k] != nodata) continue;
    if (k != 5) {
      *a.dinfAspect = static_cast<float>(toward[k]);
      if (a.flowWidth != nullptr) *a.flowWidth = 1.0F;
    }
    return -1;
  }
  const double middle = z[5];
  for (int k = 1; k <= 9; ++k) z[k] = (z[k] - middle) / r;
  facets(z, a.dinfAspect, a.flowWidth);
  return 0;
}

float plainPlanXY(const PlainGrid& g, float length, double x, double y) {
  Nine n{};
  double* z = n.z;
  double r = 0;
  if (!sampleCircle(g, x, y, static_cast<double>(length), false, n, r)) return -9999.0F;
  const double centre = z[5];
  for (int k = 1; k <= 9; ++k) z[k] = (z[k] - centre) / r;
  const double fx = (z[6] - z[4]) / 2, fy = (z[2] - z[8]) / 2;
  if (!(fx * fx + fy * fy > 0)) return 0.0F;
  return static_cast<float>(
      r * (fx * fx * (z[2] + z[8]) + fy * fy * (z[4] + z[6]) - (z[3] + z[7] - z[1] - z[9]) * fx * fy) /
      (fx * fx + fy * fy));
}

void plainEvans(const PlainGrid& g, int32_t col, int32_t row, const EvansArgs& out) {
  float* const all[10] = {out.aspect,  out.gradient,   out.plan,    out.tangential, out.planRaw,
                          out.profile, out.profileRaw, out.curvMin, out.curvMax,    out.curvPrincipal};
  for (float* value : all) *value = -9999.0F;
  double z[10] = {};
  const double centre = static_cast<double>(plainValue(g, col, row));
  for (int k = 1; k <= 9; ++k) {
    const float v = plainValue(g, col + (k - 1) % 3 - 1, row + (k - 1) / 3 - 1);
    if (v == g.nodata) return;
    z[k] = (static_cast<double>(v) - centre) / g.cellsize;
  }
  const double a = (z[1] + z[3] + z[4] + z[6] + z[7] + z[9] - 2 * (z[2] + z[8])) / 6;
  const double b = (z[1] + z[2] + z[3] + z[7] + z[8] + z[9] - 2 * (z[4] + z[6])) / 6;
  const double c = (z[3] + z[7] - z[1] - z[9]) / 4;
  const double p = (z[3] + z[6] + z[9] - z[1] - z[4] - z[7]) / 6;
  const double q = (z[1] + z[2] + z[3] - z[7] - z[8] - z[9]) / 6;
  const double w = p * p + q * q;
  *out.gradient = static_cast<float>(std::sqrt(w));
  *out.curvMin = static_cast<float>(-(a + b) - std::sqrt(c * c + (a - b) * (a - b)));
  *out.curvMax = static_cast<float>(-(a + b) + std::sqrt(c * c + (a - b) * (a - b)));
  const double u = 1 + w;
  const double h = ((1 + p * p) * b + (1 + q * q) * a - p * c * q) / std::pow(u, 1.5);
  const double k = (4 * a * b - c * c) / (u * u);
  *out.curvPrincipal = static_cast<float>(h + std::sqrt(h * h < k ? 0.0 : h * h - k));
  if (w == 0) return;
  const double sp = p > 0 ? 1 : (p < 0 ? -1 : 0);
  const double sq = q > 0 ? 1 : (q < 0 ? -1 : 0);
  double cosine = -q / std::sqrt(w);
  if (cosine > 1) cosine = 1;
  if (cosine < -1) cosine = -1;
  *out.aspect = static_cast<float>((1 + sp) * 180 + (1 - std::fabs(sp)) * (-90) * (1 - sq) -
                                   std::acos(cosine) * 57.2957763671875 * sp);
  const double n = 2 * ((p * b - q * c) * p + q * q * a);
  const double m = -2 * ((p * a + q * c) * p + q * q * b);
  const double root = std::sqrt(w);
  *out.plan = zeroWithin(n) ? 0 : static_cast<float>(n / (root * root * root));
  *out.tangential = zeroWithin(n) ? 0 : static_cast<float>(n / (std::sqrt(1 + w) * w));
  *out.planRaw = zeroWithin(n) ? 0 : static_cast<float>(n / w);
  *out.profile = zeroWithin(m) ? 0 : static_cast<float>(m / (std::sqrt(1 + w) * w * (1 + w)));
  *out.profileRaw = zeroWithin(m) ? 0 : static_cast<float>(m / w);
}

int32_t plainSteepest(const PlainGrid& g, int32_t col, int32_t row) {
  const int32_t stepCol[9] = {0, 1, 1, 0, -1, -1, -1, 0, 1};
  const int32_t stepRow[9] = {0, 0, -1, -1, -1, 0, 1, 1, 1};
  const auto same = [](float a, float b) {
    if (a == b) return true;
    const float hi = std::fmax(std::fabs(a), std::fabs(b));
    const float lo = std::fmin(std::fabs(a), std::fabs(b));
    return lo == 0.0F ? hi < 0.00001F : std::fabs(a - b) / hi < 0.00001F;
  };
  const float z0 = std::fabs(plainValue(g, col, row));
  if (z0 == std::fabs(g.nodata)) return 0;
  int32_t best = 0;
  float bestDrop = -999.0F, bestDistance = 0;
  for (int32_t k = 1; k <= 8; ++k) {
    const float z = std::fabs(plainValue(g, col + stepCol[k], row + stepRow[k]));
    if (z == std::fabs(g.nodata) || z > z0 || same(z, z0)) continue;
    const float d = k % 2 == 0 ? 1.4142135F : 1.0F;
    const float drop = (z0 - z) / d;
    const bool wins = drop > bestDrop || (same(drop, bestDrop) && d < bestDistance);
    if (!wins) continue;
    best = k;
    bestDrop = drop;
    bestDistance = d;
  }
  return best;
}

}  // namespace terrain::test
