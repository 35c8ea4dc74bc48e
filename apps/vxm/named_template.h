// Templates as a user names them: a file, "-" for standard input, or GALLERY:ID.
#pragma once

#include "template_file.h"

// One, or of an id those of all formats, in the order of their enrolment.
std::vector<TemplateFile> LoadNamed(const std::string& name, const StopCheck& stop, Intake intake);

// Fails when an id has more than one.
TemplateFile LoadOne(const std::string& name, const StopCheck& stop, Intake intake);

// Whether it is a file that looks like a gallery.
bool IsGallery(const std::string& name);

struct TemplatePair {
  TemplateFile first;
  TemplateFile second;
};

// Two of one format. Fails when there are none.
TemplatePair LoadPair(const std::string& first, const std::string& second, const StopCheck& stop,
                      Intake intake);
