/* vxm_form, vxm_convert and vxm_convert_report: records of all forms, by vxmrecords.

   What that library makes is not in the server's memory: nothing between its making and
   its release may raise an error. */
#include <postgres.h>

#include "record_form.h"

#include <funcapi.h>
#include <utils/builtins.h>
#include <utils/memutils.h>
#include <vxmrecords.h>

PG_FUNCTION_INFO_V1(vxm_form);
PG_FUNCTION_INFO_V1(vxm_convert);
PG_FUNCTION_INFO_V1(vxm_convert_report);

/* Of the forms of a family the one that the matcher compares. */
static const char* ComparedForm(int form) {
  const bool ansi = form == VXR_ANSI_2009 || form == VXR_ANSI_2009_AM1;
  return VXR_FormName(ansi ? VXR_ANSI_2004 : VXR_ISO_2005);
}

void RefuseMisread(const Template* source, const char* role) {
  const int form = VXR_TellForm(source->bytes, (size_t)source->size);
  if (form == VXR_UNKNOWN) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_BINARY_REPRESENTATION),
                    errmsg("%s is not a valid template", role),
                    errdetail("It is a record of an unknown version.")));
  }
  ereport(ERROR, (errcode(ERRCODE_INVALID_BINARY_REPRESENTATION),
                  errmsg("%s is not a valid template", role),
                  errdetail("It is a record of the form %s, which would be misread: convert it by "
                            "vxm_convert(..., '%s').",
                            VXR_FormName(form), ComparedForm(form))));
}

Datum vxm_form(PG_FUNCTION_ARGS) {
  const bytea* record = PG_GETARG_BYTEA_PP(0);
  const int form =
      VXR_TellForm((const unsigned char*)VARDATA_ANY(record), (size_t)VARSIZE_ANY_EXHDR(record));
  if (form == VXR_UNKNOWN) PG_RETURN_NULL();
  PG_RETURN_TEXT_P(cstring_to_text(VXR_FormName(form)));
}

/* (record, form, resolution, view, keep_extended); `view` counts from 1, 0 is all. */
static VXR_Conversion ConversionFromArguments(FunctionCallInfo fcinfo) {
  char* name = text_to_cstring(PG_GETARG_TEXT_PP(1));
  VXR_Conversion conversion = {0};
  conversion.form = VXR_FormOfName(name);
  conversion.resolution = PG_GETARG_INT32(2);
  conversion.view = PG_GETARG_INT32(3);
  conversion.keepExtended = PG_GETARG_BOOL(4);
  if (conversion.form == VXR_UNKNOWN) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                    errmsg("no form of record is called \"%s\"", name),
                    errdetail("Native templates need the orientation of the ridges, which no "
                              "record holds."),
                    errhint("The forms are ansi-2004, ansi-2009, ansi-2009-am1, iso-2005, "
                            "iso-2011, iso-card, iso-card-compact, xyt.")));
  }
  if (conversion.view < 0) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                    errmsg("view %d is below 0", conversion.view)));
  }
  --conversion.view;
  return conversion;
}

static void RequireDone(int status, const VXR_Fault* fault) {
  switch (status) {
    case VXR_OK: return;
    case VXR_ERROR_MEMORY:
      ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory")));
    case VXR_ERROR_ARGUMENT:
      ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE), errmsg("%s", fault->text)));
    default:
      ereport(ERROR, (errcode(ERRCODE_INVALID_BINARY_REPRESENTATION),
                      errmsg("the record cannot be converted"),
                      errdetail("At byte %zu: %s.", fault->offset, fault->text)));
  }
}

/* The bytes of a record; null where there is no memory for them. */
static int Written(const VXR_Record* record, bytea** bytes, VXR_Fault* fault) {
  size_t size;
  int status = VXR_Write(record, NULL, 0, &size, fault);
  if (status != VXR_ERROR_ROOM && status != VXR_OK) return status;
  *bytes =
      MaxAllocSize - VARHDRSZ < size ? NULL : palloc_extended(size + VARHDRSZ, MCXT_ALLOC_NO_OOM);
  if (*bytes == NULL) return VXR_ERROR_MEMORY;
  SET_VARSIZE(*bytes, size + VARHDRSZ);
  return VXR_Write(record, (unsigned char*)VARDATA(*bytes), size, &size, fault);
}

static bytea* Convert(FunctionCallInfo fcinfo, VXR_Losses* losses) {
  const VXR_Conversion conversion = ConversionFromArguments(fcinfo);
  const bytea* source = PG_GETARG_BYTEA_PP(0);
  const unsigned char* bytes = (const unsigned char*)VARDATA_ANY(source);
  const size_t size = (size_t)VARSIZE_ANY_EXHDR(source);
  const int form = VXR_TellForm(bytes, size);
  VXR_Record* record = NULL;
  VXR_Record* converted = NULL;
  VXR_Fault fault = {0};
  bytea* written = NULL;
  int status;
  if (form == VXR_UNKNOWN) {
    ereport(
        ERROR,
        (errcode(ERRCODE_INVALID_BINARY_REPRESENTATION), errmsg("the record cannot be converted"),
         errdetail("It is of no known form; those without a header do not tell theirs.")));
  }
  status = VXR_Read(bytes, size, form, NULL, &record, &fault);
  if (status == VXR_OK) status = VXR_Convert(record, &conversion, &converted, losses, &fault);
  if (status == VXR_OK) status = Written(converted, &written, &fault);
  VXR_Free(converted);
  VXR_Free(record);
  RequireDone(status, &fault);
  return written;
}

Datum vxm_convert(PG_FUNCTION_ARGS) { PG_RETURN_BYTEA_P(Convert(fcinfo, NULL)); }

Datum vxm_convert_report(PG_FUNCTION_ARGS) {
  VXR_Losses losses;
  bytea* converted = Convert(fcinfo, &losses);
  TupleDesc columns;
  if (get_call_result_type(fcinfo, NULL, &columns) != TYPEFUNC_COMPOSITE) {
    elog(ERROR, "return type must be a row type");
  }
  {
    Datum values[] = {PointerGetDatum(converted),
                      Int64GetDatum(losses.minutiaeOutside),
                      Int64GetDatum(losses.minutiaePruned),
                      Int64GetDatum(losses.positionsRounded),
                      Int64GetDatum(losses.anglesRounded),
                      Int64GetDatum(losses.typesDropped),
                      Int64GetDatum(losses.qualitiesDropped),
                      Int64GetDatum(losses.extendedDropped),
                      Int64GetDatum(losses.viewsDropped),
                      Int64GetDatum(losses.fieldsDropped)};
    bool nulls[lengthof(values)] = {false};
    PG_RETURN_DATUM(HeapTupleGetDatum(heap_form_tuple(BlessTupleDesc(columns), values, nulls)));
  }
}
