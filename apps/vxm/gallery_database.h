// A gallery's file, opened as the database that it is.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "failure.h"
#include "stop.h"

class GalleryDatabase {
 public:
  enum class Use { read, change, create };

  // Fails when the file is missing, but for Use::create.
  GalleryDatabase(const std::string& name, Use use, const StopCheck& stop);

  SQLite::Database& Get() { return database_; }
  int Number(const char* query);

  // False for a file without content, which a killed first enrolment may leave. Fails
  // when it is no gallery, or one that only a newer program can read.
  bool HasTemplates();

  // 0 before times of enrolment were kept.
  int Version() { return Number("PRAGMA user_version"); }

  // Makes what is missing to enroll in it.
  void Prepare();

 private:
  std::string name_;
  const StopCheck& stop_;
  SQLite::Database database_;
};

// Does the work on the open gallery.
template <typename Work>
auto InGallery(const std::string& name, GalleryDatabase::Use use, const StopCheck& stop,
               Work work) {
  try {
    GalleryDatabase database(name, use, stop);
    return work(database);
  } catch (const SQLite::Exception& exception) {
    stop.Here();
    throw Failure(name + ": " + exception.what());
  }
}
