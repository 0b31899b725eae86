#pragma once
// Positions in tables: the interval of an ascending table that holds a value, linear interpolation,
// and positions in arrays of several dimensions. Indices count from 1; tables hold fewer than
// 2^31 - 1 elements.

#include <cstdint>
#include <span>

namespace terrain {

/// The last index whose element is not above `value`, by bisection; 1 for a value at or below the
/// first element, the table's size n for one at or above the last. 0 if the table is empty or
/// the value is NaN.
/// table  ascending
/// hint   where to begin, overwritten with the result, so that calls with rising values narrow the
///        search; a hint that is no index of the table, or is of an element above the value, is ignored
int32_t Locate(std::span<const float> table, float value, int32_t* hint = nullptr);
int32_t Locate(std::span<const double> table, double value, int32_t* hint = nullptr);

/// The lower end of the interval that holds `value` among the first n elements: 0 below the first,
/// n above the last, n - 1 at the last, and for a NaN 1.
/// table  ascending, at least two elements; n is cut to what it holds
int32_t LocateBelow(int32_t n, float value, std::span<const float> table);

/// y at `inVal` by linear interpolation, in the tables' own precision.
/// x, y   of one size, x ascending
/// index  hint for the index in x, as for `Locate`
/// -9999.0, and a message, if the sizes differ, the tables are empty or `inVal` is outside x.
float getValue(float inVal, std::span<const float> x, std::span<const float> y, int32_t* index = nullptr);
double getValue(double inVal, std::span<const double> x, std::span<const double> y, int32_t* index = nullptr);

/// Position, from 1, of an element in an array stored first dimension fastest.
/// dims, indices  sizes of the dimensions and the element's index in each, which is not checked
/// against its size. 0 if the two differ in number or the position does not fit 64 bits.
int64_t LinearIndex(std::span<const int32_t> dims, std::span<const int32_t> indices);

}  // namespace terrain
