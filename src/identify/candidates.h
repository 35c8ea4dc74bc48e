// The candidates of one identification pass, in the order of the search.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "templates/standard_record.h"

namespace vxm {

struct CandidateEntry {
  int32_t index;                // of the caller
  const uint8_t* templateData;  // the caller's; may be null
  int32_t templateSize;
};

struct CandidateList {
  std::unique_ptr<CandidateEntry[]> entries;
  int count = 0;
};

// Lists the candidates by closeness of their templateAttribute to the probe's;
// those equally close keep the caller's order. A count below 0 is none. False
// when there is no memory.
bool BuildCandidateList(CandidateList& list, TemplateFormat format, uint8_t probeAttribute,
                        const unsigned char* const* templates, const int* templateSizes,
                        int templateCount);

// Asks for the bytes of the next few candidates of a search that is at that position and
// takes every `step`th, so that they are in the cache when their turn comes.
void ExpectCandidates(const CandidateList& list, int position, int step);

// The attribute byte of a candidate's raw bytes; false when they are too short.
bool ReadAttribute(TemplateFormat format, const uint8_t* bytes, int size, uint8_t& attribute);

// Private copies of candidates that lie back to back in one buffer, each cut to
// `maxCopySize` bytes; wiped at their end.
struct CandidateCopies {
  CandidateCopies() = default;
  CandidateCopies(const CandidateCopies&) = delete;
  CandidateCopies& operator=(const CandidateCopies&) = delete;
  ~CandidateCopies();

  std::unique_ptr<uint8_t[]> bytes;
  size_t total = 0;
  std::unique_ptr<const unsigned char*[]> templates;
  std::unique_ptr<int[]> sizes;
};
constexpr int maxCopySize = 1024;

bool CopyCandidates(CandidateCopies& copies, const unsigned char* buffer, const int* templateSizes,
                    int templateCount);

}  // namespace vxm
