/* The one matcher of a backend. It is made at the first comparison, kept for all
   later ones, and deleted when the backend ends.

   A matcher holds at most one prepared probe, and many calls share it: each of
   them takes it by one of the functions below, which says what becomes of the
   probe that was there. */
#ifndef VXM_BACKEND_MATCHER_H
#define VXM_BACKEND_MATCHER_H

#include <vxmkit.h>

#include "template_argument.h"

typedef struct Settings {
  int level;
  bool retryTurned;
  bool fast;
} Settings;

extern const Settings defaultSettings;

/* From the arguments `first` (the level) and those after it: retry_turned and,
   where `hasFast`, fast. A null among them, or a level outside 1 to 7, is an error. */
extern Settings SettingsFromArguments(FunctionCallInfo fcinfo, int first, bool hasFast);
extern int LevelFromArgument(FunctionCallInfo fcinfo, int number);
extern bool SameSettings(const Settings* a, const Settings* b);

/* The matcher, set for templates of a type. Its prepared probe is lost. */
extern MatcherHandle TakeMatcher(int type, const Settings* settings);

/* The matcher if it still holds what `ticket` was given for, else null. A ticket
   is given for what was done since TakeMatcher; 0 is none. */
extern MatcherHandle KeptMatcher(uint64 ticket);
extern uint64 KeepMatcher(void);

/* Whether the library takes the bytes. Prepared probes are lost. */
extern bool IsValid(const Template* source);

/* Errors of a query. */
extern void RequireValid(const Template* source, const char* role);
extern void RefuseMixedPair(const Template* probe, const Template* candidate);
extern void RequireOk(int status);

#endif
