/* What the one-to-many functions keep from row to row: a probe and how to compare
   with it. */
#ifndef VXM_SEARCH_PROBE_H
#define VXM_SEARCH_PROBE_H

#include "backend_matcher.h"

typedef struct Search {
  Settings settings;
  Template probe;       /* valid; a copy */
  const void* argument; /* what the probe was made of, as it came; null before the first */
  uint64 ticket;        /* of the matcher that holds the probe */
} Search;

/* As it came; null is an error. */
extern const struct varlena* ProbeArgument(FunctionCallInfo fcinfo, int number);

/* Whether a row asks for what the search holds. */
extern bool IsOfSearch(const Search* search, const struct varlena* probe, const Settings* settings);

/* Begins another search, its probe copied into the context. An invalid probe is an
   error, and leaves the search as it was. */
extern void BeginSearch(Search* search, MemoryContext context, const struct varlena* probe,
                        const Settings* settings);

/* Whether a candidate of the probe's format matches in the staged comparison; not, if it
   is invalid. */
extern bool Matches(Search* search, const Template* candidate);

/* The full comparison with a candidate of the probe's format; false if it is invalid. */
extern bool Verify(const Search* search, const Template* candidate, float* score, int* verified);

extern void* CopyBytes(MemoryContext context, const void* bytes, Size size);

#endif
