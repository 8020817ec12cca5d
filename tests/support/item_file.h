// Tells whether a file was touched, rewritten in place or replaced.
#ifndef QMV_TESTS_SUPPORT_ITEM_FILE_H
#define QMV_TESTS_SUPPORT_ITEM_FILE_H

#include <string>
#include <string_view>

#include "tests/support/io.h"

namespace qmv_test {

/// An item in a directory of its own, last changed long ago.
class ItemFile {
  public:
    explicit ItemFile(std::string_view content);
    ItemFile(const ItemFile &) = delete;
    ItemFile &operator=(const ItemFile &) = delete;

    const char *dir() const { return dir_.path(); }
    const char *name() const { return "item"; }
    std::string content() const { return dir_.read(name()); }

    /// False when nothing was written, not even the same content again.
    bool touched() const;
    /// False when another file took the item's place.
    bool same_file() const;

  private:
    TempDir dir_;
    unsigned long inode_;
};

}  // namespace qmv_test

#endif
