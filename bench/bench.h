/*
 * What the benchmarks share. A case is named "function/input", its measurement "function/input/way",
 * and the ways are
 *
 *  - library: the function
 *  - literal: the same, step by step; see literal/literal.h
 *  - limit:   the same bytes copied, or read and written: what no way can do without
 *  - peer:X   what another library, X, offers for the task
 */
#ifndef QMV_BENCH_BENCH_H
#define QMV_BENCH_BENCH_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <string_view>

namespace bench {

// Each adds the cases of a subsystem, and ends the program when the ways do not agree.
void add_codecs();
void add_items();
void add_requests();
void add_texts();
void add_uploads();
void add_xml();

/// Ends the program unless both are equal. `what` says what they are.
void expect_same(const std::string &what, std::string_view literal, std::string_view library);
void expect_same(const std::string &what, long literal, long library);

/// What a function prints to stdout.
std::string printed(const std::function<void()> &print);

/// Measures calls of a function, whose result is kept from being optimised away.
template <class Call>
void add(const std::string &name, const std::string &way, Call call) {
    benchmark::RegisterBenchmark((name + '/' + way).c_str(),
                                 [call](benchmark::State &state) mutable {
                                     for (auto _ : state)
                                         benchmark::DoNotOptimize(call());
                                 });
}

/// The same bytes, again and again behind a descriptor.
class Source {
  public:
    enum Kind { kFile, kPipe, kSocket };
    static constexpr Kind kKinds[] = {kFile, kPipe, kSocket};

    /// Keeps a view of the bytes.
    Source(Kind kind, std::string_view bytes);
    ~Source();
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;

    static const char *name(Kind kind);

    /// A descriptor that holds all the bytes, after what was there before was taken. -1: they do not
    /// fit, because only root may have so many in a socket.
    int refill();

  private:
    Kind kind_;
    std::string_view bytes_;
    int out_ = -1;
    int in_ = -1;
};

/// Measures calls of a function with a descriptor, without what it takes to fill that.
template <class Call>
void add_reading(const std::string &name, const std::string &way, Source::Kind kind,
                 std::string_view bytes, Call call) {
    benchmark::RegisterBenchmark((name + '/' + way).c_str(),
                                 [call, kind, bytes](benchmark::State &state) mutable {
                                     Source source(kind, bytes);
                                     for (auto _ : state) {
                                         state.PauseTiming();
                                         const int fd = source.refill();
                                         if (fd < 0) {
                                             state.SkipWithError("needs root");
                                             break;
                                         }
                                         state.ResumeTiming();
                                         benchmark::DoNotOptimize(call(fd));
                                     }
                                 });
}

/// About 16 KiB of UTF-8 of one kind.
struct Text {
    const char *kind;
    std::string utf8;
};
const Text *texts();
constexpr int kTexts = 4;

/// Random bytes, the same ones in every run.
std::string random_bytes(std::size_t size);

}  // namespace bench

#endif
