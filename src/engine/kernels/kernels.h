// The inner loops of a comparison, in one form for each instruction set.
//
// The scalar form is the definition: it works in whole degrees, with the tests
// as the score defines them, and takes any template. The vector forms give the
// same results for all templates with plain angles (0..360); the others are
// always left to the scalar form.
#pragma once

#include "engine/numeric.h"
#include "engine/params.h"
#include "engine/records.h"
#include "platform/cpu.h"

namespace vxm {

// A minutia set as bits.
struct MinutiaBits {
  uint32_t words[(maxRow + 31) / 32];

  bool Has(int i) const { return (words[i / 32] >> (i % 32) & 1) != 0; }
  void Add(int i) { words[i / 32] |= 1u << (i % 32); }
  void Remove(int i) { words[i / 32] &= ~(1u << (i % 32)); }
};

// The open rectangle minX < x < maxX, minY < y < maxY.
struct Box {
  int minX, maxX;
  int minY, maxY;

  bool Holds(Point p) const { return p.x > minX && p.x < maxX && p.y > minY && p.y < maxY; }
};

// Pairings of the first alignment pass, as the second pass takes them.
struct PairingList {
  int count;
  alignas(64) Position from[maxRow];
  alignas(64) Position to[maxRow];
  alignas(64) int16_t rotation[maxRow];  // between the two directions, 0..359
  alignas(64) uint16_t weight[maxRow];   // 0 where the pairing does not count
};

inline bool PairingHolds(const PairingList& pairings, int k, const Motion& motion, Point shift,
                         int theta) {
  constexpr int radius = EngineParams::pairDistanceTolerance + 1;
  const Point p = Move(motion, {pairings.from[k].x, pairings.from[k].y});
  const int dx = p.x + shift.x - pairings.to[k].x;
  const int dy = p.y + shift.y - pairings.to[k].y;
  return dx * dx + dy * dy <= radius * radius &&
         AnglesAgree(static_cast<uint16_t>(pairings.rotation[k]), theta,
                     EngineParams::angleTolerance);
}

struct BlockCounts {
  int probe;    // blocks with ridges
  int overlap;  // of them, those that meet a ridge block of the reference
  int agree;    // of those, the ones with the same orientation
};

struct Kernels {
  const char* name;

  // Distances and line directions between all minutiae of a template.
  void (*fillPairTables)(TemplateGeometry& geometry);

  // Makes the seeds: each probe minutia with its best-voted mate, the lowest of
  // several, ordered by votes, most first, then by index.
  void (*rankSeeds)(EngineContext& context);

  // Moves positions by the motion and the shift, and tells which come to lie in
  // the box.
  void (*moveInto)(const Position* positions, int count, const Motion& motion, Point shift,
                   const Box& box, MinutiaBits& inside, Position* moved);

  // Lists which minutiae of `geometry` are within reach of those moved positions
  // that are `among` the given and inside the box.
  void (*listNear)(const Position* moved, const MinutiaBits& among, int count, const Box& box,
                   const TemplateGeometry& geometry, const NearMap& map, NearList& near);

  // Weight of the pairings that hold under a rotation by theta and the shift.
  int (*sumHolding)(const PairingList& pairings, const Motion& motion, Point shift, int theta);

  // Compares the ridge orientations of the probe's blocks, turned by theta and
  // shifted, with those of the reference.
  BlockCounts (*countBlocks)(const Area& probe, const Area& reference, int theta, Point shift);
};

extern const Kernels scalarKernels;
#if defined(VXM_HAVE_AVX2)
extern const Kernels avx2Kernels;
#endif

// The best form that the processor runs, or the one that was forced.
const Kernels& ActiveKernels();

enum class ForceOutcome { forced, notRunHere, unknown };

// Forces the form of that name for the whole process, for tests and benchmarks;
// not while another thread compares. Unless it is forced nothing changes.
ForceOutcome ForceKernels(const char* name);

}  // namespace vxm
