// Gathers the candidates of a search.
#include "gallery.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <unordered_set>

#include "failure.h"
#include "gallery_file.h"
#include "gallery_mark.h"
#include "progress.h"

namespace {

// A template of another format than the probe's, and who it is of.
struct OtherFormat {
  std::string owner;
  LeftOut why;
};

class Loader {
 public:
  Loader(const TemplateFile& probe, const StopCheck& stop, Intake intake, Gallery& gallery)
      : probe_(probe), stop_(stop), intake_(intake), gallery_(gallery) {}

  void LoadFile(const std::string& name) {
    try {
      Bytes bytes = ReadStart(name);
      if (LooksLikeGallery(bytes)) return LoadEntries(name);
      TemplateFile file = RequireTemplate(name, std::move(bytes), intake_);
      NoteConverted(file, gallery_.converted);
      Take(name, WithoutSuffix(name), noGallery, std::move(file.bytes), file.inspection);
    } catch (const FileFailure& failure) {
      gallery_.leftOut.push_back({failure.name, failure.reason});
    }
  }

  // Of those that are left only the ones whose owner is not among the candidates are
  // left out.
  void SettleOtherFormats() {
    if (others_.empty()) return;
    std::unordered_set<std::string> owners;
    for (const Candidate& candidate : gallery_.candidates) {
      owners.insert(OwnerOf(candidate.gallery, candidate.gallery == noGallery
                                                   ? WithoutSuffix(candidate.name)
                                                   : candidate.name));
    }
    for (OtherFormat& other : others_) {
      if (owners.count(other.owner) != 0) {
        ++gallery_.otherFormats;
      } else {
        gallery_.leftOut.push_back(std::move(other.why));
      }
    }
  }

 private:
  static std::string OwnerOf(size_t gallery, const std::string& id) {
    return std::to_string(gallery) + ":" + id;
  }

  // An id or a file's name, and what it is without its suffix.
  void Take(const std::string& name, const std::string& owner, size_t source, Bytes bytes,
            const Inspection& found) {
    const std::string shown = source == noGallery ? name : gallery_.files[source] + ":" + name;
    if (found.format != probe_.inspection.format) {
      others_.push_back({OwnerOf(source, owner),
                         {shown, std::string("is ") + ::NameOf(found.format) + ", and the probe " +
                                     ::NameOf(probe_.inspection.format)}});
    } else if (const std::string reason = Unmatchable(found); !reason.empty()) {
      gallery_.leftOut.push_back({shown, reason});
    } else {
      gallery_.candidates.push_back({name, source, found.attribute, std::move(bytes)});
    }
  }

  void LoadEntries(const std::string& name) {
    gallery_.files.push_back(name);
    const size_t source = gallery_.files.size() - 1;
    std::unique_ptr<Progress> progress;
    VisitGallery(
        name, stop_,
        [&](size_t count) { progress = std::make_unique<Progress>("loading " + name, count); },
        [&](StoredEntry&& entry) {
          const std::string shown = name + ":" + entry.id;
          const std::string converted =
              TakeInStored(shown, entry.bytes, entry.inspection, entry.fault, intake_);
          if (!converted.empty()) gallery_.converted.push_back({shown, converted});
          if (!entry.fault.empty()) {
            gallery_.leftOut.push_back({shown, entry.fault});
          } else {
            Take(entry.id, entry.id, source, std::move(entry.bytes), entry.inspection);
          }
          progress->Step();
        });
  }

  const TemplateFile& probe_;
  const StopCheck& stop_;
  const Intake intake_;
  Gallery& gallery_;
  std::vector<OtherFormat> others_;
};

// SQLite's files beside a gallery, which come and go with its changes.
bool IsBesideGallery(const std::string& name) {
  for (const std::string_view suffix : {"-journal", "-wal", "-shm"}) {
    const size_t length = name.size() - std::min(name.size(), suffix.size());
    std::error_code fault;
    if (name.compare(length, suffix.size(), suffix) == 0 &&
        KindOf(name.substr(0, length), fault) == FileKind::file) {
      return LooksLikeGallery(ReadStart(name.substr(0, length)));
    }
  }
  return false;
}

}  // namespace

std::string Gallery::NameOf(const Candidate& candidate) const {
  if (candidate.gallery == noGallery || !severalSources) return candidate.name;
  return files[candidate.gallery] + ":" + candidate.name;
}

Gallery LoadGallery(const std::vector<std::string>& names, const TemplateFile& probe,
                    const StopCheck& stop, Intake intake) {
  Gallery gallery;
  Loader loader(probe, stop, intake, gallery);
  try {
    const std::vector<std::string> files = ListFiles(names, stop, gallery.leftOut);
    gallery.severalSources = files.size() > 1;
    Progress progress("loading", files.size());
    for (const std::string& name : files) {
      stop.Here();
      if (!IsBesideGallery(name)) loader.LoadFile(name);
      progress.Step();
    }
    stop.Here();
  } catch (const Stopped& stopped) {
    gallery.stopped = stopped.reason;
  }
  loader.SettleOtherFormats();
  return gallery;
}
