#pragma once
// The file of channel nodes: records of 28 bytes, five of which are a header. See `AccumulateFlow`.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dem/dem.h"
#include "foundation/bytes.h"
#include "foundation/replacement.h"

namespace terrain {

struct ChannelNode {
  ColRow cell{};
  float angle = 0;
  float gradient = 0;
  float contributing = 0;  ///< cells
};

/// Written under a temporary name until it is committed.
class NodeFile {
 public:
  explicit NodeFile(const DEM_type& dem) : dem_(dem) {}

  /// Begins a new file of this name and ".dat". 0, or -1 with a report.
  [[nodiscard]] int open(std::string_view stem);
  /// A node without an angle is reported, and kept with the code of north.
  [[nodiscard]] int add(const ChannelNode& node);
  /// Fills in the header, and gives the file its name.
  [[nodiscard]] int commit();
  [[nodiscard]] int64_t nodes() const { return nodes_; }

 private:
  [[nodiscard]] int flush();
  [[nodiscard]] int failed(IoCode code) const;

  const DEM_type& dem_;
  Replacement file_;
  std::string name_;
  std::vector<std::byte> pending_;
  uint64_t written_ = 0;  ///< bytes
  int64_t nodes_ = 0;
};

}  // namespace terrain
