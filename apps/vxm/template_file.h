// A template that the library will take, read from a file.
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

// Fails where the bytes are none, and says if they are a gallery's.
TemplateFile RequireTemplate(const std::string& name, Bytes bytes);

TemplateFile LoadTemplateFile(const std::string& name);

// Fails when the two are of different formats.
void RequireSameFormat(const TemplateFile& a, const TemplateFile& b);
