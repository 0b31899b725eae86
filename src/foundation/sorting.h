#pragma once
// Ordering values in place and ranking them without moving them. Nothing here keeps state.
//
// A NaN has no order among the numbers: the sorts and the ranking put every NaN after the
// largest number, NaNs among themselves in input order, and order the numbers as if no NaN were
// there. Zeros of both signs are equal.

#include <cstdint>
#include <span>

namespace terrain {

/// Ascending in place, not stable: quicksort with the median of three as pivot and one insertion
/// pass at the end (Sedgewick 1978, Communications of the ACM 21(10)). n log n for any input.
void quickSort(std::span<double> values);
void quickSort(std::span<float> values);
void quickSort(std::span<int32_t> values);

/// Ascending in place and stable: each value stops after the first predecessor that is not
/// greater. Linear on nearly sorted values, n log n where many values are far from their final position.
void insertionSort(std::span<double> values);
void insertionSort(std::span<float> values);
void insertionSort(std::span<int32_t> values);

/// Stable ranking: afterwards order[0], order[1], ... are the
/// indices, counted from 1, of `values` in ascending order; equal values keep their input order.
/// Ranks the first n values with n the smaller of the two sizes; what `order` holds beyond n stays
/// as it is. n log n, linear where the values are in order, with one extra array of n values and
/// their indices. -1, with nothing reported and `order` as it was, if there is no memory for that array or
/// n is beyond 32 bits.
[[nodiscard]] int mergeRank(std::span<const double> values, std::span<int32_t> order);
[[nodiscard]] int mergeRank(std::span<const float> values, std::span<int32_t> order);
[[nodiscard]] int mergeRank(std::span<const int32_t> values, std::span<int32_t> order);
[[nodiscard]] int mergeRank(std::span<const int64_t> values, std::span<int32_t> order);

/// Each array's elements in the opposite order, in place; two arrays are each reversed by
/// themselves.
void ReverseArray(std::span<int32_t> values);
void ReverseArray(std::span<float> values);
void ReverseArray(std::span<int32_t> first, std::span<int32_t> second);
void ReverseArray(std::span<float> first, std::span<float> second);
void ReverseArray(std::span<int64_t> first, std::span<int64_t> second);
void ReverseArray(std::span<double> first, std::span<double> second);

void SwapValues(int32_t& a, int32_t& b);
void SwapValues(float& a, float& b);
void SwapValues(double& a, double& b);
void SwapValues(int64_t& a, int64_t& b);

}  // namespace terrain
