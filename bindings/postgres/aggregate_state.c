#include <postgres.h>

#include "aggregate_state.h"

#include <funcapi.h>
#include <libpq/pqformat.h>
#include <nodes/primnodes.h>
#include <utils/builtins.h>
#include <utils/typcache.h>

MemoryContext ContextOfAggregate(FunctionCallInfo fcinfo) {
  MemoryContext context;
  if (!AggCheckCallContext(fcinfo, &context)) {
    elog(ERROR, "a step of an aggregate was called on its own");
  }
  return context;
}

/* Of an argument of the step; the aggregate itself has not the first, the state. */
static bool IsConstant(const Aggref* aggregate, int number) {
  const TargetEntry* argument = list_nth(aggregate->args, number - 1);
  return IsA(argument->expr, Const) || IsA(argument->expr, Param);
}

bool AskTheSame(FunctionCallInfo fcinfo) {
  const Aggref* aggregate = AggGetAggref(fcinfo);
  if (aggregate == NULL || !IsConstant(aggregate, 1)) return false;
  for (int i = 4; i < PG_NARGS(); ++i) {
    if (!IsConstant(aggregate, i)) return false;
  }
  return true;
}

void AddCounts(RowCounts* counts, const RowCounts* other) {
  counts->compared += other->compared;
  counts->faulty += other->faulty;
  counts->otherFormat += other->otherFormat;
}

void SendCounts(StringInfo message, const RowCounts* counts) {
  pq_sendint64(message, (uint64)counts->compared);
  pq_sendint64(message, (uint64)counts->faulty);
  pq_sendint64(message, (uint64)counts->otherFormat);
}

RowCounts ReceiveCounts(StringInfo message) {
  RowCounts counts;
  counts.compared = pq_getmsgint64(message);
  counts.faulty = pq_getmsgint64(message);
  counts.otherFormat = pq_getmsgint64(message);
  return counts;
}

void SendText(StringInfo message, const text* value) {
  pq_sendint32(message, (uint32)VARSIZE_ANY_EXHDR(value));
  pq_sendbytes(message, VARDATA_ANY(value), (int)VARSIZE_ANY_EXHDR(value));
}

text* ReceiveText(StringInfo message) {
  const int size = (int)pq_getmsgint(message, 4);
  return cstring_to_text_with_len(pq_getmsgbytes(message, size), size);
}

bool ComparedAny(const RowCounts* counts) {
  if (counts != NULL && counts->compared > 0) return true;
  if (counts != NULL && counts->faulty + counts->otherFormat > 0) {
    ereport(ERROR, (errcode(ERRCODE_MOST_SPECIFIC_TYPE_MISMATCH),
                    errmsg("no row could be compared with the probe"),
                    errdetail("%lld are of another format, %lld are no templates.",
                              (long long)counts->otherFormat, (long long)counts->faulty)));
  }
  ereport(WARNING, (errmsg("there was no row to compare with the probe"),
                    errdetail("Nor was it seen whether the probe is a template.")));
  return false;
}

Datum ResultWithCounts(FunctionCallInfo fcinfo, Datum result, const RowCounts* counts) {
  TupleDesc columns = lookup_rowtype_tupdesc(get_fn_expr_rettype(fcinfo->flinfo), -1);
  Datum values[4] = {result, Int64GetDatum(counts->compared), Int64GetDatum(counts->faulty),
                     Int64GetDatum(counts->otherFormat)};
  bool nulls[4] = {false};
  const Datum row = HeapTupleGetDatum(heap_form_tuple(columns, values, nulls));
  ReleaseTupleDesc(columns);
  return row;
}
