/*
 * Form widgets. Each kind is a family of functions named after it:
 *
 *   gen_x<kind>           prints the input; a printf format adds attributes
 *   vgen_x<kind>          the same with a va_list
 *   gen_<kind>            prints the input, without a format
 *   scan_<kind>           checks and converts one posted value
 *   rd_<kind>_item        reads the item; returns the print flags to use
 *   gen_[x]<kind>_item    reads and prints the item; returns the flags used
 *   wr_<kind>_item,
 *   update_<kind>_item    checks a posted value and writes the item
 *   gen_json_<kind>[_item]  prints the value as one JSON member
 *
 * Values are escaped. The attributes that a caller's format prints are not: they must not hold text
 * from a client. Attributes stand in this order: the widget's own, the caller's, the print flags.
 * A widget whose item cannot be read is disabled.
 *
 * Text limits count characters. N characters take up to 3 * N bytes and a terminator.
 *
 * A JSON printer takes a value, the member's name and the print flags, and returns the flags for
 * the next member, with PRINT_JSON_COMMA set. Name and text are printed as they are. A null name
 * prints nothing and returns the flags unchanged.
 */
#ifndef QMV_WIDGETS_H
#define QMV_WIDGETS_H

#include <qmv/types.h>
#include <sys/socket.h>

QMV_BEGIN_DECLS

/* ---- Text boxes ---- */

/// Prints a text or password input:
/// <input type="text" size="8" maxlength="8" value="abc"[format][flags]>
/// PRINT_PASSWORD gives type "password"; with it or PRINT_MASKED the value is shown as bullets, one
/// for each character, and with PRINT_DATA_VALUE printed in data-value as well. PRINT_SIZE adds
/// size; PRINT_READONLY leaves out maxlength.
/// @param size         characters at most; negative: 2147483647
/// @param value        UTF-8, cut to size characters; null: no value attribute, or no bullets
/// @param flags        bits of qmv_print_flags
/// @param format,...   raw attributes, each with a blank in front; may be null
/// @return '>', or -1 after a write error
/// The value ends at its first invalid sequence, a character above U+FFFF for example; data-value
/// has no more characters than there are bullets.
/// Intended: with PRINT_DISABLED, and for a value that holds an invalid sequence, `size` bullets
/// are shown, whatever the value: 2147483647 of them without a limit.
int gen_xtextbox(int size, const char *value, unsigned flags, const char *format, ...)
    QMV_PRINTF(4, 5);

/// Prints a text or password input; gen_xtextbox() with a va_list.
/// @param size,value,flags,format,args   as for gen_xtextbox()
/// @return '>', or -1 after a write error
int vgen_xtextbox(int size, const char *value, unsigned flags, const char *format, va_list args)
    QMV_PRINTF(4, 0);

/// Copies the accepted characters of a posted value.
/// @param in         UTF-8; null counts as empty; invalid sequences are left out
/// @param maxchars   characters to keep at most
/// @param minchars   characters that must be kept
/// @param out        room for outsize + 1 bytes: the terminator may stand at out[outsize]. Holds
///                   what was kept, also when that is too little
/// @param outsize    bytes of text to keep at most
/// @param filter     null: every character is accepted
/// @return
///  - 1: some text was kept
///  - 0: none was
///  - -1: a null out or an outsize of 0
///  - -2: fewer than minchars characters were kept
int scan_textbox(const char *in, unsigned maxchars, unsigned minchars, char *out, unsigned outsize,
                 textbox_filter filter);

/// Writes a value to an existing item unless it is unchanged.
/// @param dir,name   the item
/// @param value      null: -1 is returned
/// @param maxchars   3 * maxchars bytes are written at most
/// @return as update_item()
int update_textbox(const char *dir, const char *name, const char *value, unsigned maxchars);

/// Writes the accepted characters of a posted value to an existing item unless it is unchanged.
/// @param dir,name   the item
/// @param value      UTF-8; invalid sequences are left out
/// @param maxchars   characters to keep at most
/// @param filter     null: every character is accepted
/// @return
///  - as update_item()
///  - -1: also for a null value
int update_textbox_item(const char *dir, const char *name, const char *value, unsigned maxchars,
                        textbox_filter filter);

