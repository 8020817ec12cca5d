// The visible entries of a directory, sorted by name.
#ifndef QMV_ACCOUNTS_LISTING_H
#define QMV_ACCOUNTS_LISTING_H

#include <dirent.h>

#include "util/owners.h"

namespace qmv {

/// All entries in one block: the array that callers see, and behind it what it points to.
struct Listing {
    Block<dirent *> entries;
    int count = -1;  ///< negative when the directory could not be read
};

Listing list_directory(const char *path);

}  // namespace qmv

#endif
