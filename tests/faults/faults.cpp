#include "tests/faults/faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "tests/faults/calls.h"

namespace qmv_test {
namespace {

constexpr const char *kNames[] = {
    "malloc", "calloc", "realloc", "strdup", "asprintf", "scandir", "fopen", "getline",
    "fread",  "fwrite", "fclose",  "popen",  "pclose",   "open",    "read",  "recv or tee",
    "lseek",  "pipe2",  "write",   "close",  "stat",     "fstat",   "ioctl", "socket",
    "mkdir",  "chmod",  "rmdir",   "unlink", "kill",     "crypt",
};
static_assert(std::size(kNames) == kCalls);

struct Scene {
    Driver driver;
    std::string path;
    std::string instead;
};

Fault fault;
CallCounts *counts = nullptr;  // null: no call is looked at
Scene *scene = nullptr;

// Blocks that the calls handed out. It must not allocate.
constexpr std::size_t kMaxBlocks = 512;
const void *blocks[kMaxBlocks];
std::size_t block_count = 0;

bool needs_memory(Call call) {
    return call <= Call::kFopen || call == Call::kPopen;
}

}  // namespace

const Fault *due(Call call) {
    if (counts == nullptr)
        return nullptr;
    const unsigned number = ++counts->made[static_cast<unsigned>(call)];
    if (fault.nth == 0)
        return nullptr;
    const bool memory_is_gone =
        counts->faulty && fault.times == kForever && fault.error == ENOMEM && needs_memory(call);
    if (memory_is_gone)
        return &fault;
    if (call != fault.call || number < fault.nth || number - fault.nth >= fault.times)
        return nullptr;
    counts->faulty = true;
    return &fault;
}

bool moves_a_byte(const Fault &wrong) {
    const bool first = counts->of(wrong.call) == wrong.nth;
    return wrong.manner == Manner::kShortened || (wrong.manner == Manner::kFillsUp && first);
}

void note_handed_out(const void *block) {
    if (counts == nullptr || block == nullptr)
        return;
    if (block_count == kMaxBlocks)
        std::abort();
    blocks[block_count++] = block;
}

void taken_back(const void *block) {
    const void **end = blocks + block_count;
    const void **found = std::find(static_cast<const void **>(blocks), end, block);
    if (block == nullptr || found == end)
        return;
    *found = end[-1];
    --block_count;
}

const char *staged(const char *path) {
    return scene != nullptr && path == scene->path ? scene->instead.c_str() : path;
}

const Driver *driver() {
    return scene != nullptr && scene->driver ? &scene->driver : nullptr;
}

Inject::Inject(const Fault &wanted, CallCounts &where) {
    fault = wanted;
    block_count = 0;
    counts = &where;
}

Inject::~Inject() {
    counts = nullptr;
    block_count = 0;
}

unsigned Inject::held_blocks() const {
    return static_cast<unsigned>(block_count);
}

Aside::Aside() : kept_(std::exchange(counts, nullptr)) {}

Aside::~Aside() {
    counts = kept_;
}

Stage::Stage(Driver driver, std::string path, std::string instead) {
    scene = new Scene{std::move(driver), std::move(path), std::move(instead)};
}

Stage::~Stage() {
    delete scene;
    scene = nullptr;
}

const char *name_of(Call call) {
    return kNames[static_cast<unsigned>(call)];
}

}  // namespace qmv_test