/// Reads the item of a text box.
/// @param dir,name   the item
/// @param buf        room for bufsize + 1 bytes; receives the text, "" when the item is missing;
///                   null: as for a missing item
/// @param bufsize    bytes to read at most
/// @param maxchars   the text is cut behind so many characters, or its first invalid sequence
/// @param flags      bits of qmv_print_flags
/// @return flags, with PRINT_DISABLED added when the item cannot be read
unsigned rd_textbox_item(const char *dir, const char *name, char *buf, unsigned bufsize,
                         unsigned maxchars, unsigned flags);

/// Reads an item and prints it with gen_xtextbox().
/// @param dir,name           the item
/// @param maxchars           characters at most
/// @param flags,format,...   as for gen_xtextbox()
/// @return the flags that were used; see rd_textbox_item()
unsigned gen_xtextbox_item(const char *dir, const char *name, unsigned maxchars, unsigned flags,
                           const char *format, ...) QMV_PRINTF(5, 6);

/// Prints a text as a JSON member: "name": "value", or null with PRINT_DISABLED.
/// @param value   printed as it is (intended: no JSON escaping); null: null is printed
/// @param name    null: nothing is printed
/// @param flags   PRINT_DISABLED and PRINT_JSON_COMMA count
/// @return flags for the next member, PRINT_DISABLED added when value is null
unsigned gen_json_text(const char *value, const char *name, unsigned flags);

/// Reads an item and prints it with gen_json_text().
/// @param dir,name   the item
/// @param maxchars   characters at most
/// @param jsonname   name of the member; null: nothing is printed
/// @param flags      as for gen_json_text()
/// @return flags for the next member, PRINT_DISABLED added when the item cannot be read
unsigned gen_json_text_item(const char *dir, const char *name, unsigned maxchars,
                            const char *jsonname, unsigned flags);

/// Writes a posted password to an existing item, unless it is the bullets that the box showed, or
/// holds bullets or refused characters. Invalid sequences, characters above U+FFFF among them, and
/// what comes behind maxchars characters are left out without notice.
/// @param dir,name   the item
/// @param value      UTF-8; null: -1 is returned. An empty value empties the item
/// @param maxchars   characters to keep at most
/// @param filter     null: every character is accepted
/// @param rejected   may be null; receives how many characters the filter refused, 0 when the value
///                   is nothing but bullets
/// @return
///  - as update_item()
///  - 0: also when nothing was written because of bullets or refused characters. Bullets mixed with
///    accepted characters alone leave `rejected` at 0.
/// Intended: a value with any bullet or refused character is not written, not even in part.
int update_password_item(const char *dir, const char *name, const char *value, unsigned maxchars,
                         textbox_filter filter, unsigned *rejected);

/// Prints an item's value as escaped text, without a tag: a memory page less one byte at most.
/// @param dir,name   the item
/// @return
///  - above 0: bytes of the value
///  - 0: the item is empty
///  - -1: it cannot be read
int gen_text_item(const char *dir, const char *name);

/* ---- Character filters ---- */
/*
 * Each looks at the low 16 bits of a character only. A rule for the beginning holds until a first
 * character is kept: all leading ones are dropped.
 */

/// Keeps ASCII letters and digits.
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_alnum(unsigned pos, unsigned ch);

/// Keeps ASCII digits.
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_digit(unsigned pos, unsigned ch);

/// Keeps 0x21 to 0x7E but not the quotation mark, apostrophe and grave accent.
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_ascii_printable(unsigned pos, unsigned ch);

/// Keeps what a host name holds: ASCII letters, digits, "-" and ".".
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_dns(unsigned pos, unsigned ch);

/// Keeps what a host name or an IPv6 address holds: as textbox_filter_dns(), and ":".
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_dns6(unsigned pos, unsigned ch);

/// Keeps what a common name holds: as textbox_filter_dns(), "_" and "@".
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_cname(unsigned pos, unsigned ch);

/// Keeps what a certificate's name holds: as textbox_filter_dns(), blank, "_", "@" and "*".
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_asn1(unsigned pos, unsigned ch);

/// Keeps hexadecimal digits, ":" and "/".
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_ip6prefix(unsigned pos, unsigned ch);

/// Keeps every ASCII character, control characters included, but no blank at the beginning.
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_octet(unsigned pos, unsigned ch);

/// Keeps 0x21 to 0x7F (intended: DEL included) but not the quotation mark, apostrophe and grave
/// accent.
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_ppp_username(unsigned pos, unsigned ch);

