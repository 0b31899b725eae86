#pragma once
// The values of equations. A column's value is
//
//     intercept + sum over terms (product over the fields of a term (coef * x^exponent))
//
// where x is the value of the field or, with a base above 0, its logarithm to that base.

#include <functional>
#include <optional>
#include <span>
#include <string_view>

#include "attributes/attribute_table.h"

namespace terrain {

/// The value of an equation in 64 bits; `valueOf(name)` gives that of a field, none where it has no data.
/// None where a field has none, and where the arithmetic has no finite result: a logarithm of 0 or less or to
/// the base 1, a root of a negative number, a division by 0.
[[nodiscard]] std::optional<double> evaluate(
    const EquationType& equation, const std::function<std::optional<double>(std::string_view)>& valueOf);

/// Sets the values of the attributes that have an equation, in one record: `values` has one for each
/// attribute of the list, whose nodata value stands for none. Equations may use each other in any order; one
/// that leads back to itself has no value.
void evaluateEquations(std::span<const AttributeType> list, std::span<double> values);

}  // namespace terrain
