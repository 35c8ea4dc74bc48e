// How hard fingers are to tell apart: settings that were fitted to templates of real
// fingers (docs/made-fingers.md says how near they come).
//
// Impressions of one set differ: most are good, some are poor. So a difficulty has the
// settings of the best impression and those of the worst, and each impression lies
// between them by two draws: how the finger was laid on, and in what state its skin was.
#pragma once

#include "synth.h"

namespace vxmsynth {

// Plain: clear impressions, those of MakeFinger and MakeImpression by themselves. Easy: a
// large optical sensor. Hard: a small one, of which the finger covers all, and that sees
// another part of it each time. Medium: the middle of both.
enum class Difficulty { plain, easy, medium, hard };

// What finds the minutiae in one and the same touch. A coarse extractor reports more
// that are not there and places them less exactly; native templates of real fingers come
// from such a one, records from a careful one.
enum class Extractor { careful, coarse };

FingerSettings FingersOf(Difficulty difficulty);

// Of the impression that MakeImpression makes from this seed.
ImpressionSettings ImpressionOf(Difficulty difficulty, Extractor extractor, const Finger& finger,
                                uint64_t seed);

}  // namespace vxmsynth
