/*
 * System services: shell commands and processes, network interfaces, record databases, DSL line
 * status, the boot loader environment, device information, VPN choices.
 */
#ifndef QMV_SYSTEM_H
#define QMV_SYSTEM_H

#include <netinet/in.h>
#include <qmv/types.h>
#include <sys/socket.h>

QMV_BEGIN_DECLS

struct ifreq;

/* ---- Shell commands ---- */
/*
 * Commands are run by the shell as they are: no quoting is added, so that nothing that a client
 * sent may stand in one unless the caller has checked it. Standard output is read, standard error
 * is not. An exit status is what pclose() returns, a raw wait status: 256 for the exit code 1.
 * There is no time-out.
 */

/// Runs a command and prints its output line by line with print_xstr().
/// @param flags        PRINT_COMMENT and PRINT_PRE put it into a comment and, within, a pre
///                     element; PRINT_RAW and PRINT_WINDOWS_CLIENT as for print_xstr(); PRINT_QUIET
///                     prints nothing
/// @param format,...   printf format of the command
/// @return
///  - 0 or more: exit status
///  - -1: a null format, no memory, or the command cannot be started: "unable to run script!" is
///    printed, unless quiet or when the command could not even be built
int run_shell(uint32_t flags, const char *format, ...) QMV_PRINTF(2, 3);

/// Runs a command and returns its output, less one newline at its end.
/// @param result    receives the output, which the caller frees; null on failure
/// @param command   as the shell takes it
/// @return
///  - above 0: size of the output's memory, a multiple of 4096 (intended: not its length)
///  - -1: a null argument, no memory, or the command cannot be started
int asprint_shell(char **result, const char *command);

/// Runs a command and builds a title attribute from its output; see asprint_title().
/// @param result    receives the attribute, which the caller frees; untouched on failure
/// @param command   as the shell takes it
/// @return
///  - above 0: length of the attribute
///  - -1: a null argument, no memory, no output, or the command cannot be started
int asprint_title_shell(char **result, const char *command);

/// One line of output, with its newline.
typedef struct shell_line_node {
    struct shell_line_node *next;  ///< null for the last one
    uint32_t length;               ///< bytes of the line
    char text[1];                  ///< length + 1 bytes
} shell_line_node;

/// Lines of output. Set it to zeros before the first shell_run(), and again after shell_print() or
/// shell_line(), which free the lines and leave this as it was (intended).
typedef struct shell_lines {
    shell_line_node *first;  ///< null for none
    uint32_t count;          ///< number of lines
} shell_lines;

/// Runs a command and appends its lines to a list. A line that is empty up to a NUL is left out,
/// and so is one for which there is no memory.
/// @param lines        null: the output is dropped
/// @param format,...   printf format of the command
/// @return
///  - 0 or more: exit status
///  - -1: a null format, no memory, or the command cannot be started
int shell_run(shell_lines *lines, const char *format, ...) QMV_PRINTF(2, 3);

/// Prints the lines of a list, escaped or with PRINT_RAW raw, and frees them; PRINT_COMMENT and
/// PRINT_PRE as for run_shell(). Null or an empty list prints nothing.
/// @param lines   may be null
/// @param flags   PRINT_RAW, PRINT_COMMENT and PRINT_PRE count
void shell_print(shell_lines *lines, uint32_t flags);

/// Calls back for each line of a list and frees them.
/// @param lines      may be null
/// @param callback   receives arg and the line; its result is ignored; null: the lines are freed
/// @param arg        handed to the callback
void shell_line(shell_lines *lines, int (*callback)(int arg, char *text), int arg);

/// Sends a signal to the process whose number an item holds.
/// @param dir,name   the item
/// @param signal     as for kill(); 0 only asks whether the process is there
/// @return
///  - 0: it was sent
///  - -1: the item cannot be read or holds no number from 1 to 2147483647, or kill() failed
int signal_process(const char *dir, const char *name, int signal);

/// Finds the name of a program in its path.
/// @param argc,argv0   of main()
/// @return what stands behind the last "/" of argv0; null when argc is 0 or argv0 is null
const char *get_progname(int argc, const char *argv0);

/* ---- Network interfaces ---- */