/// Keeps what textbox_filter_ppp_username() keeps, but no "*" or "?" at the beginning.
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_ppp_password(unsigned pos, unsigned ch);

/// Keeps what can stand between quotation marks in a shell command: everything, control characters
/// and all of Unicode included, but backslash, dollar sign, quotation mark, apostrophe and grave
/// accent.
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_shell_quoted(unsigned pos, unsigned ch);

/// Keeps what textbox_filter_shell_quoted() keeps, but not ":", blank, "*" and "?".
/// @param pos,ch   see textbox_filter
/// @return 1 to keep the character, 0 to drop it
int textbox_filter_smtp(unsigned pos, unsigned ch);

/// Names the characters that a password may hold, for people to read.
/// @return a constant text
const char *passwd_chars(void);

/* ---- Text areas ---- */

/// Prints a text area: <textarea[format][flags]>text</textarea>
/// @param text         UTF-8, escaped; may be null
/// @param flags        bits of qmv_print_flags
/// @param format,...   raw attributes, each with a blank in front; may be null
/// @return bytes of the closing tag that were printed
int gen_textarea(const char *text, unsigned flags, const char *format, ...) QMV_PRINTF(3, 4);

/// Copies a text without its carriage returns.
/// @param dst   room for the whole of src; may be src itself
/// @param src   the text
/// @return dst; null when an argument is null
char *textarea_to_unix(char *dst, const char *src);

/// Reads the file behind a text area.
/// @param out        receives the text, cut behind maxchars characters or its first invalid
///                   sequence, which the caller frees, also when the result is 0; untouched at -1
/// @param dir,name   the file
/// @param maxchars   characters at most; 3 * maxchars bytes are read
/// @return
///  - above 0: size of the text's memory, 3 * maxchars + 1; a file that cannot be read gives an
///    empty text
///  - 0: the file cannot be opened; the text is empty
///  - -1: a null argument or no memory
int get_textarea_file(char **out, const char *dir, const char *name, unsigned maxchars);

/// Writes a text to an existing file unless it is unchanged.
/// @param dir,name   the file
/// @param text       cut behind maxchars characters, and behind its first invalid sequence (a
///                   character above U+FFFF is one), when written
/// @param maxchars   characters at most
/// @return
///  - 0: unchanged; nothing was written
///  - above 0: bytes written, plus 1
///  - -1: a null argument, or the file does not exist or cannot be opened or written
///  - -2: no memory (intended: the descriptor of the file stays open)
/// A file that cannot be read counts as empty.
/// Intended: a text that was cut is written again when it is posted again, since the whole of it is
/// compared.
int update_textarea_file(const char *dir, const char *name, const char *text, unsigned maxchars);

/* ---- Select boxes ---- */

/// What a select box asks its class.
enum selectbox_op {
    SELECTBOX_EXISTS = 0,     ///< is there an option? negative: no more; 0: not here; above 0: yes
    SELECTBOX_VALUE = 1,      ///< print the option's value; nonzero: it is the selected one
    SELECTBOX_LABEL = 2,      ///< print the option's label
    SELECTBOX_ATTRIBUTES = 3  ///< print raw attributes of the select tag (index 0)
};

/// The options of a select box.
/// @param context   the pointer that was handed to gen_selectbox_class()
/// @param op        one of selectbox_op
/// @param index     the option, from 0
/// @param arg       what was handed to gen_selectbox_class()
/// @return as selectbox_op says
typedef int (*selectbox_class)(void *context, unsigned op, unsigned index, int arg);

/// The options of a numbered select box, whose values are their indexes: answers SELECTBOX_EXISTS,
/// SELECTBOX_LABEL and, without an attributes text, SELECTBOX_ATTRIBUTES.
typedef int (*selectbox_num_fn)(unsigned op, unsigned index, int arg);

/// One option of a text select box; both texts may stay null.
typedef struct selectbox_text {
    const char *value;  ///< what is posted
    const char *label;  ///< what is shown
} selectbox_text;

/// The options of a text select box: fills the pair, which is cleared before each call.
/// @return negative: no more options; 0: no option at this index; above 0: an option
typedef int (*selectbox_text_fn)(unsigned index, int arg, struct selectbox_text *pair);

/// What a select box shows.
typedef struct selectbox_state {
    uint32_t flags;  ///< print flags
    union {
        uint32_t number;   ///< of a numbered box
        const char *text;  ///< of a text box; borrowed from the option table
    } value;               ///< the selected option
} selectbox_state;

