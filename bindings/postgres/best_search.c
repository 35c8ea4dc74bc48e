/* vxm_best: the k candidates that resemble a probe most, with their scores, an aggregate;
   vxm_best_report: the same with counts of the rows.

   Every candidate is compared in full. The best so far are kept in order, at most k;
   of equal scores the lesser id by its bytes comes first, so that neither the order of
   the rows nor who compares them makes a difference. In a parallel scan each worker
   keeps its own best, and sends those. */
#include <postgres.h>

#include <funcapi.h>
#include <libpq/pqformat.h>
#include <miscadmin.h>
#include <utils/array.h>
#include <utils/builtins.h>
#include <utils/lsyscache.h>
#include <utils/typcache.h>

#include "aggregate_state.h"
#include "search_probe.h"

PG_FUNCTION_INFO_V1(vxm_best_step);
PG_FUNCTION_INFO_V1(vxm_best_combine);
PG_FUNCTION_INFO_V1(vxm_best_serialize);
PG_FUNCTION_INFO_V1(vxm_best_deserialize);
PG_FUNCTION_INFO_V1(vxm_best_result);
PG_FUNCTION_INFO_V1(vxm_best_report_result);

#define MOST_BEST 100000

typedef struct Ranked {
  float score;
  text* id;
} Ranked;

typedef struct BestSearch {
  Search search;
  MemoryContext context;
  FmgrInfo idOutput; /* of the ids' type; without an address before the first row */
  RowCounts counts;
  int k;
  int count; /* of `best`, k at most */
  int room;
  Ranked* best;
} BestSearch;

static BestSearch* NewBestSearch(MemoryContext context) {
  BestSearch* search = MemoryContextAllocZero(context, sizeof *search);
  search->context = context;
  return search;
}

static BestSearch* StateArgument(FunctionCallInfo fcinfo, int number) {
  return PG_ARGISNULL(number) ? NULL : (BestSearch*)PG_GETARG_POINTER(number);
}

static bool IsBetter(const Ranked* a, const Ranked* b) {
  const Size sizeA = VARSIZE_ANY_EXHDR(a->id);
  const Size sizeB = VARSIZE_ANY_EXHDR(b->id);
  int order;
  if (a->score != b->score) return a->score > b->score;
  order = memcmp(VARDATA_ANY(a->id), VARDATA_ANY(b->id), Min(sizeA, sizeB));
  return order != 0 ? order < 0 : sizeA < sizeB;
}

/* Takes what is among the best so far; its id is copied. */
static void Rank(BestSearch* search, Ranked candidate) {
  int place = search->count;
  if (search->count == search->k) {
    if (!IsBetter(&candidate, &search->best[place - 1])) return;
    pfree(search->best[--place].id);
  } else {
    if (search->count == search->room) {
      search->room = search->room == 0 ? 8 : 2 * search->room;
      search->best = search->count == 0
                         ? MemoryContextAlloc(search->context, (Size)search->room * sizeof(Ranked))
                         : repalloc(search->best, (Size)search->room * sizeof(Ranked));
    }
    ++search->count;
  }
  for (; place > 0 && IsBetter(&candidate, &search->best[place - 1]); --place) {
    search->best[place] = search->best[place - 1];
  }
  candidate.id = CopyBytes(search->context, candidate.id, VARSIZE_ANY(candidate.id));
  search->best[place] = candidate;
}

static int CountFromArgument(FunctionCallInfo fcinfo, int number) {
  int k;
  RefuseNull(fcinfo, number, "k");
  k = PG_GETARG_INT32(number);
  if (k < 1 || k > MOST_BEST) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                    errmsg("k is %d, not one of 1 to %d", k, MOST_BEST)));
  }
  return k;
}

static text* IdFromArgument(FunctionCallInfo fcinfo, int number, BestSearch* search) {
  if (search->idOutput.fn_addr == NULL) {
    Oid output;
    bool isVarlena;
    getTypeOutputInfo(get_fn_expr_argtype(fcinfo->flinfo, number), &output, &isVarlena);
    fmgr_info_cxt(output, &search->idOutput, search->context);
  }
  return cstring_to_text(OutputFunctionCall(&search->idOutput, PG_GETARG_DATUM(number)));
}

