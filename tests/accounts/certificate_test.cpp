// Listings, what is shown and deleted of them, and tooltips. The select box has a file of its own.
#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/accounts.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/support/certificates.h"
#include "tests/support/held_memory.h"
#include "tests/support/io.h"
#include "tests/support/process_state.h"
#include "tests/support/program.h"

namespace {

using qmv_test::html_escaped;
using qmv_test::NoDescriptors;
using qmv_test::open_descriptors;
using qmv_test::output_of;
using qmv_test::printed_error;
using qmv_test::router_certificate;
using qmv_test::TempDir;
using qmv_test::WorkingDirectory;
using Names = std::vector<std::string>;

/// Prints its arguments, each with a comma behind it.
constexpr char kEcho[] = "printf %s,";

/// A listing, freed at the end of the scope.
class Listing {
  public:
    explicit Listing(std::string dir, const cert_tool *info = nullptr,
                     const cert_related *related = nullptr)
        : dir_(std::move(dir)), result_(cert_dir_setup(&cd_, dir_.c_str(), info, related)) {}
    Listing(const Listing &) = delete;
    Listing &operator=(const Listing &) = delete;
    ~Listing() { cert_dir_free(&cd_); }

    cert_dir *get() { return &cd_; }
    int result() const { return result_; }
    Names names() const {
        Names names;
        for (int i = 0; i < cd_.count; ++i)
            names.emplace_back(cd_.entries[i]->d_name);
        return names;
    }

  private:
    std::string dir_;
    cert_dir cd_;
    int result_;
};

void make_directory_in(const TempDir &dir, const char *name) {
    ASSERT_EQ(::mkdir(dir.file(name).c_str(), 0777), 0) << name;
}

// ---- cert_dir_setup, cert_dir_free ----

TEST(CertDirSetup, ListsVisibleNamesInOrder) {
    const TempDir dir;
    for (const char *name :
         {"b.pem", "a.pem", "B.pem", "10", "9", ".hidden", "..x", "\xC3\xA9", "-"})
        dir.write(name, "x");
    make_directory_in(dir, "middle");
    make_directory_in(dir, ".git");
    const Listing listing(dir.path());
    EXPECT_EQ(listing.result(), 8);
    EXPECT_EQ(listing.names(),
              (Names{"-", "10", "9", "B.pem", "a.pem", "b.pem", "middle", "\xC3\xA9"}));
}

TEST(CertDirSetup, FillsTheDescription) {
    const TempDir dir;
    dir.write("a.pem", "x");
    const cert_tool info = {"w", "t", "o"};
    const cert_related related[] = {{nullptr, "", "", "", "", 0, 0}};
    const std::string path = dir.path();
    cert_dir cd;
    std::memset(&cd, 0x55, sizeof cd);
    EXPECT_EQ(cert_dir_setup(&cd, path.c_str(), &info, related), 1);
    EXPECT_EQ(cd.dir, path.c_str());
    EXPECT_EQ(cd.info, &info);
    EXPECT_EQ(cd.related, related);
    EXPECT_EQ(cd.count, 1);
    ASSERT_NE(cd.entries, nullptr);
    EXPECT_STREQ(cd.entries[0]->d_name, "a.pem");
    cert_dir_free(&cd);
}

TEST(CertDirSetup, ReturnsZeroForAnEmptyDirectory) {
    const TempDir dir;
    dir.write(".hidden", "x");
    Listing listing(dir.path());
    EXPECT_EQ(listing.result(), 0);
    EXPECT_EQ(listing.get()->count, 0);
}

TEST(CertDirSetup, IsNegativeForADirectoryThatCannotBeRead) {
    const TempDir dir;
    dir.write("file", "x");
    for (const std::string &path : {dir.file("missing"), dir.file("file"), std::string()}) {
        cert_dir cd;
        std::memset(&cd, 0x55, sizeof cd);
        EXPECT_LT(cert_dir_setup(&cd, path.c_str(), nullptr, nullptr), 0) << path;
        EXPECT_LT(cd.count, 0) << path;
        EXPECT_EQ(cd.entries, nullptr) << path;
    }
    cert_dir cd;
    EXPECT_LT(cert_dir_setup(&cd, nullptr, nullptr, nullptr), 0) << "null directory";
    EXPECT_EQ(cd.entries, nullptr) << "null directory";
    EXPECT_LT(cert_dir_setup(nullptr, dir.path(), nullptr, nullptr), 0) << "null description";
}

TEST(CertDirSetup, ListsNamesThatHoldAnythingButASlash) {
    const TempDir dir;
    const Names names = {
        "\n",   " ",   "\"", "$(x)", "%s", "'", "-rf", "<&>", "\\", "`x`", std::string(255, 'x'),
        "\x7F", "\xFF"};
    for (const std::string &name : names)
        dir.write(name, "x");
    EXPECT_EQ(Listing(dir.path()).names(), names);
}

TEST(CertDirSetup, ListsManyEntries) {
    const TempDir dir;
    Names names;
    for (int i = 100; i < 400; ++i) {
        names.push_back(std::to_string(i) + std::string(static_cast<std::size_t>(i % 60), 'x'));
        dir.write(names.back(), "x");
    }
    EXPECT_EQ(Listing(dir.path()).names(), names);
}

TEST(CertDirSetup, KeepsArrayAndEntriesInOneBlock) {
    const TempDir dir;
    dir.write("a.pem", "x");
    dir.write("b.pem", "x");
    cert_dir cd;
    ASSERT_EQ(cert_dir_setup(&cd, dir.path(), nullptr, nullptr), 2);
    const auto *const begin = reinterpret_cast<const char *>(cd.entries);
    for (int i = 0; i < 2; ++i) {
        const auto *const entry = reinterpret_cast<const char *>(cd.entries[i]);
        EXPECT_GT(entry, begin) << i;
        EXPECT_LT(entry, begin + 4096) << i;
    }
    // What is left over shows as a leak where leaks are looked for.
    std::free(cd.entries);
}

TEST(CertDirSetup, KeepsInodeLengthAndTypeOfEachEntry) {
    const TempDir dir;
    dir.write("a.pem", "x");
    make_directory_in(dir, "b");
    Listing listing(dir.path());
    ASSERT_EQ(listing.names(), (Names{"a.pem", "b"}));
    const unsigned char types[] = {DT_REG, DT_DIR};
    for (int i = 0; i < 2; ++i) {
        const dirent *const entry = listing.get()->entries[i];
        struct stat info;
        ASSERT_EQ(::stat(dir.file(entry->d_name).c_str(), &info), 0);
        EXPECT_EQ(entry->d_ino, static_cast<decltype(entry->d_ino)>(info.st_ino)) << i;
        EXPECT_EQ(entry->d_type, types[i]) << i;
        EXPECT_GT(entry->d_reclen, offsetof(dirent, d_name) + std::strlen(entry->d_name)) << i;
    }
}

#if QMV_FAKE_ALLOCATION
TEST(CertDirSetup, IsNegativeWithoutMemory) {
    const TempDir dir;
    dir.write("a.pem", "x");
    dir.write("b.pem", "x");
    const int before = open_descriptors();
    for (int n = 0;; ++n) {
        cert_dir cd;
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            result = cert_dir_setup(&cd, dir.path(), nullptr, nullptr);
            failed = failure.failed();
        }
        EXPECT_EQ(cd.count, result) << "allocation " << n;
        if (failed == 0) {
            EXPECT_EQ(result, 2);
            EXPECT_GT(n, 1) << "it allocates less than a block for the entries";
            cert_dir_free(&cd);
            break;
        }
        EXPECT_LT(result, 0) << "allocation " << n;
        EXPECT_EQ(cd.entries, nullptr) << "allocation " << n;
    }
    EXPECT_EQ(open_descriptors(), before);
}
#endif

