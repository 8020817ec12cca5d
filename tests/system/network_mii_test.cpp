// The link of a PHY, asked and switched through its registers.
#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <linux/sockios.h>
#include <qmv/system.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <utility>

#include "tests/fakes/device.h"
#include "tests/support/block.h"
#include "tests/support/descriptor_limit.h"
#include "tests/support/io.h"

namespace {

using qmv_test::BlockBytes;
using qmv_test::DescriptorLimit;
using qmv_test::Device;
using qmv_test::open_descriptors;
using qmv_test::run_child;

constexpr uint16_t kControl = 0;
constexpr uint16_t kStatus = 1;

// Offsets in the request, the interface's name first.
constexpr std::size_t kPhy = 16;
constexpr std::size_t kRegister = 18;
constexpr std::size_t kValueIn = 20;
constexpr std::size_t kValueOut = 22;

unsigned number_at(const void *block, std::size_t offset) {
    uint16_t number = 0;
    std::memcpy(&number, static_cast<const char *>(block) + offset, sizeof number);
    return number;
}

void put_number(void *block, std::size_t offset, uint16_t number) {
    std::memcpy(static_cast<char *>(block) + offset, &number, sizeof number);
}

/// The PHY behind an interface, scripted register by register.
class Phy {
  public:
    explicit Phy(std::string name = "eth0", uint16_t id = 3) : name_(std::move(name)), id_(id) {}
    Phy(const Phy &) = delete;
    Phy &operator=(const Phy &) = delete;
    ~Phy() {
        EXPECT_EQ(device_.unused(), 0u);
        EXPECT_EQ(open_descriptors(), descriptors_) << "descriptors";
    }

    /// A register is read and holds a value.
    Phy &read(uint16_t reg, uint16_t value) {
        device_.expects(SIOCGMIIREG, [=, this](int fd, void *block) {
            expect_addressed(fd, block, reg);
            put_number(block, kValueOut, value);
            return 0;
        });
        return *this;
    }
    /// The control register is written.
    Phy &write(uint16_t value, int result = 0) {
        device_.expects(SIOCSMIIREG, [=, this](int fd, void *block) {
            expect_addressed(fd, block, kControl);
            EXPECT_EQ(number_at(block, kValueIn), value);
            // What a driver leaves in a request is no answer.
            put_number(block, kValueOut, static_cast<uint16_t>(~value));
            errno = EPERM;
            return result;
        });
        return *this;
    }
    /// A register cannot be read, although the request holds an answer.
    Phy &read_fails(uint16_t reg) {
        device_.expects(SIOCGMIIREG, [=, this](int fd, void *block) {
            expect_addressed(fd, block, reg);
            put_number(block, kValueOut, 0x0804);
            errno = EIO;
            return -1;
        });
        return *this;
    }

  private:
    void expect_addressed(int fd, const void *block, uint16_t reg) const {
        int domain = 0;
        int type = 0;
        socklen_t size = sizeof domain;
        ::getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size);
        ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size);
        EXPECT_EQ(domain, AF_INET);
        EXPECT_EQ(type, SOCK_DGRAM);
        EXPECT_STREQ(static_cast<const char *>(block), name_.c_str());
        EXPECT_EQ(number_at(block, kPhy), id_) << "PHY";
        EXPECT_EQ(number_at(block, kRegister), reg) << "register";
    }

    int descriptors_ = open_descriptors();
    std::string name_;
    uint16_t id_;
    Device device_;
};

int link_status(uint16_t status) {
    Phy phy;
    phy.read(kStatus, status);
    return get_link_status("eth0", 3);
}

}  // namespace

TEST(GetLinkStatus, IsUpWithLinkAndWithoutFaultAndJabber) {
    struct Row {
        uint16_t status;
        int expected;
    };
    for (const Row &row : {Row{0x0000, 0}, Row{0x0002, 0}, Row{0x0004, 1}, Row{0x0006, 0},
                           Row{0x0010, 0}, Row{0x0012, 0}, Row{0x0014, 0}, Row{0x0016, 0}})
        EXPECT_EQ(link_status(row.status), row.expected) << "status " << row.status;
}

