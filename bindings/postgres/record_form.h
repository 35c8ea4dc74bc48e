/* Records of forms that the matcher does not compare (see vxmrecords.h). */
#ifndef VXM_RECORD_FORM_H
#define VXM_RECORD_FORM_H

#include "template_argument.h"

/* The error of a record that the matcher would misread, which says what to convert it
   into. */
extern void RefuseMisread(const Template* source, const char* role) pg_attribute_noreturn();

#endif
