#pragma once
// Rotations and angles. Angles are in radians; an azimuth is clockwise from north.

#include <array>
#include <cstdint>
#include <span>

namespace terrain {

using Matrix3 = std::array<double, 9>;  ///< by rows
using Matrix2 = std::array<double, 4>;  ///< cos, -sin, sin, cos

/// Rotation by `tilt` about the horizontal axis (a, b, 0) (Rodrigues' formula), where a and b are
/// plus or minus the sine and cosine of `azimuth` in absolute value: (+, -) up to a quarter turn,
/// then (-, -), (-, +) and (+, +). The bounds of the quarters are those of float32. A negative azimuth is
/// in the first quarter.
void TiltRotation(Matrix3& matrix, double azimuth, double tilt);

/// `vector` becomes `matrix` times `vector`.
void ApplyRotation3(const Matrix3& matrix, std::array<double, 3>& vector);

/// Rotation in the plane, for `ApplyRotation2`.
void PlaneRotation(Matrix2& matrix, double angle);

/// x, y rotated in place: x cos + y sin and y cos - x sin, so that the point turns clockwise.
void ApplyRotation2(const Matrix2& matrix, double& x, double& y);

/// Direction code of an aspect clockwise from north (1 east, counter-clockwise to 8 south-east).
/// Each code covers the eighth of the circle that begins at its own compass direction. -9999 for an
/// angle beyond the circle or NaN; down to one sixteenth of it below 0 counts as north.
int32_t AspectToDirection(float angle);

/// Difference of two axes, which have no sense of direction: the shorter way round the half circle,
/// for angles from 0 to pi. Float32 arithmetic.
float AxialDifference(float a, float b);

/// The extreme directions of vectors against the vertical: with r = z / sqrt(x x + y y),
/// lowAngle = pi/2 - atan(largest r), highAngle = pi/2 + atan(smallest r).
/// x, y, z  element 0 belongs to index `first`; a short array ends the range early
/// About 10 vectors spread over the range are looked at, and then all around the two extremes among
/// them. Vectors without horizontal length are left out; if there is no other the largest r is -9999.0
/// and the smallest the largest float64.
void AngleRange(int32_t first, int32_t last, std::span<const double> x, std::span<const double> y,
                std::span<const double> z, double& lowAngle, double& highAngle);

}  // namespace terrain
