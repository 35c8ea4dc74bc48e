// A template read from a file that the library will take.
#pragma once

#include "inspect.h"

struct TemplateFile {
  std::string name;
  Bytes bytes;
  Inspection inspection;

  int Size() const { return static_cast<int>(bytes.size()); }
};

// Why the bytes are no template; speaks of them as what they are read as.
std::string FaultText(const Inspection& inspection);

TemplateFile LoadTemplateFile(const std::string& name);

// Fails when the two are of different formats.
void RequireSameFormat(const TemplateFile& a, const TemplateFile& b);
