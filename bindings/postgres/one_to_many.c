/* vxm_matches and vxm_matches_fully: a comparison with a probe, a row at a time. Each
   place in a query that calls one of them keeps its probe (fn_extra). */
#include <postgres.h>

#include <miscadmin.h>

#include "search_probe.h"

PG_FUNCTION_INFO_V1(vxm_matches);
PG_FUNCTION_INFO_V1(vxm_matches_fully);

static Search* SearchOfCall(FunctionCallInfo fcinfo, bool hasFast) {
  const struct varlena* probe = ProbeArgument(fcinfo, 0);
  const Settings settings = SettingsFromArguments(fcinfo, 2, hasFast);
  MemoryContext context = fcinfo->flinfo->fn_mcxt;
  Search* search = fcinfo->flinfo->fn_extra;
  if (search == NULL) {
    search = MemoryContextAllocZero(context, sizeof *search);
    fcinfo->flinfo->fn_extra = search;
  }
  if (!IsOfSearch(search, probe, &settings)) BeginSearch(search, context, probe, &settings);
  return search;
}

/* (probe, candidate, level, retry_turned, fast) */
Datum vxm_matches(PG_FUNCTION_ARGS) {
  Search* search = SearchOfCall(fcinfo, true);
  Template candidate;
  CHECK_FOR_INTERRUPTS();
  if (PG_ARGISNULL(1)) PG_RETURN_NULL();
  candidate = CandidateFromDatum(PG_GETARG_DATUM(1));
  PG_RETURN_BOOL(candidate.type == search->probe.type && Matches(search, &candidate));
}

/* (probe, candidate, level, retry_turned) */
Datum vxm_matches_fully(PG_FUNCTION_ARGS) {
  Search* search = SearchOfCall(fcinfo, false);
  Template candidate;
  float score;
  int verified;
  CHECK_FOR_INTERRUPTS();
  if (PG_ARGISNULL(1)) PG_RETURN_NULL();
  candidate = CandidateFromDatum(PG_GETARG_DATUM(1));
  PG_RETURN_BOOL(candidate.type == search->probe.type &&
                 Verify(search, &candidate, &score, &verified) && verified != 0);
}
