// Galleries in SQLite files.
#include "gallery_file.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>

#include "failure.h"
#include "progress.h"

namespace {

constexpr int waitForOthers = 10000;

const char* const schema =
    "CREATE TABLE templates ("
    "  number INTEGER PRIMARY KEY,"
    "  id TEXT NOT NULL,"
    "  type INTEGER NOT NULL CHECK (type IN (2001, 2002, 2003)),"
    "  template BLOB NOT NULL,"
    "  note TEXT NOT NULL,"
    "  UNIQUE (id, type)"
    ") STRICT";

// SQLite takes some relative names for no file at all.
std::string FullName(const std::string& name) {
  return std::filesystem::absolute(std::filesystem::u8path(name)).u8string();
}

int Number(SQLite::Database& database, const char* query) {
  return database.execAndGet(query).getInt();
}

// A file without content is what a killed first enrolment may leave.
bool HasTemplates(SQLite::Database& database, const std::string& name) {
  if (Number(database, "PRAGMA application_id") == galleryMark) return true;
  if (Number(database, "SELECT count(*) FROM sqlite_master") == 0) return false;
  throw Failure(name + ": is a database of something else, not a gallery");
}

// Does the work on the open file.
template <typename Work>
auto InGallery(const std::string& name, int mode, Work work) {
  std::error_code fault;
  const auto status = std::filesystem::status(std::filesystem::u8path(name), fault);
  if (std::filesystem::is_directory(status)) throw Failure(name + ": is a folder, not a gallery");
  if ((mode & SQLite::OPEN_CREATE) == 0 && !std::filesystem::exists(status)) {
    throw Failure(name + ": no such file");
  }
  try {
    SQLite::Database database(FullName(name), mode, waitForOthers);
    return work(database);
  } catch (const SQLite::Exception& exception) {
    throw Failure(name + ": " + exception.what());
  }
}

Failure NotEnrolled(const std::string& name, const std::string& id) {
  return Failure(name + ": " + id + " is not enrolled");
}

Format FormatOf(int type) {
  for (const Format format : {Format::iso, Format::ansi}) {
    if (TypeOf(format) == type) return format;
  }
  return Format::native;
}

}  // namespace

std::vector<GalleryEntry> ReadGallery(const std::string& name) {
  return InGallery(name, SQLite::OPEN_READWRITE, [&](SQLite::Database& database) {
    std::vector<GalleryEntry> entries;
    if (!HasTemplates(database, name)) return entries;
    const SQLite::Transaction unchanged(database);
    const auto count = static_cast<size_t>(Number(database, "SELECT count(*) FROM templates"));
    entries.reserve(count);
    Progress progress("loading", count);
    SQLite::Statement query(database,
                            "SELECT id, type, template, note FROM templates ORDER BY number");
    while (query.executeStep()) {
      const SQLite::Column bytes = query.getColumn(2);
      const auto* data = static_cast<const unsigned char*>(bytes.getBlob());
      entries.push_back({query.getColumn(0).getString(),
                         FormatOf(query.getColumn(1).getInt()),
                         {data, data + bytes.getBytes()},
                         query.getColumn(3).getString()});
      progress.Step();
    }
    return entries;
  });
}

size_t AddToGallery(const std::string& name, const std::vector<GalleryEntry>& entries) {
  const int mode = SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE;
  return InGallery(name, mode, [&](SQLite::Database& database) {
    SQLite::Transaction change(database, SQLite::TransactionBehavior::IMMEDIATE);
    if (!HasTemplates(database, name)) {
      database.exec("PRAGMA application_id = " + std::to_string(galleryMark));
      database.exec(schema);
    }
    SQLite::Statement insert(database,
                             "INSERT INTO templates (id, type, template, note) "
                             "VALUES (?, ?, ?, ?) ON CONFLICT DO NOTHING");
    for (const GalleryEntry& entry : entries) {
      insert.bind(1, entry.id);
      insert.bind(2, TypeOf(entry.format));
      insert.bindNoCopy(3, entry.bytes.data(), static_cast<int>(entry.bytes.size()));
      insert.bind(4, entry.note);
      if (insert.exec() == 0) {
        throw Failure(name + ": " + entry.id + " (" + NameOf(entry.format) +
                      ") is enrolled already");
      }
      insert.reset();
    }
    const int count = Number(database, "SELECT count(*) FROM templates");
    change.commit();
    return static_cast<size_t>(count);
  });
}

size_t RemoveFromGallery(const std::string& name, const std::vector<std::string>& ids) {
  return InGallery(name, SQLite::OPEN_READWRITE, [&](SQLite::Database& database) {
    SQLite::Transaction change(database, SQLite::TransactionBehavior::IMMEDIATE);
    size_t removed = 0;
    const bool any = HasTemplates(database, name);
    for (const std::string& id : ids) {
      int count = 0;
      if (any) {
        SQLite::Statement remove(database, "DELETE FROM templates WHERE id = ?");
        remove.bind(1, id);
        count = remove.exec();
      }
      if (count == 0) throw NotEnrolled(name, id);
      removed += static_cast<size_t>(count);
    }
    change.commit();
    return removed;
  });
}
