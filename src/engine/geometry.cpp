// Template geometry: from a loaded workspace to the tables that later stages
// look things up in.
//
// In: one MatchWorkspace. Out: every pairwise distance, line direction and
// direction difference, the block grid in whole degrees, an orientation per
// minutia, neighbour lists, and the list of pairs by length.
// Idea: distances and angle differences do not change when a finger is shifted
// or turned, so comparing tables replaces comparing positions.
// Cost: quadratic in the minutiae; each symmetric entry is computed once.
//
// Standard records carry no orientation grid. Theirs is a mask of the blocks
// that the minutiae span, and each minutia's orientation is its own direction.
#include <algorithm>

#include "engine/numeric.h"
#include "engine/stages.h"

namespace vxm {
namespace {

struct Selected {
  const MatchWorkspace& workspace;
  TemplateGeometry& geometry;
};

Selected Select(EngineContext& context, Side side) {
  if (side == Side::probe) return {*context.currentProbe, context.probeGeometry};
  return {*context.currentReference, context.referenceGeometry};
}

int Distance(int dx, int dy) {
  const int squared = dx * dx + dy * dy;
  return squared > maxDistance * maxDistance ? maxDistance : IntSqrt(squared);
}

void FillDirections(const MatchWorkspace& workspace, TemplateGeometry& geometry) {
  geometry.count = workspace.minutiaCount;
  for (int i = 0; i < geometry.count; i++) {
    const int angle = workspace.angle[i];
    geometry.dir[i] = static_cast<int16_t>(angle == 0 ? 0 : 360 - angle);
  }
}

void FillPairTables(const MatchWorkspace& workspace, TemplateGeometry& geometry) {
  for (int i = 0; i < geometry.count; i++) {
    geometry.distance[i][i] = 0;
    geometry.lineAngle[i][i] = 0;
    geometry.relativeAngle[i][i] = 0;
    for (int j = i + 1; j < geometry.count; j++) {
      const int dx = workspace.x[j] - workspace.x[i];
      const int dy = workspace.y[j] - workspace.y[i];
      const int distance = Distance(dx, dy);
      geometry.distance[i][j] = geometry.distance[j][i] = static_cast<uint16_t>(distance);

      const int line = AngleOf(dx, dy);
      geometry.lineAngle[i][j] = static_cast<uint16_t>(line);
      geometry.lineAngle[j][i] = static_cast<uint16_t>(line < 180 ? line + 180 : line - 180);

      const int relative = AngleBetween(geometry.dir[j], geometry.dir[i]);
      geometry.relativeAngle[i][j] = static_cast<uint16_t>(relative);
      geometry.relativeAngle[j][i] = static_cast<uint16_t>(relative == 0 ? 0 : 360 - relative);
    }
  }
}

void ConvertGrid(const MatchWorkspace& workspace, TemplateGeometry& geometry) {
  geometry.gridWidth = workspace.gridWidth;
  geometry.gridHeight = workspace.gridHeight;
  for (int row = 0; row < geometry.gridHeight; row++) {
    for (int column = 0; column < geometry.gridWidth; column++) {
      const int value = workspace.orientation[row][column];
      geometry.grid[row][column] =
          (value & noRidge) == noRidge ? background : static_cast<uint8_t>((3 * value) >> 1);
    }
  }
}

// A turned minutia can lie one pixel beyond the grid; there is no ridge there.
uint8_t BlockOrientation(const TemplateGeometry& geometry, int x, int y) {
  const int column = x / blockSize;
  const int row = y / blockSize;
  if (column >= geometry.gridWidth || row >= geometry.gridHeight) return background;
  return geometry.grid[row][column];
}

void FillNeighbours(TemplateGeometry& geometry) {
  for (int i = 0; i < geometry.count; i++) {
    int16_t count = 0;
    for (int j = 0; j < geometry.count; j++) {
      if (j == i || geometry.distance[i][j] > EngineParams::neighbourRadius) continue;
      geometry.neighbours[i][count++] = static_cast<uint8_t>(j);
    }
    geometry.neighbourCount[i] = count;
  }
}

// Marks the rectangle of blocks from the lowest minutia to the highest.
void FillMask(const MatchWorkspace& workspace, TemplateGeometry& geometry) {
  constexpr uint8_t inside = 181;  // no orientation; only told apart from background
  int minX = 1000;
  int minY = 1000;
  int maxX = 0;
  int maxY = 0;
  for (int i = 0; i < geometry.count; i++) {
    minX = std::min<int>(minX, workspace.x[i]);
    maxX = std::max<int>(maxX, workspace.x[i]);
    minY = std::min<int>(minY, workspace.y[i]);
    maxY = std::max<int>(maxY, workspace.y[i]);
  }
  geometry.gridWidth = maxX / blockSize + 1;
  geometry.gridHeight = maxY / blockSize + 1;
  for (int row = 0; row < geometry.gridHeight; row++) {
    for (int column = 0; column < geometry.gridWidth; column++) {
      const bool outside = row < minY / blockSize || column < minX / blockSize;
      geometry.grid[row][column] = outside ? background : inside;
    }
  }
}

}  // namespace

void PrepareGeometry(EngineContext& context, Side side) {
  const auto [workspace, geometry] = Select(context, side);
  FillDirections(workspace, geometry);
  FillPairTables(workspace, geometry);
  ConvertGrid(workspace, geometry);
  for (int i = 0; i < geometry.count; i++) {
    geometry.localOrientation[i] = BlockOrientation(geometry, workspace.x[i], workspace.y[i]);
  }
  FillNeighbours(geometry);
  BuildPairList(geometry, context.distanceHistogram);
}

void PrepareStandardGeometry(EngineContext& context, Side side) {
  const auto [workspace, geometry] = Select(context, side);
  FillDirections(workspace, geometry);
  FillPairTables(workspace, geometry);
  FillMask(workspace, geometry);
  for (int i = 0; i < geometry.count; i++) {
    const int dir = geometry.dir[i];
    geometry.localOrientation[i] = static_cast<uint8_t>(dir >= 180 ? dir - 180 : dir);
    geometry.neighbourCount[i] = 0;
  }
  BuildPairList(geometry, context.distanceHistogram);
}

}  // namespace vxm
