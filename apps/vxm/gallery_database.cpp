// Opening galleries, and what their files look like inside.
#include "gallery_database.h"

#include <sqlite3.h>

#include "gallery_mark.h"
#include "system_files.h"

namespace {

constexpr int currentVersion = 1;

const char* const schema =
    "CREATE TABLE templates ("
    "  number INTEGER PRIMARY KEY,"
    "  id TEXT NOT NULL,"
    "  type INTEGER NOT NULL CHECK (type IN (2001, 2002, 2003)),"
    "  template BLOB NOT NULL,"
    "  note TEXT NOT NULL,"
    "  enrolled TEXT,"
    "  UNIQUE (id, type)"
    ") STRICT";

std::string RequireOpenable(const std::string& name, GalleryDatabase::Use use) {
  std::error_code fault;
  const FileKind kind = KindOf(name, fault);
  if (fault) throw Failure(name + ": cannot be opened: " + fault.message());
  if (kind == FileKind::folder) throw Failure(name + ": is a folder, not a gallery");
  if (kind == FileKind::other) throw Failure(name + ": is no regular file, so no gallery");
  if (kind == FileKind::missing && use != GalleryDatabase::Use::create) {
    throw Failure(name + ": no such file");
  }
  return AbsoluteName(name);  // SQLite takes some relative names for no file at all
}

int WaitForOthers(void* stop, int tries) {
  constexpr int pause = 20;
  constexpr int longest = 10000;
  if (static_cast<const StopCheck*>(stop)->Reason() != StopReason::none) return 0;
  sqlite3_sleep(pause);
  return tries * pause < longest ? 1 : 0;
}

int StopStatement(void* stop) {
  return static_cast<const StopCheck*>(stop)->Reason() == StopReason::none ? 0 : 1;
}

}  // namespace

GalleryDatabase::GalleryDatabase(const std::string& name, Use use, const StopCheck& stop)
    : name_(name),
      stop_(stop),
      // For reading, too: what a killed program left half done is undone first.
      database_(RequireOpenable(name, use), SQLite::OPEN_READWRITE, 0, DatabaseSystem()) {
  constexpr int largestValue = 1 << 24;
  constexpr int instructions = 1000;
  sqlite3* const handle = database_.getHandle();
  void* const check = const_cast<StopCheck*>(&stop_);
  sqlite3_busy_handler(handle, WaitForOthers, check);
  sqlite3_progress_handler(handle, instructions, StopStatement, check);
  // The file may come from anywhere.
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, largestValue);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  if (use != Use::read) database_.exec("PRAGMA secure_delete = ON");
}

int GalleryDatabase::Number(const char* query) { return database_.execAndGet(query).getInt(); }

bool GalleryDatabase::HasTemplates() {
  if (Number("PRAGMA application_id") != galleryMark) {
    if (Number("SELECT count(*) FROM sqlite_master") == 0) return false;
    if (!database_.tableExists("templates")) {
      throw Failure(name_ + ": is a database of something else, not a gallery");
    }
    throw Failure(name_ +
                  ": is a database without the mark of a gallery: of something else, or "
                  "damaged");
  }
  if (Version() > currentVersion) throw Failure(name_ + ": was made by a newer vxm");
  return true;
}

void GalleryDatabase::Prepare() {
  if (!HasTemplates()) {
    database_.exec("PRAGMA application_id = " + std::to_string(galleryMark));
    database_.exec(schema);
  } else if (Version() < currentVersion) {
    database_.exec("ALTER TABLE templates ADD COLUMN enrolled TEXT");
  }
  database_.exec("PRAGMA user_version = " + std::to_string(currentVersion));
}
