// From one form to another, with a count of all that the new one does not hold.
#pragma once

#include "faults.h"
#include "owned_record.h"

namespace vxr {

// False where the form cannot hold the record, or the conversion means nothing.
bool ConvertRecord(const VXR_Record& source, const VXR_Conversion& wanted, OwnedRecord& target,
                   VXR_Losses& losses, Faults& faults);

// The fields of the header and of views other than their minutiae, image and extended
// data.
void ConvertHeader(const VXR_Record& source, OwnedRecord& target, VXR_Losses& losses);
void ConvertViewFields(const VXR_Record& source, const VXR_View& from, OwnedRecord& target,
                       VXR_View& to, VXR_Losses& losses);

}  // namespace vxr