TEST(CertDirSetup, LeavesNoDescriptorOpen) {
    const TempDir dir;
    const int before = open_descriptors();
    const Listing listing(dir.path());
    EXPECT_EQ(open_descriptors(), before);
}

TEST(CertDirFree, ClearsEntriesAndCount) {
    const TempDir dir;
    dir.write("a.pem", "x");
    cert_dir cd;
    ASSERT_EQ(cert_dir_setup(&cd, dir.path(), nullptr, nullptr), 1);
    for (const char *call : {"first call", "second call"}) {
        cert_dir_free(&cd);
        EXPECT_EQ(cd.entries, nullptr) << call;
        EXPECT_EQ(cd.count, 0) << call;
        EXPECT_STREQ(cd.dir, dir.path()) << call;
    }
}

TEST(CertDirFree, FreesAllOfAListing) {
    const TempDir dir;
    for (int i = 0; i < 50; ++i)
        dir.write(std::to_string(i), "x");
    EXPECT_EQ(Listing(dir.path()).result(), 50) << "what the allocator keeps is there from now on";
    const std::size_t before = qmv_test::held_memory();
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(Listing(dir.path()).result(), 50);
    EXPECT_LT(qmv_test::held_memory(), before + 20000);
}

TEST(CertDirFree, LeavesTheCountOfADirectoryThatCouldNotBeRead) {
    cert_dir cd;
    cert_dir_setup(&cd, "/nowhere/at/all", nullptr, nullptr);
    cert_dir_free(&cd);
    EXPECT_LT(cd.count, 0);
}

TEST(CertDirFree, TakesNull) {
    cert_dir_free(nullptr);
}

// ---- show_certificates ----

/// A call of show_file or show_related.
struct Shown {
    uint32_t arg;
    std::string name;  ///< empty for a related file
    uint32_t number;   ///< the index of a file
    uint32_t mask;     ///< 0 for a file
    std::optional<std::string> tooltip;

    bool operator==(const Shown &) const = default;
};

void PrintTo(const Shown &shown, std::ostream *out) {
    *out << "{" << shown.arg << ", " << testing::PrintToString(shown.name) << ", " << shown.number
         << ", " << shown.mask << ", " << testing::PrintToString(shown.tooltip.value_or("(null)"))
         << "}";
}

// What the callbacks saw, and what show_file returns.
std::vector<Shown> seen;
uint32_t returned_mask = 0;

