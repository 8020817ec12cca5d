// Checks of posted fields. Each one reads its field from the request, without blanks around it, and
// refuses it, with a reason that tells what to do, when it cannot be stored as it was typed: the
// library's scanners make the best of any text, and a person wants to know.
#ifndef CONSOLE_CHECK_H
#define CONSOLE_CHECK_H

#include <string>

#include "frame/console.h"

/// The value of a field without blanks around it. A field that did not arrive is refused.
std::string posted_text(Console &console, const Field &field);

/// Takes a text of `min` to `max` characters that a filter accepts (null: any of one line).
/// @param allowed   names those characters, as in "letters and digits"
std::string check_text(Console &console, const Field &field, unsigned min, unsigned max,
                       textbox_filter filter, const char *allowed);

/// Takes a whole number.
unsigned check_number(Console &console, const Field &field, unsigned min, unsigned max);

/// Takes an IPv4 address of four numbers; 0 for an empty field when that is allowed.
uint32_t check_ipv4(Console &console, const Field &field, bool may_be_empty);

/// Takes a network such as 10.0.0.0/8; an address of 0 for an empty field when that is allowed.
ipv4_cidr check_cidr(Console &console, const Field &field, bool may_be_empty);

/// Takes a netmask of 8 to 30 ones.
uint32_t check_netmask(Console &console, const Field &field);

/// Takes a hardware address with hyphens or colons; returns it in capitals, with hyphens. Empty for
/// an empty field.
std::string check_mac(Console &console, const Field &field);

/// Takes one of the options of a text select box or of radio buttons.
/// @return the option's own text, or null
const char *check_option(Console &console, const Field &field, selectbox_text_fn options);

/// Writes an address unless it is unchanged; 0 leaves an empty item, not 0.0.0.0.
int update_optional_ipv4(const std::string &items, const Field &field, uint32_t addr);

/// Tells whether a text is a number of up to nine digits and nothing else, and stores it.
bool parse_number(const std::string &text, unsigned *number);

/// Tells whether a text is an IPv4 address of four numbers, and stores it.
bool parse_ipv4(const char *text, uint32_t *addr);

#endif