/// Prints a select box of any class:
/// <select name="NAME"[attributes][flags]> CR LF
/// <option value="VALUE"[ selected]>LABEL</option> CR LF ... </select> CR LF
/// @param context   handed to the class
/// @param name      raw; may be null
/// @param cls       null: a box without options
/// @param arg       handed to the class
/// @param count     options to ask for at most
/// @param flags     bits of qmv_print_flags
/// @return bytes of the closing tag that were printed
int gen_selectbox_class(void *context, const char *name, selectbox_class cls, int arg,
                        unsigned count, unsigned flags);

/// Prints a select box of numbered options, 256 at most.
/// @param state        null: disabled, with the current value 0
/// @param name         raw; may be null
/// @param fn           the options; null: none
/// @param arg          handed to fn
/// @param attributes   raw, with a blank in front; null: fn is asked
/// @return the flags that were used
unsigned gen_selectbox_num(selectbox_state *state, const char *name, selectbox_num_fn fn, int arg,
                           const char *attributes);

/// Prints a select box of numbered options without a name; a printf format gives the attributes.
/// @param state,fn,arg   as for gen_selectbox_num()
/// @param format,...     raw attributes, each with a blank in front; null: fn is asked
/// @return the flags that were used
unsigned gen_xselectbox_num(selectbox_state *state, selectbox_num_fn fn, int arg,
                            const char *format, ...) QMV_PRINTF(4, 5);

/// Prints the value of a numbered option.
/// @param index     printed
/// @param current   index of the selected option
/// @return 1 when it is the current one, else 0
int selectbox_num_show_value(unsigned index, unsigned current);

/// Takes a posted number of an option.
/// @param in         leading blanks are skipped; null: 0 is returned
/// @param value      changed to the number, count - 1 at most; to 0 when count is 0; null: 0 is
///                   returned
/// @param count      number of options
/// @param fallback   taken when no digit is posted
/// @return 1 when the value changed, else 0
int scan_select_num(const char *in, unsigned *value, unsigned count, unsigned fallback);

/// Prints a select box of text options, 256 at most. Values and labels are escaped.
/// @param state        null: nothing is printed and 1 returned
/// @param name         raw; may be null
/// @param fn           the options; null: as for state
/// @param printer      prints labels in place of the options' own, and answers SELECTBOX_EXISTS and
///                     SELECTBOX_ATTRIBUTES; may be null
/// @param arg          handed to fn and printer
/// @param attributes   raw, with a blank in front; may be null
/// @return state's flags
/// Intended: an option without a value prints an empty one and is selected.
unsigned gen_selectbox_text(selectbox_state *state, const char *name, selectbox_text_fn fn,
                            selectbox_num_fn printer, int arg, const char *attributes);

/// Takes a posted text that is the value of an option; the state then borrows the option's text.
/// @param in      the text; null: 0 is returned
/// @param state   its value changes, its flags do not
/// @param fn      the options
/// @param arg     handed to fn
/// @return 1 when the value changed; 0 when it did not, when no option matches, and for a null
///         argument
int scan_select_text(const char *in, selectbox_state *state, selectbox_text_fn fn, int arg);

/// Reads the item of a text select box into its state: the option that it names, or the fallback.
/// The flags become PRINT_DISABLED when the item is missing or empty, else 0. Null state or fn:
/// nothing happens.
/// @param dir,name   the item
/// @param state      receives flags and value
/// @param fn         the options
/// @param arg        handed to fn
/// @param fallback   taken when the item names no option; borrowed; may be null
/// Intended: an item longer than every option is cut to the longest before it is looked up.
void rd_selectbox_text_item(const char *dir, const char *name, selectbox_state *state,
                            selectbox_text_fn fn, int arg, const char *fallback);

/* ---- Check boxes, radio buttons, buttons, images, file inputs ---- */

/// Builds the flags of a check box.
/// @param checked,disabled   0 or nonzero
/// @return PRINT_CHECKED when checked is nonzero, with PRINT_DISABLED when disabled is
unsigned checkbox_flags(unsigned checked, unsigned disabled);

/// Prints a check box: <input type="checkbox"[format][flags]>
/// @param flags        bits of qmv_print_flags
/// @param format,...   raw attributes, name and value among them; may be null
/// @return '>', or -1 after a write error
int gen_xcheckbox(unsigned flags, const char *format, ...) QMV_PRINTF(2, 3);

