// What the library's functions do when their calls of the system fail, one at a time.
#ifndef QMV_TESTS_FAULTS_SCENARIO_H
#define QMV_TESTS_FAULTS_SCENARIO_H

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/faults/faults.h"
#include "tests/support/io.h"

namespace qmv_test {

/// Which calls of a kind, counted from 1.
struct Nth {
    unsigned first = 1;
    unsigned last = kForever;
};
constexpr Nth only(unsigned number) {
    return {number, number};
}
constexpr Nth from(unsigned number) {
    return {number, kForever};
}

/// A text in quotation marks, with escapes; what repeats a character often is written "<5000 v>".
std::string in_quotes(std::string_view text);

/// A result of an item or descriptor function: "-1 EIO" with the errno of a failure.
std::string result(int returned);

/// Opens a file, which is not what is looked at, calls a function with its descriptor and returns
/// what that returned.
std::string with_descriptor(const std::string &path, int flags,
                            const std::function<std::string(int fd)> &use);

/// Calls of the library, what is there before them, and what they do, whatever goes wrong.
///
/// An outcome is what `work` returned, followed by all else that changed: what was printed
/// (` printed "..."`), what stands on stderr (` said "..."`), each file that was created or changed
/// (` name="..."`), removed (` -name`) or, a directory, created (` name/`), and in brackets what
/// was left behind: descriptors, processes, memory. `{error}` in an expected outcome stands for
/// the name of the error that came up.
class Scenario {
  public:
    using Work = std::function<std::string(const TempDir &dir)>;

    explicit Scenario(Work work) : work_(std::move(work)) {}

    /// A file in the directory of the run.
    Scenario &with(std::string name, std::string content);
    /// What else has to be there.
    Scenario &prepared(std::function<void(const TempDir &dir)> more);
    /// Runs the work in a process of its own, with an input: the work may exit.
    Scenario &fed(std::string input);

    /// The outcome when nothing goes wrong. A call that was interrupted or that moved less than it
    /// was asked for changes nothing, and neither does a failed close().
    Scenario &gives(std::string outcome);
    /// The outcome when a call fails. The last one that was told for a call counts.
    Scenario &fails(Call call, std::string outcome, Nth nth = {});
    /// The outcome when there is no more memory from a call on; without one, that of fails().
    Scenario &fails_for_good(Call call, std::string outcome, Nth nth = {});
    /// The outcome of another manner.
    Scenario &goes(Manner manner, Call call, std::string outcome, Nth nth = {});

    /// Runs it without a fault, and once for each call that was made then and each way in which
    /// that can go wrong.
    void check();

  private:
    struct Rule {
        Call call;
        Manner manner;
        bool for_good;
        Nth nth;
        std::string outcome;
        bool used;
    };

    Scenario &rule(Call call, Manner manner, bool for_good, Nth nth, std::string outcome);
    Rule *find_rule(const Fault &fault, bool for_good);
    /// Null when no outcome is told.
    const std::string *expected(const Fault &fault);
    std::string run_here(const TempDir &dir, const Fault &fault);
    std::string run_in_process(const TempDir &dir, const Fault &fault);
    std::string run(const Fault &fault);
    void compare(const Fault &fault);
    int run_all();

    Work work_;
    std::vector<std::pair<std::string, std::string>> files_;
    std::function<void(const TempDir &)> more_;
    std::string input_;
    bool in_process_ = false;
    std::string plain_;
    std::vector<Rule> rules_;
    unsigned complaints_ = 0;
};

}  // namespace qmv_test

#endif
