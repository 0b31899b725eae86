#pragma once
// Polynomials: least-squares fits (QR factorisation, LAPACK DGELS), their evaluation, the direction
// of a fitted line, and the logistic curve. Coefficients are in ascending powers, the constant
// first. All in float64.

#include <cstdint>
#include <span>
#include <vector>

namespace terrain {

/// Columns 0 to `order` of a column-major matrix of x.size() rows become x to the powers 0 to
/// `order` (Vandermonde matrix); column 0 is 1 for every x. -1, with nothing written, if `order` is
/// negative or the matrix is too small.
int PowerMatrix(std::span<float> matrix, int32_t order, std::span<const float> x);
int PowerMatrix(std::span<double> matrix, int32_t order, std::span<const double> x);

/// Polynomial of degree `order` that fits the points best in the least-squares sense. With m points
/// and m <= `order` the polynomial has m - 1 coefficients instead of `order` + 1.
/// x, y   element 0 belongs to index `first`; last - first + 1 elements each
/// coef   the coefficients, emptied first
/// -1, a report and `coef` empty if there are too few points, `order` is negative, an array is short,
/// a coordinate is not finite, memory is short, or the points do not determine the polynomial: x has
/// fewer different values than the polynomial coefficients, or powers beyond the range of float64.
/// The powers are those of x itself: far from 0 the coefficients lose digits, the curve keeps its shape.
int FitPoly(int32_t first, int32_t last, std::span<const double> x, std::span<const double> y, int32_t order,
            std::vector<double>& coef);

/// Direction of the line through points in travelling order, degrees clockwise from north, 0 to
/// 360: the tangent of a polynomial of degree `order`, fitted along the axis in which the points
/// extend further, at the point with index 0 or, if there is none, at the origin of the coordinates.
/// Points on one meridian give 0 or 180 without a fit, and so does a single point (180).
/// x, y   as for `FitPoly`
/// Where the points do not determine that polynomial the degree is lowered as far as they allow,
/// but never below a line: two points give the direction from one to the other, whatever the order.
/// 0.0 and a report if there is no point, an array is short, a coordinate is not finite, memory is
/// short, or powers are beyond the range of float64.
float AzimuthDeg(int32_t first, int32_t last, std::span<const double> x, std::span<const double> y,
                 int32_t order);

/// Sum of coef[i] times x to the power i, added in ascending order. 0 without coefficients.
double EvalPolynomial(std::span<const double> coef, double x);
/// The same polynomial by Horner's rule.
double HornerPolynomial(double x, std::span<const double> coef);

/// Logistic curve f = a / (1 + exp(-(x - c) b)) and its derivative; params are a (ceiling), b
/// (steepness) and c (middle). Far out, where the exponential overflows, f and dfdx are 0.
void Logistic(double x, std::span<const double, 3> params, double& f, double& dfdx);

}  // namespace terrain
