// The stages of a comparison, in the order in which they run. Each reads what
// the ones before it left in the context and says more in its own file.
//
//   workspaces -> geometry -> votes and seeds -> alignment -> score
#pragma once

#include "engine/kernels/kernels.h"
#include "engine/params.h"
#include "engine/records.h"
#include "engine/scoring.h"

namespace vxm {

void PrepareGeometry(TemplateGeometry& geometry, const MatchWorkspace& workspace, Scale scale);

// Fills the grids of both templates, if that was not done yet: few comparisons come so far
// that they look at ridges.
void TakeRidges(EngineContext& context);

void BuildPairList(PairList& pairs, const TemplateGeometry& geometry);

// The probe's geometry and its list; before the reference's, which takes the memory in
// which the list's pairs were made.
void PrepareProbe(EngineContext& context, const MatchWorkspace& workspace);

void VotePairs(EngineContext& context, const MatchLimits& limits);

// Counts the same votes as the loop castVotes, however many pairs agree in the same time.
void CastCrowdedVotes(EngineContext& context, int votingLength, const MatchLimits& limits);

// With a needed sum, no alignment is found where the scores of the two passes cannot add
// up to it.
void SearchAlignment(EngineContext& context, MatchResult& result, int neededSum);

void OrientationConsistency(const EngineContext& context, MatchResult& result);

// At least what the second pass will score: as if all of the first pass's pairings held
// but the two lightest, which stand for its seeds. Where that is too little for a search,
// the pass is not run.
int MostRefined(const EngineContext& context, const MatchResult& first);

void RefineAlignment(EngineContext& context, const MatchResult& first, MatchResult& second);

}  // namespace vxm
