// Galleries: templates kept in one SQLite file, in the order of their enrolment.
// A change is in the file as a whole when its function returns, and not at all when
// it fails or the program is killed before. Every failure names the file and the
// reason; what is stopped in the middle throws Stopped.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "template_file.h"

struct GalleryEntry {
  std::string id;  // once for each format
  Format format = Format::native;
  Bytes bytes;
  std::string note;
  std::string enrolled;  // "2026-11-23T20:15:00Z"; empty where the gallery is older than that
};

// An entry as it was found.
struct StoredEntry : GalleryEntry {  // without an id, "entry N"
  Inspection inspection;
  std::string fault;  // why it is no template of its format; empty when it is one
};

// Hands over all of it, one by one. `begin` learns their number.
void VisitGallery(const std::string& name, const StopCheck& stop,
                  const std::function<void(size_t count)>& begin,
                  const std::function<void(StoredEntry&&)>& visit);

// Those of the id, in any format. Fails when there is none.
std::vector<StoredEntry> EntriesOfId(const std::string& name, const std::string& id,
                                     const StopCheck& stop);

// What SQLite finds wrong with the file, a line a fault.
std::vector<std::string> FileFaults(const std::string& name, const StopCheck& stop);

// What becomes of a template whose id is enrolled already, in its format.
enum class KnownId { refuse, replace, skip };

struct Enrolment {
  size_t added = 0;
  size_t replaced = 0;
  std::vector<LeftOut> known;  // refused, and then nothing was changed, or skipped
  size_t total = 0;            // what the gallery holds then
};

// Makes the file if it is missing, to be read by its owner alone.
Enrolment AddToGallery(const std::string& name, const std::vector<GalleryEntry>& entries,
                       KnownId known, const StopCheck& stop);

struct Removal {
  size_t removed = 0;
  std::vector<LeftOut> unknown;  // if there are any, nothing was changed
};

// Removes the ids in all formats.
Removal RemoveFromGallery(const std::string& name, const std::vector<std::string>& ids,
                          const StopCheck& stop);