TEST(GetLinkStatus, IgnoresAllOtherBits) {
    EXPECT_EQ(link_status(0xFFED), 1) << "all but fault and jabber";
    EXPECT_EQ(link_status(0xFFE9), 0) << "all but fault, jabber and link";
    EXPECT_EQ(link_status(0xFFEF), 0) << "all but fault";
    EXPECT_EQ(link_status(0xFFFD), 0) << "all but jabber";
    EXPECT_EQ(link_status(0xFFFF), 0) << "all";
    EXPECT_EQ(link_status(0x782D), 1) << "of a real PHY, up";
    EXPECT_EQ(link_status(0x7809), 0) << "of a real PHY, down";
}

TEST(GetLinkStatus, FailsWhenTheRegisterCannotBeRead) {
    Phy phy;
    phy.read_fails(kStatus);
    EXPECT_EQ(get_link_status("eth0", 3), -1);
}

TEST(GetLinkStatus, FailsForAnInterfaceThatDoesNotExist) {
    Device device;
    device.reaches_kernel(SIOCGMIIREG);
    EXPECT_EQ(get_link_status("qmv-none", 0), -1);
    EXPECT_EQ(device.unused(), 0u);
}

TEST(GetLinkStatus, FailsWithoutSocketOrName) {
    EXPECT_EQ(get_link_status(nullptr, 0), -1);
    const DescriptorLimit none;
    EXPECT_EQ(get_link_status("eth0", 0), -1);
}

TEST(GetLinkStatus, PassesThePhyOn) {
    for (const unsigned id : {0u, 1u, 31u, 0xFFFFu}) {
        Phy phy("eth1", static_cast<uint16_t>(id));
        phy.read(kStatus, 0x4);
        EXPECT_EQ(get_link_status("eth1", id), 1) << "PHY " << id;
    }
}

TEST(GetLinkStatus, PassesSixteenBitsOfThePhyOn) {
    Phy phy("eth1", 5);
    phy.read(kStatus, 0x4);
    EXPECT_EQ(get_link_status("eth1", 0xABCD0005), 1);
}

TEST(GetLinkStatus, CutsTheNameToFifteenCharacters) {
    for (const char *const name : {"abcdefghijklmno", "abcdefghijklmnop", "abcdefghijklmnopq"}) {
        Phy phy("abcdefghijklmno");
        phy.read(kStatus, 0x4);
        EXPECT_EQ(get_link_status(name, 3), 1) << name;
    }
}

TEST(SetLinkPwrdown, SetsThePowerDownBitAlone) {
    Phy phy;
    phy.read(kControl, 0x1000).write(0x1800).read(kControl, 0x1800);
    EXPECT_EQ(set_link_pwrdown("eth0", 3, 1), 1);
}

TEST(SetLinkPwrdown, PowersUpAndRestartsNegotiation) {
    Phy phy;
    phy.read(kControl, 0x1800).write(0x1200).read(kControl, 0x1000);
    EXPECT_EQ(set_link_pwrdown("eth0", 3, 0), 0);
}

TEST(SetLinkPwrdown, KeepsAllOtherBits) {
    struct Row {
        uint16_t before;
        int down;
        uint16_t written;
    };
    for (const Row &row : {Row{0x0000, 1, 0x0800}, Row{0xF7FF, 1, 0xFFFF}, Row{0x0200, 1, 0x0A00},
                           Row{0x0800, 0, 0x0200}, Row{0xFFFF, 0, 0xF7FF}, Row{0x0A00, 0, 0x0200},
                           Row{0xFDFF, 0, 0xF7FF}}) {
        Phy phy;
        phy.read(kControl, row.before).write(row.written).read(kControl, row.written);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, row.down), row.down) << "control " << row.before;
    }
}

