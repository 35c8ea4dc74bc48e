#include <postgres.h>

#include "search_probe.h"

void* CopyBytes(MemoryContext context, const void* bytes, Size size) {
  return memcpy(MemoryContextAlloc(context, size), bytes, size);
}

const struct varlena* ProbeArgument(FunctionCallInfo fcinfo, int number) {
  RefuseNull(fcinfo, number, "probe");
  return (const struct varlena*)PG_GETARG_POINTER(number);
}

/* Equal bytes are the same probe: of a toasted one the pointer is compared. */
bool IsOfSearch(const Search* search, const struct varlena* probe, const Settings* settings) {
  return search->argument != NULL && SameSettings(&search->settings, settings) &&
         (!VARATT_IS_EXTERNAL(probe) || VARATT_IS_EXTERNAL_ONDISK(probe)) &&
         VARSIZE_ANY(probe) == VARSIZE_ANY(search->argument) &&
         memcmp(probe, search->argument, VARSIZE_ANY(probe)) == 0;
}

void BeginSearch(Search* search, MemoryContext context, const struct varlena* probe,
                 const Settings* settings) {
  const Template source = TemplateFromDatum(PointerGetDatum(probe));
  Search begun = {*settings, source, NULL, 0};
  RequireValid(&source, "probe");
  begun.probe.bytes = CopyBytes(context, source.bytes, (Size)source.size);
  begun.argument = CopyBytes(context, probe, VARSIZE_ANY(probe));
  if (search->argument != NULL) {
    pfree(unconstify(void*, search->argument));
    pfree(unconstify(unsigned char*, search->probe.bytes));
  }
  *search = begun;
}

static MatcherHandle MatcherWithProbe(Search* search) {
  const Template* probe = &search->probe;
  MatcherHandle matcher = KeptMatcher(search->ticket);
  if (matcher == NULL) {
    matcher = TakeMatcher(probe->type, &search->settings);
    if (probe->type == TEMPLATE_NATIVE) {
      RequireOk(VXM_IdentifyInit(matcher, probe->bytes, probe->size));
    }
    search->ticket = KeepMatcher();
  }
  return matcher;
}

/* The matcher keeps what it prepared of a native probe, until another call takes the
   matcher. VXM_IdentifyNext would decide standard records as if they were native; for
   them VXM_Identify is called with one candidate, which prepares the probe each time.
   vxm_search (see batch_search.c) saves that. */
bool Matches(Search* search, const Template* candidate) {
  const Template* probe = &search->probe;
  MatcherHandle matcher = MatcherWithProbe(search);
  int matched = 0;
  int found = -1;
  int status;
  if (probe->type == TEMPLATE_NATIVE) {
    status = VXM_IdentifyNext(matcher, candidate->bytes, candidate->size, &matched);
  } else {
    status = VXM_Identify(matcher, probe->bytes, probe->size, &candidate->bytes, &candidate->size,
                          1, 0, &found);
    /* Identification takes any record that can be read; a broken one is no match. */
    matched = found == 0 && IsValid(candidate);
  }
  if (status == VXM_ERR_TEMPLATE_TYPE) return false; /* an invalid candidate */
  RequireOk(status);
  return matched != 0;
}

bool Verify(const Search* search, const Template* candidate, float* score, int* verified) {
  const Template* probe = &search->probe;
  const int status = VXM_VerifyEx(TakeMatcher(probe->type, &search->settings), probe->bytes,
                                  probe->size, candidate->bytes, candidate->size, score, verified);
  /* Of the two templates the probe is known to be valid. */
  if (status == VXM_ERR_INVALID_PARAMETERS || status == VXM_ERR_DATA_CORRUPTED ||
      status == VXM_ERR_TEMPLATE_TYPE) {
    return false;
  }
  RequireOk(status);
  return true;
}
