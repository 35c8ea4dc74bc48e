// The stages of a comparison, in the order in which they run. Each reads what
// the ones before it left in the context and says more in its own file.
//
//   workspaces -> geometry -> candidates -> votes and seeds -> alignment -> score
#pragma once

#include "engine/params.h"
#include "engine/records.h"

namespace vxm {

// Whose tables a preparation fills.
enum class Side { probe, reference };

void PrepareGeometry(EngineContext& context, Side side);
void PrepareStandardGeometry(EngineContext& context, Side side);
void BuildPairList(TemplateGeometry& geometry, uint16_t (&histogram)[maxDistance + 1]);

void WeighCandidates(EngineContext& context);
void WeighStandardCandidates(EngineContext& context);

void VotePairs(EngineContext& context, const MatchLimits& limits);

void SearchAlignment(EngineContext& context, MatchResult& result);

void OrientationConsistency(const TemplateGeometry& probe, const TemplateGeometry& reference,
                            MatchResult& result);

void RefineAlignment(EngineContext& context, const MatchResult& first, MatchResult& second);

}  // namespace vxm
