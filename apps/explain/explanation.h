// One comparison, told stage by stage, as the engine makes it.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "engine/match.h"
#include "engine/scoring.h"
#include "engine/stages.h"

// A correspondence with the votes that pairs of minutiae gave it.
struct Voted {
  vxm::Correspondence mates;
  int votes;
};

struct Pair {
  vxm::Correspondence mates;
  int weight;  // 0..1000; that of the two seeds does not count
  bool seed;
  // How many of the minutiae around are paired: what supports the weight.
  vxm::Neighbourhood probeSupport;
  vxm::Neighbourhood referenceSupport;
};

// What a pass found.
struct Pass {
  int rotation;  // degrees
  int dx;        // pixels
  int dy;
  std::vector<Pair> pairs;
  int score;                               // of the pairs
  std::optional<vxm::BlockCounts> blocks;  // native templates: ridges that agree
  int scaledScore;                         // the score after that
};

struct Explanation {
  std::vector<Voted> candidates;  // all correspondences with votes, most first
  std::vector<Voted> seeds;       // the best of each probe minutia, most votes first
  int overlap = 0;                // minutiae in the common area
  std::optional<Pass> first;      // none: no alignment was found
  std::optional<Pass> second;     // where the first is not clear
  int factor = 1;                 // on the passes' mean, by the scale
  int score = 0;                  // 0..9999
};

// Throws std::logic_error where the stages do not add up to the engine's score.
Explanation Explain(const vxm::MatchWorkspace& probe, const vxm::MatchWorkspace& reference,
                    vxm::Scale scale);