std::optional<std::string> text_or_null(const char *text) {
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

uint32_t note_file(uint32_t arg, const char *file_name, int index, const char *tooltip) {
    seen.push_back({arg, file_name, static_cast<uint32_t>(index), 0, text_or_null(tooltip)});
    return returned_mask;
}

void note_related(uint32_t arg, uint32_t number, uint32_t mask, const char *tooltip) {
    seen.push_back({arg, "", number, mask, text_or_null(tooltip)});
}

std::vector<Shown> shown(cert_dir *cd, uint32_t mask = 0, uint32_t arg = 7) {
    seen.clear();
    returned_mask = mask;
    show_certificates(cd, arg, note_file, note_related);
    return std::move(seen);
}

/// The tooltip of kEcho, run on a path.
std::string echoed(const std::string &path, const std::string &options) {
    return " title=\"-in," + path + ",-noout," + options + ",\"";
}

constexpr cert_tool kEchoTool = {nullptr, kEcho, "-text"};

TEST(ShowCertificates, ShowsFilesButNoDirectories) {
    const TempDir dir;
    dir.write("a.pem", "x");
    make_directory_in(dir, "b");
    dir.write("c.pem", "x");
    dir.write(".hidden", "x");
    Listing listing(dir.path(), &kEchoTool);
    EXPECT_EQ(shown(listing.get()),
              (std::vector<Shown>{{7, "a.pem", 0, 0, echoed(dir.file("a.pem"), "-text")},
                                  {7, "c.pem", 2, 0, echoed(dir.file("c.pem"), "-text")}}));
}

TEST(ShowCertificates, HandsTheArgumentOver) {
    const TempDir dir;
    dir.write("a.pem", "x");
    Listing listing(dir.path(), &kEchoTool);
    for (const uint32_t arg : {0u, 1u, 0xFFFFFFFFu})
        EXPECT_EQ(shown(listing.get(), 0, arg)[0].arg, arg);
}

TEST(ShowCertificates, ShowsNothingWithoutToolFunctionOrListing) {
    const TempDir dir;
    dir.write("a.pem", "x");
    Listing without_info(dir.path());
    EXPECT_TRUE(shown(without_info.get()).empty()) << "no info";
    Listing unreadable(dir.file("missing"), &kEchoTool);
    EXPECT_TRUE(shown(unreadable.get()).empty()) << "unreadable directory";
    EXPECT_TRUE(shown(nullptr).empty()) << "null";
    Listing freed(dir.path(), &kEchoTool);
    cert_dir_free(freed.get());
    EXPECT_TRUE(shown(freed.get()).empty()) << "freed listing";
    const cert_related related[] = {{dir.path(), ".key", nullptr, kEcho, "-text", 1, 1},
                                    {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0}};
    Listing listing(dir.path(), &kEchoTool, related);
    seen.clear();
    show_certificates(listing.get(), 1, nullptr, note_related);
    EXPECT_TRUE(seen.empty()) << "no function for files";
}

TEST(ShowCertificates, JoinsDirectoryAndNameWithOneSlash) {
    const TempDir dir;
    dir.write("a.pem", "x");
    const WorkingDirectory working(dir.path());
    const std::string path = dir.path();
    const struct {
        std::string dir;
        std::string path;
    } rows[] = {
        {path, path + "/a.pem"},
        {path + "/", path + "/a.pem"},
        {path + "//", path + "//a.pem"},
        {".", "./a.pem"},
        {"./", "./a.pem"},
    };
    for (const auto &row : rows) {
        Listing listing(row.dir, &kEchoTool);
        const std::vector<Shown> calls = shown(listing.get());
        ASSERT_EQ(calls.size(), 1u) << row.dir;
        EXPECT_EQ(calls[0].tooltip, echoed(row.path, "-text")) << row.dir;
    }
}

TEST(ShowCertificates, MakesNoTooltipWhenTheToolPrintsNothing) {
    const TempDir dir;
    dir.write("a.pem", "x");
    for (const cert_tool &tool : {cert_tool{nullptr, "true", ""}, cert_tool{nullptr, nullptr, ""},
                                  cert_tool{nullptr, "true", nullptr}}) {
        Listing listing(dir.path(), &tool);
        EXPECT_EQ(shown(listing.get()), (std::vector<Shown>{{7, "a.pem", 0, 0, std::nullopt}}));
    }
}

TEST(ShowCertificates, RunsTheWrapper) {
    const TempDir dir;
    dir.write("a.pem", "x");
    const cert_tool tool = {kEcho, "tool", "-text"};
    Listing listing(dir.path(), &tool);
    EXPECT_EQ(shown(listing.get())[0].tooltip,
              " title=\"-i," + dir.file("a.pem") + ",--,tool,-noout,-text,\"");
}

/// A directory of certificates with one of keys and one of requests.
struct Store {
    Store() {
        for (const char *name : {"certs", "keys", "requests"})
            make_directory_in(dir, name);
        keys = dir.file("keys");
        requests = dir.file("requests/");
        related[0] = {keys.c_str(), ".key", nullptr, kEcho, "-check", 11, 1};
        related[1] = {requests.c_str(), ".req", "printf %s@", "tool", "-subject", 22, 6};
        related[2] = {keys.c_str(), "", nullptr, kEcho, "-same", 33, 0x80000000};
        related[3] = {nullptr, ".key", nullptr, kEcho, "-behind", 44, 0xFFFFFFFF};
    }

    std::string certs() const { return dir.file("certs/"); }

    TempDir dir;
    std::string keys;
    std::string requests;
    cert_related related[4];
};

TEST(ShowCertificates, ShowsRelatedFilesOfTheMask) {
    Store store;
    store.dir.write("certs/a.pem", "42 and more\n");
    const std::string file = echoed(store.certs() + "a.pem", "-text");
    const Shown main = {7, "a.pem", 0, 0, file};
    const Shown key = {11, "", 42, 1, echoed(store.keys + "/a.key", "-check")};
    const Shown request = {22, "", 42, 6,
                           " title=\"-i@" + store.requests + "a.req@--@tool@-noout@-subject@\""};
    const Shown same = {33, "", 42, 0x80000000, echoed(store.keys + "/a", "-same")};
    const struct {
        const char *label;
        uint32_t mask;
        std::vector<Shown> calls;
    } rows[] = {
        {"none", 0, {main}},
        {"no shared bit", 0x7FFFFFF8, {main}},
        {"first row", 1, {main, key}},
        {"second row by one bit", 2, {main, request}},
        {"second row by the other bit", 4, {main, request}},
        {"first and second", 3, {main, key, request}},
        {"highest bit", 0x80000000, {main, same}},
        {"all in order of the table, none behind its end", 0xFFFFFFFF, {main, key, request, same}},
    };
    Listing listing(store.certs(), &kEchoTool, store.related);
    for (const auto &row : rows)
        EXPECT_EQ(shown(listing.get(), row.mask), row.calls) << row.label;
}

TEST(ShowCertificates, ShowsRelatedFilesBehindEachFile) {
    Store store;
    store.dir.write("certs/a.pem", "1\n");
    store.dir.write("certs/b.pem", "2\n");
    Listing listing(store.certs(), &kEchoTool, store.related);
    EXPECT_EQ(shown(listing.get(), 1),
              (std::vector<Shown>{{7, "a.pem", 0, 0, echoed(store.certs() + "a.pem", "-text")},
                                  {11, "", 1, 1, echoed(store.keys + "/a.key", "-check")},
                                  {7, "b.pem", 1, 0, echoed(store.certs() + "b.pem", "-text")},
                                  {11, "", 2, 1, echoed(store.keys + "/b.key", "-check")}}));
}

TEST(ShowCertificates, ReadsTheNumberFromTheFile) {
    const struct {
        const char *label;
        const char *content;
        std::optional<uint32_t> number;  ///< none: no related file is shown
    } rows[] = {
        {"digits", "123\n", 123},
        {"no newline", "5", 5},
        {"highest", "4294967295\n", 4294967295u},
        {"certificate", "-----BEGIN CERTIFICATE-----\n", 0},
        {"text", "abc\n", 0},
        {"empty file", "", std::nullopt},
        {"empty line", "\n5\n", std::nullopt},
    };
    for (const auto &row : rows) {
        Store store;
        store.dir.write("certs/a.pem", row.content);
        Listing listing(store.certs(), &kEchoTool, store.related);
        const std::vector<Shown> calls = shown(listing.get(), 1);
        ASSERT_EQ(calls.size(), row.number ? 2u : 1u) << row.label;
        EXPECT_EQ(calls[0].name, "a.pem") << row.label;
        if (row.number) {
            EXPECT_EQ(calls[1].number, *row.number) << row.label;
        }
    }
}

TEST(ShowCertificates, ShowsNoRelatedFilesOfAFileThatIsGone) {
    Store store;
    store.dir.write("certs/a.pem", "1\n");
    Listing listing(store.certs(), &kEchoTool, store.related);
    ::unlink(store.dir.file("certs/a.pem").c_str());
    EXPECT_EQ(shown(listing.get(), 1).size(), 1u);
}

TEST(ShowCertificates, ShowsNoRelatedFilesWithoutTableOrFunction) {
    Store store;
    store.dir.write("certs/a.pem", "1\n");
    Listing listing(store.certs(), &kEchoTool, nullptr);
    EXPECT_EQ(shown(listing.get(), 0xFFFFFFFF).size(), 1u) << "no table";
    Listing with_table(store.certs(), &kEchoTool, store.related);
    seen.clear();
    returned_mask = 0xFFFFFFFF;
    show_certificates(with_table.get(), 7, note_file, nullptr);
    EXPECT_EQ(seen.size(), 1u) << "no function";
}

TEST(ShowCertificates, ReplacesTheLastExtensionForRelatedFiles) {
    const struct {
        const char *label;
        const char *dir;
        const char *ext;
        const char *name;
        const char *path;
    } rows[] = {
        {"extension", "keys", ".key", "a.pem", "keys/a.key"},
        {"last extension of two", "keys", ".key", "a.b.pem", "keys/a.b.key"},
        {"none to replace", "keys", ".key", "a", "keys/a.key"},
        {"only a dot at the end", "keys", ".key", "a.", "keys/a.key"},
        {"extension without a dot", "keys", "key", "a.pem", "keys/akey"},
        {"empty extension", "keys", "", "a.pem", "keys/a"},
        {"no extension: the whole name", "keys", nullptr, "a.pem", "keys/a.pem"},
        {"slash at the end", "keys/", ".key", "a.pem", "keys/a.key"},
        {"two slashes at the end", "keys//", ".key", "a.pem", "keys//a.key"},
        {"only a slash", "/", ".key", "a.pem", "/a.key"},
        {"empty directory", "", ".key", "a.pem", "a.key"},
    };
    for (const auto &row : rows) {
        const TempDir dir;
        dir.write(row.name, "1\n");
        const cert_related related[] = {{row.dir, row.ext, nullptr, kEcho, "-text", 0, 1},
                                        {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0}};
        Listing listing(dir.path(), &kEchoTool, related);
        const std::vector<Shown> calls = shown(listing.get(), 1);
        ASSERT_EQ(calls.size(), 2u) << row.label;
        EXPECT_EQ(calls[1].tooltip, echoed(row.path, "-text")) << row.label;
    }
}

TEST(ShowCertificates, ShowsARelatedFileWithoutTooltip) {
    const TempDir dir;
    dir.write("a.pem", "1\n");
    const cert_related related[] = {{"keys", ".key", nullptr, nullptr, "-text", 5, 1},
                                    {"keys", ".key", nullptr, "true", "", 6, 1},
                                    {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0}};
    Listing listing(dir.path(), &kEchoTool, related);
    const std::vector<Shown> calls = shown(listing.get(), 1);
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[1], (Shown{5, "", 1, 1, std::nullopt}));
    EXPECT_EQ(calls[2], (Shown{6, "", 1, 1, std::nullopt}));
}

