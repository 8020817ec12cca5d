#include "accounts/listing.h"

#include <cstddef>
#include <cstring>

namespace {

// The records that callers see are laid out as their programs know them, without large file support:
// this folder is compiled like that. Directories are read with it, so that no inode is too large.
#if defined(__GLIBC__)
using Found = dirent64;
constexpr auto scan = ::scandir64;
constexpr auto by_name = ::alphasort64;
#else
using Found = dirent;
constexpr auto scan = ::scandir;
constexpr auto by_name = ::alphasort;
#endif

int is_visible(const Found *entry) {
    return entry->d_name[0] != '.' ? 1 : 0;
}

/// Bytes that an entry takes in the block.
size_t stored_size(const Found *entry) {
    const size_t size = offsetof(dirent, d_name) + std::strlen(entry->d_name) + 1;
    return (size + alignof(dirent) - 1) / alignof(dirent) * alignof(dirent);
}

void store(const Found *entry, char *place) {
    const size_t size = stored_size(entry);
    auto *stored = reinterpret_cast<dirent *>(place);
    std::memset(place, 0, size);
    stored->d_ino = static_cast<decltype(stored->d_ino)>(entry->d_ino);
    stored->d_reclen = static_cast<unsigned short>(size);
    stored->d_type = entry->d_type;
    std::memcpy(place + offsetof(dirent, d_name), entry->d_name, std::strlen(entry->d_name));
}

/// Copies an array of entries into one block.
qmv::Block<dirent *> pack(Found *const *entries, size_t count) {
    size_t size = count * sizeof(void *);
    size = (size + alignof(dirent) - 1) / alignof(dirent) * alignof(dirent);
    size_t offset = size;
    for (size_t i = 0; i < count; ++i)
        size += stored_size(entries[i]);
    auto block = qmv::Block<char>::allocate(size);
    if (!block)
        return qmv::Block<dirent *>();
    auto **packed = reinterpret_cast<dirent **>(block.get());
    for (size_t i = 0; i < count; ++i) {
        packed[i] = reinterpret_cast<dirent *>(block.get() + offset);
        store(entries[i], block.get() + offset);
        offset += stored_size(entries[i]);
    }
    (void)block.release();
    return qmv::Block<dirent *>(packed);
}

}  // namespace

namespace qmv {

Listing list_directory(const char *path) {
    Found **found = nullptr;
    Listing listing;
    const int count = path != nullptr ? scan(path, &found, is_visible, by_name) : -1;
    if (count >= 0) {
        listing.entries = pack(found, static_cast<size_t>(count));
        listing.count = listing.entries ? count : -1;
    }
    for (int i = 0; i < count; ++i)
        std::free(found[i]);
    std::free(found);
    return listing;
}

}  // namespace qmv
