/* vxm_matches: the staged comparison of identification, a row at a time.

   Each place in a query that calls the function keeps its probe (fn_extra), and
   the matcher keeps what it prepared of it, until another call takes the matcher.

   Native templates go through VXM_IdentifyNext, with the probe prepared once for
   the scan. That function would decide standard records as if they were native;
   for them VXM_Identify is called with one candidate, which prepares the probe
   each time. */
#include <postgres.h>

#include <miscadmin.h>

#include "backend_matcher.h"

PG_FUNCTION_INFO_V1(vxm_matches);

typedef struct Search {
  Settings settings;
  Template probe; /* valid, its bytes a copy */
  void* argument; /* what the probe was made of, as it came: perhaps only a toast pointer */
  uint64 ticket;  /* of the matcher with the probe */
} Search;

/* Equal bytes are the same probe: of a toasted one the pointer is compared. */
static bool SameArgument(const Search* search, const struct varlena* argument) {
  return search->argument != NULL &&
         (!VARATT_IS_EXTERNAL(argument) || VARATT_IS_EXTERNAL_ONDISK(argument)) &&
         VARSIZE_ANY(argument) == VARSIZE_ANY(search->argument) &&
         memcmp(argument, search->argument, VARSIZE_ANY(argument)) == 0;
}

static void* CopyBytes(MemoryContext context, const void* bytes, Size size) {
  return memcpy(MemoryContextAlloc(context, size), bytes, size);
}

static void SetProbe(Search* search, MemoryContext context, const struct varlena* argument) {
  Template probe = TemplateFromDatum(PointerGetDatum(argument));
  RequireValid(&probe, "probe");
  if (search->argument != NULL) {
    pfree(search->argument);
    pfree(unconstify(unsigned char*, search->probe.bytes));
    search->argument = NULL;
  }
  probe.bytes = CopyBytes(context, probe.bytes, (Size)probe.size);
  search->probe = probe;
  search->argument = CopyBytes(context, argument, VARSIZE_ANY(argument));
  search->ticket = 0;
}

static Search* SearchOfCall(FunctionCallInfo fcinfo) {
  const Settings settings = SettingsFromArguments(fcinfo, 2, true);
  const struct varlena* argument = (const struct varlena*)PG_GETARG_POINTER(0);
  MemoryContext context = fcinfo->flinfo->fn_mcxt;
  Search* search = fcinfo->flinfo->fn_extra;
  if (search == NULL) {
    search = MemoryContextAllocZero(context, sizeof *search);
    fcinfo->flinfo->fn_extra = search;
  }
  if (!SameSettings(&search->settings, &settings)) {
    search->settings = settings;
    search->ticket = 0;
  }
  if (!SameArgument(search, argument)) SetProbe(search, context, argument);
  return search;
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

static bool Matches(Search* search, const Template* candidate) {
  MatcherHandle matcher = MatcherWithProbe(search);
  if (search->probe.type == TEMPLATE_NATIVE) {
    int matched = 0;
    const int status = VXM_IdentifyNext(matcher, candidate->bytes, candidate->size, &matched);
    if (status == VXM_ERR_TEMPLATE_TYPE) return false; /* an invalid candidate */
    RequireOk(status);
    return matched != 0;
  } else {
    int found = -1;
    RequireOk(VXM_Identify(matcher, search->probe.bytes, search->probe.size, &candidate->bytes,
                           &candidate->size, 1, 0, &found));
    /* Identification takes any record that can be read; a broken one is no match. */
    return found == 0 && IsValid(candidate);
  }
}

Datum vxm_matches(PG_FUNCTION_ARGS) {
  Search* search = SearchOfCall(fcinfo);
  const Template candidate = TemplateFromDatum(PG_GETARG_DATUM(1));
  CHECK_FOR_INTERRUPTS();
  PG_RETURN_BOOL(candidate.type == search->probe.type && Matches(search, &candidate));
}
