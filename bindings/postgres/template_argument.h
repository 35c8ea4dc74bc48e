/* Templates as the server hands them over, and what their bytes say. */
#ifndef VXM_TEMPLATE_ARGUMENT_H
#define VXM_TEMPLATE_ARGUMENT_H

#include <postgres.h>

#include <fmgr.h>
#if PG_VERSION_NUM >= 160000
#include <varatt.h>
#endif

typedef struct Template {
  const unsigned char* bytes; /* null: too short or too large */
  int size;
  int type; /* TEMPLATE_..., by the first bytes; 0: too short or too large for any, or a
               record of a version that is not compared */
} Template;

/* No format has less: a native header, one short record and one byte of map. So
   what the first ten bytes tell is there in all that is given a type. */
#define MIN_TEMPLATE_SIZE 13

/* No format has more: a longer record is not recognisable as ISO, the others
   count in two bytes or less. Anything larger is refused without being fetched. */
#define MAX_TEMPLATE_SIZE 65535

/* The template in an argument of a function, detoasted if it has to be. */
extern Template TemplateFromDatum(Datum datum);

/* The same of a candidate in a row of many. */
extern Template CandidateFromDatum(Datum datum);

/* Whether it is a standard record, of whatever version. */
extern bool BeginsAsRecord(const Template* source);

/* A null argument would make a search that finds nobody. */
extern void RefuseNull(FunctionCallInfo fcinfo, int number, const char* name);

/* "native", "ISO 19794-2", "ANSI 378". */
extern const char* FormatName(int type);

typedef struct TemplateFacts {
  int minutiae;
  int width; /* native: of the grid, in blocks; others: of the image, in pixels */
  int height;
  int attribute;
} TemplateFacts;

/* What the header of a valid template says. */
extern TemplateFacts ReadFacts(const Template* source);

#endif
