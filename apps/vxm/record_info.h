// What vxm info tells of a record of any form.
#pragma once

#include "json_output.h"
#include "record_file.h"

// JSON moves without throwing, though its assertions let clang-tidy doubt it.
struct RecordInfo {  // NOLINT(bugprone-exception-escape)
  Json entry;        // as vxm info --json has it
  std::string line;  // the same for people
};

// Whether the bytes begin as a record does.
bool LooksLikeRecord(const Bytes& bytes);

// Fails where it cannot be read, or where the matcher refuses it.
RecordInfo DescribeRecord(const std::string& name, const Bytes& bytes, int form,
                          const VXR_Image& image);

// All that does not conform.
std::vector<VXR_Fault> FaultsOf(const Bytes& bytes, int form, const VXR_Image& image);

Json FaultJson(const VXR_Fault& fault);
