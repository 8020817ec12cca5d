#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/xml.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/fakes/descriptor.h"
#include "tests/support/io.h"
#include "tests/support/program.h"

namespace {

using qmv_test::InputPipe;
using qmv_test::open_descriptors;
using qmv_test::output_of;
using qmv_test::run_program;
using qmv_test::TempDir;
using qmv_test::text;

/// A record whose buffer is freed at the end of the scope.
class Document {
  public:
    Document() = default;
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;
    ~Document() { std::free(x_.data); }

    xml_data *get() { return &x_; }
    xml_data *operator->() { return &x_; }
    std::string content() const {
        return x_.data != nullptr ? std::string(reinterpret_cast<const char *>(x_.data), x_.length)
                                  : std::string();
    }

  private:
    xml_data x_{0, 0, nullptr};
};

/// What a function appends to an empty record.
std::string appended(const std::function<void(xml_data *)> &call) {
    Document document;
    call(document.get());
    return document.content();
}

std::string escaped(const std::string &bytes, int n) {
    return appended([&](xml_data *x) { xml_data_txt(x, bytes.c_str(), n); });
}

std::string escaped(const std::string &bytes) {
    return escaped(bytes, static_cast<int>(bytes.size()));
}

// ---- xml_data_append ----

TEST(XmlDataAppend, AppendsBytes) {
    Document document;
    xml_data_append(document.get(), "ab\0c", 4);
    EXPECT_EQ(document.content(), text("ab\0c"));
    xml_data_append(document.get(), "<&>\n\xFF", 5);
    EXPECT_EQ(document.content(), text("ab\0c<&>\n\xFF"));
    EXPECT_EQ(document->length, 9u);
    EXPECT_EQ(document->capacity, 1024u);
}

TEST(XmlDataAppend, AppendsZerosForNullBytes) {
    Document document;
    xml_data_append(document.get(), "a", 1);
    xml_data_append(document.get(), nullptr, 3);
    xml_data_append(document.get(), "b", 1);
    EXPECT_EQ(document.content(), text("a\0\0\0b"));
    xml_data_append(document.get(), nullptr, 2000);
    EXPECT_EQ(document.content(), text("a\0\0\0b") + std::string(2000, '\0'));
}

TEST(XmlDataAppend, AllocatesTheFirstBufferEvenForNothing) {
    for (const int n : {0, -1, INT_MIN}) {
        for (const char *bytes : {"abc", static_cast<const char *>(nullptr)}) {
            Document document;
            xml_data_append(document.get(), bytes, n);
            EXPECT_EQ(document->capacity, 1024u) << n;
            EXPECT_EQ(document->length, 0u) << n;
            EXPECT_NE(document->data, nullptr) << n;
        }
    }
}

TEST(XmlDataAppend, AppendsNothingForALengthBelowOne) {
    Document document;
    xml_data_append(document.get(), "abc", 3);
    for (const int n : {0, -1, INT_MIN})
        xml_data_append(document.get(), "xyz", n);
    EXPECT_EQ(document.content(), "abc");
    EXPECT_EQ(document->capacity, 1024u);
}

TEST(XmlDataAppend, GrowsInStepsOf1024) {
    const struct {
        int first;
        int second;
        uint32_t capacity;
    } rows[] = {
        {1, 0, 1024},       {1023, 0, 1024},    {1024, 0, 1024},    {1025, 0, 2048},
        {1500, 0, 2048},    {2048, 0, 2048},    {2049, 0, 3072},    {65536, 0, 65536},
        {65537, 0, 66560},  {1023, 1, 1024},    {1024, 1, 2048},    {1000, 24, 1024},
        {1000, 25, 2048},   {1000, 1048, 2048}, {1000, 1049, 3072}, {1024, 10000, 11264},
        {2048, 1024, 3072}, {2048, 1025, 4096}, {65536, 1, 66560},
    };
    for (const auto &row : rows) {
        Document document;
        const std::string a(static_cast<std::size_t>(row.first), 'a');
        const std::string b(static_cast<std::size_t>(row.second), 'b');
        xml_data_append(document.get(), a.data(), row.first);
        xml_data_append(document.get(), b.data(), row.second);
        EXPECT_EQ(document->capacity, row.capacity) << row.first << " and " << row.second;
        EXPECT_EQ(document->length, static_cast<uint32_t>(row.first + row.second))
            << row.first << " and " << row.second;
        EXPECT_TRUE(document.content() == a + b) << row.first << " and " << row.second;
    }
}

TEST(XmlDataAppend, KeepsWhatIsThereWhileItGrows) {
    Document document;
    std::string expected;
    for (int i = 0; i < 20000; ++i) {
        const std::string number = std::to_string(i);
        xml_data_append(document.get(), number.data(), static_cast<int>(number.size()));
        expected += number;
        ASSERT_EQ(document->capacity, (expected.size() + 1023) / 1024 * 1024) << i;
    }
    EXPECT_TRUE(document.content() == expected);
}

TEST(XmlDataAppend, TakesABufferThatIsThereFirst) {
    // Growth counts from the capacity of the owner's own buffer.
    Document document;
    document->data = static_cast<unsigned char *>(std::malloc(10));
    document->capacity = 10;
    xml_data_append(document.get(), "0123456789", 10);
    EXPECT_EQ(document->capacity, 10u);
    xml_data_append(document.get(), "a", 1);
    EXPECT_EQ(document->capacity, 1034u);
    EXPECT_EQ(document.content(), "0123456789a");
}

TEST(XmlDataAppend, StartsAnewWithoutABuffer) {
    // "No buffer" means no data, whatever the numbers say.
    Document document;
    document->capacity = 4096;
    document->length = 100;
    xml_data_append(document.get(), "a", 1);
    EXPECT_EQ(document->capacity, 1024u);
    EXPECT_EQ(document.content(), "a");
}

TEST(XmlDataAppend, RetriesTheGrowthThatACapacityOfZeroMarks) {
    Document document;
    const std::string x(1500, 'x');
    xml_data_append(document.get(), x.data(), 1500);
    document->capacity = 0;
    xml_data_append(document.get(), "y", 1);
    EXPECT_EQ(document->capacity, 2048u) << "the smallest multiple of 1024 that holds 1501";
    EXPECT_EQ(document.content(), x + "y");
}

TEST(XmlDataAppend, DoesNothingForANullRecord) {
    xml_data_append(nullptr, "abc", 3);
    xml_data_append(nullptr, nullptr, 3);
    xml_data_str(nullptr, "abc");
    xml_data_header(nullptr);
    for (unsigned kind = 0; kind < 6; ++kind) {
        xml_data_tag(nullptr, "a", kind);
        xml_data_tag(nullptr, nullptr, kind);
    }
    xml_data_attr_str(nullptr, "a", "b");
    xml_data_attr_num(nullptr, "a", 1);
    xml_data_txt(nullptr, "a<b", 3);
    xml_data_element(nullptr, "a", "b");
}

#if QMV_FAKE_ALLOCATION
TEST(XmlDataAppend, MarksAFailedFirstAllocationAndTriesAgain) {
    Document document;
    for (int i = 0; i < 3; ++i) {
        {
            const qmv_test::AllocationFailure failure(0);
            xml_data_append(document.get(), "abc", 3);
        }
        EXPECT_EQ(document->capacity, 0u);
        EXPECT_EQ(document->length, 0u);
        EXPECT_EQ(document->data, nullptr);
    }
    xml_data_append(document.get(), "def", 3);
    EXPECT_EQ(document->capacity, 1024u);
    EXPECT_EQ(document.content(), "def");
}

TEST(XmlDataAppend, KeepsBufferAndLengthWhenItCannotGrow) {
    Document document;
    const std::string x(1000, 'x');
    const std::string y(100, 'y');
    xml_data_append(document.get(), x.data(), 1000);
    const unsigned char *const data = document->data;
    for (const int n : {100, 25, 24, 1}) {
        {
            const qmv_test::AllocationFailure failure(0);
            xml_data_append(document.get(), y.data(), n);
        }
        EXPECT_EQ(document->capacity, 0u) << n;
        EXPECT_EQ(document->data, data) << n;
        EXPECT_EQ(document.content(), x) << n;
    }
    xml_data_append(document.get(), y.data(), 100);
    EXPECT_EQ(document->capacity, 2048u);
    EXPECT_EQ(document.content(), x + y);
}

TEST(XmlDataAppend, NeedsNoMemoryForWhatFits) {
    Document document;
    xml_data_append(document.get(), "a", 1);
    const std::string x(1023, 'x');
    {
        const qmv_test::AllocationFailure failure(0);
        xml_data_append(document.get(), x.data(), 1023);
        xml_data_append(document.get(), "y", 0);
    }
    EXPECT_EQ(document->capacity, 1024u);
    EXPECT_EQ(document.content(), "a" + x);
}

TEST(XmlDataAppend, FirstBufferMayBeThereWithoutItsGrowth) {
    Document document;
    const std::string x(1500, 'x');
    {
        const qmv_test::AllocationFailure failure(1);
        xml_data_append(document.get(), x.data(), 1500);
    }
    EXPECT_EQ(document->capacity, 0u);
    EXPECT_EQ(document->length, 0u);
    xml_data_append(document.get(), x.data(), 1500);
    EXPECT_EQ(document->capacity, 2048u);
    EXPECT_EQ(document.content(), x);
}

TEST(XmlDataAppend, LeavesOutWhatDoesNotFitAndGoesOn) {
    // Whole pieces are missing, never a part of one.
    Document document;
    const std::string x(1020, 'x');
    xml_data_append(document.get(), x.data(), 1020);
    {
        const qmv_test::AllocationFailure failure(0);
        xml_data_txt(document.get(), "ab<c&", 5);
    }
    EXPECT_EQ(document.content(), x + "ab") << "the run fits, the references do not";
    EXPECT_EQ(document->capacity, 0u);
    xml_data_txt(document.get(), "&d", 2);
    EXPECT_EQ(document.content(), x + "ab&amp;d");
    EXPECT_EQ(document->capacity, 2048u);
}
#endif

// ---- xml_data_str, xml_data_header ----

TEST(XmlDataStr, AppendsTheStringAsItIs) {
    EXPECT_EQ(appended([](xml_data *x) {
                  xml_data_str(x, "<a b=\"c\">&'\t\r\n\xC3\xA9%s");
                  xml_data_str(x, "");
                  xml_data_str(x, "x");
              }),
              "<a b=\"c\">&'\t\r\n\xC3\xA9%sx");
}

TEST(XmlDataStr, AppendsLongStringsWhole) {
    const std::string longer(65536, 's');
    EXPECT_TRUE(appended([&](xml_data *x) { xml_data_str(x, longer.c_str()); }) == longer);
}

TEST(XmlDataStr, AppendsNothingForNull) {
    Document document;
    xml_data_str(document.get(), "a");
    xml_data_str(document.get(), nullptr);
    EXPECT_EQ(document.content(), "a");
}

TEST(XmlDataHeader, AppendsTheDeclaration) {
    EXPECT_EQ(appended(xml_data_header), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

// ---- xml_data_tag ----

TEST(XmlDataTag, AppendsTheTagOfItsKind) {
    const struct {
        unsigned kind;
        const char *with_name;
        const char *without_name;
    } rows[] = {
        {0, "<item>", ">"},        {1, "<item>\n", ">\n"},   {2, "<item", ""},
        {3, "</item>\n", ">\n"},   {4, "<item/>\n", "/>\n"}, {5, "<item", ""},
        {6, "<item", ""},          {256, "<item", ""},       {0x80000000, "<item", ""},
        {0xFFFFFFFF, "<item", ""},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(appended([&](xml_data *x) { xml_data_tag(x, "item", row.kind); }), row.with_name)
            << row.kind;
        EXPECT_EQ(appended([&](xml_data *x) { xml_data_tag(x, nullptr, row.kind); }),
                  row.without_name)
            << row.kind << ", null name";
    }
}

TEST(XmlDataTag, AppendsTheNameAsItIs) {
    EXPECT_EQ(appended([](xml_data *x) {
                  xml_data_tag(x, "", 0);
                  xml_data_tag(x, "a<&\"%s", 3);
              }),
              "<></a<&\"%s>\n");
}

// ---- xml_data_attr_str, xml_data_attr_num ----

TEST(XmlDataAttrStr, AppendsTheAttribute) {
    EXPECT_EQ(appended([](xml_data *x) {
                  xml_data_attr_str(x, "name", "value");
                  xml_data_attr_str(x, "empty", "");
              }),
              " name=\"value\" empty=\"\"");
}

TEST(XmlDataAttrStr, DoesNotEscapeTheValue) {
    EXPECT_EQ(appended([](xml_data *x) { xml_data_attr_str(x, "n&", "a\"<&>'\n%s"); }),
              " n&=\"a\"<&>'\n%s\"");
}

TEST(XmlDataAttrStr, TakesNull) {
    EXPECT_EQ(appended([](xml_data *x) { xml_data_attr_str(x, nullptr, "v"); }), " =\"v\"");
    EXPECT_EQ(appended([](xml_data *x) { xml_data_attr_str(x, "n", nullptr); }), " n=\"\"");
}

TEST(XmlDataAttrNum, AppendsTheNumber) {
    const struct {
        unsigned value;
        const char *attribute;
    } rows[] = {
        {0, " id=\"0\""},
        {7, " id=\"7\""},
        {2147483647, " id=\"2147483647\""},
        {2147483648, " id=\"2147483648\""},
        {4294967295, " id=\"4294967295\""},
    };
    for (const auto &row : rows)
        EXPECT_EQ(appended([&](xml_data *x) { xml_data_attr_num(x, "id", row.value); }),
                  row.attribute);
}

TEST(XmlDataAttrNum, StandsInATagThatWasLeftOpen) {
    EXPECT_EQ(appended([](xml_data *x) {
                  xml_data_tag(x, "item", 2);
                  xml_data_attr_num(x, "id", 7);
                  xml_data_tag(x, nullptr, 4);
              }),
              "<item id=\"7\"/>\n");
}

// ---- xml_data_txt ----

TEST(XmlDataTxt, EscapesEachByteByTheTable) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string one(1, static_cast<char>(byte));
        std::string expected = one;
        switch (byte) {
            case 9:
                expected = "&#9;";
                break;
            case 10:
                expected = "&#10;";
                break;
            case 13:
                expected = "&#13;";
                break;
            case 34:
                expected = "&quot;";
                break;
            case 38:
                expected = "&amp;";
                break;
            case 39:
                expected = "&apos;";
                break;
            case 60:
                expected = "&lt;";
                break;
            case 62:
                expected = "&gt;";
                break;
            default:
                break;
        }
        EXPECT_EQ(escaped(one), expected) << "byte " << byte;
        EXPECT_EQ(escaped("a" + one + "b"), "a" + expected + "b") << "byte " << byte;
    }
}

TEST(XmlDataTxt, AppendsRunsAndReferencesInOrder) {
    const struct {
        const char *text;
        const char *escaped;
    } rows[] = {
        {"a<b & 'c'", "a&lt;b &amp; &apos;c&apos;"},
        {"<<>>", "&lt;&lt;&gt;&gt;"},
        {"&amp;", "&amp;amp;"},
        {"&#10;", "&amp;#10;"},
        {"\"x\"\t\r\n", "&quot;x&quot;&#9;&#13;&#10;"},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"\x80\xFF", "\x80\xFF"},
        {"a", "a"},
        {"", ""},
    };
    for (const auto &row : rows)
        EXPECT_EQ(escaped(row.text), row.escaped) << row.text;
}

