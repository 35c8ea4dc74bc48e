// Galleries: templates kept in one SQLite file, in the order of their enrolment.
// A change is in the file as a whole when its function returns, and not at all when
// it fails or the program is killed before. Every failure names the file and the
// reason.
#pragma once

#include <string>
#include <vector>

#include "inspect.h"

struct GalleryEntry {
  std::string id;  // once for each format
  Format format = Format::native;
  Bytes bytes;
  std::string note;
};

// "VXMG", SQLite's application id of a gallery.
constexpr int galleryMark = 0x56584D47;

// Whether the file bears the mark.
bool IsGallery(const std::string& name);

// All of it.
std::vector<GalleryEntry> ReadGallery(const std::string& name);

// Makes the file if it is missing; the number of templates that it holds then.
// Fails when one is enrolled already.
size_t AddToGallery(const std::string& name, const std::vector<GalleryEntry>& entries);

// Removes the ids in all formats; the number of templates removed. Fails when one
// is not enrolled.
size_t RemoveFromGallery(const std::string& name, const std::vector<std::string>& ids);
