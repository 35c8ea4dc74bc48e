#include <postgres.h>

#include "backend_matcher.h"

#include <storage/ipc.h>

#include "record_form.h"

const Settings defaultSettings = {4, false, true};

static MatcherHandle matcher = NULL;
static uint64 lastTicket = 0;
static uint64 validTicket = 0;

static void DeleteMatcher(int code, Datum argument) {
  (void)code;
  (void)argument;
  VXM_Delete(matcher);
  matcher = NULL;
}

int LevelFromArgument(FunctionCallInfo fcinfo, int number) {
  int level;
  RefuseNull(fcinfo, number, "security level");
  level = PG_GETARG_INT32(number);
  if (level < 1 || level > 7) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                    errmsg("security level %d is not one of 1 to 7", level)));
  }
  return level;
}

Settings SettingsFromArguments(FunctionCallInfo fcinfo, int first, bool hasFast) {
  Settings settings;
  settings.level = LevelFromArgument(fcinfo, first);
  RefuseNull(fcinfo, first + 1, "retry_turned");
  settings.retryTurned = PG_GETARG_BOOL(first + 1);
  if (hasFast) RefuseNull(fcinfo, first + 2, "fast");
  settings.fast = !hasFast || PG_GETARG_BOOL(first + 2);
  return settings;
}

bool SameSettings(const Settings* a, const Settings* b) {
  return a->level == b->level && a->retryTurned == b->retryTurned && a->fast == b->fast;
}

MatcherHandle TakeMatcher(int type, const Settings* settings) {
  const int retryTurned = settings->retryTurned;
  const int fast = settings->fast;
  validTicket = 0;
  if (matcher == NULL) {
    RequireOk(VXM_Create(&matcher));
    on_proc_exit(DeleteMatcher, 0);
  }
  RequireOk(VXM_SetTemplateType(matcher, type));
  RequireOk(VXM_SetParameter(matcher, VXM_PARAM_SECURITY_LEVEL, &settings->level));
  RequireOk(VXM_SetParameter(matcher, VXM_PARAM_RETRY_TURNED, &retryTurned));
  RequireOk(VXM_SetParameter(matcher, VXM_PARAM_FAST_MODE, &fast));
  return matcher;
}

MatcherHandle KeptMatcher(uint64 ticket) {
  return ticket != 0 && ticket == validTicket ? matcher : NULL;
}

uint64 KeepMatcher(void) { return validTicket = ++lastTicket; }

/* Verification checks both templates before it compares anything, and comparing
   with a template without minutiae to pair costs next to nothing. */
bool IsValid(const Template* source) {
  static const unsigned char native[] = {0x44, 1, 1, 1, 0, 0, 'V', 'X', 0, 0, 0, 0, 0xFF};
  static const unsigned char iso[30] = {'F', 'M', 'R', 0, [11] = 30};
  static const unsigned char ansi[32] = {'F', 'M', 'R', 0, [9] = 32};
  const unsigned char* other = native;
  int otherSize = sizeof native;
  int verified;
  if (source->type == 0) return false;
  if (source->type == TEMPLATE_ISO19794_2) {
    other = iso;
    otherSize = sizeof iso;
  } else if (source->type == TEMPLATE_ANSI378) {
    other = ansi;
    otherSize = sizeof ansi;
  }
  return VXM_Verify(TakeMatcher(source->type, &defaultSettings), source->bytes, source->size, other,
                    otherSize, &verified) == VXM_OK;
}

void RequireValid(const Template* source, const char* role) {
  if (source->type == 0 && BeginsAsRecord(source)) RefuseMisread(source, role);
  if (source->type == 0) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_BINARY_REPRESENTATION),
                    errmsg("%s is not a valid template", role),
                    errdetail("It has %d bytes; a template has %d to %d.", source->size,
                              MIN_TEMPLATE_SIZE, MAX_TEMPLATE_SIZE)));
  }
  if (!IsValid(source)) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_BINARY_REPRESENTATION),
                    errmsg("%s is not a valid template", role),
                    errdetail("By its first bytes it is taken for %s; it has %d bytes.",
                              FormatName(source->type), source->size)));
  }
}

void RefuseMixedPair(const Template* probe, const Template* candidate) {
  if (probe->type != candidate->type) {
    ereport(ERROR, (errcode(ERRCODE_MOST_SPECIFIC_TYPE_MISMATCH),
                    errmsg("probe and candidate are of different formats"),
                    errdetail("The probe is %s, the candidate %s.", FormatName(probe->type),
                              FormatName(candidate->type))));
  }
}

void RequireOk(int status) {
  char text[VXM_ERROR_TEXT_SIZE];
  if (status == VXM_OK) return;
  /* Of the calls made here none but an allocation can fail so. */
  if (status == VXM_ERROR) {
    ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory"),
                    errdetail("The fingerprint matcher could not get its memory.")));
  }
  VXM_GetErrorString(status, text);
  elog(ERROR, "fingerprint matcher: status %d, \"%s\"", status, text);
}
