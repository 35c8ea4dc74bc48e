// What is done with the templates of a gallery.
#include "gallery_file.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <set>

#include "gallery_database.h"

namespace {

using Use = GalleryDatabase::Use;

std::optional<Format> FormatOf(int type) {
  for (const Format format : {Format::native, Format::iso, Format::ansi}) {
    if (TypeOf(format) == type) return format;
  }
  return std::nullopt;
}

// Of id, type, template, note and time of enrolment.
StoredEntry ReadEntry(SQLite::Statement& row) {
  StoredEntry entry;
  const SQLite::Column bytes = row.getColumn(2);
  const auto* data = static_cast<const unsigned char*>(bytes.getBlob());
  if (data != nullptr) entry.bytes.assign(data, data + bytes.getBytes());
  if (row.getColumn(0).isText()) entry.id = row.getColumn(0).getString();
  entry.note = row.getColumn(3).getString();
  entry.enrolled = row.getColumn(4).getString();
  entry.inspection = Inspect(entry.bytes);
  const std::optional<Format> format = FormatOf(row.getColumn(1).getInt());
  entry.format = format.value_or(entry.inspection.format);
  if (entry.id.empty()) {
    entry.fault = "has no id";
  } else if (!format) {
    entry.fault = "has the unknown type " + std::to_string(row.getColumn(1).getInt());
  } else if (const std::string misread = MisreadFault(entry.bytes); !misread.empty()) {
    entry.fault = misread;
  } else if (!entry.inspection.fault.empty()) {
    entry.fault = FaultText(entry.inspection);
  } else if (*format != entry.inspection.format) {
    entry.fault = std::string("is enrolled as ") + NameOf(*format) + " but is " +
                  NameOf(entry.inspection.format);
  }
  return entry;
}

std::string SelectEntries(GalleryDatabase& gallery) {
  return std::string("SELECT id, type, template, note, ") +
         (gallery.Version() == 0 ? "NULL" : "enrolled") + " FROM templates ";
}

std::string Now() {
  const std::time_t now = std::time(nullptr);
  char text[32];
  std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
  return text;
}

// True if it was not there before.
bool MakeFile(const std::string& name) {
  std::FILE* made = CreateFileAnew(name, Readers::ownerOnly);
  if (made != nullptr) return std::fclose(made) == 0;
  std::error_code fault;
  if (KindOf(name, fault) != FileKind::missing) return false;
  throw Failure(name + ": cannot be made: " + std::strerror(errno));
}

bool HasContent(const std::string& name) {
  const std::FILE* const none = nullptr;
  std::FILE* file = OpenToRead(name);
  const bool content = file != none && std::fgetc(file) != EOF;
  if (file != none) std::fclose(file);
  return content;
}

Enrolment Insert(GalleryDatabase& gallery, const std::vector<GalleryEntry>& entries, KnownId known,
                 const StopCheck& stop) {
  SQLite::Transaction change(gallery.Get(), SQLite::TransactionBehavior::IMMEDIATE);
  gallery.Prepare();
  SQLite::Statement insert(gallery.Get(),
                           "INSERT INTO templates (id, type, template, note, enrolled) "
                           "VALUES (?, ?, ?, ?, ?) ON CONFLICT DO NOTHING");
  SQLite::Statement replace(gallery.Get(),
                            "UPDATE templates SET template = ?3, note = ?4, enrolled = ?5 "
                            "WHERE id = ?1 AND type = ?2");
  const std::string now = Now();
  const auto run = [&now](SQLite::Statement& statement, const GalleryEntry& entry) {
    statement.reset();
    statement.bind(1, entry.id);
    statement.bind(2, TypeOf(entry.format));
    statement.bindNoCopy(3, entry.bytes.data(), static_cast<int>(entry.bytes.size()));
    statement.bind(4, entry.note);
    statement.bind(5, now);
    return statement.exec() != 0;
  };
  Enrolment done;
  for (const GalleryEntry& entry : entries) {
    stop.Here();
    if (run(insert, entry)) {
      ++done.added;
    } else if (known == KnownId::replace) {
      run(replace, entry);
      ++done.replaced;
    } else {
      done.known.push_back(
          {entry.id, std::string("is enrolled already (") + NameOf(entry.format) + ")"});
    }
  }
  if (known == KnownId::refuse && !done.known.empty()) return done;
  done.total = static_cast<size_t>(gallery.Number("SELECT count(*) FROM templates"));
  change.commit();
  return done;
}

}  // namespace