/// Reads the item of a check box.
/// @param dir,name   the item
/// @param flags      bits of qmv_print_flags
/// @return flags with PRINT_CHECKED as the item says (an empty one: not), or with PRINT_DISABLED
///         added when it cannot be read
unsigned rd_checkbox_item(const char *dir, const char *name, unsigned flags);

/// Writes "1" or "0" to an existing item, as PRINT_CHECKED says, unless it is unchanged.
/// @param dir,name   the item
/// @param flags      PRINT_CHECKED counts
/// @return as update_item()
int wr_checkbox_item(const char *dir, const char *name, unsigned flags);

/// Prints a radio button: <input type="radio" name="NAME" value="VALUE"[attributes][flags]>
/// @param name         raw; may be null
/// @param value        printed
/// @param current      checked when it equals value; a negative one never does
/// @param attributes   raw; may be null
/// @param flags        bits of qmv_print_flags
/// @return '>', or -1 after a write error
int gen_radio(const char *name, unsigned value, int current, const char *attributes,
              unsigned flags);

/// Prints a radio button with a text as its value.
/// @param name         raw; may be null
/// @param value        raw (intended); null: no value attribute
/// @param current      checked when both are given and equal
/// @param attributes   raw; may be null
/// @param flags        bits of qmv_print_flags
/// @return '>', or -1 after a write error
int gen_radio_string(const char *name, const char *value, const char *current,
                     const char *attributes, unsigned flags);

/// Prints a button: <button type="button"[format][flags]>CONTENT LABEL</button>
/// PRINT_SUBMIT gives type "submit".
/// @param label        escaped; may be null
/// @param content      prints what stands in front of the label; may be null
/// @param flags        bits of qmv_print_flags, also handed to content
/// @param format,...   raw attributes, each with a blank in front; may be null
/// @return bytes of the closing tag that were printed
int gen_xbutton(const char *label, void (*content)(unsigned flags), unsigned flags,
                const char *format, ...) QMV_PRINTF(4, 5);

/// Prints an image: <img src="PATHFILE" alt="ALT"[format]>
/// @param path,file    raw, joined as they are; either null: nothing is printed
/// @param alt          escaped; null: no attribute
/// @param format,...   raw attributes, each with a blank in front; may be null
/// @return '>', -1 after a write error, or 0 when nothing was printed
int gen_image(const char *path, const char *file, const char *alt, const char *format, ...)
    QMV_PRINTF(4, 5);

/// Prints a file input: <input type="file"[format][flags]>
/// @param flags     bits of qmv_print_flags
/// @param fmt,...   raw attributes, each with a blank in front; may be null
/// @return '>', or -1 after a write error
int gen_upload(unsigned flags, const char *fmt, ...) QMV_PRINTF(2, 3);

/* ---- Numbers, ranges, times, weekdays ---- */

/// Takes a posted number. Over-long digits wrap modulo 2^32.
/// @param in         leading blanks are skipped; null: 0 is returned
/// @param value      changed to the number, kept between min and max; null: 0 is returned
/// @param min,max    limits of a posted number
/// @param fallback   taken as it is when no digit is posted
/// @return 1 when the value changed, else 0
int scan_number(const char *in, unsigned *value, unsigned min, unsigned max, unsigned fallback);

/// Prints a number box: <input type="text" maxlength="N" value="5"[format][flags]>
/// PRINT_READONLY leaves out maxlength.
/// @param maxlength    characters at most
/// @param value        printed in decimal
/// @param flags        bits of qmv_print_flags
/// @param format,...   raw attributes, each with a blank in front; may be null
/// @return '>', or -1 after a write error
int gen_xnumberbox(unsigned maxlength, unsigned value, unsigned flags, const char *format, ...)
    QMV_PRINTF(4, 5);

/// Prints a number box: <input type="text" name="NAME" size="S" maxlength="N" value="5"[flags]>
/// @param name        raw; may be null
/// @param size        width in characters
/// @param maxlength   characters at most
/// @param value       printed in decimal
/// @param flags       bits of qmv_print_flags
/// @return '>', or -1 after a write error
/// Intended: maxlength is printed also when the box is read-only.
int gen_numberbox(const char *name, unsigned size, unsigned maxlength, unsigned value,
                  unsigned flags);

