/* The formats are recognised and their headers read here, since the library
   answers neither; whether a template is valid it answers itself (see
   backend_matcher.c). */
#include <postgres.h>

#include "template_argument.h"

#include <access/detoast.h>
#include <vxmkit.h>

#define LINE 64       /* of the cache, in bytes */
#define ROW_HEADER 64 /* what a row has before its template, in a gallery with short ids */

/* Bytes beyond the end read as 0. */
static int ByteAt(const Template* source, int offset) {
  return offset < source->size ? source->bytes[offset] : 0;
}

static int WordAt(const Template* source, int offset) {
  return ByteAt(source, offset) << 8 | ByteAt(source, offset + 1);
}

bool BeginsAsRecord(const Template* source) {
  return source->bytes != NULL && memcmp(source->bytes, "FMR", 4) == 0;
}

static int TypeOf(const Template* source) {
  if (!BeginsAsRecord(source)) return TEMPLATE_NATIVE;
  /* The library does not look at the version, and would misread any other. */
  if (memcmp(source->bytes + 4, " 20", 4) != 0) return 0;
  /* The length of an ANSI record stands where an ISO record has the upper, zero
     half of its own. */
  return WordAt(source, 8) != 0 ? TEMPLATE_ANSI378 : TEMPLATE_ISO19794_2;
}

Template TemplateFromDatum(Datum datum) {
  const struct varlena* value = (const struct varlena*)DatumGetPointer(datum);
  const bool stored = VARATT_IS_EXTERNAL(value) || VARATT_IS_COMPRESSED(value);
  const Size size = stored ? toast_raw_datum_size(datum) - VARHDRSZ : VARSIZE_ANY_EXHDR(value);
  Template result = {NULL, (int)size, 0};
  if (size >= MIN_TEMPLATE_SIZE && size <= MAX_TEMPLATE_SIZE) {
    if (stored) value = PG_DETOAST_DATUM_PACKED(datum);
    result.bytes = (const unsigned char*)VARDATA_ANY(value);
    result.type = TypeOf(&result);
  }
  return result;
}

/* Asks for the bytes of the next row, so that they are in the cache when it comes. A page of
   a table is filled from its end, so that they lie before those of this row; where a
   template comes from elsewhere, this does nothing. */
Template CandidateFromDatum(Datum datum) {
  const Template candidate = TemplateFromDatum(datum);
  if (candidate.bytes != NULL) {
    const int rowSize = Min(candidate.size + ROW_HEADER, BLCKSZ);
    for (int i = LINE; i < rowSize; i += LINE) __builtin_prefetch(candidate.bytes - i);
  }
  return candidate;
}

void RefuseNull(FunctionCallInfo fcinfo, int number, const char* name) {
  if (PG_ARGISNULL(number)) {
    ereport(ERROR, (errcode(ERRCODE_NULL_VALUE_NOT_ALLOWED), errmsg("%s is null", name)));
  }
}

const char* FormatName(int type) {
  switch (type) {
    case TEMPLATE_ISO19794_2: return "ISO 19794-2";
    case TEMPLATE_ANSI378: return "ANSI 378";
    default: return "native";
  }
}

/* Of a standard record: in the first extended data field or else in the header's
   reserved byte. */
static int StandardAttribute(const Template* source, int extended, int reservedByte) {
  const int attributeField = 0x0144;
  const int room = source->size - extended - 2;
  const int blockSize = WordAt(source, extended);
  const int fieldSize = WordAt(source, extended + 4);
  const bool present = blockSize > 0 && blockSize <= room && fieldSize >= 5 && fieldSize <= room &&
                       WordAt(source, extended + 2) == attributeField;
  return ByteAt(source, present ? extended + 6 : reservedByte);
}

TemplateFacts ReadFacts(const Template* source) {
  TemplateFacts facts;
  if (source->type == TEMPLATE_NATIVE) {
    facts.minutiae = ByteAt(source, 1);
    facts.width = ByteAt(source, 2) & 63;
    facts.height = ByteAt(source, 3) & 63;
    facts.attribute = ByteAt(source, 4);
  } else {
    /* ANSI's header has two bytes more. */
    const int shift = source->type == TEMPLATE_ANSI378 ? 2 : 0;
    facts.minutiae = ByteAt(source, 27 + shift);
    facts.width = WordAt(source, 14 + shift);
    facts.height = WordAt(source, 16 + shift);
    facts.attribute = StandardAttribute(source, 28 + shift + 6 * facts.minutiae, 23 + shift);
  }
  return facts;
}
