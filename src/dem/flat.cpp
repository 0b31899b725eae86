#include "dem/flat.h"

#include "foundation/free_format.h"
#include "foundation/messages.h"

namespace terrain {

void reportUndrained(std::string_view routine, const GridGeometry& grid, ColRow cell) {
  const Point corner = grid.ColRowToXY(cell.col, cell.row);
  fail(routine, "unable to drain flat");
  putMessage("Col, row: " + freeText(cell.col) + ' ' + freeText(cell.row));
  putMessage("Cell corner at " + freeText(corner.x) + ' ' + freeText(corner.y));
}

}  // namespace terrain
