// The inner loops of a comparison, in one form for each instruction set.
//
// The scalar form is the definition: it works in whole degrees, with the tests
// as the score defines them, and takes any template. The vector forms give the
// same results for all templates with plain angles (0..360); what looks at the angles of
// others is always left to the scalar form.
#pragma once

#include "engine/numeric.h"
#include "engine/params.h"
#include "engine/records.h"
#include "platform/cpu.h"

namespace vxm {

struct LengthCount {
  int count;
  int longest;  // of those counted, in pixels; 0 for none
};

struct BlockCounts {
  int probe;    // blocks with ridges
  int overlap;  // of them, those that meet a ridge block of the reference
  int agree;    // of those, the ones with the same orientation
};

constexpr int crowdedDistance2 = EngineParams::crowdedDistance * EngineParams::crowdedDistance;
constexpr int32_t crowdedRank = 1 << 30;

// Smaller for minutiae that say more: crowded or not, the squared distance from the
// centre, and the place, one above the other in one number.
inline int32_t RankOf(int distance2, int place) { return distance2 << 8 | place; }

struct Kernels {
  const char* name;
  bool (*runsHere)();  // whether this processor has the instructions

  // Distances and line directions between all minutiae of a template.
  void (*fillPairTables)(TemplateGeometry& geometry);

  // Counts the pairs that are long enough to tell a direction, up to a length.
  LengthCount (*countPairs)(const TemplateGeometry& geometry, int length);

  // Counts votes, of the probe's pairs up to a length; false if it gave up (votingBudget).
  bool (*castVotes)(EngineContext& context, int votingLength, const MatchLimits& limits);

  // Makes the seeds: each probe minutia with its best-voted mate, the lowest of
  // several, ordered by votes, most first, then by index.
  void (*rankSeeds)(EngineContext& context);

  // Lists the seed at `place` with those of the first `count` seeds that may be the
  // second beside it, in order: all that fit, and maybe some that do not. Answers how
  // many; may write as many as there are seeds, rounded up as a row is.
  int (*listPartners)(const EngineContext& context, int place, int count, SeedPair* pairs);

  // Moves the minutiae by the motion and the shift, and tells which come to lie on
  // the area.
  void (*moveOnto)(const TemplateGeometry& geometry, const Area& area, const Motion& motion,
                   Point shift, MinutiaBits& on, Position* moved);

  // Lists the reference minutiae within reach of those moved probe minutiae that
  // are `among` the given and inside the pairing box, and that a rotation by theta
  // turns alike; or however turned, in a vector form where angles are not plain. May stop when it
  // is clear that fewer than `needed` will be listed.
  void (*listNear)(EngineContext& context, const Position* moved, const MinutiaBits& among,
                   int theta, int needed);

  // Weight of the pairings that hold under a rotation by theta and the shift.
  int (*sumHolding)(const PairingList& pairings, const Motion& motion, Point shift, int theta);

  // Compares the ridge orientations of the probe's blocks, turned by theta and
  // shifted, with those of the reference.
  BlockCounts (*countBlocks)(const Area& probe, const Area& reference, int theta, Point shift);

  // Tells which `count` of a template's more minutiae say most: those that stand alone
  // first, of those alike the nearest to the centre of the grid, then the first.
  void (*chooseMinutiae)(const MatchWorkspace& workspace, int count, MinutiaBits& chosen);
};

extern const Kernels scalarKernels;
// The vector forms that were compiled, best first; null after the last.
extern const Kernels* const vectorKernels[];

// The best form that the processor runs, or the one that was forced.
const Kernels& ActiveKernels();

enum class ForceOutcome { forced, notRunHere, unknown };

// Forces the form of that name for the whole process, for tests and benchmarks;
// not while another thread compares. Unless it is forced nothing changes.
ForceOutcome ForceKernels(const char* name);

}  // namespace vxm
