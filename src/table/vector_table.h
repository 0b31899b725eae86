#pragma once
// What the tables of points, lines and polygons have in common: each record has one shape, found by the
// record's number, with a selection flag. Shapes go with their records when those are dropped, repeated or
// put in another order.

#include <algorithm>
#include <cstdint>
#include <exception>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/input_file.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "table/data_table.h"
#include "table/geometry.h"

namespace terrain {

/// Entry `number`, from 1, of an array; null if there is none.
template <class Array>
[[nodiscard]] auto* entryAt(Array& array, int64_t number) {
  return number >= 1 && number <= std::ssize(array) ? &array[static_cast<std::size_t>(number) - 1] : nullptr;
}

/// Room for `more` further elements; the room grows geometrically. False, with the list as it was, if there
/// is no memory.
template <class T>
[[nodiscard]] bool tryGrow(std::vector<T>& list, std::size_t more) {
  const std::size_t needed = list.size() + more;
  return needed <= list.capacity() || tryReserve(list, std::max(needed, 2 * list.capacity()));
}

/// A table of shapes. `Holder` is the struct that gives the array of shapes its published name, and has what
/// else belongs to the shapes of one file; a table that is cleared starts with a new one.
template <class ShapeType, class Holder, std::vector<ShapeType> Holder::*kShapes>
class VectorTable : public DataTableType, public Holder {
 public:
  InputFileType prj{};  ///< the projection text, written back unchanged

  void clear() override {
    DataTableType::clear();
    clearShapes();
  }
  [[nodiscard]] bool hasRecordFlags() const final { return true; }
  [[nodiscard]] bool* recordFlag(int64_t irec) final {
    ShapeType* const shape = shapeAt(irec);
    return shape == nullptr ? nullptr : &shape->flag;
  }
  /// The shape of a record, or null for a number outside 1 to the number of shapes.
  [[nodiscard]] ShapeType* shapeAt(int64_t irec) { return entryAt(shapes(), irec); }
  [[nodiscard]] const ShapeType* shapeAt(int64_t irec) const { return entryAt(shapes(), irec); }

 protected:
  /// No shapes, and nothing of the file that they came from.
  void clearShapes() {
    static_cast<Holder&>(*this) = Holder{};
    prj = InputFileType{};
  }
  [[nodiscard]] std::vector<ShapeType>& shapes() { return this->*kShapes; }
  [[nodiscard]] const std::vector<ShapeType>& shapes() const { return this->*kShapes; }

  /// Calls f with the shape of a record and sets `status`: 0, or what f gives; -1, not reported, for a bad
  /// record.
  template <class F>
  int onShape(int64_t irec, F&& f) {
    Attempt attempt{status};
    ShapeType* const shape = shapeAt(irec);
    if (shape == nullptr) return kFailure;
    if constexpr (std::is_void_v<std::invoke_result_t<F&, ShapeType&>>) {
      f(*shape);
      return attempt.succeed();
    } else {
      return attempt.end(f(*shape));
    }
  }
  /// A member of the shape, or `otherwise` for a bad record.
  template <class Value>
  [[nodiscard]] Value valueOf(int64_t irec, Value ShapeType::*member,
                              std::type_identity_t<Value> otherwise) const {
    const ShapeType* const shape = shapeAt(irec);
    return shape == nullptr ? otherwise : shape->*member;
  }
  void setFlag(int64_t irec, bool value) {
    onShape(irec, [value](ShapeType& shape) { shape.flag = value; });
  }
  void setAllFlags(bool value) {
    for (ShapeType& shape : shapes()) shape.flag = value;
    status = kSuccess;
  }
  /// Makes default shapes, one a record, where there are none yet. 0, or -1 after a report that names
  /// `array`.
  int makeShapes(std::string_view routine, std::string_view array) {
    if (!shapes().empty() || numRecords < 1) return kSuccess;
    return tryAllocate(shapes(), static_cast<std::size_t>(numRecords)) ? kSuccess
                                                                       : cannotAllocate(routine, array);
  }

 private:
  [[nodiscard]] bool keepShapes(std::span<const int64_t> records, bool ascending) final {
    if (std::ssize(shapes()) != numRecords) return true;  // shapes that belong to no record stay
    if (!ascending) return copyShapes(records);
    for (std::size_t i = 0; i < records.size(); ++i)
      if (ShapeType* const shape = shapeAt(records[i]); shape != &shapes()[i])
        shapes()[i] = std::move(*shape);
    shapes().erase(shapes().begin() + std::ssize(records), shapes().end());
    return true;
  }
  /// Replaces the shapes by copies of those listed, which are asked for together: each alone could fit where
  /// all of them do not.
  [[nodiscard]] bool copyShapes(std::span<const int64_t> records) {
    std::uint64_t bytes = records.size() * sizeof(ShapeType);
    for (const int64_t record : records) bytes += shapeAt(record)->arrayBytes();
    if (!memoryFor(bytes)) return false;
    try {
      std::vector<ShapeType> copies;
      copies.reserve(records.size());
      for (const int64_t record : records) copies.push_back(*shapeAt(record));
      shapes().swap(copies);
    } catch (const std::exception&) {  // bad_alloc, length_error
      return false;
    }
    return true;
  }
};

}  // namespace terrain
