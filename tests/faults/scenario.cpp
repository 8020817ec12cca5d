#include "tests/faults/scenario.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <new>

#include "tests/fakes/allocation.h"
#include "tests/support/request.h"

#if QMV_ADDRESS_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

#if defined(QMV_COVERAGE)
extern "C" void __gcov_dump(void);
#endif

namespace qmv_test {
namespace {

constexpr unsigned kMostComplaints = 10;
constexpr int kComplained = 1;

/// Every way in which a call goes wrong on a real machine. The numbers of the calls are filled in.
constexpr Fault kFaults[] = {
    {Call::kMalloc, Manner::kFails, ENOMEM},
    {Call::kMalloc, Manner::kFails, ENOMEM, kForever},
    {Call::kCalloc, Manner::kFails, ENOMEM},
    {Call::kCalloc, Manner::kFails, ENOMEM, kForever},
    {Call::kRealloc, Manner::kFails, ENOMEM},
    {Call::kRealloc, Manner::kFails, ENOMEM, kForever},
    {Call::kStrdup, Manner::kFails, ENOMEM},
    {Call::kStrdup, Manner::kFails, ENOMEM, kForever},
    {Call::kFormat, Manner::kFails, ENOMEM},
    {Call::kFormat, Manner::kFails, ENOMEM, kForever},
    {Call::kScandir, Manner::kFails, ENOMEM},
    {Call::kScandir, Manner::kFails, EACCES},
    {Call::kScandir, Manner::kFails, EMFILE},
    {Call::kScandir, Manner::kFails, ENOENT},
    {Call::kFopen, Manner::kFails, ENOMEM},
    {Call::kFopen, Manner::kFails, EACCES},
    {Call::kFopen, Manner::kFails, EMFILE},
    {Call::kGetline, Manner::kFails, EIO},
    {Call::kGetline, Manner::kFails, ENOMEM},
    {Call::kFread, Manner::kFails, EIO},
    {Call::kFread, Manner::kShortened, 0},
    {Call::kFread, Manner::kShortened, 0, kForever},
    {Call::kFwrite, Manner::kFails, ENOSPC},
    {Call::kFclose, Manner::kFails, EIO},
    {Call::kPopen, Manner::kFails, EAGAIN},
    {Call::kPopen, Manner::kFails, ENOMEM},
    {Call::kPopen, Manner::kFails, EMFILE},
    {Call::kPclose, Manner::kFails, ECHILD},
    {Call::kOpen, Manner::kFails, EACCES},
    {Call::kOpen, Manner::kFails, ENOENT},
    {Call::kOpen, Manner::kFails, EMFILE},
    {Call::kOpen, Manner::kFails, ENFILE},
    {Call::kRead, Manner::kFails, EIO},
    {Call::kRead, Manner::kFails, EAGAIN},
    {Call::kRead, Manner::kInterrupted, EINTR},
    {Call::kRead, Manner::kInterrupted, EINTR, 3},
    {Call::kRead, Manner::kShortened, 0},
    {Call::kRead, Manner::kShortened, 0, kForever},
    {Call::kPeek, Manner::kFails, EIO},
    {Call::kPeek, Manner::kFails, EAGAIN},
    {Call::kPeek, Manner::kRefused, EPERM, kForever},
    {Call::kPeek, Manner::kRefused, ENOSYS, kForever},
    {Call::kPeek, Manner::kInterrupted, EINTR},
    {Call::kPeek, Manner::kInterrupted, EINTR, 3},
    {Call::kPeek, Manner::kShortened, 0},
    {Call::kPeek, Manner::kShortened, 0, kForever},
    {Call::kSeek, Manner::kFails, EIO},
    {Call::kPipe, Manner::kFails, EMFILE},
    {Call::kWrite, Manner::kFails, EIO},
    {Call::kWrite, Manner::kFails, ENOSPC},
    {Call::kWrite, Manner::kFails, EAGAIN},
    {Call::kWrite, Manner::kInterrupted, EINTR},
    {Call::kWrite, Manner::kInterrupted, EINTR, 3},
    {Call::kWrite, Manner::kShortened, 0},
    {Call::kWrite, Manner::kShortened, 0, kForever},
    {Call::kWrite, Manner::kNothing, 0, 3},
    {Call::kWrite, Manner::kFillsUp, ENOSPC, kForever},
    {Call::kClose, Manner::kFails, EIO},
    {Call::kClose, Manner::kFails, EINTR},
    {Call::kStat, Manner::kFails, EACCES},
    {Call::kStat, Manner::kFails, ENOENT},
    {Call::kFstat, Manner::kFails, EIO},
    {Call::kFstat, Manner::kFails, EOVERFLOW},
    {Call::kIoctl, Manner::kFails, EIO},
    {Call::kIoctl, Manner::kFails, ENODEV},
    {Call::kSocket, Manner::kFails, EMFILE},
    {Call::kSocket, Manner::kFails, ENOBUFS},
    {Call::kMkdir, Manner::kFails, EACCES},
    {Call::kMkdir, Manner::kFails, ENOSPC},
    {Call::kMkdir, Manner::kFails, EROFS},
    {Call::kChmod, Manner::kFails, EPERM},
    {Call::kChmod, Manner::kFails, EROFS},
    {Call::kRmdir, Manner::kFails, EBUSY},
    {Call::kRmdir, Manner::kFails, EROFS},
    {Call::kUnlink, Manner::kFails, EACCES},
    {Call::kUnlink, Manner::kFails, EROFS},
    {Call::kKill, Manner::kFails, EPERM},
    {Call::kKill, Manner::kFails, ESRCH},
    {Call::kCrypt, Manner::kFails, EINVAL},
    {Call::kCrypt, Manner::kFails, ENOMEM},
};

/// What a run tells the process that started it.
struct Shared {
    CallCounts counts;
    unsigned runs;
    char label[120];
    char text[1 << 16];
};

Shared *shared() {
    static Shared *const memory = [] {
        void *const pages = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                   MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED)
            std::abort();
        return new (pages) Shared{};
    }();
    return memory;
}

/// How many there were, told when all tests have run.
class Totals : public testing::Environment {
  public:
    void add(unsigned runs) {
        ++scenarios_;
        runs_ += runs;
    }
    void TearDown() override {
        std::printf("%u scenarios, %u runs with a fault\n", scenarios_, runs_);
    }

