// Tells galleries from other files by their first bytes, also in a build without
// SQLite.
#pragma once

#include "files.h"

// "VXMG", SQLite's application id of a gallery.
constexpr int galleryMark = 0x56584D47;

// Whether a file that begins so is a gallery, or any SQLite database, or was one
// before a byte of its head was damaged.
bool LooksLikeGallery(const Bytes& start);
