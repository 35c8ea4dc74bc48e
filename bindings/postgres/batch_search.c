/* vxm_search: the ids of all candidates that match a probe in the staged comparison, an
   aggregate; vxm_search_report: the same with counts of the rows.

   Candidates are gathered and handed to VXM_Identify by batches, which prepares
   the probe once a batch: for standard records that is cheaper than one at a time.
   VXM_Identify ends at its first match, and says of a time limit only that it has
   passed; so a batch with a match, or one that takes long, is compared one candidate
   at a time. Both are rare.

   In a parallel scan each worker gathers for itself; what goes from it to the
   leader (serialize, combine) are the ids found and the counts. */
#include <postgres.h>

#include <catalog/pg_type.h>
#include <libpq/pqformat.h>
#include <miscadmin.h>
#include <utils/array.h>
#include <utils/builtins.h>

#include "aggregate_state.h"
#include "search_probe.h"

PG_FUNCTION_INFO_V1(vxm_search_step);
PG_FUNCTION_INFO_V1(vxm_search_report_step);
PG_FUNCTION_INFO_V1(vxm_search_combine);
PG_FUNCTION_INFO_V1(vxm_search_serialize);
PG_FUNCTION_INFO_V1(vxm_search_deserialize);
PG_FUNCTION_INFO_V1(vxm_search_result);
PG_FUNCTION_INFO_V1(vxm_search_report_result);

/* Candidates of a batch at most, and bytes of their templates and ids: enough to make the
   probe's share small, no more than a processor's cache holds. */
#define BATCH_SIZE 256
#define BATCH_ROOM 196608

/* In milliseconds: what a cancelled query waits for, beside one comparison. Batches
   take less than one. */
#define BATCH_TIME 100

typedef struct BatchSearch {
  Search search;
  bool settled;          /* all rows ask for the same */
  MemoryContext context; /* of this and of all that it leads to */
  char* bytes;           /* of the candidates gathered; null before the first */
  Size room;
  Size used;
  int count;
  text* ids[BATCH_SIZE];
  const unsigned char* templates[BATCH_SIZE];
  int sizes[BATCH_SIZE];
  ArrayBuildState* found; /* null before the first */
  RowCounts counts;
} BatchSearch;

static BatchSearch* NewBatchSearch(MemoryContext context) {
  BatchSearch* batch = MemoryContextAllocZero(context, sizeof *batch);
  batch->context = context;
  return batch;
}

static BatchSearch* StateArgument(FunctionCallInfo fcinfo, int number) {
  return PG_ARGISNULL(number) ? NULL : (BatchSearch*)PG_GETARG_POINTER(number);
}

static void AddFound(BatchSearch* batch, Datum id) {
  batch->found = accumArrayResult(batch->found, id, false, TEXTOID, batch->context);
}

static Template Gathered(const BatchSearch* batch, int i) {
  return (Template){batch->templates[i], batch->sizes[i], batch->search.probe.type};
}

/* Whether a call for the whole batch tells that nothing in it matches. */
static bool NothingMatches(BatchSearch* batch) {
  const Template* probe = &batch->search.probe;
  int match = -1;
  const int status =
      VXM_Identify(TakeMatcher(probe->type, &batch->search.settings), probe->bytes, probe->size,
                   batch->templates, batch->sizes, batch->count, BATCH_TIME, &match);
  if (status != VXM_ERR_MATCH_TIMEOUT && status != VXM_ERR_TEMPLATE_TYPE) RequireOk(status);
  return status == VXM_OK && match < 0;
}

/* Searches what is gathered, and gathers anew. */
static void SearchBatch(BatchSearch* batch) {
  CHECK_FOR_INTERRUPTS();
  if (batch->count > 0 && !NothingMatches(batch)) {
    for (int i = 0; i < batch->count; ++i) {
      const Template candidate = Gathered(batch, i);
      CHECK_FOR_INTERRUPTS();
      if (Matches(&batch->search, &candidate)) AddFound(batch, PointerGetDatum(batch->ids[i]));
    }
  }
  batch->count = 0;
  batch->used = 0;
}

/* Empties the batch, and makes it larger where a single id asks for that. */
static void MakeRoom(BatchSearch* batch, Size size) {
  SearchBatch(batch);
  if (size <= batch->room) return;
  if (batch->bytes != NULL) pfree(batch->bytes);
  batch->room = Max(size, BATCH_ROOM);
  batch->bytes = MemoryContextAllocHuge(batch->context, batch->room);
}

static void Gather(BatchSearch* batch, const text* id, const Template* candidate) {
  const Size idSize = VARSIZE_ANY(id);
  const Size size = MAXALIGN(idSize + (Size)candidate->size);
  char* copy;
  if (size > batch->room - batch->used) MakeRoom(batch, size);
  copy = batch->bytes + batch->used;
  batch->used += size;
  batch->ids[batch->count] = memcpy(copy, id, idSize);
  batch->templates[batch->count] = memcpy(copy + idSize, candidate->bytes, (Size)candidate->size);
  batch->sizes[batch->count] = candidate->size;
  if (++batch->count == BATCH_SIZE) SearchBatch(batch);
}