  private:
    unsigned scenarios_ = 0;
    unsigned runs_ = 0;
};

Totals &totals() {
    // Owned by the test framework.
    static auto *const environment =
        static_cast<Totals *>(testing::AddGlobalTestEnvironment(new Totals));
    return *environment;
}
[[maybe_unused]] const Totals &registered = totals();

std::string label_of(const Fault &fault) {
    if (fault.nth == 0)
        return "without a fault";
    constexpr const char *kManners[] = {"",         "interrupted",   "cut to 1 byte",
                                        "refused ", "moves nothing", "moves 1 byte, then "};
    std::string label = std::string(name_of(fault.call)) + " no. " + std::to_string(fault.nth) +
                        ": " + kManners[static_cast<unsigned>(fault.manner)];
    if (fault.error != 0 && fault.manner != Manner::kInterrupted)
        label += ::strerrorname_np(fault.error);
    if (fault.times == kForever)
        return label + ", for good";
    return fault.times > 1 ? label + ", " + std::to_string(fault.times) + " times" : label;
}

std::string with_error(std::string outcome, int error) {
    constexpr std::string_view kPlace = "{error}";
    for (std::size_t at = 0; (at = outcome.find(kPlace, at)) != outcome.npos;)
        outcome.replace(at, kPlace.size(), ::strerrorname_np(error));
    return outcome;
}

using Tree = std::map<std::string, std::string>;

constexpr const char *kDirectory = "/";

/// All that is in a directory: content by name.
Tree tree_of(const TempDir &dir) {
    Tree tree;
    std::error_code ignored;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(dir.path(), ignored)) {
        const std::string name = entry.path().lexically_relative(dir.path()).string();
        tree[name] = entry.is_directory() ? kDirectory : dir.read(name);
    }
    return tree;
}

std::string changes(const Tree &before, const Tree &after) {
    std::string text;
    for (const auto &[name, content] : after) {
        const auto old = before.find(name);
        if (old != before.end() && old->second == content)
            continue;
        text += " " + name;
        text += content == kDirectory ? content : "=" + in_quotes(content);
    }
    for (const auto &[name, content] : before) {
        if (after.count(name) == 0)
            text += " -" + name;
    }
    return text;
}

std::vector<int> descriptors() {
    std::vector<int> open;
    DIR *const directory = ::opendir("/proc/self/fd");
    while (const dirent *entry = ::readdir(directory)) {
        const int fd = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && fd != ::dirfd(directory))
            open.push_back(fd);
    }
    ::closedir(directory);
    return open;
}