/// Reads the item of a number box.
/// @param dir,name   the item
/// @param value      receives the number, the fallback for an item that is empty or cannot be read;
///                   may be null
/// @param fallback   taken for an item that is empty or cannot be read
/// @return PRINT_DISABLED when the item cannot be read, else 0
unsigned rd_numberbox_item(const char *dir, const char *name, unsigned *value, unsigned fallback);

/// Reads an item and prints it with gen_numberbox() and a maximum length of 15.
/// @param dir,name        the item
/// @param htmlname,size   name and size as for gen_numberbox()
/// @param fallback        shown when the item is empty or cannot be read
/// @param flags           bits of qmv_print_flags
/// @return the flags that were used, PRINT_DISABLED added when the item cannot be read
unsigned gen_numberbox_item(const char *dir, const char *name, const char *htmlname, unsigned size,
                            unsigned fallback, unsigned flags);

/// Writes a number to an existing item unless it is unchanged.
/// @param dir,name   the item
/// @param value      the number
/// @return as update_item()
int wr_numberbox_item(const char *dir, const char *name, unsigned value);

/// Reads an item and prints it as a JSON member: "name": 5, or null when it cannot be read.
/// @param dir,name   the item
/// @param jsonname   name of the member; null: nothing is printed
/// @param fallback   printed when the item is empty
/// @param flags      PRINT_JSON_COMMA counts
/// @return flags for the next member, PRINT_DISABLED added when the item cannot be read
/// Intended: PRINT_DISABLED in `flags` does not print null, unlike gen_json_text().
unsigned gen_json_number_item(const char *dir, const char *name, const char *jsonname,
                              unsigned fallback, unsigned flags);

/// Takes a posted range, "5-10", "5:10" or "5". A number alone gives both ends.
/// @param in         leading blanks are skipped
/// @param low,high   changed to the ends, each kept between min and max, the smaller one first
/// @param min,max    limits of a posted number
/// @param fallback   both ends, when no first number is posted (intended: "-5" gives it, too)
/// @return 1 when the range changed, 0 when it did not or an argument is null
int scan_range(const char *in, unsigned *low, unsigned *high, unsigned min, unsigned max,
               unsigned fallback);

/// Prints a range box: <input type="text" maxlength="N"[format][flags] value="5-10">
/// PRINT_READONLY leaves out maxlength.
/// @param maxlength    characters at most
/// @param low,high     may be null: "5-10" with both, "5" with low or equal ends, "-10" with high,
///                     "-" with neither
/// @param text         escaped, shown in place of the numbers; may be null
/// @param flags        bits of qmv_print_flags
/// @param format,...   raw attributes, each with a blank in front; may be null
/// @return '>', or -1 after a write error
/// Intended: the value comes behind the flags.
int gen_xrangebox(unsigned maxlength, const unsigned *low, const unsigned *high, const char *text,
                  unsigned flags, const char *format, ...) QMV_PRINTF(6, 7);

/// Tells whether a posted text begins with a word, in any case of letters, behind leading blanks.
/// @param in     the posted text
/// @param word   what it must begin with
/// @return 1 when it does; 0 when it does not or an argument is null
int scan_string(const char *in, const char *word);

/// Takes a posted time of day, "H:M" or "H". Minutes from 60 on are carried into hours, hours wrap
/// at 24. White space and a sign may precede each number, as for the standard scanner; one that
/// does not fit counts as 4294967295.
/// @param in            the posted text
/// @param hour,minute   1 and 0 when nothing was read (intended); untouched for a null argument
/// @return
///  - 1 or 2: numbers read
///  - 0: there is no number, or an argument is null
///  - -1: the text is empty or blank
int scan_time(const char *in, unsigned *hour, unsigned *minute);

/// Builds the weekday field of a cron line: "0,6", or "*" for every day.
/// @param buf    receives the field
/// @param size   bytes at `buf`; below 15, or with a null buf, the constant "*" is returned
/// @param mask   bit 0 Sunday to bit 6 Saturday
/// @return buf; empty without any day
const char *cron_weekdays(char *buf, unsigned size, unsigned mask);

/// One weekday of a list; see gen_dow_table().
typedef struct dow_entry {
    uint32_t day;      ///< 0 Sunday to 6 Saturday
    const char *name;  ///< "sun" to "sat", a constant
    const char *text;  ///< what follows the digit in the caller's list
} dow_entry;

