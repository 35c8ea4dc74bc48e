// The writers: a record in, its bytes out.
#pragma once

#include <vector>

#include "faults.h"

namespace vxr {

// False where a value or a count does not fit its field.
bool WriteRecord(const VXR_Record& record, std::vector<uint8_t>& bytes, Faults& faults);

// The minutiae in the layout of `size` bytes each (3, 5 or 6).
bool WriteMinutiae(const VXR_View& view, int size, int form, std::vector<uint8_t>& bytes,
                   Faults& faults);

bool WriteXyt(const VXR_View& view, std::vector<uint8_t>& bytes, Faults& faults);

}  // namespace vxr