/// Notes what there is, and tells what was left behind; closes and collects it.
class Remains {
  public:
    Remains() : before_(descriptors()) {}

    std::string take(unsigned blocks) const {
        std::string text = count(blocks, "blocks");
        unsigned left = 0;
        for (const int fd : descriptors()) {
            if (std::find(before_.begin(), before_.end(), fd) == before_.end()) {
                ::close(fd);
                ++left;
            }
        }
        text += count(left, "descriptors");
        // They end soon: nobody reads from them.
        unsigned processes = 0;
        while (::waitpid(-1, nullptr, 0) > 0)
            ++processes;
        return text + count(processes, "processes");
    }

  private:
    static std::string count(unsigned number, const char *what) {
        return number > 0 ? " [" + std::to_string(number) + " " + what + " left]" : "";
    }

    std::vector<int> before_;
};

/// Ends the process at once when the library ends it: what is held then does not matter.
void leave(int status, void *) {
    std::fflush(nullptr);
#if defined(QMV_COVERAGE)
    const Aside aside;
    __gcov_dump();
#endif
    ::_exit(status);
}

}  // namespace

std::string in_quotes(std::string_view text) {
    constexpr std::size_t kOften = 16;
    std::string quote = "\"";
    while (!text.empty()) {
        const std::size_t next = text.find_first_not_of(text.front());
        const std::size_t run = std::min(next, text.size());
        const std::string character = printable(text.substr(0, 1));
        if (run >= kOften)
            quote += "<" + std::to_string(run) + " " + character + ">";
        else
            quote += printable(text.substr(0, run));
        text.remove_prefix(run);
    }
    return quote + "\"";
}

std::string result(int returned) {
    const int error = errno;
    return std::to_string(returned) +
           (returned < 0 ? std::string(" ") + ::strerrorname_np(error) : "");
}

std::string with_descriptor(const std::string &path, int flags,
                            const std::function<std::string(int fd)> &use) {
    int fd = -1;
    {
        const Aside aside;
        fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    }
    std::string outcome = use(fd);
    const Aside aside;
    ::close(fd);
    return outcome;
}

Scenario &Scenario::with(std::string name, std::string content) {
    files_.emplace_back(std::move(name), std::move(content));
    return *this;
}

Scenario &Scenario::prepared(std::function<void(const TempDir &)> more) {
    more_ = std::move(more);
    return *this;
}

Scenario &Scenario::fed(std::string input) {
    input_ = std::move(input);
    in_process_ = true;
    return *this;
}

Scenario &Scenario::gives(std::string outcome) {
    plain_ = std::move(outcome);
    return *this;
}

Scenario &Scenario::fails(Call call, std::string outcome, Nth nth) {
    return rule(call, Manner::kFails, false, nth, std::move(outcome));
}

Scenario &Scenario::fails_for_good(Call call, std::string outcome, Nth nth) {
    return rule(call, Manner::kFails, true, nth, std::move(outcome));
}

Scenario &Scenario::goes(Manner manner, Call call, std::string outcome, Nth nth) {
    return rule(call, manner, false, nth, std::move(outcome));
}

Scenario &Scenario::rule(Call call, Manner manner, bool for_good, Nth nth, std::string outcome) {
    rules_.push_back({call, manner, for_good, nth, std::move(outcome), false});
    return *this;
}

Scenario::Rule *Scenario::find_rule(const Fault &fault, bool for_good) {
    const auto found = std::find_if(rules_.rbegin(), rules_.rend(), [&](const Rule &rule) {
        return rule.call == fault.call && rule.manner == fault.manner &&
               rule.for_good == for_good && fault.nth >= rule.nth.first &&
               fault.nth <= rule.nth.last;
    });
    return found != rules_.rend() ? &*found : nullptr;
}

const std::string *Scenario::expected(const Fault &fault) {
    if (fault.nth == 0)
        return &plain_;
    Rule *rule = fault.times == kForever ? find_rule(fault, true) : nullptr;
    if (rule == nullptr)
        rule = find_rule(fault, false);
    if (rule != nullptr) {
        rule->used = true;
        return &rule->outcome;
    }
    const bool harmless = fault.call == Call::kClose || fault.manner == Manner::kInterrupted ||
                          fault.manner == Manner::kShortened || fault.manner == Manner::kNothing ||
                          fault.manner == Manner::kRefused;
    return harmless ? &plain_ : nullptr;
}