/// File names that hold everything but a slash, and how a page shows them.
struct OddName {
    const char *name;
    const char *escaped;
};
constexpr OddName kOddNames[] = {
    {"two words.pem", "two words.pem"},
    {"a\"b.pem", "a&quot;b.pem"},
    {"it's.pem", "it's.pem"},
    {"a&b;c|d.pem", "a&amp;b;c|d.pem"},
    {"<b>.pem", "&lt;b&gt;.pem"},
    {"$HOME.pem", "$HOME.pem"},
    {"$(touch ran).pem", "$(touch ran).pem"},
    {"`touch ran`.pem", "`touch ran`.pem"},
    {"\"; touch ran; \".pem", "&quot;; touch ran; &quot;.pem"},
    {"\\.pem", "\\.pem"},
    {"\\\\.pem", "\\\\.pem"},
    {"\\$x.pem", "\\$x.pem"},
    {"end in backslash\\", "end in backslash\\"},
    {"line\nfeed.pem", "line\nfeed.pem"},
    {"backslash \\\n line feed.pem", "backslash \\\n line feed.pem"},
    {"-rf", "-rf"},
    {"a.b..c.pem", "a.b..c.pem"},
    {"*?[x]~!#%s.pem", "*?[x]~!#%s.pem"},
    {"\xC3\xA9\xE2\x82\xAC.pem", "&eacute;&#8364;.pem"},
};