/// Fills weekday entries from a list of texts such as "1Monday", each ended by a NUL, the list
/// ended by an empty text. A digit above 6 leaves its entry untouched.
/// @param table   `count` entries; those without a text are left untouched; null: nothing is filled
/// @param count   entries of the table
/// @param list    null: nothing is filled
/// Intended: a text that does not begin with a digit ends the list.
void gen_dow_table(dow_entry *table, unsigned count, const char *list);

/* ---- IPv4 addresses ---- */
/*
 * An address is a 32-bit word in network byte order, as inet_addr() returns it; texts are read as
 * inet_addr() reads them, "1.2" and octal numbers included. 0xFFFFFFFF stands
 * for no address (intended: the text 255.255.255.255 is therefore invalid everywhere).
 */

/// A network: an address and a prefix length.
typedef struct ipv4_cidr {
    uint32_t addr;    ///< in network byte order
    uint32_t prefix;  ///< 0 to 32; shown as 32 when above
} ipv4_cidr;

/// Makes a usable host address: the network's own address becomes the first host, its broadcast
/// address the last one.
/// @param out         receives the address
/// @param addr,mask   the address and its netmask
/// @return
///  - 1: done
///  - 0: a null out, an address of 0 or 0xFFFFFFFF; nothing was written
/// Intended: with a /32 mask, and with a /31 mask for the even address, the address stays.
int valid_ipv4_addr(uint32_t *out, uint32_t addr, uint32_t mask);

/// Makes a netmask of a prefix length; 33 and more count as 32.
/// @param prefix   length in bits
/// @return the mask in network byte order
uint32_t gen_netmask(uint32_t prefix);

/// Counts the leading one bits of a netmask in network byte order; bits behind the first zero do
/// not count.
/// @param mask   in network byte order
/// @return 0 to 32
int gen_prefix(uint32_t mask);

/// Takes a posted address.
/// @param text   null: 0 is returned
/// @param addr   changed to the address, to dflt when the text is none; null: 0 is returned
/// @param dflt   taken for a text that is no address
/// @return 1 when it changed, else 0
int scan_ipv4(const char *text, uint32_t *addr, uint32_t dflt);

/// Takes a posted netmask.
/// @param text                    null: 0 is returned
/// @param mask                    set to a netmask whose prefix lies between min_prefix and
///                                max_prefix (max_prefix wins when it is the smaller). A text that
///                                is none counts as prefix 32
/// @param min_prefix,max_prefix   0 to 32
/// @return 1, also when nothing changed (intended: unlike scan_ipv4()); 0 for a null argument
int scan_ipv4_netmask(const char *text, uint32_t *mask, uint32_t min_prefix, uint32_t max_prefix);

/// Prints an address box: <input type="text" size="15" maxlength="15"
/// value="10.0.0.1"[format][flags]>
/// @param size         0: 15; negative: no size attribute
/// @param addr         null: the value is empty
/// @param flags        bits of qmv_print_flags
/// @param format,...   raw attributes, each with a blank in front; may be null
/// @return '>', or -1 after a write error
int gen_xipv4box(int size, const uint32_t *addr, uint32_t flags, const char *format, ...)
    QMV_PRINTF(4, 5);

/// Prints an address box: <input type="text" name="NAME" size="15" maxlength="15"
/// value="10.0.0.1"[flags]>
/// @param name    raw; may be null
/// @param size    0: 15
/// @param addr    null: the value is empty
/// @param flags   bits of qmv_print_flags
/// @return '>', or -1 after a write error
int gen_ipv4box(const char *name, uint32_t size, const uint32_t *addr, uint32_t flags);

/// Writes an address to an existing item unless it is unchanged.
/// @param dir,name   the item
/// @param addr       null: 0 is returned
/// @return as update_item(); 0 also for a null address, with nothing written
int update_ipv4box_item(const char *dir, const char *name, const uint32_t *addr);

/// Reads the item of an address box.
/// @param dir,name   the item
/// @param addr       receives the address, dflt when the item holds none
/// @param dflt       address for an item that holds none
/// @return 1 when the item cannot be read, else 0; 0 also for a null addr
int rd_ipv4box_item(const char *dir, const char *name, uint32_t *addr, uint32_t dflt);