/// An address of a network interface.
typedef struct interface_addr {
    union {
        struct sockaddr any;
        struct sockaddr_in v4;
        struct sockaddr_in6 v6;  ///< port and flow information 0; the kernel's scope
    } addr;                      ///< of either family
    union {
        struct sockaddr_in v4;
        struct {
            uint32_t index;   ///< of the interface
            uint32_t prefix;  ///< length in bits
            uint32_t flags;   ///< of the address
        } v6;
        struct sockaddr_in6 space;
    } mask;          ///< the netmask, or what belongs to an IPv6 address
    uint16_t flags;  ///< of the interface, IFF_UP and so on; 0 for IPv6
} interface_addr;

/// Tells whether the link of a PHY is up: link status set, remote fault and jabber clear.
/// @param ifname   the interface that the PHY belongs to
/// @param phy_id   number of the PHY on its bus
/// @return
///  - 1 or 0: up or not
///  - -1: a null name, or the PHY cannot be asked
int get_link_status(const char *ifname, uint32_t phy_id);

/// Powers a PHY down or up; up also restarts auto-negotiation. One that already is as wanted is not
/// written to.
/// @param ifname   the interface that the PHY belongs to
/// @param phy_id   number of the PHY on its bus
/// @param down     nonzero: power down; 0: power up
/// @return
///  - 1 or 0: it is down, or up, afterwards
///  - -1: a null name, or the PHY cannot be asked
int set_link_pwrdown(const char *ifname, uint32_t phy_id, int down);

/// Calls back for each configured IPv4 address.
/// @param prefix     only interfaces whose names begin with it; null or empty: all
/// @param callback   receives name and address, valid during the call, and a running number from 0;
///                   its result is ignored; may be null
/// @return
///  - 0: all were handed over
///  - -1: no memory, or the kernel cannot be asked
int read_interface_conf(const char *prefix, int (*callback)(struct ifreq *record, int index));

/// Reads flags, IPv4 address and netmask of an interface.
/// @param ifname   cut to 15 characters
/// @param out      filled; without an address both addresses are zeros. Without such an interface
///                 flags is 0 and the rest is left alone
/// @return
///  - 0: done
///  - -1: a null argument, or there is no such interface
int get_interface(const char *ifname, interface_addr *out);

/// Calls back for each IPv6 address of an interface, as /proc/net/if_inet6 lists them (its first
/// 4095 bytes).
/// @param ifname     null: addresses of all interfaces are counted, without a call (intended)
/// @param callback   its result is ignored; may be null
/// @return
///  - 0 or more: number of addresses
///  - -1: the list cannot be opened
int read_interface6_conf(const char *ifname, int (*callback)(interface_addr *record));

/// Tells whether to leave out an address: a filter for listings.
/// @param addr   null counts as no address
/// @param skip   returned when it is not 0
/// @return 0 for an IPv4 or IPv6 address, 1 for every other
uint32_t cfg_interface(const struct sockaddr *addr, uint32_t skip);

/* ---- Record databases ---- */
/*
 * A text file of records: consecutive lines are the fields of one, a line that begins with a
 * control character (an empty line) starts a new one, "#" begins a comment. A field ends at its
 * first control character.
 */

/// A record.
typedef struct db_record {
    struct db_record *next;  ///< null for the last one
    uint32_t count;          ///< fields that were read
    char *fields[1];  ///< the maximum number of them; null beyond count, and where memory ran out
} db_record;

/// Reads a file into a list. One file at a time: the reader keeps the list in static variables.
/// @param path        null: as for a file that cannot be opened
/// @param maxfields   fields of a record at most; further lines are ignored
/// @param list        receives the first record, or null; free it with free_db(). Null: 0 is
///                    returned and nothing is read
/// @return
///  - 0: the file was read; lines for which there was no memory are left out
///  - -1: it cannot be opened or closed, or there was no memory for a line buffer; the list, if
///    there is one, is to be freed all the same
int read_db_file(const char *path, unsigned maxfields, db_record **list);

/// Finds the first record whose field has a value.
/// @param list    may be null
/// @param field   its number, from 0
/// @param value   compared as it is; null: no record has it
/// @return the record, which stays in the list; null when there is none
db_record *search_db(db_record *list, unsigned field, const char *value);

/// Frees a list; null is allowed.
/// @param list   may be null
/// @return 0
int free_db(db_record *list);