TEST(ShowCertificates, HandsOddNamesToTheToolAsTheyAre) {
    for (const OddName &row : kOddNames) {
        const TempDir dir;
        make_directory_in(dir, "certs");
        dir.write(std::string("certs/") + row.name, "x");
        const WorkingDirectory working(dir.path());
        Listing listing("certs", &kEchoTool);
        EXPECT_EQ(shown(listing.get()),
                  (std::vector<Shown>{
                      {7, row.name, 0, 0, echoed(std::string("certs/") + row.escaped, "-text")}}));
        EXPECT_FALSE(dir.exists("ran")) << "the shell ran " << row.name;
    }
}

TEST(ShowCertificates, ShowsWhatOpensslPrints) {
    Store store;
    const std::string name = "my \"home\" & `x` $HOME.v1.pem";
    const std::string base = name.substr(0, name.size() - 4);
    store.dir.write("certs/" + name, router_certificate().certificate);
    store.dir.write("certs/no certificate", "text\n");
    store.dir.write("keys/" + base + ".key", router_certificate().key);
    store.dir.write("requests/" + base + ".req", router_certificate().request);
    const cert_tool info = {nullptr, "openssl x509", "-subject -issuer 2>/dev/null"};
    store.related[0] = {store.keys.c_str(),  ".key", nullptr, "openssl ec",
                        "-text 2>/dev/null", 1,      1};
    store.related[1] = {store.requests.c_str(), ".req", nullptr, "openssl req",
                        "-subject 2>/dev/null", 2,      1};
    const auto title = [&](const std::string &path, std::vector<std::string> command) {
        command.insert(command.begin() + 2, {"-in", store.dir.file(path), "-noout"});
        std::string output = output_of(command);
        output.pop_back();
        return " title=\"" + html_escaped(output) + "\"";
    };
    Listing listing(store.certs(), &info, store.related);
    const std::vector<Shown> calls = shown(listing.get(), 1);
    ASSERT_EQ(calls.size(), 6u) << "the one that is no certificate has related files, too";
    EXPECT_EQ(calls[0].tooltip, title("certs/" + name, {"openssl", "x509", "-subject", "-issuer"}));
    EXPECT_EQ(calls[0].tooltip,
              " title=\"subject=O = &quot;A&amp;B \\&quot;C\\&quot; &lt;D&gt;&quot;, CN = router\n"
              "issuer=O = &quot;A&amp;B \\&quot;C\\&quot; &lt;D&gt;&quot;, CN = router\"");
    EXPECT_EQ(calls[1].tooltip, title("keys/" + base + ".key", {"openssl", "ec", "-text"}));
    EXPECT_EQ(calls[2].tooltip, title("requests/" + base + ".req", {"openssl", "req", "-subject"}));
    EXPECT_EQ(calls[3], (Shown{7, "no certificate", 1, 0, std::nullopt}));
    EXPECT_EQ(calls[4].tooltip, std::nullopt) << "a key that does not exist";
}

TEST(ShowCertificates, LeavesNoDescriptorOpen) {
    Store store;
    store.dir.write("certs/a.pem", "1\n");
    Listing listing(store.certs(), &kEchoTool, store.related);
    const int before = open_descriptors();
    shown(listing.get(), 0xFFFFFFFF);
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION
// Counted without allocating anything.
int files_seen = 0;
int related_seen = 0;
int tooltips_seen = 0;

uint32_t count_file(uint32_t, const char *, int, const char *tooltip) {
    ++files_seen;
    tooltips_seen += tooltip != nullptr ? 1 : 0;
    return 1;
}

void count_related(uint32_t, uint32_t, uint32_t, const char *tooltip) {
    ++related_seen;
    tooltips_seen += tooltip != nullptr ? 1 : 0;
}

TEST(ShowCertificates, SkipsFilesAndTooltipsWithoutMemory) {
    Store store;
    store.dir.write("certs/a.pem", "1\n");
    Listing listing(store.certs(), &kEchoTool, store.related);
    const int before = open_descriptors();
    bool file_without_tooltip = false;
    for (int n = 0;; ++n) {
        files_seen = related_seen = tooltips_seen = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            show_certificates(listing.get(), 7, count_file, count_related);
            failed = failure.failed();
        }
        if (failed == 0) {
            EXPECT_EQ(files_seen, 1);
            EXPECT_EQ(related_seen, 1);
            EXPECT_EQ(tooltips_seen, 2);
            break;
        }
        EXPECT_EQ(files_seen, n == 0 ? 0 : 1) << "allocation " << n;
        EXPECT_LE(related_seen, files_seen) << "allocation " << n;
        file_without_tooltip = file_without_tooltip || (files_seen == 1 && tooltips_seen == 0);
    }
    EXPECT_TRUE(file_without_tooltip);
    EXPECT_EQ(open_descriptors(), before);
}
#endif

// ---- delete_certificate ----

/// A table with one row.
struct OneRelated {
    OneRelated(const char *dir, const char *ext)
        : rows{{dir, ext, nullptr, nullptr, nullptr, 0, 0},
               {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0}} {}
    cert_related rows[2];
};