TEST(XmlDataTxt, TakesAtMostTheLength) {
    EXPECT_EQ(escaped("ab\ncd", 3), "ab&#10;");
    EXPECT_EQ(escaped("ab\ncd", 2), "ab");
    EXPECT_EQ(escaped("ab\ncd", 5), "ab&#10;cd");
    EXPECT_EQ(escaped("<", 1), "&lt;");
    EXPECT_EQ(escaped("abc", 0), "");
    EXPECT_EQ(escaped("abc", -1), "");
    EXPECT_EQ(escaped("abc", INT_MIN), "");
    EXPECT_EQ(escaped("abc", INT_MAX), "abc") << "ends at the NUL";
}

TEST(XmlDataTxt, TakesALengthBeyondAllMemory) {
    // Where pointers have 32 bits the text lies so high that its end would be behind the last address.
    constexpr std::size_t kPage = 4096;
    void *const high = sizeof(void *) == 4 ? reinterpret_cast<void *>(0xBEFF0000U) : nullptr;
    void *const memory =
        ::mmap(high, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    char *const hello = static_cast<char *>(memory);
    std::strcpy(hello, "hello");
    Document document;
    xml_data_txt(document.get(), hello, INT_MAX);
    EXPECT_EQ(document.content(), "hello");
    ::munmap(memory, kPage);
}

TEST(XmlDataTxt, StopsAtANul) {
    EXPECT_EQ(escaped(text("ab\0cd")), "ab");
    EXPECT_EQ(escaped(text("a<\0<b")), "a&lt;");
    EXPECT_EQ(escaped(text("\0ab")), "");
}

TEST(XmlDataTxt, AppendsNothingForNull) {
    Document document;
    xml_data_str(document.get(), "a");
    xml_data_txt(document.get(), nullptr, 5);
    EXPECT_EQ(document.content(), "a");
}

TEST(XmlDataTxt, EscapesLongTexts) {
    const std::string x(65536, 'x');
    EXPECT_TRUE(escaped(x) == x);
    std::string expected;
    for (int i = 0; i < 65536; ++i)
        expected += "&lt;";
    EXPECT_TRUE(escaped(std::string(65536, '<')) == expected);
    EXPECT_TRUE(escaped(x + "&" + x) == x + "&amp;" + x);
}

TEST(XmlDataTxt, GrowsByTheEscapedLength) {
    Document document;
    const std::string quotes(171, '"');  // 1026 bytes
    xml_data_txt(document.get(), quotes.data(), 170);
    EXPECT_EQ(document->length, 1020u);
    EXPECT_EQ(document->capacity, 1024u);
    xml_data_txt(document.get(), quotes.data(), 1);
    EXPECT_EQ(document->length, 1026u);
    EXPECT_EQ(document->capacity, 2048u);
}

// ---- xml_data_txt_fd ----

/// What xml_data_txt_fd() returned and appended.
struct Taken {
    int result;
    std::string content;

    bool operator==(const Taken &) const = default;
};

void PrintTo(const Taken &taken, std::ostream *out) {
    *out << taken.result << " " << testing::PrintToString(taken.content.substr(0, 200));
}

bool is_open(int fd) {
    return ::fcntl(fd, F_GETFD) != -1;
}

/// Opens a file with this content.
int open_with(const TempDir &dir, const std::string &content) {
    return ::open(dir.write("in", content).c_str(), O_RDONLY | O_CLOEXEC);
}

Taken take(const std::string &content, const std::string &before = "") {
    const TempDir dir;
    Document document;
    if (!before.empty())
        xml_data_str(document.get(), before.c_str());
    const int fd = open_with(dir, content);
    const int result = xml_data_txt_fd(document.get(), fd);
    EXPECT_FALSE(is_open(fd)) << "the descriptor was not closed";
    return {result, document.content()};
}

TEST(XmlDataTxtFd, AppendsTheEscapedContentWithoutItsLastLineFeed) {
    const struct {
        const char *label;
        std::string content;
        int result;
        std::string escaped;
    } rows[] = {
        {"line feed at the end", "x\n", 1, "x"},
        {"only a line feed", "\n", 0, ""},
        {"empty", "", 0, ""},
        {"no line feed", "x", 1, "x"},
        {"one of two line feeds", "x\n\n", 2, "x&#10;"},
        {"two line feeds alone", "\n\n", 1, "&#10;"},
        {"line feed within", "a\nb", 3, "a&#10;b"},
        {"CR LF", "x\r\n", 2, "x&#13;"},
        {"line feed and CR", "x\n\r", 3, "x&#10;&#13;"},
        {"markup", "<a & 'b' \"c\">\n", 13, "&lt;a &amp; &apos;b&apos; &quot;c&quot;&gt;"},
        {"text that looks like a line feed", "&#10;", 5, "&amp;#10;"},
        {"not ASCII", "\xC3\xA9\n", 2, "\xC3\xA9"},
        {"NUL ends the text", text("ab\0cd"), 5, "ab"},
        {"NUL alone", text("\0"), 1, ""},
        {"line feed in front of a NUL is the last of the text", text("ab\n\0cd"), 5, "ab"},
        {"line feed behind a NUL is not appended", text("ab\0\n"), 4, "ab"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(take(row.content), (Taken{row.result, row.escaped})) << row.label;
}

TEST(XmlDataTxtFd, AppendsBehindWhatIsThere) {
    EXPECT_EQ(take("b\n", "<a>"), (Taken{1, "<a>b"}));
    EXPECT_EQ(take("", "<a>"), (Taken{0, "<a>"}));
}

TEST(XmlDataTxtFd, DropsALineFeedThatWasThereOnlyWhenSomethingWasRead) {
    EXPECT_EQ(take("", "a&#10;"), (Taken{0, "a&#10;"})) << "nothing was read";
    EXPECT_EQ(take(text("\0"), "a&#10;"), (Taken{0, "a"})) << "a byte was read";
    EXPECT_EQ(take("\n", "a&#10;"), (Taken{0, "a&#10;"})) << "its own line feed";
}

TEST(XmlDataTxtFd, ReadsInPiecesOf4096Bytes) {
    const std::string x4094(4094, 'x');
    const std::string x4095(4095, 'x');
    const std::string x4096(4096, 'x');
    const std::string x8191(8191, 'x');
    const std::string x65536(65536, 'x');
    const struct {
        const char *label;
        std::string content;
        int result;
        std::string escaped;
    } rows[] = {
        {"4095 bytes", x4095, 4095, x4095},
        {"4096 bytes", x4096, 4096, x4096},
        {"4097 bytes", x4096 + "y", 4097, x4096 + "y"},
        {"65536 bytes", x65536, 65536, x65536},
        {"line feed as byte 4095", x4094 + "\n", 4094, x4094},
        {"line feed as byte 4096", x4095 + "\n", 4095, x4095},
        {"line feed as byte 4097", x4096 + "\n", 4096, x4096},
        {"line feeds as bytes 4096 and 4097", x4095 + "\n\n", 4096, x4095 + "&#10;"},
        {"line feed as byte 8192", x8191 + "\n", 8191, x8191},
        {"line feed as byte 65537", x65536 + "\n", 65536, x65536},
        {"reference across the border", x4095 + "<" + "&y", 4098, x4095 + "&lt;&amp;y"},
        {"NUL ends its piece only", text("a\0b") + std::string(4093, 'x') + "yz\n", 4098, "ayz"},
        {"NUL as the last byte of a piece", x4095 + text("\0y"), 4097, x4095 + "y"},
        {"NUL as the first byte of a piece", x4096 + text("\0y"), 4098, x4096},
        {"line feed in front of a NUL, with more behind",
         text("a\n\0") + std::string(4093, 'x') + "y", 4097, "a&#10;y"},
        {"line feed at the end of a piece, NUL behind", x4095 + text("\n\0"), 4096, x4095},
    };
    for (const auto &row : rows)
        EXPECT_EQ(take(row.content), (Taken{row.result, row.escaped})) << row.label;
}

TEST(XmlDataTxtFd, ReadsFromThePositionOfTheDescriptor) {
    const TempDir dir;
    Document document;
    const int fd = open_with(dir, "abcdef\n");
    ASSERT_EQ(::lseek(fd, 3, SEEK_SET), 3);
    EXPECT_EQ(xml_data_txt_fd(document.get(), fd), 3);
    EXPECT_EQ(document.content(), "def");
}

TEST(XmlDataTxtFd, JoinsWhatAPipeDeliversInPieces) {
    const std::string x(5000, 'x');
    const InputPipe pipe(x + "\n", 7);
    Document document;
    EXPECT_EQ(xml_data_txt_fd(document.get(), ::dup(pipe.fd())), 5000);
    EXPECT_EQ(document.content(), x);
}

TEST(XmlDataTxtFd, FailsForWhatCannotBeRead) {
    const TempDir dir;
    Document document;
    xml_data_str(document.get(), "a&#10;");
    EXPECT_EQ(xml_data_txt_fd(document.get(), -1), -1) << "no descriptor";
    const int fd = ::open(dir.path(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(xml_data_txt_fd(document.get(), fd), -1) << "a directory";
    EXPECT_FALSE(is_open(fd)) << "the descriptor was not closed";
    EXPECT_EQ(document.content(), "a&#10;") << "nothing was read";
}

#if QMV_FAKE_DESCRIPTOR
TEST(XmlDataTxtFd, KeepsWhatWasReadBeforeAnError) {
    const std::string x4096(4096, 'x');
    const std::string x4095(4095, 'x');
    const struct {
        const char *label;
        std::string content;
        std::string escaped;
    } rows[] = {
        {"text", x4096 + "yz", x4096},
        {"the line feed is dropped after an error, too", x4095 + "\nyz", x4095},
    };
    for (const auto &row : rows) {
        const TempDir dir;
        Document document;
        const int fd = open_with(dir, row.content);
        qmv_test::DescriptorCalls calls(fd);
        calls.moves(4096).fails(EIO);
        EXPECT_EQ(xml_data_txt_fd(document.get(), fd), -1) << row.label;
        EXPECT_EQ(calls.unused(), 0u) << row.label;
        EXPECT_EQ(document.content(), row.escaped) << row.label;
        EXPECT_FALSE(is_open(fd)) << row.label;
    }
}

TEST(XmlDataTxtFd, TriesAgainAfterAnInterruption) {
    const TempDir dir;
    Document document;
    const int fd = open_with(dir, "abc\n");
    qmv_test::DescriptorCalls calls(fd);
    calls.fails(EINTR).moves(2).fails(EINTR);
    EXPECT_EQ(xml_data_txt_fd(document.get(), fd), 3);
    EXPECT_EQ(document.content(), "abc");
    const std::vector<std::size_t> requests = {4096, 4096, 4094, 4094, 4092, 4096};
    EXPECT_EQ(calls.requests(), requests);
}
#endif

TEST(XmlDataTxtFd, ClosesTheDescriptorForANullRecord) {
    const TempDir dir;
    const int fd = open_with(dir, "abc\n");
    const int before = open_descriptors();
    xml_data_txt_fd(nullptr, fd);
    EXPECT_EQ(open_descriptors(), before - 1);
}

#if QMV_FAKE_ALLOCATION
TEST(XmlDataTxtFd, ClosesTheDescriptorWithoutMemory) {
    const TempDir dir;
    for (int n = 0; n < 3; ++n) {
        Document document;
        const int fd = open_with(dir, std::string(3000, 'x') + "\n");
        {
            const qmv_test::AllocationFailure failure(n);
            xml_data_txt_fd(document.get(), fd);
        }
        EXPECT_FALSE(is_open(fd)) << "allocation " << n;
        EXPECT_EQ(document->capacity, n == 2 ? 3072u : 0u) << "allocation " << n;
    }
}
#endif

// ---- xml_data_element ----

TEST(XmlDataElement, AppendsTheEscapedTextInItsTags) {
    const struct {
        const char *label;
        const char *text;
        const char *element;
    } rows[] = {
        {"markup", "a<b & 'c'", "<name>a&lt;b &amp; &apos;c&apos;</name>\n"},
        {"white space", " a\t\r\n", "<name> a&#9;&#13;&#10;</name>\n"},
        {"empty", "", "<name></name>\n"},
        {"null", nullptr, "<name></name>\n"},
        {"not ASCII", "\xC3\xA9", "<name>\xC3\xA9</name>\n"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(appended([&](xml_data *x) { xml_data_element(x, "name", row.text); }),
                  row.element)
            << row.label;
}

TEST(XmlDataElement, AppendsLongTexts) {
    const std::string longer(65536, 'x');
    EXPECT_TRUE(appended([&](xml_data *x) { xml_data_element(x, "n", longer.c_str()); }) ==
                "<n>" + longer + "</n>\n");
}

// ---- Read back by an XML parser ----

/// The result of an XPath expression, as libxml2 finds it in a document.
std::string xpath(const std::string &document, const std::string &expression) {
    std::string output = output_of({"xmllint", "--xpath", expression, "-"}, document);
    if (!output.empty())
        output.pop_back();
    return output;
}

TEST(XmlDocument, GivesEveryTextBackToAParser) {
    if (qmv_test::find_program("xmllint").empty())
        GTEST_SKIP() << "not installed: xmllint";
    std::string plain;
    for (char c = ' '; c < 127; ++c)
        plain += c;
    const std::string texts[] = {
        plain,
        "\t\r\n \r\n\t",
        " leading and trailing blanks ",
        "line\nfeed\n",
        "a\r\nb\r",
        "<![CDATA[x]]> <!-- y --> <?z?>",
        "&amp; &#10; &lt;",
        "]]>",
        "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80 \x7F \xC2\x80",
        std::string(65536, '\''),
        std::string(65536, 'x') + "<&>\n",
    };
    for (const std::string &value : texts) {
        const std::string document = appended([&](xml_data *x) {
            xml_data_header(x);
            xml_data_tag(x, "doc", XML_TAG_OPEN);
            xml_data_str(x, " attribute=\"");
            xml_data_txt(x, value.data(), static_cast<int>(value.size()));
            xml_data_str(x, "\"");
            xml_data_tag(x, nullptr, XML_TAG_START_LINE);
            xml_data_element(x, "text", value.c_str());
            xml_data_tag(x, "doc", XML_TAG_END);
        });
        const std::string shown = value.substr(0, 100);
        EXPECT_TRUE(xpath(document, "string(/doc/text)") == value) << "text: " << shown;
        EXPECT_TRUE(xpath(document, "string(/doc/@attribute)") == value) << "attribute: " << shown;
    }
}

TEST(XmlDocument, IsWellFormedWithTagsOfEveryKind) {
    if (qmv_test::find_program("xmllint").empty())
        GTEST_SKIP() << "not installed: xmllint";
    const TempDir dir;
    const int fd = open_with(dir, "log <1>\n<2>\n");
    const std::string document = appended([&](xml_data *x) {
        xml_data_header(x);
        xml_data_tag(x, "doc", XML_TAG_START_LINE);
        xml_data_tag(x, "item", XML_TAG_OPEN);
        xml_data_attr_num(x, "id", 4294967295u);
        xml_data_attr_str(x, "kind", "first");
        xml_data_tag(x, nullptr, XML_TAG_EMPTY);
        xml_data_tag(x, "item", XML_TAG_OPEN);
        xml_data_attr_num(x, "id", 2);
        xml_data_tag(x, nullptr, XML_TAG_START);
        xml_data_txt_fd(x, fd);
        xml_data_tag(x, "item", XML_TAG_END);
        xml_data_tag(x, "none", XML_TAG_EMPTY);
        xml_data_tag(x, "doc", XML_TAG_END);
    });
    EXPECT_EQ(document,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<doc>\n"
              "<item id=\"4294967295\" kind=\"first\"/>\n"
              "<item id=\"2\">log &lt;1&gt;&#10;&lt;2&gt;</item>\n"
              "<none/>\n"
              "</doc>\n");
    EXPECT_EQ(run_program({"xmllint", "--noout", "-"}, document).status, 0);
    EXPECT_EQ(xpath(document, "count(/doc/*)"), "3");
    EXPECT_EQ(xpath(document, "string(/doc/item[1]/@id)"), "4294967295");
    EXPECT_EQ(xpath(document, "string(/doc/item[2])"), "log <1>\n<2>");
}

}  // namespace