/// Prints a select box with one option for each record that has both fields, escaped.
/// <select name="NAME"[flags]> CR LF <option value="VALUE"[ selected]>LABEL</option> CR LF
/// </select>
/// @param list                    may be null
/// @param valuefield,labelfield   numbers of the fields, from 0
/// @param name                    raw; may be null
/// @param current                 value of the selected option; null: none
/// @param flags                   bits of qmv_print_flags
/// @return bytes of the closing tag that were printed
/// Intended: no line end stands behind it, unlike other select boxes.
int gen_selectbox_dbase(db_record *list, unsigned valuefield, unsigned labelfield, const char *name,
                        const char *current, unsigned flags);

/// Reads an item and prints the select box, disabled when the item is missing or empty.
/// @param list,valuefield,labelfield   as for gen_selectbox_dbase()
/// @param dir,itemname                 the item that holds the current value
/// @param name                         of the select box, raw; may be null
/// @param size                         bytes of the item at most
/// @return bytes of the closing tag that were printed
int gen_selectbox_dbase_item(db_record *list, unsigned valuefield, unsigned labelfield,
                             const char *dir, const char *itemname, const char *name,
                             unsigned size);

/* ---- DSL line status ---- */
/*
 * Asks the DSL driver through its control device, which the caller opens. Texts are constants; null
 * means that the request failed or that the driver's value has no text.
 */

/// What the driver knows about one direction of the line. The two parts between the results are the
/// driver's request blocks.
typedef struct dsl_stream {
    int32_t channel_result;  ///< 0: the channel block is valid
    struct {
        uint32_t reserved[2];
        uint32_t direction;
        uint32_t data_rate;  ///< bit/s
        uint32_t reserved2;
        uint32_t interleave_delay;  ///< 1/100 ms
        uint32_t reserved3[2];
    } channel;            ///< the request block of the channel
    int32_t line_result;  ///< 0: the line block is valid
    struct {
        uint32_t reserved;
        uint32_t direction;
        uint32_t selector;
        int16_t attenuation;  ///< 0.1 dB
        int16_t reserved2;
        int16_t noise_margin;  ///< 0.1 dB
        int16_t reserved3;
        uint32_t max_data_rate;  ///< bit/s
        uint32_t reserved4;
    } line;  ///< the request block of the line
} dsl_stream;

/// Names the state of the modem: "Showtime, Sync".
/// @param fd   the control device
/// @return a constant text, or null
const char *dsl_api_get_modem_status(int fd);

/// Names the operating mode: "ADSL2+, Annex B".
/// @param fd   the control device
/// @return a constant text, or null
const char *dsl_api_get_modem_mode(int fd);

/// Names the power state: "DSL_G997_PMS_L0".
/// @param fd   the control device
/// @return a constant text, or null
const char *dsl_api_get_power_mode(int fd);

/// Tells whether trellis coding is in use.
/// @param fd       the control device
/// @param on,off   the texts for in use and not; may be null
/// @return on, off, or null
const char *dsl_api_get_trellis_modulation(int fd, const char *on, const char *off);

/// Reads what the driver knows about one direction.
/// @param fd          the control device
/// @param r           filled; null: -1 is returned
/// @param direction   as the driver counts them
/// @return result of the line request: 0 when it succeeded
int dsl_api_get_dsl_stream(int fd, dsl_stream *r, unsigned direction);

/// Writes the data rate in kbit/s, rounded down.
/// @param r     filled by dsl_api_get_dsl_stream(); may be null
/// @param buf   room for n bytes; a text that does not fit is cut
/// @param n     bytes at `buf`
/// @return buf; null when the channel is not valid, buf is null or n is below 2
char *dsl_api_get_datarate(const dsl_stream *r, char *buf, unsigned n);

/// Writes the attainable data rate in kbit/s, rounded down.
/// @param r     filled by dsl_api_get_dsl_stream(); may be null
/// @param buf   room for n bytes; a text that does not fit is cut
/// @param n     bytes at `buf`
/// @return buf; null when the line is not valid, buf is null or n is below 2
char *dsl_api_get_max_datarate(const dsl_stream *r, char *buf, unsigned n);

/// Writes the interleave delay in ms, rounded.
/// @param r     filled by dsl_api_get_dsl_stream(); may be null
/// @param buf   room for n bytes; a text that does not fit is cut
/// @param n     bytes at `buf`
/// @return buf; null when the channel is not valid, buf is null or n is below 2
char *dsl_api_get_interleave_delay(const dsl_stream *r, char *buf, unsigned n);