TEST(DeleteCertificate, RemovesTheFileAndWhatBelongsToIt) {
    Store store;
    for (const char *name : {"a", "b", "c"}) {
        store.dir.write(std::string("certs/") + name + ".pem", "x");
        store.dir.write(std::string("keys/") + name + ".key", "x");
    }
    const std::string keys = store.keys + "/";
    const OneRelated related(keys.c_str(), ".key");
    Listing listing(store.certs(), nullptr, related.rows);
    ASSERT_EQ(listing.result(), 3);
    EXPECT_EQ(delete_certificate(listing.get(), 1), 2);
    EXPECT_EQ(listing.get()->count, 2);
    EXPECT_EQ(listing.names(), (Names{"a.pem", "c.pem"}));
    EXPECT_EQ(Listing(store.certs()).names(), (Names{"a.pem", "c.pem"}));
    EXPECT_EQ(Listing(store.keys).names(), (Names{"a.key", "c.key"}));
}

TEST(DeleteCertificate, RemovesEveryIndexDownToNone) {
    const TempDir dir;
    for (const char *name : {"a", "b", "c"})
        dir.write(name, "x");
    Listing listing(dir.file(""));
    EXPECT_EQ(delete_certificate(listing.get(), 2), 2);
    EXPECT_EQ(listing.names(), (Names{"a", "b"}));
    EXPECT_EQ(delete_certificate(listing.get(), 0), 1);
    EXPECT_EQ(listing.names(), (Names{"b"}));
    EXPECT_EQ(delete_certificate(listing.get(), 0), 0);
    EXPECT_EQ(listing.names(), Names{});
    EXPECT_EQ(delete_certificate(listing.get(), 0), 0) << "nothing left";
}

TEST(DeleteCertificate, ListsTheDirectoryAgain) {
    const TempDir dir;
    dir.write("b", "x");
    Listing listing(dir.file(""));
    dir.write("a", "x");
    dir.write("c", "x");
    EXPECT_EQ(delete_certificate(listing.get(), 0), 2);
    EXPECT_EQ(listing.names(), (Names{"a", "c"}));
}

TEST(DeleteCertificate, DeletesNothingForAnIndexOutsideTheListing) {
    const TempDir dir;
    dir.write("a", "x");
    dir.write("b", "x");
    Listing listing(dir.file(""));
    for (const int index : {2, 3, INT_MAX, -1, -2, INT_MIN}) {
        EXPECT_EQ(delete_certificate(listing.get(), index), 0) << index;
        EXPECT_EQ(listing.names(), (Names{"a", "b"})) << index;
        EXPECT_EQ(Listing(dir.path()).names(), (Names{"a", "b"})) << index;
    }
}

TEST(DeleteCertificate, DeletesNothingWithoutListing) {
    const TempDir dir;
    dir.write("a", "x");
    Listing unreadable(dir.file("missing/"));
    EXPECT_EQ(delete_certificate(unreadable.get(), 0), 0) << "unreadable directory";
    EXPECT_EQ(delete_certificate(unreadable.get(), -1), 0) << "unreadable directory, index -1";
    Listing freed(dir.file(""));
    cert_dir_free(freed.get());
    EXPECT_EQ(delete_certificate(freed.get(), 0), 0) << "freed listing";
    EXPECT_EQ(delete_certificate(nullptr, 0), 0) << "null";
    EXPECT_TRUE(dir.exists("a"));
}

TEST(DeleteCertificate, LeavesEverythingWhenTheFileCannotBeRemoved) {
    Store store;
    make_directory_in(store.dir, "certs/a.pem");
    store.dir.write("certs/b.pem", "x");
    store.dir.write("keys/a.key", "x");
    store.dir.write("keys/b.key", "x");
    const std::string keys = store.keys + "/";
    const OneRelated related(keys.c_str(), ".key");
    Listing listing(store.certs(), nullptr, related.rows);
    dirent **const entries = listing.get()->entries;
    EXPECT_EQ(delete_certificate(listing.get(), 0), -1) << "a directory";
    EXPECT_TRUE(store.dir.exists("certs/a.pem")) << "a directory";
    ::unlink(store.dir.file("certs/b.pem").c_str());
    EXPECT_EQ(delete_certificate(listing.get(), 1), -1) << "a file that is gone";
    EXPECT_EQ(listing.get()->entries, entries) << "the directory was listed again";
    EXPECT_EQ(listing.names(), (Names{"a.pem", "b.pem"}));
    EXPECT_EQ(Listing(store.keys).names(), (Names{"a.key", "b.key"}));
}

TEST(DeleteCertificate, InsertsNoSeparator) {
    const TempDir dir;
    make_directory_in(dir, "certs");
    make_directory_in(dir, "keys");
    for (const char *name : {"certs/a.pem", "certsa.pem", "keys/a.key", "keysa.key"})
        dir.write(name, "x");
    const std::string keys = dir.file("keys");
    const OneRelated related(keys.c_str(), ".key");
    Listing listing(dir.file("certs"), nullptr, related.rows);
    EXPECT_EQ(delete_certificate(listing.get(), 0), 1);
    EXPECT_EQ(Listing(dir.path()).names(), (Names{"certs", "keys"}));
    EXPECT_TRUE(dir.exists("certs/a.pem"));
    EXPECT_TRUE(dir.exists("keys/a.key"));
    EXPECT_EQ(delete_certificate(listing.get(), 0), -1) << "certsa.pem is gone";
}

TEST(DeleteCertificate, ReplacesTheLastExtensionForRelatedFiles) {
    const struct {
        const char *label;
        const char *name;
        const char *ext;
        const char *related;
    } rows[] = {
        {"extension", "a.pem", ".key", "a.key"},
        {"last extension of two", "a.b.pem", ".key", "a.b.key"},
        {"none to replace", "a", ".key", "a.key"},
        {"empty extension", "a.pem", "", "a"},
        {"extension without a dot", "a.pem", "key", "akey"},
        {"percent signs", "%s%n.pem", ".%d", "%s%n.%d"},
        {"quotation marks and line feed", "\"a'\n.pem", ".key", "\"a'\n.key"},
        {"leading dash", "-rf.pem", ".key", "-rf.key"},
        {"not ASCII", "\xC3\xA9.pem", ".key", "\xC3\xA9.key"},
    };
    for (const auto &row : rows) {
        Store store;
        store.dir.write(std::string("certs/") + row.name, "x");
        store.dir.write(std::string("keys/") + row.related, "x");
        store.dir.write("keys/other.key", "x");
        const std::string keys = store.keys + "/";
        const OneRelated related(keys.c_str(), row.ext);
        Listing listing(store.certs(), nullptr, related.rows);
        EXPECT_EQ(delete_certificate(listing.get(), 0), 0) << row.label;
        EXPECT_EQ(Listing(store.certs()).names(), Names{}) << row.label;
        EXPECT_EQ(Listing(store.keys).names(), (Names{"other.key"})) << row.label;
    }
}