/* Begins the search that a row asks for, if it is another. */
static void Settle(BatchSearch* batch, FunctionCallInfo fcinfo) {
  const struct varlena* probe = ProbeArgument(fcinfo, 1);
  Settings settings = defaultSettings;
  if (PG_NARGS() > 4) settings = SettingsFromArguments(fcinfo, 4, true);
  if (!IsOfSearch(&batch->search, probe, &settings)) {
    SearchBatch(batch);
    BeginSearch(&batch->search, batch->context, probe, &settings);
  }
  batch->settled = AskTheSame(fcinfo);
}

/* (state, probe, id, candidate [, level, retry_turned, fast]). The library passes over
   invalid candidates, so to count those each has to be checked before. */
static Datum Step(FunctionCallInfo fcinfo, bool checkRows) {
  BatchSearch* batch = StateArgument(fcinfo, 0);
  Template candidate;
  if (batch == NULL) batch = NewBatchSearch(ContextOfAggregate(fcinfo));
  if (!batch->settled) Settle(batch, fcinfo);
  if (PG_ARGISNULL(2) || PG_ARGISNULL(3)) PG_RETURN_POINTER(batch);
  candidate = CandidateFromDatum(PG_GETARG_DATUM(3));
  if (candidate.type == 0 || (checkRows && !IsValid(&candidate))) {
    ++batch->counts.faulty;
  } else if (candidate.type != batch->search.probe.type) {
    ++batch->counts.otherFormat;
  } else {
    ++batch->counts.compared;
    Gather(batch, PG_GETARG_TEXT_PP(2), &candidate);
  }
  PG_RETURN_POINTER(batch);
}

Datum vxm_search_step(PG_FUNCTION_ARGS) { return Step(fcinfo, false); }

Datum vxm_search_report_step(PG_FUNCTION_ARGS) { return Step(fcinfo, true); }

Datum vxm_search_serialize(PG_FUNCTION_ARGS) {
  BatchSearch* batch = StateArgument(fcinfo, 0);
  StringInfoData message;
  ContextOfAggregate(fcinfo);
  SearchBatch(batch);
  pq_begintypsend(&message);
  SendCounts(&message, &batch->counts);
  for (int i = 0; batch->found != NULL && i < batch->found->nelems; ++i) {
    SendText(&message, DatumGetTextPP(batch->found->dvalues[i]));
  }
  PG_RETURN_BYTEA_P(pq_endtypsend(&message));
}

Datum vxm_search_deserialize(PG_FUNCTION_ARGS) {
  bytea* bytes = PG_GETARG_BYTEA_PP(0);
  BatchSearch* batch;
  StringInfoData message;
  ContextOfAggregate(fcinfo);
  batch = NewBatchSearch(CurrentMemoryContext);
  initStringInfo(&message);
  appendBinaryStringInfo(&message, VARDATA_ANY(bytes), (int)VARSIZE_ANY_EXHDR(bytes));
  batch->counts = ReceiveCounts(&message);
  while (message.cursor < message.len) AddFound(batch, PointerGetDatum(ReceiveText(&message)));
  PG_RETURN_POINTER(batch);
}

Datum vxm_search_combine(PG_FUNCTION_ARGS) {
  MemoryContext context = ContextOfAggregate(fcinfo);
  BatchSearch* batch = StateArgument(fcinfo, 0);
  BatchSearch* other = StateArgument(fcinfo, 1);
  if (batch == NULL) batch = NewBatchSearch(context);
  if (other != NULL) {
    SearchBatch(other);
    AddCounts(&batch->counts, &other->counts);
    for (int i = 0; other->found != NULL && i < other->found->nelems; ++i) {
      AddFound(batch, other->found->dvalues[i]);
    }
  }
  PG_RETURN_POINTER(batch);
}

static Datum FoundIds(BatchSearch* batch) {
  if (batch != NULL) SearchBatch(batch);
  return batch == NULL || batch->found == NULL
             ? PointerGetDatum(construct_empty_array(TEXTOID))
             : makeArrayResult(batch->found, CurrentMemoryContext);
}

Datum vxm_search_result(PG_FUNCTION_ARGS) {
  BatchSearch* batch = StateArgument(fcinfo, 0);
  ContextOfAggregate(fcinfo);
  if (!ComparedAny(batch == NULL ? NULL : &batch->counts)) PG_RETURN_NULL();
  PG_RETURN_DATUM(FoundIds(batch));
}

Datum vxm_search_report_result(PG_FUNCTION_ARGS) {
  static const RowCounts none;
  BatchSearch* batch = StateArgument(fcinfo, 0);
  ContextOfAggregate(fcinfo);
  PG_RETURN_DATUM(
      ResultWithCounts(fcinfo, FoundIds(batch), batch == NULL ? &none : &batch->counts));
}
