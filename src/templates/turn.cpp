// The half turn: a point reflection through the centre of the grid. No minutia
// leaves the grid but one at 0, which comes to lie one pixel beyond it. A ridge
// orientation is its own half turn, so block values only change places.
#include "templates/turn.h"

namespace vxm {

void TurnWorkspace(MatchWorkspace& target, const MatchWorkspace& source) {
  const int n = source.minutiaCount;
  const int width = source.gridWidth;
  const int height = source.gridHeight;
  target.minutiaCount = n;
  target.gridWidth = source.gridWidth;
  target.gridHeight = source.gridHeight;
  target.templateAttribute = source.templateAttribute;
  for (int i = 0; i < n; i++) {
    const int j = n - 1 - i;
    const int angle = source.angle[j];
    target.x[i] = static_cast<int16_t>(width * blockSize - source.x[j]);
    target.y[i] = static_cast<int16_t>(height * blockSize - source.y[j]);
    target.angle[i] = static_cast<uint16_t>(angle > 180 ? angle - 180 : angle + 180);
    target.quality[i] = source.quality[j];
    target.type[i] = source.type[j];
  }
  for (int row = 0; row < height; row++) {
    for (int column = 0; column < width; column++) {
      target.orientation[row][column] = source.orientation[height - 1 - row][width - 1 - column];
    }
  }
}

}  // namespace vxm
