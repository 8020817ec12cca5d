#include <cstddef>
#include <cstdio>
#include <iterator>

#include "qmv/system.h"
#include "util/ioctl.h"

namespace {

constexpr unsigned long kModemState = 0xC0087205;
constexpr unsigned long kTrellis = 0xC01C7208;
constexpr unsigned long kOperatingMode = 0xC00C6704;
constexpr unsigned long kPowerState = 0xC008670D;
constexpr unsigned long kChannelStatus = 0xC020670B;
constexpr unsigned long kLineStatus = 0xC01C6709;

struct ModemStateBlock {
    uint32_t reserved;
    uint32_t state;
};
static_assert(sizeof(ModemStateBlock) == 8);

struct TrellisBlock {
    uint32_t reserved[2];
    uint32_t in_use;
    uint32_t reserved2[4];
};
static_assert(sizeof(TrellisBlock) == 28 && offsetof(TrellisBlock, in_use) == 8);

struct OperatingModeBlock {
    uint32_t reserved;
    uint8_t systems[8];  // the last one is not used
};
static_assert(sizeof(OperatingModeBlock) == 12);

struct PowerStateBlock {
    uint32_t reserved;
    int32_t state;
};
static_assert(sizeof(PowerStateBlock) == 8);

static_assert(sizeof(dsl_stream) == 68 && sizeof(dsl_stream::channel) == 32 &&
              sizeof(dsl_stream::line) == 28);
static_assert(offsetof(dsl_stream, channel.direction) == 12 &&
              offsetof(dsl_stream, channel.data_rate) == 16 &&
              offsetof(dsl_stream, channel.interleave_delay) == 24 &&
              offsetof(dsl_stream, line_result) == 36 &&
              offsetof(dsl_stream, line.direction) == 44 &&
              offsetof(dsl_stream, line.selector) == 48 &&
              offsetof(dsl_stream, line.attenuation) == 52 &&
              offsetof(dsl_stream, line.noise_margin) == 56 &&
              offsetof(dsl_stream, line.max_data_rate) == 60);

struct StateText {
    uint32_t state;
    char text[28];
};

constexpr StateText kModemStates[] = {
    {0x0, "Not Initialized"},
    {0x1, "Exception"},
    {0x10, "Not Updated"},
    {0xFF, "Idle Request"},
    {0x100, "Idle"},
    {0x1FF, "Silent Request"},
    {0x200, "Silent"},
    {0x300, "Handshake"},
    {0x380, "Full Init"},
    {0x3C0, "Not Updated"},  // Intended: the same text as 0x10.
    {0x400, "Discovery"},
    {0x500, "Training"},
    {0x600, "Analysis"},
    {0x700, "Exchange"},
    {0x800, "Showtime, no Sync"},
    {0x801, "Showtime, Sync"},
    {0x900, "Fastretrain"},
    {0xA00, "Lowpower L2"},
    {0xB00, "Diagnostic Active"},
    {0xB10, "Diagnostic Data Exchange"},
    {0xB20, "Diagnostic Data Request"},
    {0xC00, "Diagnostic Complete"},
    {0xD00, "Resync"},
    {0x1000000, "Test"},
    {0x1000001, "Test Loop"},
    {0x1000010, "Test Reverb"},
    {0x1000020, "Test Medley"},
    {0x1000030, "Test Showtime Lock"},
    {0x1000040, "Test Quiet"},
    {0x2000000, "Lowpower L3"},
};

struct ModeText {
    uint8_t octet;  // from 1
    uint8_t bit;
    char text[26];
};

// The last one whose bit is set is the mode.
constexpr ModeText kModes[] = {
    {1, 0x01, "ANSI T1.413"},
    {1, 0x02, "Annex C"},
    {1, 0x04, "ADSL_G.dmt, Annex A"},
    {1, 0x10, "ADSL_G.dmt, Annex B"},
    {2, 0x01, "ADSL_G.lite, Annex A"},
    {3, 0x04, "ADSL_G.dmt.bis, Annex A"},
    {3, 0x10, "ADSL_G.dmt.bis, Annex B"},
    {4, 0x01, "ADSL_G.dmt.bis, Annex A "},  // Intended: a blank tells it from the one above.
    {4, 0x10, "ADSL_G.dmt.bis, Annex I"},
    {4, 0x40, "ADSL_G.dmt.bis, Annex J"},
    {5, 0x04, "ADSL_re-adsl, Annex L"},
    {5, 0x08, "ADSL_re-adsl, Annex L"},
    {5, 0x40, "ADSL2, Annex M"},
    {6, 0x01, "ADSL2+, Annex A"},
    {6, 0x04, "ADSL2+, Annex B"},
    {6, 0x40, "ADSL2+, Annex I"},
    {7, 0x01, "ADSL2+, Annex J"},
    {7, 0x04, "ADSL2+, Annex M"},
};

constexpr int kFirstPowerState = -1;
constexpr char kPowerStates[][16] = {"DSL_G997_PMS_NA", "DSL_G997_PMS_L0", "DSL_G997_PMS_L1",
                                     "DSL_G997_PMS_L2", "DSL_G997_PMS_L3"};

/// Makes a request. Returns what ioctl returned: not 0 is a failure.
int ask(int fd, unsigned long request, void *block) {
    return qmv::ioctl(fd, request, block);
}

char *put_number(char *buf, unsigned n, unsigned value) {
    if (buf == nullptr || n < 2)
        return nullptr;
    std::snprintf(buf, n, "%u", value);
    return buf;
}

/// Writes tenths of a dB as whole ones.
char *put_decibel(char *buf, unsigned n, int tenths) {
    if (buf == nullptr)
        return nullptr;
    std::snprintf(buf, n, "%d", (tenths + 5) / 10);
    return buf;
}

bool channel_valid(const dsl_stream *r) {
    return r != nullptr && r->channel_result == 0;
}

bool line_valid(const dsl_stream *r) {
    return r != nullptr && r->line_result == 0;
}

}  // namespace

