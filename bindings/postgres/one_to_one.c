/* vxm_score and vxm_verify: the full comparison of two templates. */
#include <postgres.h>

#include <miscadmin.h>

#include "backend_matcher.h"

PG_FUNCTION_INFO_V1(vxm_score);
PG_FUNCTION_INFO_V1(vxm_verify);

static int VerifyPair(FunctionCallInfo fcinfo, const Settings* settings, float* score) {
  const Template probe = TemplateFromDatum(PG_GETARG_DATUM(0));
  const Template candidate = TemplateFromDatum(PG_GETARG_DATUM(1));
  int verified = 0;
  int status = VXM_ERR_TEMPLATE_TYPE;
  CHECK_FOR_INTERRUPTS();
  if (probe.type != 0 && probe.type == candidate.type) {
    status = VXM_VerifyEx(TakeMatcher(probe.type, settings), probe.bytes, probe.size,
                          candidate.bytes, candidate.size, score, &verified);
  }
  if (status != VXM_OK) {
    /* One status stands for faults of either template: see which it is. */
    RequireValid(&probe, "probe");
    RequireValid(&candidate, "candidate");
    RefuseMixedPair(&probe, &candidate);
    RequireOk(status);
  }
  return verified;
}

Datum vxm_score(PG_FUNCTION_ARGS) {
  float score = 0;
  VerifyPair(fcinfo, &defaultSettings, &score);
  PG_RETURN_FLOAT4(score);
}

/* (probe, candidate, level, retry_turned) */
Datum vxm_verify(PG_FUNCTION_ARGS) {
  Settings settings;
  float score = 0;
  RefuseNull(fcinfo, 0, "probe");
  settings = SettingsFromArguments(fcinfo, 2, false);
  if (PG_ARGISNULL(1)) PG_RETURN_NULL();
  PG_RETURN_BOOL(VerifyPair(fcinfo, &settings, &score) != 0);
}