TEST(DeleteCertificate, IgnoresRelatedFilesThatCannotBeRemoved) {
    Store store;
    store.dir.write("certs/a.pem", "x");
    make_directory_in(store.dir, "keys/a.key");
    store.dir.write("requests/a.req", "x");
    const std::string keys = store.keys + "/";
    // Whatever its mask, each row is taken.
    const cert_related related[] = {
        {keys.c_str(), ".key", nullptr, nullptr, nullptr, 0, 0},
        {"/nowhere/", ".key", nullptr, nullptr, nullptr, 0, 0},
        {store.requests.c_str(), ".req", nullptr, nullptr, nullptr, 0, 0},
        {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0}};
    Listing listing(store.certs(), nullptr, related);
    EXPECT_EQ(delete_certificate(listing.get(), 0), 0);
    EXPECT_TRUE(store.dir.exists("keys/a.key"));
    EXPECT_FALSE(store.dir.exists("requests/a.req"));
}

TEST(DeleteCertificate, KeepsTheDescription) {
    const TempDir dir;
    dir.write("a", "x");
    const OneRelated related("/nowhere/", ".key");
    Listing listing(dir.file(""), &kEchoTool, related.rows);
    const char *const path = listing.get()->dir;
    delete_certificate(listing.get(), 0);
    EXPECT_EQ(listing.get()->dir, path);
    EXPECT_EQ(listing.get()->info, &kEchoTool);
    EXPECT_EQ(listing.get()->related, related.rows);
}

TEST(DeleteCertificate, LeavesNoDescriptorOpen) {
    const TempDir dir;
    dir.write("a", "x");
    Listing listing(dir.file(""));
    const int before = open_descriptors();
    delete_certificate(listing.get(), 0);
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION
TEST(DeleteCertificate, FailsWithoutMemory) {
    for (int n = 0;; ++n) {
        Store store;
        store.dir.write("certs/a.pem", "x");
        store.dir.write("certs/b.pem", "x");
        store.dir.write("keys/a.key", "x");
        const std::string keys = store.keys + "/";
        const OneRelated related(keys.c_str(), ".key");
        Listing listing(store.certs(), nullptr, related.rows);
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            result = delete_certificate(listing.get(), 0);
            failed = failure.failed();
        }
        if (failed == 0) {
            EXPECT_EQ(result, 1);
            EXPECT_FALSE(store.dir.exists("keys/a.key"));
            break;
        }
        EXPECT_LT(result, 0) << "allocation " << n;
        if (store.dir.exists("certs/a.pem")) {
            EXPECT_TRUE(store.dir.exists("keys/a.key")) << "allocation " << n;
            EXPECT_EQ(listing.names(), (Names{"a.pem", "b.pem"})) << "allocation " << n;
        } else {
            EXPECT_EQ(listing.get()->entries, nullptr) << "allocation " << n;
            EXPECT_EQ(listing.get()->count, result) << "allocation " << n;
        }
    }
}
#endif

// ---- asprint_tooltip ----

/// What asprint_tooltip() returned and stored.
struct Tooltip {
    int result;
    std::optional<std::string> text;  ///< none: it stored nothing

    bool operator==(const Tooltip &) const = default;
};

void PrintTo(const Tooltip &tooltip, std::ostream *out) {
    *out << tooltip.result << " " << testing::PrintToString(tooltip.text.value_or("(nothing)"));
}

const Tooltip kNoTooltip = {-1, std::nullopt};

Tooltip tooltip_of(const char *path, const char *wrapper, const char *command,
                   const char *options) {
    char untouched[] = "untouched";
    char *text = untouched;
    const int result = asprint_tooltip(&text, path, wrapper, command, options);
    if (text == untouched)
        return {result, std::nullopt};
    Tooltip tooltip = {result, text_or_null(text)};
    std::free(text);
    return tooltip;
}

/// A tooltip and its length.
Tooltip whole(const std::string &text) {
    return {static_cast<int>(text.size()), text};
}

TEST(AsprintTooltip, RunsTheCommandOnThePath) {
    EXPECT_EQ(tooltip_of("/a/b.pem", nullptr, kEcho, "-subject -dates"),
              whole(" title=\"-in,/a/b.pem,-noout,-subject,-dates,\""));
    EXPECT_EQ(tooltip_of("", nullptr, kEcho, ""), whole(" title=\"-in,,-noout,\""));
}

TEST(AsprintTooltip, RunsTheWrapperWithThePathAndTheCommand) {
    EXPECT_EQ(tooltip_of("/a/b.pem", kEcho, "openssl x509", "-subject"),
              whole(" title=\"-i,/a/b.pem,--,openssl,x509,-noout,-subject,\""));
}