TEST(SetLinkPwrdown, WritesNothingWhenThePhyIsAsWanted) {
    struct Row {
        uint16_t control;
        int down;
    };
    for (const Row &row : {Row{0x0800, 1}, Row{0x1800, 1}, Row{0xFFFF, 1}, Row{0x0000, 0},
                           Row{0x1000, 0}, Row{0x1200, 0}, Row{0xF7FF, 0}}) {
        Phy phy;
        phy.read(kControl, row.control);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, row.down), row.down) << "control " << row.control;
    }
}

TEST(SetLinkPwrdown, TakesEveryNumberButZeroForDown) {
    for (const int down : {1, 2, 256, -1, 0x10000, INT_MIN, INT_MAX}) {
        Phy phy;
        phy.read(kControl, 0x1800);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, down), 1) << down << ", is down";
    }
    for (const int down : {2, 256, -1, 0x10000, INT_MIN, INT_MAX}) {
        Phy phy;
        phy.read(kControl, 0x1000).write(0x1800).read(kControl, 0x1800);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, down), 1) << down << ", is up";
    }
}

TEST(SetLinkPwrdown, ReturnsWhatThePhyHoldsAfterwards) {
    {
        Phy phy;
        phy.read(kControl, 0x1000).write(0x1800).read(kControl, 0x1000);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, 1), 0) << "it stayed up";
    }
    {
        Phy phy;
        phy.read(kControl, 0x1800).write(0x1200).read(kControl, 0x0000);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, 0), 0) << "no bit is left";
    }
    Phy phy;
    phy.read(kControl, 0x1800).write(0x1200).read(kControl, 0xFFFF);
    EXPECT_EQ(set_link_pwrdown("eth0", 3, 0), 1) << "it stayed down";
}

TEST(SetLinkPwrdown, ReturnsWhatThePhyHeldWhenTheWriteFails) {
    {
        Phy phy;
        phy.read(kControl, 0x1000).write(0x1800, -1);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, 1), 0) << "it was up";
    }
    Phy phy;
    phy.read(kControl, 0x1800).write(0x1200, -1);
    EXPECT_EQ(set_link_pwrdown("eth0", 3, 0), 1) << "it was down";
}

TEST(SetLinkPwrdown, FailsWhenTheRegisterCannotBeRead) {
    for (const int down : {0, 1}) {
        Phy phy;
        phy.read_fails(kControl);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, down), -1) << down;
    }
}

TEST(SetLinkPwrdown, FailsWhenTheRegisterCannotBeReadAgain) {
    {
        Phy phy;
        phy.read(kControl, 0x1000).write(0x1800).read_fails(kControl);
        EXPECT_EQ(set_link_pwrdown("eth0", 3, 1), -1);
    }
    Phy phy;
    phy.read(kControl, 0x1800).write(0x1200).read_fails(kControl);
    EXPECT_EQ(set_link_pwrdown("eth0", 3, 0), -1);
}

TEST(SetLinkPwrdown, FailsWithoutSocketOrName) {
    EXPECT_EQ(set_link_pwrdown(nullptr, 0, 1), -1);
    const DescriptorLimit none;
    EXPECT_EQ(set_link_pwrdown("eth0", 0, 1), -1);
}

TEST(SetLinkPwrdown, PassesThePhyAndFifteenCharactersOfTheNameOn) {
    for (const unsigned id : {0u, 31u, 0xFFFFu}) {
        Phy phy("abcdefghijklmno", static_cast<uint16_t>(id));
        phy.read(kControl, 0x1000).write(0x1800).read(kControl, 0x1800);
        EXPECT_EQ(set_link_pwrdown("abcdefghijklmnopq", id, 1), 1) << "PHY " << id;
    }
}

TEST(LinkOfAPhy, IsAskedThroughDescriptorZeroAsWell) {
    const auto child = run_child("", [] {
        ::close(STDIN_FILENO);
        {
            Phy phy;
            phy.read(kStatus, 0x4).read(kControl, 0x0800);
            EXPECT_EQ(get_link_status("eth0", 3), 1);
            EXPECT_EQ(set_link_pwrdown("eth0", 3, 1), 1);
        }
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.status, 0) << child.output;
}