/// Writes the line attenuation in dB: (tenths + 5) / 10, cut towards zero.
/// @param r     filled by dsl_api_get_dsl_stream(); may be null
/// @param buf   room for n bytes; a text that does not fit is cut, with n = 0 nothing is written
/// @param n     bytes at `buf`
/// @return buf; null when the line is not valid or buf is null
char *dsl_api_get_latn(const dsl_stream *r, char *buf, unsigned n);

/// Writes the signal-to-noise margin in dB, as dsl_api_get_latn().
/// @param r     filled by dsl_api_get_dsl_stream(); may be null
/// @param buf   room for n bytes; a text that does not fit is cut, with n = 0 nothing is written
/// @param n     bytes at `buf`
/// @return buf; null when the line is not valid or buf is null
char *dsl_api_get_snr(const dsl_stream *r, char *buf, unsigned n);

/// Names the path of a line by its two directions: "Interleave" when one has a delay of more than
/// 1 ms, else "Fast".
/// @param a,b   filled by dsl_api_get_dsl_stream(); may be null
/// @return null when one of the channels is not valid
const char *dsl_api_get_latency_type(const dsl_stream *a, const dsl_stream *b);

/* ---- Boot loader environment ---- */
/*
 * The environment is read from its flash partition, checked and looked up in memory. There is one a
 * process; nothing is written.
 */

/// Reads the environment from an MTD character device.
/// @param device_path   such as /dev/mtd1; null: -1 is returned
/// @return
///  - 0: read; its CRC is right
///  - -1: the device cannot be opened or is no MTD device
///  - 1: it is neither NOR flash nor DataFlash
///  - 2: the partition has fewer than 5 or more than 65536 bytes
///  - 3: it could not be read whole
///  - 4: no memory
///  - 5: the CRC is wrong; every look-up returns null
/// At 3, 4 and 5 every look-up returns null; at -1, 1 and 2 the former environment stays. At 3 and
/// 5 there is a block to free, as at 0.
/// Intended: a second call replaces the environment without freeing the first one, whose values
/// stay valid to the end of the process.
int read_uboot_env(const char *device_path);

/// Looks up a variable.
/// @param name   compared up to its end or its first "="; null: null is returned
/// @return its value, valid until free_uboot_env(); null when there is none
const char *uboot_getenv(const char *name);

/// Frees the environment. Intended: uboot_getenv() must not be called afterwards, nor this again,
/// until another one was read.
void free_uboot_env(void);

/* ---- Device information ---- */

/// One row of a program's table of device variants, in ascending order of key, ended by the key 0.
typedef struct devinfo_row {
    int32_t key;             ///< a character of the device information
    unsigned char data[28];  ///< the program's own
} devinfo_row;

/// One row of a program's table of features, ended by the mask 0.
typedef struct infoflag_row {
    uint32_t mask;  ///< feature bits
    int32_t pos;    ///< their character in the device information
} infoflag_row;

/// Selects a row by the first character of the device information: the first whose key is not below
/// it. A character of 0x80 and above counts as negative.
/// @param table   null: null is returned
/// @param info    may be null
/// @return the row; the first one when there is none, and without information
const devinfo_row *get_devinfo(const devinfo_row *table, const char *info);

/// Clears the features whose character in the device information is below "1" or missing.
/// @param flags   all features; 0: 0 is returned
/// @param table   null: flags are returned
/// @param info    null or empty: 0 is returned
/// @param info2   searched at the same position (intended) when info is too short; may be null
/// @return the features that are left
int get_infoflags(int flags, const infoflag_row *table, const char *info, const char *info2);

/* ---- VPN choices ---- */

/// A cipher or digest: its name in the configuration and its label. Both are constants.
typedef struct ovpn_choice {
    const char *name;   ///< in the configuration
    const char *label;  ///< for people
} ovpn_choice;

/// Names a cipher. The last of the 13 is "none".
/// @param index   from 0
/// @param spare   ignored
/// @param out     may be null
/// @return
///  - 1: done
///  - -1: no such index; out is left alone
int get_ovpn_cipher(uint32_t index, uint32_t spare, ovpn_choice *out);

/// Names a digest. The last of the 7 is "none".
/// @param index   from 0
/// @param spare   ignored
/// @param out     may be null
/// @return
///  - 1: done
///  - -1: no such index; out is left alone
int get_ovpn_hash(uint32_t index, uint32_t spare, ovpn_choice *out);

QMV_END_DECLS

#endif