TEST(AsprintTooltip, HandsOddPathsOverAsTheyAre) {
    const TempDir dir;
    const WorkingDirectory working(dir.path());
    for (const OddName &row : kOddNames) {
        const std::string escaped = row.escaped;
        EXPECT_EQ(tooltip_of(row.name, nullptr, kEcho, "-text"),
                  whole(" title=\"-in," + escaped + ",-noout,-text,\""));
        EXPECT_EQ(tooltip_of(row.name, kEcho, "tool", "-text"),
                  whole(" title=\"-i," + escaped + ",--,tool,-noout,-text,\""));
        EXPECT_FALSE(dir.exists("ran")) << "the shell ran " << row.name;
    }
    const std::string longest(4000, '$');
    EXPECT_EQ(tooltip_of(longest.c_str(), nullptr, kEcho, "-text"),
              whole(" title=\"-in," + longest + ",-noout,-text,\""));
}

TEST(AsprintTooltip, LeavesCommandAndOptionsToTheShell) {
    EXPECT_EQ(tooltip_of("p", nullptr, "printf '%s;'", "'a  b' \"$((1+2))\" `printf x`"),
              whole(" title=\"-in;p;-noout;a  b;3;x;\""));
}

TEST(AsprintTooltip, EscapesTheOutputAndDropsOneLineFeed) {
    EXPECT_EQ(tooltip_of("p", nullptr, "printf '<a>&\"b\"\\n\\n'; true", ""),
              whole(" title=\"&lt;a&gt;&amp;&quot;b&quot;\n\""));
}

TEST(AsprintTooltip, FailsForNullArguments) {
    // This command prints whatever stands behind it.
    constexpr char kAlways[] = "echo x #";
    ASSERT_EQ(tooltip_of("p", nullptr, kAlways, "o"), whole(" title=\"x\""));
    EXPECT_EQ(asprint_tooltip(nullptr, "p", nullptr, kAlways, "o"), -1) << "out";
    EXPECT_EQ(tooltip_of(nullptr, nullptr, kAlways, "o"), kNoTooltip) << "path";
    EXPECT_EQ(tooltip_of("p", nullptr, nullptr, "o"), kNoTooltip) << "command";
    EXPECT_EQ(tooltip_of("p", nullptr, kAlways, nullptr), kNoTooltip) << "options";
    EXPECT_EQ(tooltip_of("p", kAlways, nullptr, "o"), kNoTooltip) << "command of a wrapper";
    EXPECT_EQ(tooltip_of("p", kAlways, "c", nullptr), kNoTooltip) << "options of a wrapper";
}

TEST(AsprintTooltip, FailsWithoutOutput) {
    EXPECT_EQ(tooltip_of("p", nullptr, "true", ""), kNoTooltip) << "nothing printed";
    EXPECT_EQ(tooltip_of("p", nullptr, "echo; true", ""), kNoTooltip) << "one line feed printed";
    EXPECT_EQ(tooltip_of("p", nullptr, "exit 3;", ""), kNoTooltip) << "failed";
    printed_error([] {
        EXPECT_EQ(tooltip_of("p", nullptr, "/nowhere/tool", ""), kNoTooltip) << "no such command";
    });
}

TEST(AsprintTooltip, ShowsWhatAFailedCommandPrinted) {
    EXPECT_EQ(tooltip_of("p", nullptr, "echo half; exit 1;", ""), whole(" title=\"half\""));
}

TEST(AsprintTooltip, FailsWhenTheCommandCannotBeStarted) {
    Tooltip tooltip{};
    {
        const NoDescriptors none;
        tooltip = tooltip_of("p", nullptr, kEcho, "o");
    }
    EXPECT_EQ(tooltip, kNoTooltip);
}

TEST(AsprintTooltip, ShowsWhatOpensslPrints) {
    const TempDir dir;
    const std::string certificate = dir.write("a b.pem", router_certificate().certificate);
    const std::string output =
        output_of({"openssl", "x509", "-in", certificate, "-noout", "-text"});
    ASSERT_FALSE(output.empty());
    EXPECT_EQ(tooltip_of(certificate.c_str(), nullptr, "openssl x509", "-text"),
              whole(" title=\"" + html_escaped(output.substr(0, output.size() - 1)) + "\""));
}

TEST(AsprintTooltip, ShowsWhatAWrapperMakesOfOpenssl) {
    const TempDir dir;
    // Runs: WRAPPER -i FILE -- COMMAND...
    const std::string wrapper = dir.write(
        "wrapper",
        "test \"$1 $3\" = '-i --' || exit 1\nfile=$2\nshift 3\nexec \"$@\" < \"$file\"\n");
    const std::string certificate = dir.write("$x.pem", router_certificate().certificate);
    EXPECT_EQ(tooltip_of(certificate.c_str(), ("sh " + wrapper).c_str(), "openssl x509",
                         "-subject -nameopt multiline"),
              whole(" title=\"subject=\n"
                    "    organizationName          = A&amp;B &quot;C&quot; &lt;D&gt;\n"
                    "    commonName                = router\""));
}

TEST(AsprintTooltip, LeavesNoDescriptorOpen) {
    const int before = open_descriptors();
    tooltip_of("p", nullptr, kEcho, "o");
    tooltip_of("p", nullptr, "true", "o");
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION
TEST(AsprintTooltip, FailsWithoutMemory) {
    const int before = open_descriptors();
    for (int n = 0;; ++n) {
        char *text = nullptr;
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            result = asprint_tooltip(&text, "p$", nullptr, kEcho, "o");
            failed = failure.failed();
        }
        const std::unique_ptr<char, decltype(&std::free)> owned(text, std::free);
        if (failed == 0) {
            EXPECT_EQ(result, 25);
            EXPECT_STREQ(text, " title=\"-in,p$,-noout,o,\"");
            EXPECT_GT(n, 3) << "it allocates less than path, command, output and attribute";
            break;
        }
        // A buffer that the C library can do without is no failure.
        if (result >= 0)
            EXPECT_STREQ(text, " title=\"-in,p$,-noout,o,\"") << "allocation " << n;
        else
            EXPECT_EQ(text, nullptr) << "allocation " << n;
    }
    EXPECT_EQ(open_descriptors(), before);
}
#endif

}  // namespace
