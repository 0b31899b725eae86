#include "attributes/equation.h"

#include <cmath>
#include <vector>

#include "attributes/attribute_vocabulary.h"

namespace terrain {

namespace {

double logarithm(double value, int32_t base) {
  if (base == 2) return std::log2(value);
  if (base == 10) return std::log10(value);
  return std::log(value) / std::log(static_cast<double>(base));
}

double factor(const EquationFieldType& field, double value) {
  const double x = field.base > 0 ? logarithm(value, field.base) : value;
  return static_cast<double>(field.coef) * std::pow(x, static_cast<double>(field.exponent));
}

/// The equations of one record, each worked out when it is first needed.
class Record {
 public:
  Record(std::span<const AttributeType> list, std::span<double> values)
      : list_(list), values_(values), names_(list), states_(list.size(), State::open) {}

  std::optional<double> value(std::size_t place) {
    const AttributeType& attribute = list_[place];
    State& state = states_[place];
    if (state == State::working) return std::nullopt;  // it leads back to itself
    if (state == State::open && hasEquation(attribute)) {
      state = State::working;
      const std::optional<double> made =
          evaluate(attribute.equation, [this](std::string_view name) { return valueOf(name); });
      values_[place] = made.value_or(static_cast<double>(attribute.nodata));
    }
    state = State::done;
    if (values_[place] == static_cast<double>(attribute.nodata) || std::isnan(values_[place]))
      return std::nullopt;
    return values_[place];
  }

 private:
  enum class State { open, working, done };
  static bool hasEquation(const AttributeType& attribute) {
    return wantsEquation(attribute) || !attribute.equation.term.empty();
  }
  std::optional<double> valueOf(std::string_view name) {
    const std::optional<std::size_t> place = names_.find(name);
    return place ? value(*place) : std::nullopt;
  }

  std::span<const AttributeType> list_;
  std::span<double> values_;
  AttributeNames names_;
  std::vector<State> states_;
};

}  // namespace

std::optional<double> evaluate(const EquationType& equation,
                               const std::function<std::optional<double>(std::string_view)>& valueOf) {
  auto sum = static_cast<double>(equation.intercept);
  for (const EquationTermType& term : equation.term) {
    double product = 1;
    for (const EquationFieldType& field : term.field) {
      const std::optional<double> value = valueOf(field.name.trimmed());
      if (!value) return std::nullopt;
      const double part = factor(field, *value);
      if (!std::isfinite(part)) return std::nullopt;  // before a product with 0 hides it
      product *= part;
    }
    sum += product;
  }
  return std::isfinite(sum) ? std::optional(sum) : std::nullopt;
}

void evaluateEquations(std::span<const AttributeType> list, std::span<double> values) {
  Record record(list, values);
  for (std::size_t i = 0; i < list.size(); ++i) (void)record.value(i);
}

}  // namespace terrain