std::string Scenario::run_here(const TempDir &dir, const Fault &fault) {
    constexpr std::string_view kProbe = "~";
    std::string text;
    std::string output;
    const std::string errors = printed_error([&] {
        output = printed([&] {
            const Remains remains;
            unsigned held = 0;
            {
                const Inject inject(fault, shared()->counts);
                errno = 0;
                text = work_(dir);
                held = inject.held_blocks();
            }
            text += remains.take(held);
            std::fputs(kProbe.data(), stdout);
        });
    });
    if (!output.ends_with(kProbe))
        text += " [stdout is broken]";
    else
        output.resize(output.size() - kProbe.size());
    text += output.empty() ? "" : " printed " + in_quotes(output);
    return text + (errors.empty() ? "" : " said " + in_quotes(errors));
}

std::string Scenario::run_in_process(const TempDir &dir, const Fault &fault) {
    std::snprintf(shared()->text, sizeof shared()->text, "no outcome");
    const ChildResult child = run_child(input_, [&] {
        ::on_exit(leave, nullptr);
        const Remains remains;
        const Inject inject(fault, shared()->counts);
        errno = 0;
        std::string text = work_(dir);
        text += remains.take(inject.held_blocks());
        std::snprintf(shared()->text, sizeof shared()->text, "%s", text.c_str());
        return 0;
    });
    const std::string text =
        child.status == 0 ? shared()->text : "exit " + std::to_string(child.status);
    return text + (child.output.empty() ? "" : " printed " + in_quotes(child.output));
}

std::string Scenario::run(const Fault &fault) {
    shared()->counts = CallCounts();
    std::snprintf(shared()->label, sizeof shared()->label, "%s", label_of(fault).c_str());
    const TempDir dir;
    for (const auto &[name, content] : files_)
        dir.write(name, content);
    if (more_)
        more_(dir);
    const Tree before = tree_of(dir);
    const std::string outcome = in_process_ ? run_in_process(dir, fault) : run_here(dir, fault);
    return outcome + changes(before, tree_of(dir));
}

/// Runs the scenario with a fault, and complains when its outcome is not the expected one.
void Scenario::compare(const Fault &fault) {
    const std::string outcome = run(fault);
    const std::string *told = expected(fault);
    const std::string wanted =
        told != nullptr ? with_error(*told, fault.error) : "an outcome that the scenario tells";
    const bool happened = fault.nth == 0 || shared()->counts.faulty;
#if QMV_ADDRESS_SANITIZER
    const bool leaked = __lsan_do_recoverable_leak_check() != 0;
#else
    const bool leaked = false;
#endif
    if (outcome == wanted && happened && !leaked)
        return;
    if (++complaints_ <= kMostComplaints)
        std::printf("%s%s%s\n  gives    %s\n  expected %s\n", shared()->label,
                    happened ? "" : " (did not happen)", leaked ? " (memory leaks)" : "",
                    outcome.c_str(), wanted.c_str());
}

int Scenario::run_all() {
    compare({});
    const CallCounts plain = shared()->counts;
    for (Fault fault : kFaults) {
        for (fault.nth = 1; fault.nth <= plain.of(fault.call); ++fault.nth) {
            ++shared()->runs;
            compare(fault);
        }
    }
    for (const Rule &rule : rules_) {
        if (!rule.used && ++complaints_ <= kMostComplaints)
            std::printf("told for %s, and never needed: %s\n", name_of(rule.call),
                        rule.outcome.c_str());
    }
    if (complaints_ > kMostComplaints)
        std::printf("and %u more\n", complaints_ - kMostComplaints);
    return complaints_ > 0 ? kComplained : 0;
}

void Scenario::check() {
    shared()->runs = 0;
    // Where the runs have their directories: what one leaves that crashes goes with it.
    const TempDir place;
    const ChildResult child = run_child("", [&] {
        ::setenv("TMPDIR", place.path(), 1);
        return run_all();
    });
    totals().add(shared()->runs);
    testing::Test::RecordProperty("fault_runs", static_cast<int>(shared()->runs));
    if (child.status == kComplained)
        ADD_FAILURE() << child.output;
    else if (child.status != 0)
        ADD_FAILURE() << shared()->label << "\n  ends the process with status " << child.status
                      << "\n"
                      << child.output;
}

}  // namespace qmv_test
