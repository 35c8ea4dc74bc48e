/* What the aggregates over candidates have in common. */
#ifndef VXM_AGGREGATE_STATE_H
#define VXM_AGGREGATE_STATE_H

#include <postgres.h>

#include <fmgr.h>
#include <lib/stringinfo.h>

/* The rows of a search, but for those without an id or a template. */
typedef struct RowCounts {
  int64 compared;
  int64 faulty;      /* no template */
  int64 otherFormat; /* another than the probe's */
} RowCounts;

/* Of the state; an error outside an aggregate. */
extern MemoryContext ContextOfAggregate(FunctionCallInfo fcinfo);

/* Whether all rows ask for the same: of the arguments (state, probe, id, candidate, ...)
   the probe and those after the candidate are constants or parameters of the query. */
extern bool AskTheSame(FunctionCallInfo fcinfo);

extern void AddCounts(RowCounts* counts, const RowCounts* other);
extern void SendCounts(StringInfo message, const RowCounts* counts);
extern RowCounts ReceiveCounts(StringInfo message);
extern void SendText(StringInfo message, const text* value);
extern text* ReceiveText(StringInfo message);

/* Whether there was anything to find: not, with a warning, if there were no rows, for
   then nobody has looked at the probe either. That none of the rows could be compared
   is an error. The counts may be null. */
extern bool ComparedAny(const RowCounts* counts);

/* A row of the aggregate's type: a result, and the counts. */
extern Datum ResultWithCounts(FunctionCallInfo fcinfo, Datum result, const RowCounts* counts);

#endif
