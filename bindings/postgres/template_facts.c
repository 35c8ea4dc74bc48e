/* vxm_valid, vxm_info and vxm_version: what can be told without a comparison. */
#include <postgres.h>

#include <funcapi.h>
#include <utils/builtins.h>

#include "backend_matcher.h"

PG_MODULE_MAGIC;

PG_FUNCTION_INFO_V1(vxm_valid);
PG_FUNCTION_INFO_V1(vxm_info);
PG_FUNCTION_INFO_V1(vxm_version);

Datum vxm_valid(PG_FUNCTION_ARGS) {
  const Template source = TemplateFromDatum(PG_GETARG_DATUM(0));
  PG_RETURN_BOOL(IsValid(&source));
}

Datum vxm_info(PG_FUNCTION_ARGS) {
  const Template source = TemplateFromDatum(PG_GETARG_DATUM(0));
  TupleDesc columns;
  TemplateFacts facts;
  if (!IsValid(&source)) PG_RETURN_NULL();
  if (get_call_result_type(fcinfo, NULL, &columns) != TYPEFUNC_COMPOSITE) {
    elog(ERROR, "return type must be a row type");
  }
  facts = ReadFacts(&source);
  {
    Datum values[] = {CStringGetTextDatum(FormatName(source.type)),
                      Int32GetDatum(source.size),
                      Int32GetDatum(facts.minutiae),
                      Int32GetDatum(facts.width),
                      Int32GetDatum(facts.height),
                      Int32GetDatum(facts.attribute)};
    bool nulls[lengthof(values)] = {false};
    PG_RETURN_DATUM(HeapTupleGetDatum(heap_form_tuple(BlessTupleDesc(columns), values, nulls)));
  }
}

Datum vxm_version(PG_FUNCTION_ARGS) {
  char version[VXM_PARAMETER_TEXT_SIZE];
  MatcherHandle matcher = TakeMatcher(TEMPLATE_NATIVE, &defaultSettings);
  (void)fcinfo;
  RequireOk(VXM_GetParameter(matcher, VXM_PARAM_VERSION, version));
  PG_RETURN_TEXT_P(cstring_to_text(version));
}
