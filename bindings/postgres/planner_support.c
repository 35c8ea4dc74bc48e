/* What the planner is told of the functions in a condition: how many rows they leave,
   and what a row costs, by format and kind of comparison. */
#include <postgres.h>

#include <catalog/pg_type.h>
#include <nodes/nodeFuncs.h>
#include <nodes/supportnodes.h>
#include <optimizer/optimizer.h>
#include <vxmkit.h>

#include "template_argument.h"

PG_FUNCTION_INFO_V1(vxm_matches_support);
PG_FUNCTION_INFO_V1(vxm_verify_support);
PG_FUNCTION_INFO_V1(vxm_valid_support);

/* Of the rows that one template is compared with, hardly any matches; hardly any row of
   a gallery is no template. */
#define MATCHING_ROWS 1e-6
#define VALID_ROWS 0.999

/* Microseconds of a comparison, by bench/postgres_bench.py. */
typedef struct ComparisonTime {
  double native;
  double standard;
} ComparisonTime;

static const ComparisonTime fastTime = {2, 4};
static const ComparisonTime normalTime = {6, 8};
static const ComparisonTime fullTime = {12, 14};

/* A plain scan takes 0.03 microseconds for each cpu_operator_cost (see the SQL). */
#define TIME_OF_OPERATOR 0.03

static const Const* ConstantArgument(const Node* call, int number) {
  const List* arguments = call != NULL && IsA(call, FuncExpr) ? ((const FuncExpr*)call)->args : NIL;
  const Node* argument = number < list_length(arguments) ? list_nth(arguments, number) : NULL;
  if (argument == NULL || !IsA(argument, Const)) return NULL;
  return ((const Const*)argument)->constisnull ? NULL : (const Const*)argument;
}

/* A probe that is not known yet counts as a standard record. */
static Node* AnswerCost(SupportRequestCost* request, const ComparisonTime* time) {
  const Const* probe = ConstantArgument(request->node, 0);
  const Const* retryTurned = ConstantArgument(request->node, 3);
  double microseconds = time->standard;
  if (probe != NULL && probe->consttype == BYTEAOID &&
      TemplateFromDatum(probe->constvalue).type == TEMPLATE_NATIVE) {
    microseconds = time->native;
  }
  if (retryTurned != NULL && DatumGetBool(retryTurned->constvalue)) microseconds *= 2;
  request->startup = 0;
  request->per_tuple = microseconds / TIME_OF_OPERATOR * cpu_operator_cost;
  return (Node*)request;
}

static Node* AnswerSelectivity(SupportRequestSelectivity* request, double selectivity) {
  request->selectivity = selectivity;
  return (Node*)request;
}

/* Of vxm_matches. */
Datum vxm_matches_support(PG_FUNCTION_ARGS) {
  Node* request = (Node*)PG_GETARG_POINTER(0);
  Node* answer = NULL;
  if (IsA(request, SupportRequestSelectivity)) {
    answer = AnswerSelectivity((SupportRequestSelectivity*)request, MATCHING_ROWS);
  } else if (IsA(request, SupportRequestCost)) {
    const Const* fast = ConstantArgument(((SupportRequestCost*)request)->node, 4);
    const bool normal = fast != NULL && !DatumGetBool(fast->constvalue);
    answer = AnswerCost((SupportRequestCost*)request, normal ? &normalTime : &fastTime);
  }
  PG_RETURN_POINTER(answer);
}

/* Of vxm_verify, vxm_matches_fully and vxm_score. */
Datum vxm_verify_support(PG_FUNCTION_ARGS) {
  Node* request = (Node*)PG_GETARG_POINTER(0);
  Node* answer = NULL;
  if (IsA(request, SupportRequestSelectivity)) {
    answer = AnswerSelectivity((SupportRequestSelectivity*)request, MATCHING_ROWS);
  } else if (IsA(request, SupportRequestCost)) {
    answer = AnswerCost((SupportRequestCost*)request, &fullTime);
  }
  PG_RETURN_POINTER(answer);
}

Datum vxm_valid_support(PG_FUNCTION_ARGS) {
  Node* request = (Node*)PG_GETARG_POINTER(0);
  PG_RETURN_POINTER(IsA(request, SupportRequestSelectivity)
                        ? AnswerSelectivity((SupportRequestSelectivity*)request, VALID_ROWS)
                        : NULL);
}
