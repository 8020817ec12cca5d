#include "dsl_modem.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>

namespace {

constexpr unsigned long kModemState = 0xC0087205;
constexpr unsigned long kTrellis = 0xC01C7208;
constexpr unsigned long kOperatingMode = 0xC00C6704;
constexpr unsigned long kPowerState = 0xC008670D;
constexpr unsigned long kChannelStatus = 0xC020670B;
constexpr unsigned long kLineStatus = 0xC01C6709;

constexpr uint32_t kShowtimeSync = 0x801;
constexpr uint32_t kPowerL0 = 0;

// A triangle wave between -reach and reach.
int wave(long seconds, int period, int reach) {
    const int step = static_cast<int>(seconds % period) * 4 * reach / period;
    if (step < reach)
        return step;
    return step < 3 * reach ? 2 * reach - step : step - 4 * reach;
}

// A little noise that is the same for all programs in one second.
int noise(long seconds, int reach) {
    const uint32_t mixed = static_cast<uint32_t>(seconds) * 2654435761U;
    return static_cast<int>((mixed >> 16) % (2 * static_cast<unsigned>(reach) + 1)) - reach;
}

// The request blocks are a driver's: words and half words at fixed places.
class Block {
  public:
    explicit Block(void *bytes) : bytes_(static_cast<unsigned char *>(bytes)) {}

    [[nodiscard]] uint32_t word(size_t offset) const {
        uint32_t value;
        std::memcpy(&value, bytes_ + offset, sizeof value);
        return value;
    }
    void put_word(size_t offset, int value) { std::memcpy(bytes_ + offset, &value, 4); }
    void put_half(size_t offset, int value) {
        const auto half = static_cast<int16_t>(value);
        std::memcpy(bytes_ + offset, &half, sizeof half);
    }
    void put_byte(size_t offset, unsigned char value) { bytes_[offset] = value; }

  private:
    unsigned char *bytes_;
};

// A direction of the line, as it is before it drifts.
struct Direction {
    int data_rate;      // bit/s
    int most_rate;      // bit/s
    int delay;          // 1/100 ms
    int attenuation;    // 0.1 dB
    int noise_margin;   // 0.1 dB
    int drift_seconds;  // of a period
};

constexpr Direction kUpstream = {1187000, 1240000, 400, 132, 84, 95};
constexpr Direction kDownstream = {16384000, 17920000, 700, 245, 92, 70};

const Direction &direction(uint32_t number) {
    return number == 0 ? kUpstream : kDownstream;
}

void answer_channel(Block block) {
    const Direction &line = direction(block.word(8));
    block.put_word(12, line.data_rate);
    block.put_word(20, line.delay);
}

void answer_line(Block block, long now) {
    const Direction &line = direction(block.word(4));
    const int drift = wave(now, line.drift_seconds, 12) + noise(now, 2);
    block.put_half(12, line.attenuation + noise(now / 20, 1));
    block.put_half(16, line.noise_margin + drift);
    block.put_word(20, line.most_rate + drift * line.most_rate / 400);
}

}  // namespace

namespace simulator {

bool is_dsl_request(unsigned long request) {
    switch (request) {
        case kModemState:
        case kTrellis:
        case kOperatingMode:
        case kPowerState:
        case kChannelStatus:
        case kLineStatus:
            return true;
        default:
            return false;
    }
}

int answer_dsl(unsigned long request, void *bytes) {
    Block block(bytes);
    switch (request) {
        case kModemState:
            block.put_word(4, kShowtimeSync);
            return 0;
        case kTrellis:
            block.put_word(8, 1);
            return 0;
        case kOperatingMode:
            block.put_byte(4 + 5, 0x04);  // sixth system: ADSL2+ over ISDN
            return 0;
        case kPowerState:
            block.put_word(4, kPowerL0);
            return 0;
        case kChannelStatus:
            answer_channel(block);
            return 0;
        case kLineStatus:
            answer_line(block, static_cast<long>(std::time(nullptr)));
            return 0;
        default:
            errno = ENOTTY;
            return -1;
    }
}

}  // namespace simulator
