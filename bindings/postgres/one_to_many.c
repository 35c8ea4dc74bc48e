/* vxm_matches: the staged comparison of identification, a row at a time. Each place
   in a query that calls the function keeps its probe (fn_extra). */
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

Datum vxm_matches(PG_FUNCTION_ARGS) {
  Search* search = SearchOfCall(fcinfo);
  const Template candidate = TemplateFromDatum(PG_GETARG_DATUM(1));
  CHECK_FOR_INTERRUPTS();
  if (candidate.type != search->probe.type) PG_RETURN_BOOL(false);
  PG_RETURN_BOOL(Matches(search, &candidate));
}
