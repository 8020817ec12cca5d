// The form of the maintenance page that has a source of its own, and what counts its characters.
#ifndef CONSOLE_MAINTENANCE_H
#define CONSOLE_MAINTENANCE_H

#include <string>

#include "frame/console.h"

constexpr unsigned kMaxSeptets = 160;  // of one text message

void print_alert(Console &console);
void save_alert(Console &console);

/// What a text needs in the alphabet of text messages.
struct MessageLength {
    unsigned septets;
    std::string foreign;  // the first character that it lacks; empty when it has all
};

MessageLength message_length(const char *utf8);

#endif
