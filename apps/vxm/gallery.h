// What a probe is searched in: templates of its format, from files, folders and
// galleries.
#pragma once

#include "template_file.h"

struct Candidate {
  std::string name;  // of the file, or the id in the gallery
  size_t gallery;    // index in Gallery::files, or noGallery
  int attribute;
  Bytes bytes;

  int Size() const { return static_cast<int>(bytes.size()); }
};

constexpr size_t noGallery = static_cast<size_t>(-1);

struct Gallery {
  std::vector<Candidate> candidates;
  std::vector<std::string> files;  // the galleries among the names
  std::vector<LeftOut> leftOut;    // was asked for and cannot be compared
  std::vector<LeftOut> converted;  // and how
  // Templates of other formats that the probe need not be compared with: of the same
  // id, or the same name but for the suffix, there is one of its format.
  size_t otherFormats = 0;
  StopReason stopped = StopReason::none;  // before all was loaded

  // With the gallery's name where there is more than one source.
  std::string NameOf(const Candidate& candidate) const;
  bool severalSources = false;
};

// Galleries are told by what they are, also in folders. One that cannot be read is a
// failure; a template that is none is left out.
Gallery LoadGallery(const std::vector<std::string>& names, const TemplateFile& probe,
                    const StopCheck& stop, Intake intake);