/// Takes a posted network, "10.0.0.0/8", or a posted address, whose prefix is 32.
/// The prefix is what digits follow the last "/", 32 at most; 0 without digits.
/// @param text             null: 0 is returned
/// @param cidr             changed to the network
/// @param dflt             address that is taken for a text that is none; an address of 0 forces
///                         the prefix to 0
/// @param mask_host_bits   nonzero: the bits behind the prefix are cleared
/// @return 1 when it changed, 0 when it did not or an argument is null
int scan_ipv4cidr(const char *text, ipv4_cidr *cidr, uint32_t dflt, int mask_host_bits);

/// Prints a network box, as gen_xipv4box(), with size and maxlength 18 and value "10.0.0.0/8".
/// @param size               0: 18; negative: no size attribute
/// @param cidr               null: the value is empty
/// @param flags,format,...   as for gen_xipv4box()
/// @return '>', or -1 after a write error
int gen_xipv4cidr(int size, const ipv4_cidr *cidr, uint32_t flags, const char *format, ...)
    QMV_PRINTF(4, 5);

/// Prints a network box, as gen_ipv4box(), with size and maxlength 18 and value "10.0.0.0/8".
/// @param name    raw; may be null
/// @param size    0: 18
/// @param cidr    null: the value is empty
/// @param flags   bits of qmv_print_flags
/// @return '>', or -1 after a write error
int gen_ipv4cidr(const char *name, uint32_t size, const ipv4_cidr *cidr, uint32_t flags);

/// Writes a network to an existing item unless it is unchanged: 18 characters at most.
/// @param dir,name   the item
/// @param cidr       null: 0 is returned
/// @return as update_item(); 0 also for a null network, with nothing written
/// Intended: a prefix above 32 is written as it is.
int update_ipv4cidr_item(const char *dir, const char *name, const ipv4_cidr *cidr);

/// Reads the item of a network box, keeping host bits; see scan_ipv4cidr().
/// @param dir,name   the item
/// @param cidr       receives the network; null: 0 is returned
/// @param dflt       address for an item that holds none
/// @return 1 when the item cannot be read, else 0; 0 also for a null cidr
int rd_ipv4cidr_item(const char *dir, const char *name, ipv4_cidr *cidr, uint32_t dflt);

/* ---- MAC addresses ---- */
/*
 * A hardware address as SIOCGIFHWADDR returns it: a family, and six bytes at the start of sa_data.
 */

/// Tells whether an address can be one of a device.
/// @param hw   may be null
/// @return 0 when it is null or its six bytes are all 0x00 or all 0xFF, else 1
int mac_isvalid(const struct sockaddr *hw);

/// Writes an address as text, "00-1A-2B-3C-4D-5E", or as much of it as fits.
/// @param hw          may be null
/// @param separator   the character between bytes
/// @param buf         room for size bytes; terminated unless size is 0; empty for a null hw; null:
///                    nothing is written
/// @param size        18 holds the whole text
/// @return buf
char *mac_ntop(const struct sockaddr *hw, int separator, char *buf, uint32_t size);

/// Writes the hardware address of a network interface as text; see mac_ntop().
/// @param ifname           cut to 15 characters; may be null
/// @param separator,size   as for mac_ntop()
/// @param buf              empty when there is no such interface; untouched when size is 0; null:
///                         nothing is written
/// @return buf
char *if_hwaddr_ntop(const char *ifname, int separator, char *buf, uint32_t size);

/// Takes a posted address: six bytes of one or two hexadecimal digits, with or without a character
/// between them. A byte that is missing or no number becomes 0; what follows the sixth is ignored.
/// @param hw     changed to the address; its family becomes ARPHRD_ETHER; null: 0 is returned
/// @param text   null counts as empty
/// @return 1 when a byte changed, else 0
int scan_macaddr(struct sockaddr *hw, const char *text);

/// Prints an address box: <input type="text" maxlength="18" size="18"
/// value="00-1A-2B-3C-4D-5E"[format][flags]>
/// PRINT_READONLY leaves out maxlength.
/// @param size         0: 18; negative as a signed number: no size attribute
/// @param hw           null: the value is empty
/// @param flags        bits of qmv_print_flags
/// @param format,...   raw attributes, each with a blank in front; may be null
/// @return '>', or -1 after a write error
/// Intended: maxlength is 18 although the text has 17 characters.
int gen_xmacbox(uint32_t size, const struct sockaddr *hw, uint32_t flags, const char *format, ...)
    QMV_PRINTF(4, 5);

QMV_END_DECLS

#endif