const char *dsl_api_get_modem_status(int fd) {
    ModemStateBlock block{};
    if (ask(fd, kModemState, &block) != 0)
        return nullptr;
    for (const StateText &entry : kModemStates) {
        if (entry.state == block.state)
            return entry.text;
    }
    return nullptr;
}

const char *dsl_api_get_modem_mode(int fd) {
    OperatingModeBlock block{};
    if (ask(fd, kOperatingMode, &block) != 0)
        return nullptr;
    const char *mode = nullptr;
    for (const ModeText &entry : kModes) {
        if ((block.systems[entry.octet - 1] & entry.bit) != 0)
            mode = entry.text;
    }
    return mode;
}

const char *dsl_api_get_power_mode(int fd) {
    PowerStateBlock block{};
    if (ask(fd, kPowerState, &block) != 0)
        return nullptr;
    const int64_t index = int64_t{block.state} - kFirstPowerState;
    return index >= 0 && index < std::ssize(kPowerStates) ? kPowerStates[index] : nullptr;
}

const char *dsl_api_get_trellis_modulation(int fd, const char *on, const char *off) {
    TrellisBlock block{};
    if (ask(fd, kTrellis, &block) != 0 || block.in_use > 1)
        return nullptr;
    return block.in_use == 1 ? on : off;
}

int dsl_api_get_dsl_stream(int fd, dsl_stream *r, unsigned direction) {
    if (r == nullptr)
        return -1;
    *r = dsl_stream{};
    r->channel.direction = direction;
    r->channel_result = ask(fd, kChannelStatus, &r->channel);
    r->line.direction = direction;
    r->line.selector = 1;
    r->line_result = ask(fd, kLineStatus, &r->line);
    return r->line_result;
}

char *dsl_api_get_datarate(const dsl_stream *r, char *buf, unsigned n) {
    return channel_valid(r) ? put_number(buf, n, r->channel.data_rate / 1000) : nullptr;
}

char *dsl_api_get_max_datarate(const dsl_stream *r, char *buf, unsigned n) {
    return line_valid(r) ? put_number(buf, n, r->line.max_data_rate / 1000) : nullptr;
}

char *dsl_api_get_interleave_delay(const dsl_stream *r, char *buf, unsigned n) {
    if (!channel_valid(r))
        return nullptr;
    const uint64_t rounded = (uint64_t{r->channel.interleave_delay} + 50) / 100;
    return put_number(buf, n, static_cast<unsigned>(rounded));
}

char *dsl_api_get_latn(const dsl_stream *r, char *buf, unsigned n) {
    return line_valid(r) ? put_decibel(buf, n, r->line.attenuation) : nullptr;
}

char *dsl_api_get_snr(const dsl_stream *r, char *buf, unsigned n) {
    return line_valid(r) ? put_decibel(buf, n, r->line.noise_margin) : nullptr;
}

const char *dsl_api_get_latency_type(const dsl_stream *a, const dsl_stream *b) {
    constexpr uint32_t kInterleaved = 101;
    if (!channel_valid(a) || !channel_valid(b))
        return nullptr;
    const bool interleaved =
        a->channel.interleave_delay >= kInterleaved || b->channel.interleave_delay >= kInterleaved;
    return interleaved ? "Interleave" : "Fast";
}
