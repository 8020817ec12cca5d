#include "accounts/listing.h"

#include <cstring>

namespace {

int is_visible(const dirent *entry) {
    return entry->d_name[0] != '.' ? 1 : 0;
}

/// Bytes that an entry takes in the block.
size_t stored_size(const dirent *entry) {
    constexpr size_t kAlign = alignof(dirent);
    return (entry->d_reclen + kAlign - 1) / kAlign * kAlign;
}

/// Copies an array of entries into one block.
qmv::Block<dirent *> pack(dirent *const *entries, size_t count) {
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
        std::memcpy(block.get() + offset, entries[i], entries[i]->d_reclen);
        offset += stored_size(entries[i]);
    }
    (void)block.release();
    return qmv::Block<dirent *>(packed);
}

}  // namespace

namespace qmv {

Listing list_directory(const char *path) {
    dirent **found = nullptr;
    Listing listing;
    const int count = path != nullptr ? ::scandir(path, &found, is_visible, ::alphasort) : -1;
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