/* (state, probe, id, candidate, k [, level]) */
Datum vxm_best_step(PG_FUNCTION_ARGS) {
  MemoryContext context = ContextOfAggregate(fcinfo);
  BestSearch* search = StateArgument(fcinfo, 0);
  const struct varlena* probe = ProbeArgument(fcinfo, 1);
  const int k = CountFromArgument(fcinfo, 4);
  const bool hasLevel = PG_NARGS() > 5;
  Settings settings = defaultSettings;
  Template candidate;
  Ranked ranked;
  int verified;
  if (hasLevel) settings.level = LevelFromArgument(fcinfo, 5);
  if (search == NULL) {
    search = NewBestSearch(context);
    search->k = k;
  }
  if (search->k != k) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                    errmsg("k is %d in one row and %d in another", search->k, k)));
  }
  if (!IsOfSearch(&search->search, probe, &settings)) {
    BeginSearch(&search->search, context, probe, &settings);
  }
  CHECK_FOR_INTERRUPTS();
  if (PG_ARGISNULL(2) || PG_ARGISNULL(3)) PG_RETURN_POINTER(search);
  candidate = CandidateFromDatum(PG_GETARG_DATUM(3));
  if (candidate.type != 0 && candidate.type != search->search.probe.type) {
    ++search->counts.otherFormat;
  } else if (candidate.type == 0 ||
             !Verify(&search->search, &candidate, &ranked.score, &verified)) {
    ++search->counts.faulty;
  } else {
    ++search->counts.compared;
    /* What can be no more than equal is not worth its id's text, but for ties. */
    if ((verified || !hasLevel) &&
        (search->count < search->k || ranked.score >= search->best[search->count - 1].score)) {
      ranked.id = IdFromArgument(fcinfo, 2, search);
      Rank(search, ranked);
      pfree(ranked.id);
    }
  }
  PG_RETURN_POINTER(search);
}

Datum vxm_best_serialize(PG_FUNCTION_ARGS) {
  const BestSearch* search = StateArgument(fcinfo, 0);
  StringInfoData message;
  ContextOfAggregate(fcinfo);
  pq_begintypsend(&message);
  SendCounts(&message, &search->counts);
  pq_sendint32(&message, (uint32)search->k);
  for (int i = 0; i < search->count; ++i) {
    pq_sendfloat4(&message, search->best[i].score);
    SendText(&message, search->best[i].id);
  }
  PG_RETURN_BYTEA_P(pq_endtypsend(&message));
}

Datum vxm_best_deserialize(PG_FUNCTION_ARGS) {
  bytea* bytes = PG_GETARG_BYTEA_PP(0);
  BestSearch* search;
  StringInfoData message;
  ContextOfAggregate(fcinfo);
  search = NewBestSearch(CurrentMemoryContext);
  initStringInfo(&message);
  appendBinaryStringInfo(&message, VARDATA_ANY(bytes), (int)VARSIZE_ANY_EXHDR(bytes));
  search->counts = ReceiveCounts(&message);
  search->k = (int)pq_getmsgint(&message, 4);
  while (message.cursor < message.len) {
    Ranked ranked;
    ranked.score = pq_getmsgfloat4(&message);
    ranked.id = ReceiveText(&message);
    Rank(search, ranked);
  }
  PG_RETURN_POINTER(search);
}

Datum vxm_best_combine(PG_FUNCTION_ARGS) {
  MemoryContext context = ContextOfAggregate(fcinfo);
  BestSearch* search = StateArgument(fcinfo, 0);
  const BestSearch* other = StateArgument(fcinfo, 1);
  if (search == NULL) search = NewBestSearch(context);
  if (other != NULL) {
    if (search->k == 0) search->k = other->k;
    AddCounts(&search->counts, &other->counts);
    for (int i = 0; i < other->count; ++i) Rank(search, other->best[i]);
  }
  PG_RETURN_POINTER(search);
}

/* A domain over an array of rows (id, score): the best first. */
static Datum BestOf(const BestSearch* search, Oid domain) {
  const Oid rowType = get_element_type(getBaseType(domain));
  const int count = search == NULL ? 0 : search->count;
  Datum* rows = palloc((Size)count * sizeof(Datum));
  TupleDesc columns = lookup_rowtype_tupdesc(rowType, -1);
  for (int i = 0; i < count; ++i) {
    Datum values[] = {PointerGetDatum(search->best[i].id), Float4GetDatum(search->best[i].score)};
    bool nulls[lengthof(values)] = {false};
    rows[i] = HeapTupleGetDatum(heap_form_tuple(columns, values, nulls));
  }
  ReleaseTupleDesc(columns);
  return PointerGetDatum(construct_array(rows, count, rowType, -1, false, TYPALIGN_DOUBLE));
}

Datum vxm_best_result(PG_FUNCTION_ARGS) {
  const BestSearch* search = StateArgument(fcinfo, 0);
  ContextOfAggregate(fcinfo);
  if (!ComparedAny(search == NULL ? NULL : &search->counts)) PG_RETURN_NULL();
  PG_RETURN_DATUM(BestOf(search, get_fn_expr_rettype(fcinfo->flinfo)));
}

Datum vxm_best_report_result(PG_FUNCTION_ARGS) {
  static const RowCounts none;
  const BestSearch* search = StateArgument(fcinfo, 0);
  TupleDesc columns = lookup_rowtype_tupdesc(get_fn_expr_rettype(fcinfo->flinfo), -1);
  const Oid domain = TupleDescAttr(columns, 0)->atttypid;
  ContextOfAggregate(fcinfo);
  ReleaseTupleDesc(columns);
  PG_RETURN_DATUM(
      ResultWithCounts(fcinfo, BestOf(search, domain), search == NULL ? &none : &search->counts));
}
