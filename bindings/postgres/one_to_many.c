/* vxm_matches: the staged comparison of identification, a row at a time.

   Each place in a query that calls the function keeps its probe (fn_extra), and
   the matcher keeps what it prepared of it, until another call takes the matcher.

   Native templates go through VXM_IdentifyNext, with the probe prepared once for
   the scan. That call would decide standard records as if they were native; for
   them VXM_Identify is called with one candidate, which prepares the probe each
   time. vxm_search (see batch_search.c) saves that. */
#include <postgres.h>

#include <miscadmin.h>

#include "search_probe.h"

PG_FUNCTION_INFO_V1(vxm_matches);

static Search* SearchOfCall(FunctionCallInfo fcinfo) {
  const Settings settings = SettingsFromArguments(fcinfo, 2, true);
  const struct varlena* probe = (const struct varlena*)PG_GETARG_POINTER(0);
  MemoryContext context = fcinfo->flinfo->fn_mcxt;
  Search* search = fcinfo->flinfo->fn_extra;
  if (search == NULL) {
    search = MemoryContextAllocZero(context, sizeof *search);
    fcinfo->flinfo->fn_extra = search;
  }
  if (!IsOfSearch(search, probe, &settings)) BeginSearch(search, context, probe, &settings);
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

static bool MatchesNative(MatcherHandle matcher, const Template* candidate) {
  int matched = 0;
  const int status = VXM_IdentifyNext(matcher, candidate->bytes, candidate->size, &matched);
  if (status == VXM_ERR_TEMPLATE_TYPE) return false; /* an invalid candidate */
  RequireOk(status);
  return matched != 0;
}

static bool MatchesStandard(MatcherHandle matcher, const Template* probe,
                            const Template* candidate) {
  int found = -1;
  RequireOk(VXM_Identify(matcher, probe->bytes, probe->size, &candidate->bytes, &candidate->size, 1,
                         0, &found));
  /* Identification takes any record that can be read; a broken one is no match. */
  return found == 0 && IsValid(candidate);
}

Datum vxm_matches(PG_FUNCTION_ARGS) {
  Search* search = SearchOfCall(fcinfo);
  const Template candidate = TemplateFromDatum(PG_GETARG_DATUM(1));
  MatcherHandle matcher;
  CHECK_FOR_INTERRUPTS();
  if (candidate.type != search->probe.type) PG_RETURN_BOOL(false);
  matcher = MatcherWithProbe(search);
  PG_RETURN_BOOL(candidate.type == TEMPLATE_NATIVE
                     ? MatchesNative(matcher, &candidate)
                     : MatchesStandard(matcher, &search->probe, &candidate));
}