void VisitGallery(const std::string& name, const StopCheck& stop,
                  const std::function<void(size_t count)>& begin,
                  const std::function<void(StoredEntry&&)>& visit) {
  InGallery(name, Use::read, stop, [&](GalleryDatabase& gallery) {
    const SQLite::Transaction unchanged(gallery.Get());
    if (!gallery.HasTemplates()) return begin(0);
    // SQLite counts the entries of the index, and finds those of the table.
    const auto count = static_cast<size_t>(gallery.Number("SELECT count(*) FROM templates"));
    begin(count);
    SQLite::Statement query(gallery.Get(), SelectEntries(gallery) + "ORDER BY number");
    size_t found = 0;
    while (query.executeStep()) {
      stop.Here();
      StoredEntry entry = ReadEntry(query);
      if (entry.id.empty()) entry.id = "entry " + std::to_string(found + 1);
      visit(std::move(entry));
      ++found;
    }
    if (found != count) {
      throw Failure(name + ": is damaged: it counts " + std::to_string(count) +
                    " templates and holds " + std::to_string(found));
    }
  });
}

std::vector<StoredEntry> EntriesOfId(const std::string& name, const std::string& id,
                                     const StopCheck& stop) {
  return InGallery(name, Use::read, stop, [&](GalleryDatabase& gallery) {
    std::vector<StoredEntry> found;
    if (gallery.HasTemplates()) {
      SQLite::Statement query(gallery.Get(),
                              SelectEntries(gallery) + "WHERE id = ? ORDER BY number");
      query.bind(1, id);
      while (query.executeStep()) found.push_back(ReadEntry(query));
    }
    if (found.empty()) throw Failure(name + ": " + id + " is not enrolled");
    return found;
  });
}

std::vector<std::string> FileFaults(const std::string& name, const StopCheck& stop) {
  return InGallery(name, Use::read, stop, [&](GalleryDatabase& gallery) {
    std::vector<std::string> faults;
    SQLite::Statement query(gallery.Get(), "PRAGMA integrity_check");
    while (query.executeStep()) faults.push_back(query.getColumn(0).getString());
    if (faults == std::vector<std::string>{"ok"}) faults.clear();
    return faults;
  });
}

Enrolment AddToGallery(const std::string& name, const std::vector<GalleryEntry>& entries,
                       KnownId known, const StopCheck& stop) {
  const bool made = MakeFile(name);
  try {
    Enrolment done = InGallery(name, Use::create, stop, [&](GalleryDatabase& gallery) {
      return Insert(gallery, entries, known, stop);
    });
    // Another program that made the file at the same time, and failed, removes it.
    if (!HasContent(name)) throw Failure(name + ": was removed while it was written");
    return done;
  } catch (...) {
    if (made && !HasContent(name)) RemoveFile(name);
    throw;
  }
}

Removal RemoveFromGallery(const std::string& name, const std::vector<std::string>& ids,
                          const StopCheck& stop) {
  return InGallery(name, Use::change, stop, [&](GalleryDatabase& gallery) {
    SQLite::Transaction change(gallery.Get(), SQLite::TransactionBehavior::IMMEDIATE);
    const bool any = gallery.HasTemplates();
    Removal done;
    for (const std::string& id : std::set<std::string>(ids.begin(), ids.end())) {
      stop.Here();
      int count = 0;
      if (any) {
        SQLite::Statement remove(gallery.Get(), "DELETE FROM templates WHERE id = ?");
        remove.bind(1, id);
        count = remove.exec();
      }
      if (count == 0) done.unknown.push_back({id, "is not enrolled"});
      done.removed += static_cast<size_t>(count);
    }
    if (done.unknown.empty()) change.commit();
    return done;
  });
}
