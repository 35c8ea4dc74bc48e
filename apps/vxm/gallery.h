// What a probe is searched in: templates of its format, from files or from one
// gallery file.
#pragma once

#include "template_file.h"

struct Candidate {
  std::string name;  // of the file, or the id in the gallery file
  Bytes bytes;

  int Size() const { return static_cast<int>(bytes.size()); }
};

struct Gallery {
  std::vector<Candidate> candidates;
  size_t skipped = 0;  // files that are no templates
  std::string firstSkip;
};

// Reads one gallery file, or template files and folders of them. Stops at Ctrl-C.
Gallery LoadGallery(const std::vector<std::string>& names, const TemplateFile& probe);
