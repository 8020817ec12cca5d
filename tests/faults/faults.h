// The library's own calls of the system, counted, and made to fail one at a time.
#ifndef QMV_TESTS_FAULTS_FAULTS_H
#define QMV_TESTS_FAULTS_FAULTS_H

#include <functional>
#include <string>

namespace qmv_test {

/// A kind of call. The linker hands those of the library to wrap.cpp, whatever name they have on
/// this machine: open() and open64() are one kind.
enum class Call {
    kMalloc,
    kCalloc,
    kRealloc,
    kStrdup,
    kFormat,  ///< asprintf() and vasprintf()
    kScandir,
    kFopen,
    kGetline,
    kFread,
    kFwrite,
    kFclose,
    kPopen,
    kPclose,
    kOpen,
    kRead,
    kPeek,  ///< recv() and tee(): bytes are seen and stay
    kSeek,
    kPipe,
    kWrite,
    kClose,
    kStat,
    kFstat,
    kIoctl,
    kSocket,
    kMkdir,
    kChmod,
    kRmdir,
    kUnlink,
    kKill,
    kCrypt,
};
inline constexpr unsigned kCalls = static_cast<unsigned>(Call::kCrypt) + 1;

/// What becomes of a call.
enum class Manner {
    kFails,  ///< it does nothing, or, when it closes something, does it and says that it failed
    kInterrupted,  ///< a signal came first: EINTR
    kShortened,    ///< it moves one byte of those that were asked for
    kRefused,      ///< the system does not allow it at all, and there is another way
    kNothing,      ///< it moves no byte, and that is no failure
    kFillsUp,      ///< it moves one byte, and each call behind it fails
};

inline constexpr unsigned kForever = 0xFFFFFFFF;

/// Something that goes wrong at the nth call of a kind, counted from 1, and at so many in all. When
/// memory is short for ever, it is so for every kind of call that needs some.
struct Fault {
    Call call = Call::kMalloc;
    Manner manner = Manner::kFails;
    int error = 0;
    unsigned times = 1;
    unsigned nth = 0;  ///< 0: nothing goes wrong
};

/// What calls were made. It can lie in memory that processes share.
struct CallCounts {
    unsigned made[kCalls] = {};
    bool faulty = false;  ///< the fault came up

    unsigned of(Call call) const { return made[static_cast<unsigned>(call)]; }
};

/// While it lives, counts the calls of this process and lets a fault come up. Keeps an account of
/// the memory that they hand out. One at a time.
class Inject {
  public:
    Inject(const Fault &fault, CallCounts &counts);
    Inject(const Inject &) = delete;
    Inject &operator=(const Inject &) = delete;
    ~Inject();

    /// Blocks of memory that were handed out and not freed.
    unsigned held_blocks() const;
};

/// While it lives, calls are those of the test: they are not counted, and nothing goes wrong.
class Aside {
  public:
    Aside();
    Aside(const Aside &) = delete;
    Aside &operator=(const Aside &) = delete;
    ~Aside();

  private:
    CallCounts *kept_;
};

/// Answers a request of ioctl() in place of the kernel; returns what ioctl() returns.
using Driver = std::function<int(unsigned long request, void *block)>;

/// While it lives, all requests of ioctl() go to a driver, and what would be opened at one path is
/// opened at another. One at a time.
class Stage {
  public:
    explicit Stage(Driver driver, std::string path = "", std::string instead = "");
    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;
    ~Stage();
};

const char *name_of(Call call);

}  // namespace qmv_test

#endif
